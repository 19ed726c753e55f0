#include "GThread.h"

#include <pthread.h>

#include <cstddef>
#include <string>
#include <utility>

#include "StopRequest.h"

namespace {

// On a board of 64 MB the system's default of 8 MiB a thread is an eighth of the memory as soon as
// the host locks its pages or forbids overcommitment; the bodies need far less.
// Sanitizers widen frames.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define IMGCTL_SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define IMGCTL_SANITIZED
#endif
#endif
#ifdef IMGCTL_SANITIZED
constexpr std::size_t kStackBytes = 1024UL * 1024;
#else
constexpr std::size_t kStackBytes = 256UL * 1024;
#endif

} // namespace

struct GThread::State {
    std::function<int()> body;
    std::string name;
    std::function<void()> done;
    linux_framework::StopRequest request;
    pthread_t thread{};
    bool running = false;

    static void* run(void* argument) {
        State& state = *static_cast<State*>(argument);
        state.request.obey();
        while (!state.request.raised()) {
            state.body();
        }
        if (state.done) {
            state.done();
        }
        return nullptr;
    }
};

GThread::GThread(std::function<int()> body, const char* name, std::function<void()> done)
    : m_pState(new State) {
    m_pState->body = std::move(body);
    m_pState->name = std::string(name == nullptr ? "" : name).substr(0, 15);
    m_pState->done = std::move(done);
}

GThread::~GThread() {
    stop();
    delete m_pState;
}

bool GThread::start() {
    if (m_pState->running) {
        return true;
    }
    pthread_attr_t attributes;
    if (!m_pState->body || pthread_attr_init(&attributes) != 0) {
        return false;
    }
    pthread_attr_setstacksize(&attributes, kStackBytes);
    m_pState->request.clear();
    m_pState->running = pthread_create(&m_pState->thread, &attributes, &State::run, m_pState) == 0;
    pthread_attr_destroy(&attributes);
    if (m_pState->running && !m_pState->name.empty()) {
        pthread_setname_np(m_pState->thread, m_pState->name.c_str());
    }
    return m_pState->running;
}

bool GThread::stop() {
    if (m_pState->running) {
        m_pState->request.raise();
        m_pState->running = pthread_join(m_pState->thread, nullptr) != 0;
    }
    return !m_pState->running;
}

void GThread::emptyFun() {}
