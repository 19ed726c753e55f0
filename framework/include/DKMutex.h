#pragma once

/// A mutual-exclusion lock, not recursive: a thread that holds it must not lock it again.
class DKMutex {
public:
    DKMutex();
    ~DKMutex();
    DKMutex(const DKMutex&) = delete;
    DKMutex& operator=(const DKMutex&) = delete;

    /// Waits until the lock is free and takes it.
    /// @param file, line  the caller's source position, for the framework's own tracing
    void Lock(const char* file, int line);

    /// Gives the lock back; called by the thread that holds it.
    void Unlock(const char* file, int line);

private:
    struct State;
    State* m_pState;
};
