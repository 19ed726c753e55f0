#include "Interrupt.h"

#include <csignal>

namespace imgctl {
namespace {

volatile std::sig_atomic_t interrupted = 0;

void remember(int /*signal*/) {
    interrupted = 1;
}

} // namespace

void catchInterrupts() {
    struct sigaction action {};
    action.sa_handler = remember;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
}

bool takeInterrupt() {
    const bool was = interrupted != 0;
    interrupted = 0;
    return was;
}

} // namespace imgctl
