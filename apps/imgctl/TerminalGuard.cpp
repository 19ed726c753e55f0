#include "TerminalGuard.h"

#include <termios.h>
#include <unistd.h>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <iterator>

namespace imgctl {
namespace {

constexpr int kSignals[] = {SIGTERM, SIGHUP, SIGQUIT};

// For the handler alone, which may call little more than the terminal's own functions.
termios before;
bool known = false;

struct sigaction old[std::size(kSignals)];

void giveBack(int signal) {
    const int error = errno;
    // The terminal of a process in the background is somebody else's.
    if (known && tcgetpgrp(STDIN_FILENO) == getpgrp()) {
        tcsetattr(STDIN_FILENO, TCSANOW, &before);
    }
    errno = error;
    raise(signal); // by its default action, once this returns
}

} // namespace

TerminalGuard::TerminalGuard() {
    known = tcgetattr(STDIN_FILENO, &before) == 0;
    struct sigaction action {};
    action.sa_handler = giveBack;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigfillset(&action.sa_mask); // a change of the terminal must not stop the process on its way
    for (std::size_t i = 0; i < std::size(kSignals); ++i) {
        sigaction(kSignals[i], nullptr, &old[i]);
        if (old[i].sa_handler != SIG_IGN) {
            sigaction(kSignals[i], &action, nullptr);
        }
    }
}

TerminalGuard::~TerminalGuard() {
    for (std::size_t i = 0; i < std::size(kSignals); ++i) {
        sigaction(kSignals[i], &old[i], nullptr);
    }
}

} // namespace imgctl
