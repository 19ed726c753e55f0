#include "Program.h"

#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <clocale>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>
#include <fstream>
#include <sstream>

#include "Certificate.h"
#include "HttpServer.h"
#include "Service.h"
#include "Watchdog.h"
#include "host/Camera.h"
#include "host/CameraTree.h"
#include "host/CommandLine.h"
#include "host/Text.h"

namespace {

using namespace imgctld;

struct Arguments {
    host::CameraArguments device;
    std::string listen = "127.0.0.1:8080";
    std::string users;
    std::string certificate;
    std::string key;
    bool insecureHttp = false;
    bool noLogin = false;
    bool onvif = false;
    std::vector<std::string> names;
    std::vector<std::string> proxies;
    std::string publicUrl;
    int videos = 16;
    bool help = false;
    bool version = false;
};

std::vector<host::CommandLineOption> commandLine(Arguments& to) {
    std::vector<host::CommandLineOption> options = host::cameraCommandLine(to.device);
    using host::takeFlag;
    using host::takeText;
    using host::takeTexts;
    options.insert(
        options.end(),
        {{"--listen", "ADDRESS:PORT", "an IP address and a port",
          "where to serve (default 127.0.0.1:8080); port 0: any free one", takeText(to.listen)},
         {"--users", "FILE", "a file",
          "users and tokens (default: users.cfg in the device tree); see imgctl user",
          takeText(to.users)},
         {"--tls-cert", "FILE", "a PEM file", "certificate; see imgctl tls new",
          takeText(to.certificate)},
         {"--tls-key", "FILE", "a PEM file of mode 0600", "its key", takeText(to.key)},
         {"--insecure-http", "", "", "serve other machines without encryption",
          takeFlag(to.insecureHttp)},
         {"--name", "NAME", "a host name", "a name that this service is reached by; repeatable",
          takeTexts(to.names)},
         {"--trusted-proxy", "ADDRESS", "an IP address",
          "believe this proxy who it speaks for; repeatable",
          [&to](const std::string& value) {
              to.proxies.push_back(value);
              return isAddress(value);
          }},
         {"--public-url", "URL", "http://... or https://...",
          "where a proxy serves this to the outside",
          [&to](const std::string& value) {
              to.publicUrl = value;
              return value.compare(0, 7, "http://") == 0 || value.compare(0, 8, "https://") == 0;
          }},
         {"--no-login", "", "", "everybody on this machine may do everything, and see the picture",
          takeFlag(to.noLogin)},
         {"--onvif", "", "",
          "answer recorders that speak ONVIF too; their users are made by imgctl onvif",
          takeFlag(to.onvif)},
         {"--videos", "N", "1 .. 100", "how many may watch at a time (default 16)",
          host::takeNumber(1, 100, to.videos)},
         {"--help", "", "", "show this help", takeFlag(to.help)},
         {"--version", "", "", "show the version", takeFlag(to.version)}});
    return options;
}

bool splitListen(const std::string& text, std::string& address, unsigned int& port) {
    const std::string::size_type colon = text.rfind(':');
    int number = 0;
    if (colon == std::string::npos ||
        !host::readIntWithin(text.substr(colon + 1), 0, 65535, number)) {
        return false;
    }
    port = static_cast<unsigned int>(number);
    address = text.substr(0, colon);
    if (address.size() > 2 && address.front() == '[' && address.back() == ']') {
        address = address.substr(1, address.size() - 2);
    }
    return !address.empty();
}

/// The host's part of a URL, in lower case.
std::string hostOf(const std::string& url) {
    std::string::size_type begin = url.find("://");
    begin = begin == std::string::npos ? 0 : begin + 3;
    return host::lowered(url.substr(begin, url.find_first_of(":/", begin) - begin));
}

/// What must hold before the service may be reached from elsewhere.
/// @return what is wrong and what to do; empty: nothing
std::string refusal(const Arguments& arguments, const std::string& address,
                    const access_control::Accounts& accounts) {
    if (arguments.onvif && accounts.onvif.empty()) {
        return "--onvif needs somebody to log in: 'imgctl onvif add NAME'";
    }
    if (isLoopback(address)) {
        return arguments.noLogin || accounts.users.empty() || accounts.hasAdministrator()
                   ? std::string()
                   : "the users file holds no administrator; make one with 'imgctl user add NAME "
                     "--role administrator'";
    }
    if (arguments.noLogin) {
        return "--no-login is for this machine alone; listen at 127.0.0.1";
    }
    if (!accounts.hasAdministrator()) {
        return "to be reached from other machines it needs an administrator: 'imgctl user add "
               "NAME'";
    }
    if (arguments.certificate.empty() && !arguments.insecureHttp) {
        return "without encryption passwords can be read on the way: give --tls-cert and --tls-key "
               "('imgctl tls new' makes them), or --insecure-http if you must";
    }
    return std::string();
}

/// Signals are taken by this thread, one at a time, in the loop of serve().
sigset_t takeSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        sigaddset(&set, number);
    }
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    signal(SIGPIPE, SIG_IGN);
    return set;
}

class Daemon {
public:
    explicit Daemon(Arguments arguments) : m_arguments(std::move(arguments)) {}

    int run() {
        const sigset_t signals = takeSignals();
        if (!openCamera() || !openService()) {
            std::fprintf(stderr, "imgctld: %s\n", m_problem.c_str());
            return 1;
        }
        std::printf("imgctld: serving at %s://%s\n", m_tls.certificate.empty() ? "http" : "https",
                    m_shownAddress.c_str());
        std::fflush(stdout);
        Watchdog watchdog;
        watchdog.ready();
        const bool asked = serve(signals, watchdog);
        watchdog.stopping();
        m_local->stop();
        m_server->stop();
        unlink(m_socketPath.c_str());
        // The camera's answers still come while it stops; the service must be there for them.
        m_camera.stop();
        return asked ? 0 : 1;
    }

private:
    bool openCamera() {
        host::CameraArguments& device = m_arguments.device;
        device.camera.program = "imgctld";
        device.camera.waitForCamera = true;
        host::CameraTree tree;
        if (!host::deviceTreeFor(device.camera, tree, m_problem)) {
            return false;
        }
        device.camera.device = tree.path;
        if (!tree.madeFor.empty()) {
            std::printf("imgctld: made a device tree for %s: %s\n",
                        host::printable(tree.madeFor).c_str(), host::printable(tree.path).c_str());
        }
        if (!device.trace.empty()) {
            m_trace.reset(std::fopen(device.trace.c_str(), "we"));
            if (m_trace == nullptr) {
                m_problem = device.trace + ": " + std::strerror(errno);
                return false;
            }
            device.camera.trace = m_trace.get();
        }
        const host::StartProblem problem = m_camera.start(device.camera);
        m_problem = problem.text;
        return !problem;
    }

    bool loadTls() {
        if (m_arguments.certificate.empty() != m_arguments.key.empty()) {
            m_problem = "--tls-cert and --tls-key belong together";
            return false;
        }
        return m_arguments.certificate.empty() ||
               readCertificate(m_arguments.certificate, m_arguments.key, m_tls, m_expires,
                               m_problem);
    }

    bool openService() {
        std::string address;
        unsigned int port = 0;
        if (!splitListen(m_arguments.listen, address, port)) {
            m_problem = "--listen: ADDRESS:PORT, such as 127.0.0.1:8080";
            return false;
        }
        const std::string& tree = m_arguments.device.camera.device;
        if (m_arguments.users.empty()) {
            m_arguments.users = tree + "/users.cfg";
        }
        access_control::Accounts accounts;
        if (!access_control::readAccounts(m_arguments.users, accounts, m_problem) || !loadTls()) {
            return false;
        }
        m_problem = refusal(m_arguments, address, accounts);
        if (!m_problem.empty()) {
            return false;
        }
        const int tcp = http::listenTcp(address, port, m_problem);
        if (tcp < 0) {
            return false;
        }
        m_socketPath = tree + "/imgctld.sock";
        const int local = http::listenUnix(m_socketPath, m_problem);
        if (local < 0) {
            close(tcp);
            return false;
        }
        ServiceOptions options;
        options.names.hosts = machineNames();
        for (const std::string& name : m_arguments.names) {
            options.names.hosts.push_back(host::lowered(name));
        }
        if (!m_arguments.publicUrl.empty()) {
            options.names.hosts.push_back(hostOf(m_arguments.publicUrl));
        }
        options.names.port = http::portOf(tcp);
        options.names.encrypted = !m_tls.certificate.empty();
        options.names.publicUrl = m_arguments.publicUrl;
        options.names.proxies = m_arguments.proxies;
        options.names.openToAll = m_arguments.noLogin || accounts.users.empty();
        options.usersFile = m_arguments.users;
        options.noLogin = m_arguments.noLogin;
        options.onvif = m_arguments.onvif;
        options.pictureOpen = m_arguments.noLogin || m_arguments.device.camera.layer == "simulator";
        options.mostVideos = static_cast<std::size_t>(m_arguments.videos);
        options.mostVideosOfSession = options.mostVideos > 16 ? options.mostVideos : 4;
        options.certificateExpires = m_expires;
        m_service = std::make_unique<Service>(m_camera, options);
        http::Limits limits;
        limits.unlimited = m_arguments.proxies;
        if (options.names.openToAll) {
            limits.ofStranger = limits.ofAddress;
        }
        m_server = std::make_unique<http::HttpServer>(*m_service, limits);
        m_local = std::make_unique<http::HttpServer>(*m_service, http::Limits());
        m_service->setConnectionCount(
            [this] { return m_server->connections() + m_local->connections(); });
        const bool v6 = address.find(':') != std::string::npos;
        m_shownAddress =
            (v6 ? "[" + address + "]" : address) + ":" + std::to_string(options.names.port) + "/";
        return m_service->readUsers(m_problem) && m_server->start(tcp, m_tls, m_problem) &&
               m_local->start(local, http::HttpServer::Tls(), m_problem);
    }

    /// @return true when it was told to end, false when it can serve no longer
    bool serve(const sigset_t& signals, Watchdog& watchdog) {
        for (;;) {
            const timespec half = {0, 500000000};
            const int number = sigtimedwait(&signals, nullptr, &half);
            if (number == SIGINT || number == SIGTERM) {
                return true;
            }
            if (number == SIGHUP) {
                reload();
            }
            if (!m_server->running()) {
                m_service->log("nothing is served any more; ending");
                return false;
            }
            m_service->tick();
            // A camera that is gone is none of the watchdog's business; a thread that hangs is.
            if (m_camera.busySeconds() < Watchdog::kMostBusySeconds) {
                watchdog.alive();
            }
        }
    }

    void reload() {
        if (m_arguments.certificate.empty()) {
            return;
        }
        http::HttpServer::Tls fresh;
        std::string problem;
        long long expires = 0;
        if (!readCertificate(m_arguments.certificate, m_arguments.key, fresh, expires, problem) ||
            !m_server->restart(fresh, problem)) {
            m_service->log("certificate not taken: " + problem);
            return;
        }
        m_tls = fresh;
        m_service->setCertificateExpiry(expires);
        m_service->log("certificate read anew");
    }

    Arguments m_arguments;
    std::unique_ptr<FILE, int (*)(FILE*)> m_trace{nullptr, std::fclose};
    host::Camera m_camera;
    std::unique_ptr<Service> m_service;
    std::unique_ptr<http::HttpServer> m_server;
    std::unique_ptr<http::HttpServer> m_local;
    http::HttpServer::Tls m_tls;
    long long m_expires = 0;
    std::string m_socketPath;
    std::string m_shownAddress;
    std::string m_problem;
};

int runDaemon(int argc, char** argv) {
    // What it writes, and what it would leave behind, holds secrets.
    umask(0077);
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
    Arguments arguments;
    const std::vector<host::CommandLineOption> options = commandLine(arguments);
    std::string problem;
    if (!host::readCommandLine(argc, argv, options, nullptr, problem)) {
        std::fprintf(stderr, "imgctld: %s\n", problem.c_str());
        return 2;
    }
    if (arguments.help) {
        std::printf(
            "Usage: imgctld [OPTION]...\n"
            "A camera on the network: its page, its picture, and an interface for "
            "programs.\n\nOptions:\n%s",
            host::commandLineHelp(options).c_str());
        return 0;
    }
    if (arguments.version) {
        std::printf("imgctld %s\n", IMGCTL_VERSION);
        return 0;
    }
    return Daemon(std::move(arguments)).run();
}

} // namespace

int imgctld::runProgram(int argc, char** argv) {
    try {
        std::setlocale(LC_CTYPE, "");
        return runDaemon(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "imgctld: %s\n", error.what());
        return 1;
    }
}
