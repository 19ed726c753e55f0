#include <algorithm>

#include "Service.h"
#include "onvif/Services.h"

// The ONVIF services at their addresses, and the picture for players that cannot log in.
namespace imgctld {
namespace {

constexpr char kUnder[] = "/onvif/";

/// Where a client reaches this service: by the name it has just used, or the proxy's.
std::string baseOf(const http::Request& request, const OwnNames& names) {
    if (!names.publicUrl.empty() && std::find(names.proxies.begin(), names.proxies.end(),
                                              request.peer) != names.proxies.end()) {
        const std::string::size_type last = names.publicUrl.find_last_not_of('/');
        return names.publicUrl.substr(0, last + 1);
    }
    const std::string* const host = request.header("host");
    return (request.encrypted ? "https://" : "http://") + (host != nullptr ? *host : "");
}

} // namespace

OnvifPath onvifPath(const http::Request& request) {
    if (request.local || request.path.compare(0, sizeof kUnder - 1, kUnder) != 0) {
        return OnvifPath::None;
    }
    const std::string name = request.path.substr(sizeof kUnder - 1);
    if (name == "snapshot.jpg" || name == "video.mjpg") {
        return OnvifPath::Picture;
    }
    return name == "device_service" || name == "media_service" || name == "imaging_service"
               ? OnvifPath::Service
               : OnvifPath::None;
}

bool Service::maySave() {
    const MonotonicTime at = std::chrono::steady_clock::now();
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_lastSave && at - *m_lastSave < kSaveEvery) {
        return false;
    }
    m_lastSave = at;
    return true;
}

/// A player shows by a ticket that some user of ours sent it.
Identity Service::identifyPlayer(const http::Request& request) const {
    const std::string* const ticket = request.argument("ticket");
    const auto known = accounts();
    const access_control::OnvifUser* const user =
        ticket != nullptr ? onvif::userOfTicket(*known, *ticket) : nullptr;
    return user != nullptr ? Identity{user->name, "onvif:" + user->name, Role::Viewer, true, true}
                           : Identity{};
}

void Service::handleOnvif(const Shared& exchange) {
    const http::Request& request = exchange->request();
    const std::string key = http::limitKey(clientAddress(request, m_options.names));
    onvif::Asked asked;
    asked.path = request.path;
    asked.body = request.body;
    asked.base = baseOf(request, m_options.names);
    asked.encrypted = request.encrypted;
    asked.accounts = accounts();
    asked.attempt = [this, key] {
        return m_guesses.attempt(key, std::chrono::steady_clock::now());
    };
    asked.right = [this, key, exchange] {
        m_guesses.right(key);
        exchange->known();
    };
    asked.wrong = [this] {
        const std::lock_guard<std::mutex> guard(m_lock);
        ++m_wrongLogins;
    };
    m_onvif->handle(asked, [this, exchange](const onvif::Answer& answered) {
        http::Response response;
        response.status = answered.status;
        response.headers.push_back({"Content-Type", std::string(onvif::kType) + "; charset=utf-8"});
        if (answered.retryAfter > 0) {
            response.headers.push_back({"Retry-After", std::to_string(answered.retryAfter)});
        }
        response.body = std::make_shared<const std::string>(answered.body);
        answer(exchange, std::move(response));
    });
}

} // namespace imgctld
