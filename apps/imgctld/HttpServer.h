#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "HttpMessages.h"

namespace http {

/// An HTTP/1.1 server on one listening socket, with one thread for all its connections and one that
/// sweeps out the slow. Nothing else in the project knows the library beneath.
class HttpServer {
public:
    struct Tls {
        std::string certificate; ///< PEM
        std::string key;         ///< PEM; both empty: plain HTTP
    };

    /// @param handler  must outlive the server
    HttpServer(Handler& handler, Limits limits);
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    /// Serves on a listening socket, which it takes over.
    /// @param problem  receives what is wrong
    bool start(int listenSocket, const Tls& tls, std::string& problem);

    /// Answers what waits with 503, ends streams and connections, and closes the socket.
    void stop();

    /// Serves on with another certificate; connections that are open end.
    /// @param problem  receives what is wrong
    /// @return false: it serves with what it had before, or, where even that fails, not at all
    bool restart(const Tls& tls, std::string& problem);

    /// Whether it serves. On the thread that starts and stops it.
    bool running() const;

    /// Open connections.
    std::size_t connections() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

/// Opens a listening TCP socket. @param problem  receives what is wrong. @return it, or -1
int listenTcp(const std::string& address, unsigned int port, std::string& problem);

/// Opens a listening Unix socket of mode 0600, in place of a dead one. @return it, or -1
int listenUnix(const std::string& path, std::string& problem);

/// The port that a socket listens at.
unsigned int portOf(int listenSocket);

} // namespace http
