#include "Watchdog.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace imgctld {

Watchdog::Watchdog() {
    const char* const path = std::getenv("NOTIFY_SOCKET");
    if (path != nullptr && (path[0] == '/' || path[0] == '@')) {
        m_path = path;
        m_fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    }
}

Watchdog::~Watchdog() {
    if (m_fd >= 0) {
        close(m_fd);
    }
}

void Watchdog::tell(const char* state) const {
    sockaddr_un address{};
    if (m_fd < 0 || m_path.size() >= sizeof address.sun_path) {
        return;
    }
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, m_path.c_str(), m_path.size());
    if (address.sun_path[0] == '@') {
        address.sun_path[0] = '\0'; // the abstract namespace
    }
    const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + m_path.size());
    sendto(m_fd, state, std::strlen(state), MSG_NOSIGNAL,
           reinterpret_cast<const sockaddr*>(&address), size);
}

} // namespace imgctld
