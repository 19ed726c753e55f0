#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "HttpMessages.h"

namespace host {
class Camera;
class PictureHub;
} // namespace host

namespace imgctld {

/// The streams that are open, by the session that opened them, so that they can be counted and
/// ended. Any thread.
class StreamList {
public:
    enum class Kind { Video, Events };

    /// Counts a new stream. @return 0 when there are as many as may be, else its number
    unsigned long open(const std::string& session, Kind kind, std::size_t mostOfSession,
                       std::size_t mostOfAll);
    /// Gives its outer end once it has one.
    void attach(unsigned long number, std::shared_ptr<http::StreamControl> control);
    void close(unsigned long number);

    /// Ends the streams of a session.
    void endOf(const std::string& session);
    void endOfAll();
    void wake(Kind kind);
    std::size_t count(Kind kind) const;

private:
    struct Entry {
        std::string session;
        Kind kind;
        std::shared_ptr<http::StreamControl> control;
    };
    std::vector<std::shared_ptr<http::StreamControl>> controls(
        const std::function<bool(const Entry&)>& wanted) const;

    mutable std::mutex m_lock;
    std::map<unsigned long, Entry> m_entries;
    unsigned long m_numbers = 0;
};

/// The camera's pictures for streams and for single requests, from one viewer of the host's
/// pictures that exists while somebody wants any.
class Pictures {
public:
    using Bytes = std::shared_ptr<const std::string>;

    Pictures(host::PictureHub& hub, StreamList& streams);
    ~Pictures();
    Pictures(const Pictures&) = delete;
    Pictures& operator=(const Pictures&) = delete;

    /// A stream of multipart/x-mixed-replace with kBoundary. It counts as somebody who watches.
    std::unique_ptr<http::Source> video();

    /// Gives one picture, of at most 100 ms ago: all who ask meanwhile get the same.
    /// @param done  called once, on any thread; without a picture the problem says why
    void single(const std::function<void(Bytes jpeg, const std::string& problem)>& done);

    /// Whether nobody watches or waits.
    bool isIdle() const;

    /// Why there are no pictures; empty: there are, or nobody watches.
    std::string problem() const;

    static constexpr char kBoundary[] = "imgctl-picture";

private:
    class Video;
    struct Latest {
        Bytes jpeg;
        Bytes part; ///< with the head of its part
        std::uint64_t number = 0;
        std::chrono::steady_clock::time_point made;
    };

    void run();
    Latest latest() const;
    void watch(int change);

    host::PictureHub& m_hub;
    StreamList& m_streams;
    mutable std::mutex m_lock;
    std::condition_variable m_changed;
    Latest m_latest;
    int m_watching = 0;
    std::vector<std::function<void(Bytes, const std::string&)>> m_waiting;
    std::string m_problem;
    bool m_ending = false;
    std::thread m_thread;
};

} // namespace imgctld
