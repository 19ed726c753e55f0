#pragma once

#include <functional>

/// A worker thread that calls its body again and again, from start() to stop().
///
/// start() and stop() are called by one thread at a time, never by the body itself.
class GThread {
public:
    /// @param body  called repeatedly on the worker thread; its result is ignored
    /// @param name  the thread's name as the system shows it (its first 15 characters)
    /// @param done  called once on the worker thread, after the last call of the body of each run
    GThread(std::function<int()> body, const char* name, std::function<void()> done);

    /// Stops the thread when it runs.
    ~GThread();
    GThread(const GThread&) = delete;
    GThread& operator=(const GThread&) = delete;

    /// Starts the thread; it may be started again after a stop.
    /// @return true when the thread runs now; also when it ran already
    bool start();

    /// Lets the running call of the body end (a DravikTime::wait in it ends at once) and joins the
    /// thread. Without effect on a thread that does not run.
    /// @return true when the thread no longer runs
    bool stop();

    /// A callback that does nothing, for the done slot.
    static void emptyFun();

private:
    struct State;
    State* m_pState;
};
