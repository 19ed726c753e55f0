#include "Daemon.h"

#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "LinuxFramework.h"
#include "SimulatedImageAdjust.h"

Daemon::Daemon() {
    std::string pattern = std::filesystem::temp_directory_path() / "daemon.XXXXXX";
    root = mkdtemp(pattern.data());
    users = root + "/users.cfg";
    std::filesystem::copy(IMGCTL_SOURCE_DIR "/device", root,
                          std::filesystem::copy_options::recursive);
    simulated_ia::reset();
}

Daemon::~Daemon() {
    if (server != nullptr) {
        server->stop();
    }
    camera.stop();
    server.reset();
    service.reset();
    simulated_ia::reset();
    linux_framework::useRealClock();
    linux_framework::setDeviceRoot("/");
    std::filesystem::remove_all(root);
}

void Daemon::start(bool withUsers, http::Limits limits, imgctld::ServiceOptions options) {
    host::CameraOptions asked;
    asked.device = root;
    asked.layer = layer;
    asked.speed = speed;
    asked.detail = "(max_scheme=4)(lensType=motor)";
    asked.clock = host::CameraOptions::Clock{12, 0, 0};
    const host::StartProblem problem = camera.start(asked);
    ASSERT_FALSE(problem) << problem.text;
    std::string wrong;
    if (withUsers) {
        const auto add = [](access_control::Accounts& all, std::string& why) {
            bool good = true;
            for (const char* name : {"administrator", "operator", "viewer", "monitor"}) {
                good = good && access_control::addUser(all, name, *access_control::roleOf(name),
                                                       kPassword, why);
            }
            return good;
        };
        ASSERT_TRUE(access_control::changeAccounts(users, add, wrong)) << wrong;
    }
    const int listening = http::listenTcp("127.0.0.1", 0, wrong);
    ASSERT_GE(listening, 0) << wrong;
    port = http::portOf(listening);
    options.names.hosts = {"camera.local"};
    options.names.port = port;
    options.names.openToAll = !withUsers;
    options.usersFile = users;
    service = std::make_unique<imgctld::Service>(camera, options);
    ASSERT_TRUE(service->readUsers(wrong)) << wrong;
    server = std::make_unique<http::HttpServer>(*service, limits);
    ASSERT_TRUE(server->start(listening, http::HttpServer::Tls(), wrong)) << wrong;
}

std::string Daemon::request(const std::string& method, const std::string& path,
                            const std::string& headers, const std::string& body) const {
    std::string text = method + " " + path + " HTTP/1.1\r\n" + headers;
    if (headers.find("Host:") == std::string::npos) {
        text += "Host: 127.0.0.1:" + std::to_string(port) + "\r\n";
    }
    if (method != "GET" && headers.find("Content-Type:") == std::string::npos) {
        text += "Content-Type: application/json\r\n";
    }
    if (!body.empty()) {
        text += "Content-Length: " + std::to_string(body.size()) + "\r\n";
    }
    return text + "\r\n" + body;
}

Answer Daemon::ask(const std::string& method, const std::string& path, const std::string& headers,
                   const std::string& body) const {
    RawClient client(port);
    client.send(request(method, path, headers, body));
    return client.answer();
}

std::string Daemon::as(const std::string& role) {
    std::string& cookie = m_cookies[role];
    if (cookie.empty()) {
        const Answer answer = ask("POST", "/api/v1/login", "",
                                  R"({"name":")" + role + R"(","password":")" + kPassword + "\"}");
        EXPECT_EQ(answer.status, 200) << answer.body;
        const std::string given = answer.header("set-cookie");
        cookie = "Cookie: " + given.substr(0, given.find(';')) + "\r\n";
    }
    return cookie;
}

bool Daemon::endsSoon(RawClient& stream) {
    for (int i = 0; i < 10; ++i) {
        service->tick();
        // One in chunks leaves its connection for the next request.
        if (stream.ended(0.1) || stream.unread().find("\r\n0\r\n\r\n") != std::string::npos) {
            return true;
        }
    }
    return false;
}

int runProgram(const std::string& program, const std::string& words, std::string& output) {
    output.clear();
    FILE* const pipe =
        popen(("bash -c 'timeout 20 " + program + " " + words + " 2>&1'").c_str(), "r");
    char part[4096];
    while (const std::size_t count = std::fread(part, 1, sizeof part, pipe)) {
        output.append(part, count);
    }
    return WEXITSTATUS(pclose(pipe));
}
