#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// What the HTTP server and its user hand each other.
namespace http {

struct Header {
    std::string name;
    std::string value;
};

/// A request as it came. What is repeated in it is kept repeated, so that
/// whoever checks it sees it.
struct Request {
    std::string method;
    std::string path;            ///< as sent, not percent-decoded, without the query
    std::vector<Header> query;   ///< percent-decoded
    std::vector<Header> headers; ///< names in lower case
    std::string body;
    std::string peer;  ///< "192.0.2.7", "2001:db8::1", or "unix"
    bool local;        ///< came over a Unix socket
    unsigned int uid;  ///< of the peer's process, when local
    bool encrypted;    ///< came over TLS
    bool queryIsSound; ///< false when the query holds a broken escape or a zero byte

    /// The value of the first header of a name (lower case), or null.
    const std::string* header(const char* name) const;
    /// How often a header is there.
    std::size_t headerCount(const char* name) const;
    /// The value of the first argument of a name in the query, or null.
    const std::string* argument(const char* name) const;
};

struct Response {
    unsigned int status = 200;
    std::vector<Header> headers;
    std::shared_ptr<const std::string> body; ///< null: none
};

/// What a stream sends. Used on the server's thread alone; must not block.
class Source {
public:
    enum class Pull {
        Chunk, ///< there is one
        Wait,  ///< nothing now; StreamControl::wake() says when to ask again
        End,   ///< the stream is over
    };
    virtual ~Source() = default;
    virtual Pull pull(std::shared_ptr<const std::string>& chunk) = 0;
};

/// The outer end of a running stream. Any thread, also after the stream has ended.
class StreamControl {
public:
    virtual ~StreamControl() = default;
    virtual void wake() = 0;
    virtual void end() = 0;
    virtual bool over() const = 0;
};

struct StreamOptions {
    int sendBuffer = 0;         ///< bytes of the socket's buffer, 0 as the system has it
    int secondsStuck = 30;      ///< ends when its reader takes nothing for so long
    bool unchunked = false;     ///< plain bytes until the end, for old viewers
    std::function<void()> gone; ///< called once when the stream is over, on the server's thread
};

/// One request that is being answered, by any thread, once. One that is dropped without an answer
/// is answered with 500.
class Exchange {
public:
    virtual ~Exchange() = default;
    virtual const Request& request() const = 0;
    virtual void answer(Response response) = 0;
    /// Answers with a stream. @return its outer end
    virtual std::shared_ptr<StreamControl> stream(Response head, std::unique_ptr<Source> source,
                                                  StreamOptions options) = 0;
    /// The sender has shown who it is: its connection counts no longer as a stranger's.
    virtual void known() = 0;
};

/// What a server's user makes of requests. Called on the server's thread; must not block.
class Handler {
public:
    virtual ~Handler() = default;

    /// The head of a request is there, its body not yet.
    /// @param mostBody  receives how many bytes of body are taken
    /// @param refusal   receives the answer when false is returned; the connection ends then
    virtual bool head(const Request& request, std::size_t& mostBody, Response& refusal) = 0;

    /// The whole request is there. Answers now or later.
    virtual void handle(std::shared_ptr<Exchange> exchange) = 0;

    /// The answer to what the server itself refuses (413, 500, 503).
    virtual Response problem(unsigned int status) = 0;

    /// A line for the log, without secrets, control characters already escaped.
    virtual void log(const std::string& line) = 0;
};

struct Limits {
    unsigned int connections = 256;
    unsigned int ofAddress = 40;        ///< connections of an IPv4 address or an IPv6 /64
    unsigned int ofStranger = 10;       ///< of these such as have not shown who they are
    unsigned int headSeconds = 10;      ///< for the whole head, from accept or the answer before
    unsigned int bodySeconds = 10;      ///< for the body, and one more for each 16 KiB
    std::vector<std::string> unlimited; ///< addresses that are not counted (a trusted proxy)
};

/// What connections and wrong tries are counted by: an IPv4 address, or the /64 network of an IPv6
/// one, as whoever has a network has all its addresses.
std::string limitKey(const std::string& address);

} // namespace http
