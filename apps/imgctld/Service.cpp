#include "Service.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>

#include "host/Camera.h"
#include "host/Text.h"
#include "host/api/Answers.h"
#include "host/api/Json.h"
#include "onvif/Services.h"

namespace imgctld {

using host::api::Json;

namespace {

constexpr char kApi[] = "/api/v1";
constexpr auto kTimeEvery = std::chrono::seconds(10);

MonotonicTime now() {
    return std::chrono::steady_clock::now();
}

http::Response toHttp(const host::api::Response& response) {
    http::Response result;
    result.status = response.status;
    result.headers.push_back({"Content-Type", response.type});
    if (response.retryAfter > 0) {
        result.headers.push_back({"Retry-After", std::to_string(response.retryAfter)});
    }
    result.body = response.body;
    return result;
}

constexpr OwnRoute kOwn[] = {
    {"GET", "/api/v1/session", access_control::Role::Monitor, true},
    {"POST", "/api/v1/login", access_control::Role::Monitor, true},
    {"POST", "/api/v1/logout", access_control::Role::Monitor, true},
    {"GET", "/api/v1/users", access_control::Role::Administrator, false},
    {"POST", "/api/v1/users", access_control::Role::Administrator, false},
    {"PUT", "/api/v1/users/{name}", access_control::Role::Administrator, false},
    {"DELETE", "/api/v1/users/{name}", access_control::Role::Administrator, false},
    {"GET", "/api/v1/tokens", access_control::Role::Administrator, false},
    {"POST", "/api/v1/tokens", access_control::Role::Administrator, false},
    {"DELETE", "/api/v1/tokens/{name}", access_control::Role::Administrator, false},
    {"GET", "/api/v1/events", access_control::Role::Viewer, false},
    {"GET", "/api/v1/openapi.json", access_control::Role::Monitor, false},
    {"GET", "/picture.jpg", access_control::Role::Viewer, false},
    {"GET", "/video.mjpg", access_control::Role::Viewer, false},
    {"GET", "/metrics", access_control::Role::Monitor, false},
    {"GET", "/health", access_control::Role::Monitor, false},
};

bool takes(const std::string& method, const char* routeMethod) {
    return method == routeMethod || (method == "HEAD" && routeMethod == std::string("GET"));
}

/// @param methods  receives those that the path has, when none fits
const OwnRoute* findOwn(const std::string& method, const std::string& path, std::string& methods) {
    for (const OwnRoute& route : kOwn) {
        const std::string own = route.path;
        const std::string::size_type brace = own.find('{');
        const bool same = brace == std::string::npos
                              ? path == own
                              : path.compare(0, brace, own, 0, brace) == 0 && path.size() > brace &&
                                    path.find('/', brace) == std::string::npos;
        if (same && takes(method, route.method)) {
            return &route;
        }
        if (same) {
            methods += (methods.empty() ? "" : ", ") + std::string(route.method);
        }
    }
    return nullptr;
}

/// What a request asks for, as far as its head tells.
struct Target {
    bool found = false;
    bool open = false; ///< no login needed
    access_control::Role needs = access_control::Role::Monitor;
    std::size_t mostBody = host::api::kMostBody;
    const char* bodyType = nullptr;
    std::string methods; ///< that the path has, when not found
};

Target targetOf(const http::Request& request, bool onvif) {
    Target target;
    const OnvifPath recorder = onvif ? onvifPath(request) : OnvifPath::None;
    if (recorder != OnvifPath::None) {
        const bool service = recorder == OnvifPath::Service;
        target.methods = service ? "POST" : "GET";
        target.found = takes(request.method, target.methods.c_str());
        target.open = service; // who sends it stands in the message
        target.needs = access_control::Role::Viewer;
        target.mostBody = onvif::kMostBody;
        target.bodyType = onvif::kType;
        return target;
    }
    if (const OwnRoute* const own = findOwn(request.method, request.path, target.methods)) {
        target.found = true;
        target.open = own->open;
        target.needs = own->needs;
        return target;
    }
    if (!target.methods.empty()) {
        return target;
    }
    if (request.path.compare(0, sizeof kApi - 1, kApi) == 0) {
        const host::api::Route* const route = host::api::findRoute(
            request.method, request.path.substr(sizeof kApi - 1), target.methods);
        if (route != nullptr) {
            target.found = true;
            target.needs = route->needs;
            target.mostBody = route->mostBody;
            target.bodyType = route->bodyType;
        }
        return target;
    }
    if (findPageFile(request.path) != nullptr) {
        target.found = takes(request.method, "GET");
        target.methods = "GET";
        target.open = true;
    }
    return target;
}

bool isHealthy(const host::Camera& camera) {
    return camera.busySeconds() < 10;
}

/// What writes the camera's flash.
bool writesFlash(const http::Request& request, const std::string& path) {
    if (path == "/save" || path == "/reset") {
        return true;
    }
    if (path == "/import") {
        const std::string* const dry = request.argument("dry-run");
        return dry == nullptr || *dry == "0";
    }
    // A name is kept at once, a window with the next save.
    std::string problem;
    return request.method == "PUT" && path.compare(0, 9, "/schemes/") == 0 &&
           host::api::parse(request.body, problem).contains("name");
}

} // namespace

http::Response refuse(unsigned int status, const char* code, const std::string& detail,
                      int retryAfter) {
    host::api::Response response = host::api::problem(status, code, detail);
    response.retryAfter = retryAfter;
    return toHttp(response);
}

std::vector<OwnRoute> ownRoutes() {
    return {std::begin(kOwn), std::end(kOwn)};
}

Service::Service(host::Camera& camera, ServiceOptions options)
    : m_camera(camera),
      m_options(std::move(options)),
      m_api(camera),
      m_pictures(camera.pictures(), m_streams),
      m_events(camera, m_streams),
      m_onvif(m_options.onvif
                  ? std::make_unique<onvif::Services>(camera, [this] { return maySave(); })
                  : nullptr),
      m_certificateExpires(m_options.certificateExpires),
      m_accounts(std::make_shared<const access_control::Accounts>()) {}

Service::~Service() = default;

std::shared_ptr<const access_control::Accounts> Service::accounts() const {
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_accounts;
}

bool Service::loginNeeded() const {
    return !m_options.noLogin && !accounts()->users.empty();
}

std::string Service::cookieName(bool encrypted) const {
    // Cookies of all ports of a host are one bag, so the port is in the name.
    const bool safe = encrypted || m_options.names.publicUrl.compare(0, 8, "https://") == 0;
    return safe ? "__Host-imgctl" : "imgctl-" + std::to_string(m_options.names.port);
}

Identity Service::identify(const http::Request& request) {
    if (request.local) {
        const bool own = request.uid == getuid() || request.uid == 0;
        return {std::string(), "local", own ? Role::Administrator : Role::Monitor, own, false};
    }
    if (m_onvif != nullptr && onvifPath(request) == OnvifPath::Picture) {
        return identifyPlayer(request);
    }
    if (!loginNeeded()) {
        return {std::string(), "open:" + clientAddress(request, m_options.names),
                Role::Administrator, true, false};
    }
    const std::string* const authorization = request.header("authorization");
    if (authorization != nullptr) {
        const auto known = accounts();
        if (authorization->compare(0, 7, "Bearer ") == 0) {
            const access_control::Token* const token =
                access_control::tokenOf(*known, authorization->substr(7), std::time(nullptr));
            if (token != nullptr) {
                const std::lock_guard<std::mutex> guard(m_lock);
                m_tokenUse[token->name] = std::time(nullptr);
                return {"token " + token->name, "token:" + token->name, token->role, true, true};
            }
        }
        return {};
    }
    const std::string* const cookies = request.header("cookie");
    if (cookies == nullptr) {
        return {};
    }
    const std::string secret = cookieValue(*cookies, cookieName(request.encrypted));
    return m_sessions.find(secret, now(), showsAPerson(request)).value_or(Identity{});
}

std::string Service::streamOwner(const http::Request& request, const Identity& who) const {
    return who.session.empty() ? clientAddress(request, m_options.names) : who.session;
}

http::Response Service::refusalOf(const http::Request& request, const Identity& who, Role needs) {
    if (who.known) {
        const char* const least = access_control::nameOf(needs);
        return refuse(403, "not_allowed",
                      std::string("Only ") + (*least == 'a' || *least == 'o' ? "an " : "a ") +
                          least + " may do that.");
    }
    // A wrong token is a guess like a wrong password.
    if (request.header("authorization") != nullptr) {
        const double wait =
            m_guesses.attempt(http::limitKey(clientAddress(request, m_options.names)), now());
        return wait > 0 ? refuse(429, "too_many_tries", "Too many wrong tries.",
                                 static_cast<int>(wait) + 1)
                        : refuse(401, "not_logged_in", "This token is wrong, or has run out.");
    }
    return refuse(401, "not_logged_in", "Log in first.");
}

bool Service::head(const http::Request& request, std::size_t& mostBody, http::Response& refusal) {
    const Target target = targetOf(request, m_onvif != nullptr);
    const HeadProblem wrong = checkHead(request, m_options.names, target.bodyType);
    if (wrong.status != 0) {
        refusal = refuse(wrong.status, "bad_request", wrong.text);
    } else if (!target.found) {
        refusal = target.methods.empty()
                      ? refuse(404, "not_found", "There is nothing of that name.")
                      : refuse(405, "method", "This path takes " + target.methods + ".");
        if (!target.methods.empty()) {
            refusal.headers.push_back({"Allow", target.methods});
        }
    } else {
        mostBody = target.mostBody;
        // Whether it may at all is decided before its body is read.
        const Identity who = identify(request);
        if (target.open || may(who, target.needs)) {
            return true;
        }
        refusal = refusalOf(request, who, target.needs);
    }
    count(refusal.status);
    const auto added = problem(0); // the headers that every answer has
    refusal.headers.insert(refusal.headers.end(), added.headers.begin(), added.headers.end());
    return false;
}

http::Response Service::problem(unsigned int status) {
    http::Response response;
    if (status == 413) {
        response = refuse(413, "too_large", "The body is too large.");
    } else if (status == 503) {
        response = refuse(503, "stopping", "The service stops.");
    } else if (status != 0) {
        response = refuse(status, "failed", "The request failed.");
    }
    response.headers.push_back({"Cross-Origin-Resource-Policy", "same-origin"});
    response.headers.push_back({"Referrer-Policy", "no-referrer"});
    response.headers.push_back({"X-Content-Type-Options", "nosniff"});
    response.headers.push_back({"Cache-Control", "no-store"});
    return response;
}

void Service::answer(const Shared& exchange, http::Response response) {
    const auto added = problem(0);
    response.headers.insert(response.headers.end(), added.headers.begin(), added.headers.end());
    count(response.status);
    exchange->answer(std::move(response));
}

void Service::count(unsigned int status) {
    const std::lock_guard<std::mutex> guard(m_lock);
    ++m_answers[status];
}

void Service::log(const std::string& line) {
    // To the service's own log: the library's is for the library's faults.
    std::fprintf(stderr, "imgctld: %s\n", escaped(line, 1000).c_str());
}

void Service::handle(Shared exchange) {
    const http::Request& request = exchange->request();
    const Identity who = identify(request);
    if (who.known) {
        exchange->known();
    }
    // A body takes its time to come; meanwhile whoever sends it may have been put out.
    const Target target = targetOf(request, m_onvif != nullptr);
    if (!target.open && !may(who, target.needs)) {
        answer(exchange, refusalOf(request, who, target.needs));
        return;
    }
    const std::string& path = request.path;
    if (target.bodyType == onvif::kType && target.open) {
        handleOnvif(exchange);
    } else if (path == "/picture.jpg" || path == "/onvif/snapshot.jpg") {
        picture(exchange, who);
    } else if (path == "/video.mjpg" || path == "/onvif/video.mjpg") {
        video(exchange, who);
    } else if (path == "/metrics") {
        metrics(exchange);
    } else if (path == "/health") {
        health(exchange);
    } else if (path.compare(0, sizeof kApi - 1, kApi) == 0) {
        handleApi(exchange, who, path.substr(sizeof kApi - 1));
    } else if (!pageFile(exchange, path)) {
        answer(exchange, refuse(404, "not_found", "There is nothing of that name."));
    }
}

void Service::handleApi(const Shared& exchange, const Identity& who, const std::string& path) {
    const http::Request& request = exchange->request();
    const auto begins = [&path](const char* text) {
        return path.compare(0, std::char_traits<char>::length(text), text) == 0;
    };
    if (path == "/login") {
        return login(exchange);
    }
    if (path == "/logout") {
        return logout(exchange, who);
    }
    if (path == "/session") {
        return session(exchange, who);
    }
    if (path == "/events") {
        return events(exchange, who);
    }
    if (path == "/openapi.json") {
        pageFile(exchange, request.path);
        return;
    }
    if (begins("/users")) {
        return users(exchange, who, path);
    }
    if (begins("/tokens")) {
        return tokens(exchange, who, path);
    }
    // Flash wears out. Who is at the machine itself can write it anyway.
    if (!request.local && writesFlash(request, path) && !maySave()) {
        answer(exchange, refuse(429, "too_many", "It was saved just now.", 2));
        return;
    }
    host::api::Request asked;
    asked.method = request.method;
    asked.path = path;
    for (const http::Header& argument : request.query) {
        asked.query.emplace_back(argument.name, argument.value);
    }
    asked.body = request.body;
    asked.who = who.name;
    if (asked.who.empty()) {
        const std::string address = clientAddress(request, m_options.names);
        asked.who = request.local || isLoopback(address) ? "somebody on this machine"
                                                         : "somebody at " + address;
    }
    asked.client = streamOwner(request, who);
    m_api.handle(asked, [this, exchange](const host::api::Response& response) {
        answer(exchange, toHttp(response));
    });
}

void Service::health(const Shared& exchange) {
    const auto snapshot = m_camera.snapshot();
    const bool well = snapshot != nullptr && isHealthy(m_camera);
    http::Response response = toHttp({});
    // A camera that is unplugged is a state, no fault of this service.
    response.status = well ? 200 : 503;
    response.body = std::make_shared<const std::string>(host::api::text(
        {{"healthy", well},
         {"busy_seconds", static_cast<long long>(m_camera.busySeconds())},
         {"layer", snapshot != nullptr && snapshot->layer.present ? "present" : "gone"}}));
    answer(exchange, std::move(response));
}

bool Service::pageFile(const Shared& exchange, const std::string& path) {
    const PageFile* const file = findPageFile(path);
    if (file == nullptr) {
        return false;
    }
    http::Response response;
    response.headers = {
        {"Content-Type", file->type},
        {"Content-Security-Policy",
         "default-src 'self'; img-src 'self' blob:; object-src 'none'; base-uri 'none'; "
         "form-action 'none'; frame-ancestors 'none'; require-trusted-types-for 'script'"},
        {"Cross-Origin-Opener-Policy", "same-origin"},
    };
    if (file->encoding[0] != '\0') {
        response.headers.push_back({"Content-Encoding", file->encoding});
    }
    response.body = std::make_shared<const std::string>(file->data, file->size);
    answer(exchange, std::move(response));
    return true;
}

void Service::tick() {
    const MonotonicTime at = now();
    if (at - m_lastTick >= kTimeEvery) {
        m_lastTick = at;
        m_events.tick();
    }
    struct stat status {};
    FileStamp stamp;
    if (!m_options.usersFile.empty() && stat(m_options.usersFile.c_str(), &status) == 0) {
        stamp = {status.st_mtim.tv_sec * 1000000000LL + status.st_mtim.tv_nsec,
                 static_cast<long long>(status.st_ino), static_cast<long long>(status.st_size)};
    }
    bool changed = false;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        changed = !(stamp == m_usersStamp);
    }
    std::string wrong;
    if (changed && !readUsers(wrong)) {
        log(wrong + "; the users stay as they were");
        const std::lock_guard<std::mutex> guard(m_lock);
        m_usersStamp = stamp; // said once
    }
    const auto known = accounts();
    if (m_onvif != nullptr) {
        m_onvif->tick();
    }
    for (const std::string& ended : m_sessions.revise(*known, at)) {
        m_streams.endOf(ended);
    }
    for (const access_control::Token& token : known->tokens) {
        if (token.expires != 0 && std::time(nullptr) >= token.expires) {
            m_streams.endOf("token:" + token.name);
        }
    }
}

} // namespace imgctld
