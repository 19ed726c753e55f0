#include "RawClient.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cstdlib>

namespace {

constexpr double kPatience = 20;

double now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

sockaddr_in addressOf(const char* text, unsigned int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    inet_pton(AF_INET, text, &address.sin_addr);
    return address;
}

} // namespace

RawClient::RawClient(unsigned int port, const char* from)
    : m_fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const sockaddr_in own = addressOf(from, 0);
    const sockaddr_in other = addressOf("127.0.0.1", port);
    bind(m_fd, reinterpret_cast<const sockaddr*>(&own), sizeof own);
    m_ended = connect(m_fd, reinterpret_cast<const sockaddr*>(&other), sizeof other) != 0;
}

RawClient::~RawClient() {
    close(m_fd);
}

void RawClient::send(const std::string& bytes, bool last) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t count = ::send(m_fd, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (count <= 0) {
            return; // closed: what it answered before that can still be read
        }
        done += static_cast<std::size_t>(count);
    }
    if (last) {
        shutdown(m_fd, SHUT_WR);
    }
}

bool RawClient::receive(double seconds) {
    pollfd ready = {m_fd, POLLIN, 0};
    if (m_ended || poll(&ready, 1, static_cast<int>(std::max(seconds, 0.0) * 1000)) <= 0) {
        return false;
    }
    char part[65536];
    const ssize_t count = recv(m_fd, part, sizeof part, 0);
    m_ended = count <= 0;
    m_bytes.append(part, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return !m_ended;
}

bool RawClient::readUntil(const std::string& text, double seconds) {
    const double end = now() + seconds;
    while (m_bytes.find(text) == std::string::npos) {
        if (m_ended || now() > end || (!receive(end - now()) && m_ended)) {
            return m_bytes.find(text) != std::string::npos;
        }
    }
    return true;
}

bool RawClient::ended(double seconds) {
    const double end = now() + seconds;
    while (!m_ended && now() < end) {
        receive(end - now());
    }
    return m_ended;
}

Answer RawClient::answer(bool body) {
    Answer result;
    if (!readUntil("\r\n\r\n", kPatience)) {
        return result;
    }
    const std::string head = m_bytes.substr(0, m_bytes.find("\r\n\r\n") + 2);
    m_bytes.erase(0, head.size() + 2);
    result.status = std::atoi(head.c_str() + head.find(' '));
    std::string::size_type at = head.find("\r\n") + 2;
    while (at < head.size()) {
        const std::string::size_type end = head.find("\r\n", at);
        const std::string::size_type colon = head.find(": ", at);
        std::string name = head.substr(at, colon - at);
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        result.headers[name] = head.substr(colon + 2, end - colon - 2);
        at = end + 2;
    }
    const auto size = std::strtoull(result.header("content-length").c_str(), nullptr, 10);
    while (body && m_bytes.size() < size && receive(kPatience)) {
    }
    if (body) {
        result.body = m_bytes.substr(0, size);
        m_bytes.erase(0, result.body.size());
    }
    return result;
}
