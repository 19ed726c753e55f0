#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "host/access/Accounts.h"

namespace imgctld {

using MonotonicTime = std::chrono::steady_clock::time_point;

/// Who sends a request, as far as it is known.
struct Identity {
    std::string name;    ///< empty: nobody, or everybody where no login is needed
    std::string session; ///< its number for limits and for ending; "token:NAME", "local", or empty
    access_control::Role role = access_control::Role::Monitor;
    bool known = false; ///< it has shown who it is, or need not
    bool byToken = false;
};

/// Why a session is over.
enum class SessionEnd {
    Unused,  ///< nobody used it for so long
    Age,     ///< it lasted as long as one may
    Account, ///< the user is gone, or has another role or password
};

/// The logins of people: in memory, bound to a random number that the browser keeps. They end after
/// 12 hours, after 30 minutes without use, and when the account changes. Any thread.
class Sessions {
public:
    static constexpr auto kLongest = std::chrono::hours(12);
    static constexpr auto kIdle = std::chrono::minutes(30);
    static constexpr std::size_t kMost = 1000; ///< open at a time; and of those that ended, known

    /// @return the secret of a new session: 128 random bits
    std::string open(const access_control::User& user, MonotonicTime now);

    /// Who a secret belongs to. @param used  whether that counts as use
    std::optional<Identity> find(const std::string& secret, MonotonicTime now, bool used = true);

    void close(const std::string& secret);

    /// Why the session of a secret is over; none for one that is open, was closed, or ended so long
    /// ago that nobody remembers it.
    std::optional<SessionEnd> endOf(const std::string& secret, MonotonicTime now);

    /// Ends sessions whose user is gone or has another role or password.
    /// @return the numbers of those that ended, these and such as have run out
    std::vector<std::string> revise(const access_control::Accounts& accounts, MonotonicTime now);

private:
    struct Session {
        access_control::User user;
        std::string number;
        MonotonicTime opened;
        MonotonicTime used;
    };
    static std::optional<SessionEnd> endOf(const Session& session, MonotonicTime now);

    std::mutex m_lock;
    std::map<std::string, Session> m_sessions; ///< by the digest of the secret
    std::vector<std::string> m_displaced;      ///< numbers that revise() has not told yet
    std::deque<std::pair<std::string, SessionEnd>> m_over; ///< by the digest; the newest last
    unsigned long m_numbers = 0;
};

/// Does what hashes passwords, one after the other on a thread of its own: a hash takes long and
/// much memory, and the file of users may be locked.
class SlowWork {
public:
    static constexpr std::size_t kMostWaiting = 8;

    SlowWork();
    ~SlowWork();
    SlowWork(const SlowWork&) = delete;
    SlowWork& operator=(const SlowWork&) = delete;

    /// @param job  called once, on the queue's thread; dropped when the queue goes before
    /// @return false when as many wait as may
    bool add(std::function<void()> job);

private:
    void run();

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::deque<std::function<void()>> m_jobs;
    bool m_ending = false;
    std::thread m_thread;
};

/// Slows down who guesses: after five wrong tries from an address, one a second
/// for a minute. Any thread.
class GuessLimit {
public:
    /// To be asked before each try, which counts as a wrong one from here on: of those that run at
    /// the same time none is free.
    /// @return seconds to wait before the next try, which was not counted then; 0: go on
    double attempt(const std::string& address, MonotonicTime now);
    /// The try was right. Those before it stay: one's own login between does not help to guess.
    void right(const std::string& address);

private:
    struct Tries {
        unsigned int wrong = 0;
        MonotonicTime last{};
        MonotonicTime before{}; ///< the last but one
    };
    std::mutex m_lock;
    std::map<std::string, Tries> m_tries;
};

} // namespace imgctld
