#include "DKMutex.h"

#include <mutex>

struct DKMutex::State {
    std::mutex mutex;
};

DKMutex::DKMutex() : m_pState(new State) {}

DKMutex::~DKMutex() {
    delete m_pState;
}

void DKMutex::Lock(const char* /*file*/, int /*line*/) {
    m_pState->mutex.lock();
}

void DKMutex::Unlock(const char* /*file*/, int /*line*/) {
    m_pState->mutex.unlock();
}
