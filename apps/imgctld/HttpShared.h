#pragma once

#include <microhttpd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "HttpMessages.h"

/// What the parts of the HTTP server share. For them alone.
namespace http {

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::seconds;
using Bytes = std::shared_ptr<const std::string>;

constexpr std::size_t kStreamBlock = 32768;
constexpr auto kNever = Clock::time_point::max();

/// What connections, exchanges and streams share; lives as long as the last of them.
struct Shared {
    struct Connection {
        int fd = -1;
        std::string peer;
        std::string counted;
        bool known = false;
        bool closing = false;
        bool idle = true;   ///< nothing of a request is known, or the last one is answered
        bool ended = false; ///< idle, and its other end had sent its last byte when swept last
        Clock::time_point deadline = kNever;
    };
    struct Address {
        unsigned int all = 0;
        unsigned int strangers = 0;
        unsigned int refused = 0;
        Clock::time_point told{};
    };
    class Stream;
    class Waiting;

    Shared(Handler& h, Limits l) : handler(h), limits(std::move(l)) {}

    void forget(const std::string& counted, bool known);
    void setDeadline(MHD_Connection* connection, Clock::time_point deadline);
    /// The library's questions about connections; cls is the address of a shared_ptr to this.
    static MHD_Result acceptPolicy(void* cls, const sockaddr* address, socklen_t size);
    static void connectionChanged(void* cls, MHD_Connection* connection, void**,
                                  MHD_ConnectionNotificationCode code);
    /// Ends what is too slow, and logs what was refused. To be called a few times a second.
    void sweep();
    void resume(MHD_Connection* connection);

    Handler& handler;
    const Limits limits;
    std::atomic<bool> stopping{false};
    std::mutex lock; // guards what follows
    std::condition_variable changed;
    std::map<MHD_Connection*, Connection> connections;
    std::map<std::string, Address> addresses;
    std::set<std::shared_ptr<Waiting>> waiting;
    std::set<std::shared_ptr<Stream>> streams;
    unsigned int suspended = 0; ///< connections that the library must see again before it stops
};

/// A response that goes on until its source, its reader or the server ends it.
class Shared::Stream : public StreamControl, public std::enable_shared_from_this<Stream> {
public:
    Stream(std::shared_ptr<Shared> shared, MHD_Connection* connection,
           std::unique_ptr<Source> source, StreamOptions options)
        : m_shared(std::move(shared)),
          m_connection(connection),
          m_source(std::move(source)),
          m_options(std::move(options)) {}

    void wake() override { proceed(false); }
    void end() override { proceed(true); }
    bool over() const override { return m_over; }

    /// The library asks for bytes.
    ssize_t read(char* buffer, std::size_t most);

    /// The response is gone, and with it the connection, or its use for the stream.
    void close();

    /// @return true when the reader has taken nothing for too long
    bool stuck(Clock::time_point now) const {
        return !m_suspended && !m_over && now - m_progress.load() > Seconds(m_options.secondsStuck);
    }

    MHD_Connection* connection() const { return m_connection; }

private:
    bool suspend();

    void proceed(bool last);

    const std::shared_ptr<Shared> m_shared;
    MHD_Connection* const m_connection;
    std::unique_ptr<Source> m_source;
    const StreamOptions m_options;
    Bytes m_chunk;
    std::size_t m_sent = 0;
    std::atomic<Clock::time_point> m_progress{Clock::now()};
    std::atomic<bool> m_over{false};
    std::atomic<bool> m_suspended{false}; ///< changed under the lock
    std::mutex m_lock;                    // guards what follows
    bool m_woken = false;
    bool m_ended = false;
};

/// A request between its last byte and its answer.
class Shared::Waiting : public std::enable_shared_from_this<Waiting> {
public:
    Waiting(std::shared_ptr<Shared> shared, MHD_Connection* connection)
        : m_shared(std::move(shared)), m_connection(connection) {}

    Request request{};
    std::size_t mostBody = 0;
    bool begun = false; ///< the handler has it

    void answer(Response response, const std::shared_ptr<Stream>& stream, bool unchunked);

    bool answered();

    /// On the server's thread: hands the answer over, or has the connection wait for it.
    MHD_Result proceed();

    MHD_Result queue(const Response& response, const std::shared_ptr<Stream>& stream,
                     bool unchunked);

    const std::shared_ptr<Shared>& shared() const { return m_shared; }
    MHD_Connection* connection() const { return m_connection; }

private:
    MHD_Response* streamResponse(const std::shared_ptr<Stream>& stream);

    const std::shared_ptr<Shared> m_shared;
    MHD_Connection* const m_connection;
    std::mutex m_lock; // guards what follows
    bool m_answered = false;
    bool m_suspended = false;
    bool m_unchunked = false;
    Response m_response;
    std::shared_ptr<Stream> m_stream;
};

/// What the handler holds of a request.
std::shared_ptr<Exchange> exchangeOf(std::shared_ptr<Shared::Waiting> waiting);

} // namespace http
