#pragma once

namespace imgctl {

/// While it lives, a signal that ends the process (SIGTERM, SIGHUP, SIGQUIT) first gives the
/// terminal at standard input back as it was when this was made. One at a time.
class TerminalGuard {
public:
    TerminalGuard();
    ~TerminalGuard();
    TerminalGuard(const TerminalGuard&) = delete;
    TerminalGuard& operator=(const TerminalGuard&) = delete;
};

} // namespace imgctl
