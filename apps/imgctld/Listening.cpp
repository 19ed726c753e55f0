#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "HttpServer.h"

namespace http {
namespace {

constexpr int kBacklog =
    512; // more than there may be: whom the system drops comes again in a second

int refused(int fd, const std::string& what, std::string& problem) {
    problem = what + ": " + std::strerror(errno);
    if (fd >= 0) {
        close(fd);
    }
    return -1;
}

/// @return true when somebody answers at the address
bool answers(const sockaddr_un& address) {
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool connected =
        fd >= 0 && connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    if (fd >= 0) {
        close(fd);
    }
    return connected;
}

} // namespace

int listenTcp(const std::string& address, unsigned int port, std::string& problem) {
    const std::string what = "cannot listen at " + address + ", port " + std::to_string(port);
    addrinfo hints{};
    hints.ai_flags = AI_NUMERICHOST | AI_NUMERICSERV | AI_PASSIVE;
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const int error = getaddrinfo(address.c_str(), std::to_string(port).c_str(), &hints, &found);
    if (error != 0) {
        problem = what + ": " + gai_strerror(error);
        return -1;
    }
    const int fd = socket(found->ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int on = 1;
    const int off = 0;
    if (fd >= 0) {
        setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        if (found->ai_family == AF_INET6) {
            setsockopt(fd, IPPROTO_IPV6, IPV6_V6ONLY, &off, sizeof off);
        }
    }
    const bool bound = fd >= 0 && bind(fd, found->ai_addr, found->ai_addrlen) == 0;
    freeaddrinfo(found);
    if (!bound || listen(fd, kBacklog) != 0) {
        return refused(fd, what, problem);
    }
    return fd;
}

int listenUnix(const std::string& path, std::string& problem) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string what = "cannot listen at " + path;
    if (path.size() >= sizeof address.sun_path) {
        problem = what + ": the path is longer than " +
                  std::to_string(sizeof address.sun_path - 1) + " bytes";
        return -1;
    }
    std::memcpy(address.sun_path, path.c_str(), path.size());
    if (answers(address)) {
        problem = what + ": another program serves there";
        return -1;
    }
    struct stat status {};
    if (lstat(path.c_str(), &status) == 0 && S_ISSOCK(status.st_mode)) {
        unlink(path.c_str());
    }
    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    // The mode counts from the moment that the name is there.
    const bool bound = fd >= 0 && fchmod(fd, 0600) == 0 &&
                       bind(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    if (!bound || chmod(path.c_str(), 0600) != 0 || listen(fd, kBacklog) != 0) {
        return refused(fd, what, problem);
    }
    return fd;
}

unsigned int portOf(int listenSocket) {
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    if (getsockname(listenSocket, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        return 0;
    }
    if (address.ss_family == AF_INET6) {
        return ntohs(reinterpret_cast<const sockaddr_in6*>(&address)->sin6_port);
    }
    return address.ss_family == AF_INET
               ? ntohs(reinterpret_cast<const sockaddr_in*>(&address)->sin_port)
               : 0;
}

} // namespace http
