#include "EventThread.h"

#include <utility>

namespace simulated_ia {

void EventThread::run(const std::shared_ptr<Channel>& channel) {
    std::unique_lock<std::mutex> guard(channel->lock);
    for (;;) {
        channel->wake.wait(guard,
                           [&channel] { return channel->ended || !channel->events.empty(); });
        if (channel->ended) {
            return;
        }
        const image_adjust::LayerEvent event = channel->events.front();
        channel->events.pop_front();
        guard.unlock();
        channel->listener(event);
        guard.lock();
    }
}

void EventThread::listen(Listener listener) {
    std::shared_ptr<Channel> channel;
    std::thread thread;
    if (listener) {
        channel = std::make_shared<Channel>();
        channel->listener = std::move(listener);
        thread = std::thread(run, channel);
    }
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_channel.swap(channel);
        m_thread.swap(thread);
    }
    if (channel != nullptr) {
        const std::lock_guard<std::mutex> guard(channel->lock);
        channel->ended = true;
        channel->wake.notify_one();
    }
    if (thread.get_id() == std::this_thread::get_id()) {
        thread.detach(); // it ends when the listener that is calling returns
    } else if (thread.joinable()) {
        thread.join();
    }
}

void EventThread::send(const image_adjust::LayerEvent& event) {
    std::shared_ptr<Channel> channel;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        channel = m_channel;
    }
    if (channel != nullptr) {
        const std::lock_guard<std::mutex> guard(channel->lock);
        channel->events.push_back(event);
        channel->wake.notify_one();
    }
}

} // namespace simulated_ia
