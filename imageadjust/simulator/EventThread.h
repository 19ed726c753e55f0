#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "Layer.h"

namespace simulated_ia {

/// Tells a listener of events, one after the other in their order, on a thread of its own, which
/// runs while there is a listener. Any thread may call.
class EventThread {
public:
    typedef std::function<void(const image_adjust::LayerEvent&)> Listener;

    EventThread() = default;
    ~EventThread() { listen(nullptr); }
    EventThread(const EventThread&) = delete;
    EventThread& operator=(const EventThread&) = delete;

    /// Replaces the listener; an empty one ends it. Events that wait are dropped with the old one,
    /// and no call of it is under way any more, unless it is the old one that calls this.
    void listen(Listener listener);

    /// Does not wait. Nobody listens: nothing happens.
    void send(const image_adjust::LayerEvent& event);

private:
    struct Channel { // one listener's
        std::mutex lock;
        std::condition_variable wake;
        std::deque<image_adjust::LayerEvent> events;
        bool ended = false;
        Listener listener;
    };
    static void run(const std::shared_ptr<Channel>& channel);

    std::mutex m_lock;
    std::shared_ptr<Channel> m_channel; // null while nobody listens
    std::thread m_thread;
};

} // namespace simulated_ia
