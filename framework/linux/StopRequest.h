#pragma once

#include <atomic>

namespace linux_framework {

/// Asks one worker thread to end, and ends the pauses (DravikTime::wait) it makes from then on.
class StopRequest {
public:
    /// Any thread.
    void raise();

    /// Before the worker runs.
    void clear() { m_bRaised.store(false, std::memory_order_relaxed); }

    bool raised() const { return m_bRaised.load(std::memory_order_acquire); }

    /// Makes this the request that the calling thread's pauses obey; it must outlive the thread.
    void obey() const;

private:
    std::atomic<bool> m_bRaised{false};
};

} // namespace linux_framework
