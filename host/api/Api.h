#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/access/Accounts.h"

namespace host {
class Camera;
}

/// The one protocol in which programs ask a camera: a method, a path and a JSON body, and a JSON
/// document in answer. The command line, the network and the Unix socket all speak it, so the same
/// question has the same answer everywhere. Nothing here knows of sockets.
namespace host::api {

/// One request.
struct Request {
    std::string method;
    std::string path; ///< below /api/v1: "/parameters/34"; a key in it may be escaped
    std::vector<std::pair<std::string, std::string>> query;
    std::string body;
    std::string who;    ///< for the journal: the person, may be empty
    std::string client; ///< the program or session

    /// The first argument of a name, or null.
    const std::string* argument(const char* name) const;
};

struct Response {
    unsigned int status = 200;
    std::string type = "application/json";
    std::shared_ptr<const std::string> body;
    int retryAfter = 0; ///< seconds; 0: none
};

/// What a path is, before anybody looks at the body.
struct Route {
    const char* method;
    const char* pattern;        ///< "/parameters/{key}"
    access_control::Role needs; ///< the least role
    const char* bodyType;       ///< null: application/json
    std::size_t mostBody;       ///< bytes
};

struct Handler;

/// Every route.
const std::vector<Route>& routes();

/// The route of a method and path; null: none. @param methods  receives those that the path has
const Route* findRoute(const std::string& method, const std::string& path, std::string& methods);

constexpr char kSchemesType[] = "application/vnd.imgctl.schemes";
constexpr std::size_t kMostBody = 65536;
constexpr std::size_t kMostImport = 1 << 20;

/// Answers requests about one camera. Any thread may call; the camera must outlive the answers.
class Api {
public:
    explicit Api(Camera& camera);
    ~Api();
    Api(const Api&) = delete;
    Api& operator=(const Api&) = delete;

    /// Answers a request.
    /// @param done  called once: for what only reads before this returns, for changes on the
    ///              camera's controller thread; it must be quick
    void handle(const Request& request, std::function<void(Response)> done);

    /// The same, and waits for the answer.
    Response ask(const Request& request);

private:
    struct State;
    void read(const Handler& handler, const Request& request, const std::vector<std::string>& match,
              int language, std::function<void(Response)> done);

    std::shared_ptr<State> m_state;
};

/// A problem document (RFC 9457) of a status, a code and a sentence.
Response problem(unsigned int status, const std::string& code, const std::string& detail);

} // namespace host::api
