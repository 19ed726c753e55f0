#include <arpa/inet.h>
#include <sys/socket.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "HttpShared.h"

// Who may connect, how often, and for how long.
namespace http {
namespace {

constexpr auto kTellEvery = Seconds(1);

std::string textOf(const sockaddr* address) {
    char text[INET6_ADDRSTRLEN] = "";
    if (address->sa_family == AF_INET) {
        const auto* v4 = reinterpret_cast<const sockaddr_in*>(address);
        inet_ntop(AF_INET, &v4->sin_addr, text, sizeof text);
    } else if (address->sa_family == AF_INET6) {
        const auto* v6 = reinterpret_cast<const sockaddr_in6*>(address);
        if (IN6_IS_ADDR_V4MAPPED(&v6->sin6_addr)) {
            inet_ntop(AF_INET, &v6->sin6_addr.s6_addr[12], text, sizeof text);
        } else {
            inet_ntop(AF_INET6, &v6->sin6_addr, text, sizeof text);
        }
    } else {
        return "unix";
    }
    return text;
}

/// Whether the other end has sent its last byte, and all of it is read.
bool hasEnded(int fd) {
    char byte = 0;
    return recv(fd, &byte, 1, MSG_PEEK | MSG_DONTWAIT) == 0;
}

/// What the log says of connections that were refused: a line an address and second, with a count,
/// as a flood must not fill the log as well.
std::string refusedLine(const std::string& counted, Shared::Address& address,
                        Clock::time_point now) {
    std::string line = counted + ": " + std::to_string(address.refused) +
                       " refused, open connections: " + std::to_string(address.all);
    address.told = now;
    address.refused = 0;
    return line;
}

} // namespace

std::string limitKey(const std::string& address) {
    in6_addr v6{};
    if (inet_pton(AF_INET6, address.c_str(), &v6) != 1) {
        return address;
    }
    std::memset(&v6.s6_addr[8], 0, 8);
    char text[INET6_ADDRSTRLEN] = "";
    inet_ntop(AF_INET6, &v6, text, sizeof text);
    return std::string(text) + "/64";
}

void Shared::forget(const std::string& counted, bool known) {
    const auto found = addresses.find(counted);
    if (found == addresses.end()) {
        return;
    }
    --found->second.all;
    if (!known) {
        --found->second.strangers;
    }
}

void Shared::setDeadline(MHD_Connection* connection, Clock::time_point deadline) {
    const std::lock_guard<std::mutex> guard(lock);
    const auto found = connections.find(connection);
    if (found != connections.end()) {
        found->second.deadline = deadline;
        found->second.idle = false;
    }
}

MHD_Result Shared::acceptPolicy(void* cls, const sockaddr* address, socklen_t size) {
    Shared& shared = **static_cast<std::shared_ptr<Shared>*>(cls);
    if (size == 0 || address->sa_family == AF_UNIX) {
        return MHD_YES;
    }
    const std::string text = textOf(address);
    const auto& free = shared.limits.unlimited;
    if (std::find(free.begin(), free.end(), text) != free.end()) {
        return MHD_YES;
    }
    std::string line;
    {
        const std::lock_guard<std::mutex> guard(shared.lock);
        const std::string key = limitKey(text);
        Address& counted = shared.addresses[key];
        if (counted.all < shared.limits.ofAddress && counted.strangers < shared.limits.ofStranger) {
            return MHD_YES;
        }
        ++counted.refused;
        const Clock::time_point now = Clock::now();
        if (now - counted.told >= kTellEvery) {
            line = refusedLine(key, counted, now);
        }
    }
    if (!line.empty()) {
        shared.handler.log(line);
    }
    return MHD_NO;
}

void Shared::connectionChanged(void* cls, MHD_Connection* connection, void**,
                               MHD_ConnectionNotificationCode code) {
    Shared& shared = **static_cast<std::shared_ptr<Shared>*>(cls);
    const std::lock_guard<std::mutex> guard(shared.lock);
    if (code == MHD_CONNECTION_NOTIFY_CLOSED) {
        const auto found = shared.connections.find(connection);
        if (found != shared.connections.end()) {
            shared.forget(found->second.counted, found->second.known);
            shared.connections.erase(found);
        }
        return;
    }
    Connection record;
    const MHD_ConnectionInfo* info =
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
    record.fd = info != nullptr ? info->connect_fd : -1;
    info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CLIENT_ADDRESS);
    const bool hasAddress = info != nullptr && info->client_addr != nullptr;
    int domain = 0;
    socklen_t size = sizeof domain;
    // Who comes over the Unix socket may do much: the socket itself says that it is one.
    if (getsockopt(record.fd, SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0 && domain == AF_UNIX) {
        record.peer = record.counted = "unix";
    } else {
        record.peer = hasAddress ? textOf(info->client_addr) : "unknown";
        record.counted = limitKey(record.peer);
    }
    record.deadline = Clock::now() + Seconds(shared.limits.headSeconds);
    Address& address = shared.addresses[record.counted];
    ++address.all;
    ++address.strangers;
    shared.connections[connection] = std::move(record);
}

/// Ends what is too slow: the library's own timeout counts silence only, so a byte now and then
/// would hold a connection for ever. And what has ended: of an end that comes with a request the
/// library hears nothing, and whoever asks so again and again would hold all connections.
void Shared::sweep() {
    const Clock::time_point now = Clock::now();
    std::vector<std::shared_ptr<Stream>> stuck;
    std::vector<std::string> lines;
    {
        const std::lock_guard<std::mutex> guard(lock);
        for (auto& entry : connections) {
            Connection& connection = entry.second;
            const bool endedBefore = connection.ended;
            connection.ended = connection.idle && hasEnded(connection.fd);
            if (!connection.closing &&
                (now > connection.deadline || (endedBefore && connection.ended))) {
                connection.closing = true;
                shutdown(connection.fd, SHUT_RDWR);
            }
        }
        for (const auto& stream : streams) {
            if (stream->stuck(now)) {
                stuck.push_back(stream);
                const auto found = connections.find(stream->connection());
                if (found != connections.end()) {
                    shutdown(found->second.fd, SHUT_RDWR);
                }
            }
        }
        for (auto i = addresses.begin(); i != addresses.end();) {
            Address& address = i->second;
            if (address.refused > 0 && now - address.told >= kTellEvery) {
                lines.push_back(refusedLine(i->first, address, now));
            }
            const bool quiet = address.all == 0 && now - address.told >= kTellEvery;
            i = quiet ? addresses.erase(i) : std::next(i);
        }
    }
    for (const std::string& line : lines) {
        handler.log(line);
    }
    for (const auto& stream : stuck) {
        stream->end();
    }
}

} // namespace http
