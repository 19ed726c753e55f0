#include "host/api/Api.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>

#include "host/Camera.h"
#include "host/api/Answers.h"
#include "host/api/Documents.h"
#include "host/api/Routing.h"

namespace host::api {

struct Api::State {
    explicit State(Camera& c) : camera(c) {}

    Camera& camera;

    // The list of all parameters is what pages and programs ask for most: it is made once for each
    // snapshot and language.
    std::mutex lock;
    std::uint64_t number = 0;
    int language = 0;
    std::string boot;
    Response parameters;

    Response cachedParameters(const Snapshot& snapshot, int wanted) {
        {
            const std::lock_guard<std::mutex> guard(lock);
            if (parameters.body != nullptr && number == snapshot.number && language == wanted &&
                boot == snapshot.bootId) {
                return parameters;
            }
        }
        Response made = documentResponse(parametersDocument(snapshot, wanted));
        const std::lock_guard<std::mutex> guard(lock);
        number = snapshot.number;
        language = wanted;
        boot = snapshot.bootId;
        parameters = made;
        return made;
    }
};

Api::Api(Camera& camera) : m_state(std::make_shared<State>(camera)) {}

Api::~Api() = default;

void Api::handle(const Request& request, std::function<void(Response)> done) {
    Match match;
    std::string methods;
    const Handler* const handler = findHandler(request.method, request.path, match, methods);
    if (handler == nullptr) {
        done(methods.empty() ? problem(404, "not_found", "There is nothing of that name.")
                             : problem(405, "method", "This takes " + methods + "."));
        return;
    }
    const std::shared_ptr<const Snapshot> snapshot = m_state->camera.snapshot();
    if (snapshot == nullptr) {
        done(problem(503, "stopping", "The camera is not on."));
        return;
    }
    int language = 0;
    Problem fault;
    if (!readLanguage(request, language, fault)) {
        done(fault.response());
        return;
    }
    if (handler->read != nullptr || handler->allParameters) {
        read(*handler, request, match, language, std::move(done));
        return;
    }
    const Context context{request, match, *snapshot, m_state->camera, language};
    host::Request operation;
    operation.origin.who = request.who;
    operation.origin.client = request.client;
    if (!handler->change(context, operation, fault)) {
        done(fault.response());
        return;
    }
    Camera& camera = m_state->camera;
    camera.submit(
        std::move(operation), [&camera, language, done = std::move(done)](const Outcome& outcome) {
            const std::shared_ptr<const Snapshot> after = camera.snapshot();
            done(after != nullptr ? answer(*after, outcome, language)
                                  : problem(503, "stopping", "The camera is being switched off."));
        });
}

/// Answers what only reads, of the camera as it was when it last looked; with "fresh" in the
/// query it looks first.
void Api::read(const Handler& handler, const Request& request, const Match& match, int language,
               std::function<void(Response)> done) {
    const auto make = [&handler, language, state = m_state](const Request& asked,
                                                            const Match& found) -> Response {
        const std::shared_ptr<const Snapshot> now = state->camera.snapshot();
        if (handler.allParameters) {
            return state->cachedParameters(*now, language);
        }
        Problem fault;
        Response response = handler.read({asked, found, *now, state->camera, language}, fault);
        return fault ? fault.response() : response;
    };
    const std::string* const fresh = request.argument("fresh");
    if (fresh == nullptr || *fresh == "0") {
        done(make(request, match));
        return;
    }
    host::Request refresh;
    refresh.operation = Refresh{};
    m_state->camera.submit(std::move(refresh), [make, request, match, done = std::move(done)](
                                                   const Outcome&) { done(make(request, match)); });
}

Response Api::ask(const Request& request) {
    std::mutex lock;
    std::condition_variable changed;
    bool there = false;
    Response result;
    handle(request, [&](Response response) {
        // Notified under the lock: the one who waits ends this function, and with it the condition.
        const std::lock_guard<std::mutex> guard(lock);
        result = std::move(response);
        there = true;
        changed.notify_one();
    });
    std::unique_lock<std::mutex> guard(lock);
    changed.wait(guard, [&there] { return there; });
    return result;
}

} // namespace host::api
