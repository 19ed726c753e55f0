#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstring>

#include "Client.h"
#include "host/Text.h"

namespace imgctl {
namespace {

constexpr std::size_t kMostAnswer = 16UL << 20;
constexpr int kMostSeconds = 60;

std::string escaped(const std::string& text) {
    static const char digits[] = "0123456789ABCDEF";
    std::string result;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::isalnum(byte) != 0 || std::strchr("-._~", c) != nullptr) {
            result += c;
        } else {
            result += {'%', digits[byte >> 4U], digits[byte & 15U]};
        }
    }
    return result;
}

/// A descriptor that is closed with it.
class Socket {
public:
    Socket() : m_descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {}
    ~Socket() {
        if (m_descriptor >= 0) {
            close(m_descriptor);
        }
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    int descriptor() const { return m_descriptor; }

private:
    int m_descriptor;
};

/// The daemon of this machine, asked in the plainest HTTP: an answer ends with its connection.
class Daemon : public Client {
public:
    explicit Daemon(std::string path) : m_path(std::move(path)) {}

    bool listens() const { return isConnected(Socket()); }

protected:
    bool send(const host::api::Request& request, host::api::Response& response,
              std::string& problem) override {
        std::string answer;
        if (!exchange(textOf(request), answer) || !read(answer, response)) {
            problem = std::string("the daemon does not answer") +
                      (errno != 0 ? std::string(": ") + std::strerror(errno) : "");
            return false;
        }
        return true;
    }

private:
    static std::string textOf(const host::api::Request& request) {
        std::string text = request.method + (request.path == kPicture ? " " : " /api/v1");
        for (const char c : request.path) {
            text += c == '/' ? "/" : escaped({c});
        }
        char separator = '?';
        for (const auto& [name, value] : request.query) {
            text += separator + name + "=" + escaped(value);
            separator = '&';
        }
        text += " HTTP/1.0\r\nHost: localhost\r\n";
        if (request.method != "GET") {
            text += std::string("Content-Type: ") +
                    (request.path == "/import" ? host::api::kSchemesType : "application/json") +
                    "\r\nContent-Length: " + std::to_string(request.body.size()) + "\r\n\r\n" +
                    request.body;
        } else {
            text += "\r\n";
        }
        return text;
    }

    bool isConnected(const Socket& to) const {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        if (m_path.size() >= sizeof address.sun_path) {
            errno = ENAMETOOLONG;
            return false;
        }
        std::copy(m_path.begin(), m_path.end(), address.sun_path);
        return connect(to.descriptor(), reinterpret_cast<const sockaddr*>(&address),
                       sizeof address) == 0;
    }

    bool exchange(const std::string& text, std::string& answer) const {
        const Socket to;
        const timeval limit = {kMostSeconds, 0};
        if (!isConnected(to) ||
            setsockopt(to.descriptor(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit) != 0) {
            return false;
        }
        for (std::size_t sent = 0; sent < text.size();) {
            const ssize_t count =
                ::send(to.descriptor(), text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
            if (count < 0 && errno != EINTR) {
                return false;
            }
            sent += static_cast<std::size_t>(std::max<ssize_t>(count, 0));
        }
        char buffer[4096];
        ssize_t count = 0;
        do {
            count = recv(to.descriptor(), buffer, sizeof buffer, 0);
            answer.append(buffer, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        } while ((count > 0 && answer.size() <= kMostAnswer) || (count < 0 && errno == EINTR));
        return count == 0;
    }

    /// @return false, with errno 0, for what is no whole answer
    static bool read(const std::string& answer, host::api::Response& response) {
        errno = 0;
        const std::size_t head = answer.find("\r\n\r\n");
        if (head == std::string::npos || answer.compare(0, 5, "HTTP/") != 0) {
            return false;
        }
        const std::string headers = answer.substr(0, head + 2);
        const std::string lowered = host::lowered(headers);
        const auto header = [&headers, &lowered](const char* name) {
            const std::string line = std::string("\r\n") + name + ":";
            const std::size_t begin = lowered.find(line);
            return begin == std::string::npos
                       ? std::string()
                       : host::trim(
                             headers.substr(begin + line.size(),
                                            headers.find("\r\n", begin + 2) - begin - line.size()));
        };
        int status = 0;
        int length = 0;
        if (!host::readIntWithin(answer.substr(answer.find(' ') + 1, 3), 100, 599, status)) {
            return false;
        }
        std::string body = answer.substr(head + 4);
        if (host::readInt(header("content-length"), length) &&
            body.size() != static_cast<std::size_t>(length)) {
            return false;
        }
        response.status = static_cast<unsigned int>(status);
        response.type = header("content-type");
        response.body = std::make_shared<const std::string>(std::move(body));
        return true;
    }

    std::string m_path;
};

} // namespace

std::unique_ptr<Client> daemonOf(const std::string& socket) {
    auto daemon = std::make_unique<Daemon>(socket);
    return daemon->listens() ? std::move(daemon) : nullptr;
}

} // namespace imgctl
