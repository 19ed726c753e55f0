#include "Sessions.h"

#include <algorithm>

#include "host/access/Secrets.h"

namespace imgctld {

using access_control::Accounts;
using access_control::User;

namespace {

constexpr unsigned int kFreeTries = 5;
constexpr auto kBetweenTries = std::chrono::seconds(1);
constexpr auto kForgiven = std::chrono::minutes(1);
constexpr std::size_t kMostAddresses = 10000;

} // namespace

std::string Sessions::open(const User& user, MonotonicTime now) {
    std::string secret = access_control::randomHex(16);
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_sessions.size() >= kMost) {
        const auto oldest = std::min_element(
            m_sessions.begin(), m_sessions.end(),
            [](const auto& one, const auto& other) { return one.second.used < other.second.used; });
        m_displaced.push_back(oldest->second.number);
        m_sessions.erase(oldest);
    }
    m_sessions[access_control::secrets::sha256(secret)] =
        Session{user, "session:" + std::to_string(++m_numbers), now, now};
    return secret;
}

std::optional<Identity> Sessions::find(const std::string& secret, MonotonicTime now, bool used) {
    const std::lock_guard<std::mutex> guard(m_lock);
    // Looked up by its digest: how far a wrong secret fits tells nothing about a right one.
    const auto found = m_sessions.find(access_control::secrets::sha256(secret));
    if (found == m_sessions.end()) {
        return std::nullopt;
    }
    Session& session = found->second;
    if (endOf(session, now)) {
        return std::nullopt; // revise() takes it away, with its streams
    }
    if (used) {
        session.used = now;
    }
    return Identity{session.user.name, session.number, session.user.role, true, false};
}

void Sessions::close(const std::string& secret) {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_sessions.erase(access_control::secrets::sha256(secret));
}

std::optional<SessionEnd> Sessions::endOf(const Session& session, MonotonicTime now) {
    if (now - session.used > kIdle) {
        return SessionEnd::Unused;
    }
    return now - session.opened > kLongest ? std::optional(SessionEnd::Age) : std::nullopt;
}

std::optional<SessionEnd> Sessions::endOf(const std::string& secret, MonotonicTime now) {
    const std::string digest = access_control::secrets::sha256(secret);
    const std::lock_guard<std::mutex> guard(m_lock);
    const auto open = m_sessions.find(digest);
    if (open != m_sessions.end()) {
        return endOf(open->second, now);
    }
    const auto found = std::find_if(m_over.begin(), m_over.end(),
                                    [&digest](const auto& one) { return one.first == digest; });
    return found != m_over.end() ? std::optional(found->second) : std::nullopt;
}

std::vector<std::string> Sessions::revise(const Accounts& accounts, MonotonicTime now) {
    std::vector<std::string> ended;
    const std::lock_guard<std::mutex> guard(m_lock);
    ended.swap(m_displaced);
    for (auto i = m_sessions.begin(); i != m_sessions.end();) {
        const User* const user = accounts.user(i->second.user.name);
        const bool same = user != nullptr && user->role == i->second.user.role &&
                          user->hash == i->second.user.hash;
        const std::optional<SessionEnd> end =
            same ? endOf(i->second, now) : std::optional(SessionEnd::Account);
        if (!end) {
            ++i;
            continue;
        }
        ended.push_back(i->second.number);
        m_over.emplace_back(i->first, *end);
        if (m_over.size() > kMost) {
            m_over.pop_front();
        }
        i = m_sessions.erase(i);
    }
    return ended;
}

SlowWork::SlowWork() : m_thread([this] { run(); }) {}

SlowWork::~SlowWork() {
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_ending = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

bool SlowWork::add(std::function<void()> job) {
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (m_jobs.size() >= kMostWaiting || m_ending) {
            return false;
        }
        m_jobs.push_back(std::move(job));
    }
    m_changed.notify_all();
    return true;
}

void SlowWork::run() {
    std::unique_lock<std::mutex> guard(m_lock);
    for (;;) {
        m_changed.wait(guard, [this] { return m_ending || !m_jobs.empty(); });
        if (m_ending) {
            return;
        }
        std::function<void()> job = std::move(m_jobs.front());
        m_jobs.pop_front();
        guard.unlock();
        job();
        job = nullptr; // what it holds answers when it goes
        guard.lock();
    }
}

double GuessLimit::attempt(const std::string& address, MonotonicTime now) {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_tries.size() >= kMostAddresses) {
        for (auto i = m_tries.begin(); i != m_tries.end();) {
            i = now - i->second.last > kForgiven ? m_tries.erase(i) : std::next(i);
        }
        if (m_tries.size() >= kMostAddresses) {
            m_tries.clear();
        }
    }
    Tries& tries = m_tries[address];
    if (now - tries.last > kForgiven) {
        tries.wrong = 0;
    }
    if (tries.wrong >= kFreeTries && now - tries.last < kBetweenTries) {
        return std::chrono::duration<double>(tries.last + kBetweenTries - now).count();
    }
    ++tries.wrong;
    tries.before = tries.last;
    tries.last = now;
    return 0;
}

void GuessLimit::right(const std::string& address) {
    const std::lock_guard<std::mutex> guard(m_lock);
    const auto found = m_tries.find(address);
    if (found == m_tries.end()) {
        return;
    }
    // Whoever polls with the right one must not be kept waiting for ever by a wrong one of once.
    found->second.last = found->second.before;
    if (--found->second.wrong == 0) {
        m_tries.erase(found);
    }
}

} // namespace imgctld
