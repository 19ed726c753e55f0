#include "ServingClient.h"

#include <arpa/inet.h>
#include <microhttpd.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

constexpr double kPatience = 20;

[[noreturn]] void fail(const std::string& what) {
    std::fprintf(stderr, "imgctl_serving_bench: %s\n", what.c_str());
    std::_Exit(2);
}

sockaddr_in addressOf(const std::string& text, unsigned int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    inet_pton(AF_INET, text.c_str(), &address.sin_addr);
    return address;
}

MHD_Result answerWithBody(void* cls, MHD_Connection* connection, const char*, const char*,
                          const char*, const char*, std::size_t*, void** context) {
    if (*context == nullptr) {
        *context = connection;
        return MHD_YES;
    }
    return MHD_queue_response(connection, MHD_HTTP_OK, static_cast<MHD_Response*>(cls));
}

} // namespace

double seconds() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

HttpClient::HttpClient(unsigned int port, const std::string& from, bool smallBuffer)
    : m_fd(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    const sockaddr_in own = addressOf(from, 0);
    const sockaddr_in other = addressOf("127.0.0.1", port);
    const int small = 2048;
    if (smallBuffer) {
        setsockopt(m_fd, SOL_SOCKET, SO_RCVBUF, &small, sizeof small);
    }
    if (bind(m_fd, reinterpret_cast<const sockaddr*>(&own), sizeof own) != 0 ||
        connect(m_fd, reinterpret_cast<const sockaddr*>(&other), sizeof other) != 0) {
        fail("no connection from " + from);
    }
}

HttpClient::~HttpClient() {
    close(m_fd);
}

void HttpClient::send(const std::string& bytes) const {
    if (::send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) < 0) {
        return; // closed by the other end, which reading tells
    }
}

bool HttpClient::take(double atMost) {
    pollfd ready = {m_fd, POLLIN, 0};
    if (poll(&ready, 1, static_cast<int>(atMost * 1000)) <= 0) {
        return true;
    }
    char part[65536];
    const ssize_t count = recv(m_fd, part, sizeof part, 0);
    if (count <= 0) {
        return false;
    }
    m_bytes.append(part, static_cast<std::size_t>(count));
    return true;
}

int HttpClient::ask(const std::string& request) {
    send(request);
    const double end = seconds() + kPatience;
    std::string::size_type head = 0;
    while ((head = m_bytes.find("\r\n\r\n")) == std::string::npos) {
        if (seconds() > end || !take(1)) {
            return 0;
        }
    }
    const std::string::size_type at = m_bytes.find("Content-Length: ");
    const std::size_t size =
        at < head ? static_cast<std::size_t>(std::atol(m_bytes.c_str() + at + 16)) : 0;
    while (m_bytes.size() < head + 4 + size) {
        if (seconds() > end || !take(1)) {
            return 0;
        }
    }
    const int status = std::atoi(m_bytes.c_str() + 9);
    m_body = m_bytes.substr(head + 4, size);
    m_bytes.erase(0, head + 4 + size);
    return status;
}

std::string httpRequest(const std::string& method, const std::string& path, const std::string& body,
                        const std::string& headers) {
    return method + " " + path + " HTTP/1.1\r\nHost: localhost\r\n" + headers +
           (method == "GET" ? "" : "Content-Type: application/json\r\n") +
           (body.empty() ? "" : "Content-Length: " + std::to_string(body.size()) + "\r\n") +
           "\r\n" + body;
}

ServedCamera::ServedCamera() {
    std::string pattern = std::filesystem::temp_directory_path() / "serving.XXXXXX";
    m_tree = mkdtemp(pattern.data());
    std::filesystem::copy(IMGCTL_SOURCE_DIR "/device", m_tree,
                          std::filesystem::copy_options::recursive);
}

ServedCamera::~ServedCamera() {
    stop();
    std::filesystem::remove_all(m_tree);
}

void ServedCamera::start(const std::vector<std::string>& options) {
    std::vector<std::string> words = {IMGCTLD, "--device", m_tree, "--listen", "127.0.0.1:0"};
    words.insert(words.end(), options.begin(), options.end());
    std::vector<char*> arguments;
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    int out[2];
    if (pipe(out) != 0) {
        fail("no pipe");
    }
    m_process = fork();
    if (m_process == 0) {
        dup2(out[1], 1);
        close(out[0]);
        std::freopen("/dev/null", "w", stderr);
        execv(arguments[0], arguments.data());
        std::_Exit(127);
    }
    close(out[1]);
    std::string said;
    char part[4096];
    for (ssize_t count; said.find("serving at") == std::string::npos ||
                        said.find('\n', said.find("serving at")) == std::string::npos;) {
        count = read(out[0], part, sizeof part);
        if (count <= 0) {
            fail("imgctld does not start: " + said);
        }
        said.append(part, static_cast<std::size_t>(count));
    }
    m_port = static_cast<unsigned int>(
        std::atoi(said.c_str() + said.find("127.0.0.1:", said.find("serving at")) + 10));
    // What it says on is thrown away: a full pipe would stop it.
    std::thread([fd = out[0]] {
        char more[4096];
        while (read(fd, more, sizeof more) > 0) {
        }
        close(fd);
    }).detach();
}

double ServedCamera::stop() {
    if (m_process < 0) {
        return 0;
    }
    const double begin = seconds();
    kill(m_process, SIGTERM);
    waitpid(m_process, nullptr, 0);
    m_process = -1;
    return seconds() - begin;
}

double ServedCamera::processorTime() const {
    std::ifstream file("/proc/" + std::to_string(m_process) + "/stat");
    std::string text((std::istreambuf_iterator<char>(file)), {});
    std::istringstream rest(text.substr(text.rfind(')') + 1));
    std::string skipped;
    for (int i = 0; i < 11; ++i) {
        rest >> skipped;
    }
    double user = 0;
    double system = 0;
    rest >> user >> system;
    return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

double ServedCamera::megabytes(const char* what) const {
    std::ifstream file("/proc/" + std::to_string(m_process) + "/status");
    std::string name;
    double value = 0;
    while (file >> name && name != std::string(what) + ":") {
    }
    file >> value;
    return value / 1024;
}

BareService::BareService(const std::string& body) {
    int told[2];
    if (pipe(told) != 0) {
        fail("no pipe");
    }
    m_process = fork();
    if (m_process == 0) {
        MHD_Response* const response = MHD_create_response_from_buffer(
            body.size(), const_cast<char*>(body.data()), MHD_RESPMEM_PERSISTENT);
        MHD_add_response_header(response, "Content-Type", "application/json");
        MHD_Daemon* const daemon =
            MHD_start_daemon(MHD_USE_EPOLL_INTERNAL_THREAD, 0, nullptr, nullptr, answerWithBody,
                             response, MHD_OPTION_END);
        const MHD_DaemonInfo* const info =
            daemon != nullptr ? MHD_get_daemon_info(daemon, MHD_DAEMON_INFO_BIND_PORT) : nullptr;
        const unsigned int port = info != nullptr ? info->port : 0;
        if (write(told[1], &port, sizeof port) > 0) {
            pause();
        }
        std::_Exit(0);
    }
    if (read(told[0], &m_port, sizeof m_port) <= 0 || m_port == 0) {
        fail("the bare service does not start");
    }
    close(told[0]);
    close(told[1]);
}

BareService::~BareService() {
    kill(m_process, SIGKILL);
    waitpid(m_process, nullptr, 0);
}

StreamReaders::StreamReaders() : m_epoll(epoll_create1(0)), m_thread([this] { run(); }) {}

StreamReaders::~StreamReaders() {
    m_over = true;
    m_thread.join();
    close(m_epoll);
}

void StreamReaders::add(unsigned int port, const std::string& request, int count, int each) {
    for (int i = 0; i < count; ++i) {
        m_addresses += i % each == 0 ? 1 : 0;
        m_clients.push_back(
            std::make_unique<HttpClient>(port, "127.0.3." + std::to_string(m_addresses)));
        m_clients.back()->send(request);
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.fd = m_clients.back()->fd();
        epoll_ctl(m_epoll, EPOLL_CTL_ADD, event.data.fd, &event);
    }
}

void StreamReaders::run() {
    epoll_event events[64];
    std::vector<char> part(1 << 17);
    while (!m_over) {
        const int count = epoll_wait(m_epoll, events, 64, 100);
        for (int i = 0; i < count; ++i) {
            if (recv(events[i].data.fd, part.data(), part.size(), MSG_TRUNC) <= 0) {
                epoll_ctl(m_epoll, EPOLL_CTL_DEL, events[i].data.fd, nullptr);
            }
        }
    }
}
