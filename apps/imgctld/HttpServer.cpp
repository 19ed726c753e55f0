#include "HttpServer.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <thread>

#include "HttpShared.h"

namespace http {
namespace {

constexpr auto kSweepEvery = std::chrono::milliseconds(250);
constexpr auto kLastWord = std::chrono::milliseconds(50);

/// Names of headers are compared in lower case.
std::string lower(const char* text, std::size_t size) {
    std::string result(text, size);
    std::transform(result.begin(), result.end(), result.begin(), [](char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    });
    return result;
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char small = static_cast<char>(c | 0x20);
    return small >= 'a' && small <= 'f' ? small - 'a' + 10 : -1;
}

/// Decodes a part of a query. @return false for a broken escape or a zero byte
bool decode(const char* text, std::size_t size, std::string& result) {
    for (std::size_t i = 0; i < size; ++i) {
        char c = text[i] == '+' ? ' ' : text[i];
        if (c == '%') {
            const int high = i + 2 < size ? hexDigit(text[i + 1]) : -1;
            const int low = i + 2 < size ? hexDigit(text[i + 2]) : -1;
            if (high < 0 || low < 0) {
                return false;
            }
            c = static_cast<char>(high * 16 + low);
            i += 2;
        }
        if (c == '\0') {
            return false;
        }
        result += c;
    }
    return true;
}

MHD_Result takeHeader(void* cls, MHD_ValueKind, const char* key, std::size_t keySize,
                      const char* value, std::size_t valueSize) {
    auto& request = *static_cast<Request*>(cls);
    request.headers.push_back(
        {lower(key, keySize), value != nullptr ? std::string(value, valueSize) : std::string()});
    return MHD_YES;
}

MHD_Result takeArgument(void* cls, MHD_ValueKind, const char* key, std::size_t keySize,
                        const char* value, std::size_t valueSize) {
    auto& request = *static_cast<Request*>(cls);
    Header argument;
    if (!decode(key, keySize, argument.name) ||
        (value != nullptr && !decode(value, valueSize, argument.value))) {
        request.queryIsSound = false;
    }
    request.query.push_back(std::move(argument));
    return MHD_YES;
}

/// Paths and queries are taken as they were sent: the one is compared with exact names, the other
/// decoded above.
std::size_t leaveEscaped(void*, MHD_Connection*, char* text) {
    return std::strlen(text);
}

} // namespace

/// Outside every lock of ours: the library takes its own.
void Shared::resume(MHD_Connection* connection) {
    MHD_resume_connection(connection);
    const std::lock_guard<std::mutex> guard(lock);
    --suspended;
    changed.notify_all();
}

namespace {

void fillRequest(Shared& shared, MHD_Connection* connection, const char* url, const char* method,
                 Request& request) {
    request.method = method;
    request.path = url;
    request.queryIsSound = true;
    MHD_get_connection_values_n(connection, MHD_HEADER_KIND, takeHeader, &request);
    MHD_get_connection_values_n(connection, MHD_GET_ARGUMENT_KIND, takeArgument, &request);
    request.encrypted =
        MHD_get_connection_info(connection, MHD_CONNECTION_INFO_GNUTLS_SESSION) != nullptr;
    const std::lock_guard<std::mutex> guard(shared.lock);
    const auto found = shared.connections.find(connection);
    if (found == shared.connections.end()) {
        return;
    }
    request.peer = found->second.peer;
    request.local = request.peer == "unix";
    ucred peer{};
    socklen_t size = sizeof peer;
    if (request.local && getsockopt(found->second.fd, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0) {
        request.uid = peer.uid;
    } else {
        request.uid = static_cast<unsigned int>(-1);
    }
}

MHD_Result headCame(const std::shared_ptr<Shared>& shared, MHD_Connection* connection,
                    const char* url, const char* method, void** context) {
    auto waiting = std::make_shared<Shared::Waiting>(shared, connection);
    *context = new std::shared_ptr<Shared::Waiting>(waiting);
    fillRequest(*shared, connection, url, method, waiting->request);
    Response refusal;
    if (shared->stopping) {
        return waiting->queue(shared->handler.problem(503), nullptr, false);
    }
    if (!shared->handler.head(waiting->request, waiting->mostBody, refusal)) {
        // What follows is not read: it could be of any length.
        refusal.headers.push_back({"Connection", "close"});
        return waiting->queue(refusal, nullptr, false);
    }
    unsigned long long length = 0;
    const std::string* const given = waiting->request.header("content-length");
    if (given != nullptr) {
        length = std::strtoull(given->c_str(), nullptr, 10);
    }
    if (length > waiting->mostBody) {
        refusal = shared->handler.problem(413);
        refusal.headers.push_back({"Connection", "close"});
        return waiting->queue(refusal, nullptr, false);
    }
    const auto most = static_cast<unsigned long long>(waiting->mostBody);
    const auto counted = given != nullptr ? length : most;
    shared->setDeadline(connection, Clock::now() + Seconds(shared->limits.bodySeconds) +
                                        Seconds(static_cast<long>(counted / 16384)));
    return MHD_YES;
}

MHD_Result requestCame(void* cls, MHD_Connection* connection, const char* url, const char* method,
                       const char*, const char* data, std::size_t* size, void** context) {
    const std::shared_ptr<Shared>& shared = *static_cast<std::shared_ptr<Shared>*>(cls);
    if (*context == nullptr) {
        return headCame(shared, connection, url, method, context);
    }
    const std::shared_ptr<Shared::Waiting> waiting =
        *static_cast<std::shared_ptr<Shared::Waiting>*>(*context);
    if (*size > 0) {
        if (waiting->request.body.size() + *size > waiting->mostBody) {
            return MHD_NO; // an answer in the middle of a body is not to be had
        }
        waiting->request.body.append(data, *size);
        *size = 0;
        return MHD_YES;
    }
    if (!waiting->begun) {
        waiting->begun = true;
        shared->setDeadline(connection, kNever);
        {
            const std::lock_guard<std::mutex> guard(shared->lock);
            shared->waiting.insert(waiting);
        }
        shared->handler.handle(exchangeOf(waiting));
    }
    return waiting->proceed();
}

void requestDone(void* cls, MHD_Connection* connection, void** context,
                 MHD_RequestTerminationCode) {
    Shared& shared = **static_cast<std::shared_ptr<Shared>*>(cls);
    std::unique_ptr<std::shared_ptr<Shared::Waiting>> held(
        static_cast<std::shared_ptr<Shared::Waiting>*>(*context));
    *context = nullptr;
    const std::lock_guard<std::mutex> guard(shared.lock);
    if (held != nullptr) {
        shared.waiting.erase(*held);
        shared.changed.notify_all();
    }
    for (auto i = shared.streams.begin(); i != shared.streams.end();) {
        i = (*i)->connection() == connection ? shared.streams.erase(i) : std::next(i);
    }
    const auto found = shared.connections.find(connection);
    if (found != shared.connections.end()) {
        found->second.deadline = Clock::now() + Seconds(shared.limits.headSeconds);
        found->second.idle = true;
    }
}

} // namespace

struct HttpServer::State {
    State(Handler& handler, Limits limits)
        : shared(std::make_shared<Shared>(handler, std::move(limits))) {}

    std::shared_ptr<Shared> shared;
    MHD_Daemon* daemon = nullptr;
    Tls tls; ///< that it serves with
    std::thread sweeper;
    std::mutex sweepLock;
    std::condition_variable sweepEnd;
    bool ended = false;

    void sweepUntilEnd() {
        std::unique_lock<std::mutex> guard(sweepLock);
        while (!sweepEnd.wait_for(guard, kSweepEvery, [this] { return ended; })) {
            shared->sweep();
        }
    }

    /// Ends everything that is open. The library must see each suspended connection again first.
    void drain() {
        std::set<std::shared_ptr<Shared::Waiting>> waiting;
        std::set<std::shared_ptr<Shared::Stream>> streams;
        {
            const std::lock_guard<std::mutex> guard(shared->lock);
            shared->stopping = true;
            waiting = shared->waiting;
            streams = shared->streams;
        }
        for (const auto& one : waiting) {
            one->answer(shared->handler.problem(503), nullptr, false);
        }
        for (const auto& stream : streams) {
            stream->end();
        }
        std::unique_lock<std::mutex> guard(shared->lock);
        shared->changed.wait(guard, [this] { return shared->suspended == 0; });
        // What was just answered is on its way; the library would cut it off.
        shared->changed.wait_for(guard, kLastWord, [this] { return shared->waiting.empty(); });
    }
};

HttpServer::HttpServer(Handler& handler, Limits limits)
    : m_state(new State(handler, std::move(limits))) {}

HttpServer::~HttpServer() {
    stop();
}

bool HttpServer::start(int listenSocket, const Tls& tls, std::string& problem) {
    State& state = *m_state;
    Shared& shared = *state.shared;
    unsigned int flags = MHD_USE_EPOLL_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME;
    std::vector<MHD_OptionItem> options = {
        {MHD_OPTION_LISTEN_SOCKET, listenSocket, nullptr},
        {MHD_OPTION_CONNECTION_LIMIT, static_cast<intptr_t>(shared.limits.connections), nullptr},
        {MHD_OPTION_CONNECTION_TIMEOUT, static_cast<intptr_t>(shared.limits.headSeconds), nullptr},
        {MHD_OPTION_STRICT_FOR_CLIENT, 1, nullptr},
        {MHD_OPTION_NOTIFY_COMPLETED, reinterpret_cast<intptr_t>(&requestDone), &state.shared},
        {MHD_OPTION_NOTIFY_CONNECTION, reinterpret_cast<intptr_t>(&Shared::connectionChanged),
         &state.shared},
        {MHD_OPTION_UNESCAPE_CALLBACK, reinterpret_cast<intptr_t>(&leaveEscaped), nullptr},
    };
    if (!tls.certificate.empty()) {
        if (MHD_is_feature_supported(MHD_FEATURE_TLS) != MHD_YES) {
            problem = "this build of imgctld has no TLS";
            return false;
        }
        flags |= MHD_USE_TLS;
        options.push_back(
            {MHD_OPTION_HTTPS_MEM_CERT, 0, const_cast<char*>(tls.certificate.c_str())});
        options.push_back({MHD_OPTION_HTTPS_MEM_KEY, 0, const_cast<char*>(tls.key.c_str())});
        options.push_back({MHD_OPTION_HTTPS_PRIORITIES, 0,
                           const_cast<char*>("NORMAL:-VERS-ALL:+VERS-TLS1.3:+VERS-TLS1.2")});
    }
    options.push_back({MHD_OPTION_END, 0, nullptr});
    shared.stopping = false;
    state.daemon =
        MHD_start_daemon(flags, 0, Shared::acceptPolicy, &state.shared, requestCame, &state.shared,
                         MHD_OPTION_ARRAY, options.data(), MHD_OPTION_END);
    if (state.daemon == nullptr) {
        problem = tls.certificate.empty() ? "the HTTP server does not start"
                                          : "the HTTPS server does not take certificate and key";
        return false;
    }
    state.tls = tls;
    if (!state.sweeper.joinable()) {
        state.ended = false;
        state.sweeper = std::thread([&state] { state.sweepUntilEnd(); });
    }
    return true;
}

void HttpServer::stop() {
    State& state = *m_state;
    if (state.sweeper.joinable()) {
        {
            const std::lock_guard<std::mutex> guard(state.sweepLock);
            state.ended = true;
        }
        state.sweepEnd.notify_all();
        state.sweeper.join();
    }
    if (state.daemon != nullptr) {
        state.drain();
        MHD_stop_daemon(state.daemon);
        state.daemon = nullptr;
    }
}

bool HttpServer::restart(const Tls& tls, std::string& problem) {
    State& state = *m_state;
    if (state.daemon == nullptr) {
        problem = "the server does not run";
        return false;
    }
    const int listenSocket = MHD_quiesce_daemon(state.daemon);
    state.drain();
    MHD_stop_daemon(state.daemon);
    state.daemon = nullptr;
    // A start that fails closes its socket; who connects meanwhile waits in the other one.
    const int spare = fcntl(listenSocket, F_DUPFD_CLOEXEC, 0);
    if (start(listenSocket, tls, problem)) {
        if (spare >= 0) {
            close(spare);
        }
        return true;
    }
    const Tls before = state.tls;
    std::string again;
    if (spare < 0) {
        problem += "; no descriptor is free to go on with what it had before";
    } else if (!start(spare, before, again)) {
        problem += "; with what it had before: " + again;
    }
    return false;
}

bool HttpServer::running() const {
    return m_state->daemon != nullptr;
}

std::size_t HttpServer::connections() const {
    const std::lock_guard<std::mutex> guard(m_state->shared->lock);
    return m_state->shared->connections.size();
}

} // namespace http
