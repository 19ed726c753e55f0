#pragma once

#include <sys/types.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

/// What measures a service from outside: connections, a child process, readers.

/// Seconds of a clock that only goes forward.
double seconds();

/// A connection over the loopback. A failure ends the process with a sentence.
class HttpClient {
public:
    /// @param from         address of this machine that it comes from
    /// @param smallBuffer  hardly anything is taken before it is read
    explicit HttpClient(unsigned int port, const std::string& from = "127.0.0.1",
                        bool smallBuffer = false);
    ~HttpClient();
    HttpClient(const HttpClient&) = delete;
    HttpClient& operator=(const HttpClient&) = delete;

    void send(const std::string& bytes) const;
    /// Sends a request and reads its answer. @return its status; 0: the connection ended
    int ask(const std::string& request);
    /// Reads what is there, waiting for it no longer. @return false: the connection ended
    bool take(double atMost);

    const std::string& body() const { return m_body; }
    std::string& unread() { return m_bytes; }
    int fd() const { return m_fd; }

private:
    int m_fd;
    std::string m_bytes;
    std::string m_body;
};

/// "METHOD PATH HTTP/1.1" with the headers that every client sends.
std::string httpRequest(const std::string& method, const std::string& path,
                        const std::string& body = "", const std::string& headers = "");

/// imgctld on a device tree of its own, which goes with it.
class ServedCamera {
public:
    ServedCamera();
    ~ServedCamera();
    ServedCamera(const ServedCamera&) = delete;
    ServedCamera& operator=(const ServedCamera&) = delete;

    /// Starts it. What the tree is to hold beside the sample must be there before.
    /// @param options  beside the tree and the address
    void start(const std::vector<std::string>& options);
    /// @return seconds until the process has ended
    double stop();
    double processorTime() const;             ///< seconds
    double megabytes(const char* what) const; ///< "VmRSS", "VmHWM"
    const std::string& tree() const { return m_tree; }
    unsigned int port() const { return m_port; }

private:
    std::string m_tree;
    pid_t m_process = -1;
    unsigned int m_port = 0;
};

/// The least that a service on the same library takes: it answers every request with one body.
class BareService {
public:
    /// Before any thread is begun.
    explicit BareService(const std::string& body);
    ~BareService();
    BareService(const BareService&) = delete;
    BareService& operator=(const BareService&) = delete;
    unsigned int port() const { return m_port; }

private:
    pid_t m_process = -1;
    unsigned int m_port = 0;
};

/// Reads streams and throws away what comes, on a thread of its own.
class StreamReaders {
public:
    StreamReaders();
    ~StreamReaders();
    StreamReaders(const StreamReaders&) = delete;
    StreamReaders& operator=(const StreamReaders&) = delete;

    /// @param each  so many from one address
    void add(unsigned int port, const std::string& request, int count, int each);

private:
    void run();

    int m_epoll;
    int m_addresses = 0;
    std::vector<std::unique_ptr<HttpClient>> m_clients;
    std::atomic<bool> m_over{false};
    std::thread m_thread;
};
