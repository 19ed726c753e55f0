#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/api/Messages.h"
#include "host/api/Routes.h"

namespace host {
class Camera;
}

/// The one protocol in which programs ask a camera: a method, a path and a JSON body, and a JSON
/// document in answer. The command line, the network and the Unix socket all speak it, so the same
/// question has the same answer everywhere. Nothing here knows of sockets.
namespace host::api {

struct Handler;

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

} // namespace host::api
