#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <set>

#include "FuzzCamera.h"
#include "LinuxFramework.h"
#include "Service.h"
#include "host/Camera.h"

namespace {

/// A camera behind the service, twice: open to everybody, and for users alone.
class Served {
public:
    Served() {
        signal(SIGPIPE, SIG_IGN);
        const std::string users = linux_framework::deviceRoot() + "/users.cfg";
        const auto add = [](access_control::Accounts& all, std::string& why) {
            return access_control::addUser(all, "a", access_control::Role::Administrator,
                                           "ten letters", why);
        };
        std::string wrong;
        require(access_control::changeAccounts(users, add, wrong), "there is a user");
        host::CameraOptions options;
        options.device = linux_framework::deviceRoot();
        options.detail = "(max_scheme=2)";
        options.clock = host::CameraOptions::Clock{3, 0, 0};
        require(!camera.start(options), "the camera starts");
        serve(open, "");
        serve(closed, users);
    }
    ~Served() {
        open.server->stop();
        closed.server->stop();
        camera.stop();
    }

    struct Face {
        std::unique_ptr<imgctld::Service> service;
        std::unique_ptr<http::HttpServer> server;
        unsigned int port = 0;
    };
    host::Camera camera;
    Face open;
    Face closed;

private:
    void serve(Face& face, const std::string& users) {
        std::string wrong;
        const int listening = http::listenTcp("127.0.0.1", 0, wrong);
        face.port = http::portOf(listening);
        imgctld::ServiceOptions options;
        options.names.port = face.port;
        options.names.openToAll = users.empty();
        options.usersFile = users;
        face.service = std::make_unique<imgctld::Service>(camera, options);
        require(face.service->readUsers(wrong), "the users are read");
        http::Limits limits;
        limits.unlimited = {"127.0.0.1"};
        face.server = std::make_unique<http::HttpServer>(*face.service, limits);
        require(face.server->start(listening, {}, wrong), "the service starts");
    }
};

/// Sends bytes in parts and reads what comes, streams for a moment only.
/// @param patience  milliseconds until nothing more is awaited
std::string talk(unsigned int port, const std::vector<std::string>& parts, int patience = 100) {
    constexpr std::size_t kEnough = 300000;
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    require(connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0,
            "the service takes connections");
    for (const std::string& part : parts) {
        if (send(fd, part.data(), part.size(), MSG_NOSIGNAL) < 0) {
            break;
        }
    }
    shutdown(fd, SHUT_WR);
    std::string answer;
    char block[16384];
    pollfd ready = {fd, POLLIN, 0};
    while (answer.size() < kEnough && poll(&ready, 1, patience) > 0) {
        const ssize_t count = recv(fd, block, sizeof block, 0);
        if (count <= 0) {
            break;
        }
        answer.append(block, static_cast<std::size_t>(count));
    }
    close(fd);
    return answer;
}

} // namespace

/// What comes over a connection. Its first byte tells which face: "U" the one with users; what
/// follows comes in the parts that the separator makes, with PORT where a client writes the port.
void tryInput(const std::string& input) {
    static Served served;
    const bool known = input.compare(0, 1, "U") == 0;
    Served::Face& face = known ? served.closed : served.open;
    std::vector<std::string> parts = texts(input.substr(known ? 1 : 0), 4);
    for (std::string& part : parts) {
        for (std::string::size_type at; (at = part.find("PORT")) != std::string::npos;) {
            part.replace(at, 4, std::to_string(face.port));
        }
    }
    const std::string answer = talk(face.port, parts);
    require(answer.empty() || answer.compare(0, 9, "HTTP/1.1 ") == 0, "an answer is HTTP");
    const int status = answer.empty() ? 0 : std::atoi(answer.c_str() + 9);
    static const std::set<int> sound = {0,   100, 200, 201, 400, 401, 403, 404, 405, 408, 409, 413,
                                        414, 415, 421, 422, 429, 431, 501, 502, 503, 505, 507};
    require(sound.count(status) != 0, "an answer is one that the service gives");
    if (known) {
        require(answer.find("\"unsaved\"") == std::string::npos &&
                    answer.find("\"groups\"") == std::string::npos,
                "nothing of the camera is told to a stranger");
    }
    const std::string next = "GET / HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n";
    require(talk(face.port, {next}, 10000).compare(0, 12, "HTTP/1.1 200") == 0,
            "the next one is answered");
}
