#pragma once

#include <string>

namespace imgctld {

/// Tells a service manager that asked for it (NOTIFY_SOCKET) how the service is. Without one every
/// call does nothing.
class Watchdog {
public:
    /// A controller that is at one request for longer hangs.
    static constexpr double kMostBusySeconds = 20;

    Watchdog();
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    void ready() const { tell("READY=1"); }
    void alive() const { tell("WATCHDOG=1"); }
    void stopping() const { tell("STOPPING=1"); }

private:
    void tell(const char* state) const;

    int m_fd = -1;
    std::string m_path;
};

} // namespace imgctld
