#pragma once

#include "DKMutex.h"

/// Holds the controller's lock for the length of a block.
class MutexGuard {
public:
    /// @param line  where in ISensorController it is taken, for the framework's tracing
    MutexGuard(DKMutex& mutex, int line) : m_mutex(mutex), m_nLine(line) {
        m_mutex.Lock("ISensorController.cpp", m_nLine);
    }
    ~MutexGuard() { m_mutex.Unlock("ISensorController.cpp", m_nLine); }
    MutexGuard(const MutexGuard&) = delete;
    MutexGuard& operator=(const MutexGuard&) = delete;

private:
    DKMutex& m_mutex;
    int m_nLine;
};
