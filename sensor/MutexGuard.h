#pragma once

#include "DKMutex.h"

/// Holds a lock for the length of a block.
class MutexGuard {
public:
    MutexGuard(DKMutex& mutex, const char* file, int line)
        : m_mutex(mutex), m_pFile(file), m_nLine(line) {
        m_mutex.Lock(m_pFile, m_nLine);
    }
    ~MutexGuard() { m_mutex.Unlock(m_pFile, m_nLine); }
    MutexGuard(const MutexGuard&) = delete;
    MutexGuard& operator=(const MutexGuard&) = delete;

private:
    DKMutex& m_mutex;
    const char* m_pFile;
    int m_nLine;
};
