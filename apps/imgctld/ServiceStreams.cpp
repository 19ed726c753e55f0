#include "Service.h"

#include <algorithm>

#include "host/Camera.h"
#include "host/Text.h"

// What goes on after its request: events, and the picture.
namespace imgctld {
namespace {

constexpr std::size_t kMostPreviews = 4; ///< a page compares two

} // namespace

void Service::events(const Shared& exchange, const Identity& who) {
    const http::Request& request = exchange->request();
    const std::string* const given = request.argument("lang");
    int language = 0;
    if (given != nullptr && !host::readIntWithin(*given, 0, 1000, language)) {
        answer(exchange, refuse(400, "bad_request", "'lang' is the number of a language."));
        return;
    }
    const unsigned long number =
        m_streams.open(streamOwner(request, who), StreamList::Kind::Events,
                       m_options.mostEventsOfSession, m_options.mostEventsOfSession * 100);
    if (number == 0) {
        answer(exchange,
               refuse(429, "too_many", "This session has as many event streams as may be."));
        return;
    }
    const std::string* const last = request.header("last-event-id");
    const std::string* const lastArgument = request.argument("last");
    http::Response response = problem(0);
    response.headers.push_back({"Content-Type", "text/event-stream; charset=utf-8"});
    http::StreamOptions options;
    options.gone = [this, number] { m_streams.close(number); };
    std::string from;
    if (last != nullptr || lastArgument != nullptr) {
        from = last != nullptr ? *last : *lastArgument;
    }
    attach(number, *exchange,
           exchange->stream(std::move(response), m_events.stream(from, language), options));
}

void Service::attach(unsigned long number, const http::Exchange& exchange,
                     const std::shared_ptr<http::StreamControl>& control) {
    m_streams.attach(number, control);
    // Put out between the check and now: nothing was there yet to be ended.
    if (!may(identify(exchange.request()), Role::Viewer)) {
        control->end();
    }
}

std::shared_ptr<Pictures> Service::picturesFor(const http::Request& request, const Identity& who,
                                               http::Response& refusal) {
    const bool anybody = !loginNeeded() && !request.local && !who.byToken;
    if (!m_options.pictureOpen && anybody) {
        refusal =
            refuse(403, "not_allowed", "A real camera's picture needs a user, or --no-login.");
        return nullptr;
    }
    const std::string* const given = request.argument("scheme");
    if (given == nullptr) {
        return {std::shared_ptr<void>(), &m_pictures}; // lives as long as this
    }
    const auto snapshot = m_camera.snapshot();
    const int last = static_cast<int>(snapshot->schemes.size()) - 1;
    int scheme = 0;
    if (!host::readIntWithin(*given, 0, last, scheme)) {
        refusal = refuse(404, "no_scheme",
                         "'scheme' is a number from 0 to " + std::to_string(last) + ".");
        return nullptr;
    }
    const std::lock_guard<std::mutex> guard(m_previewLock);
    const auto found = m_schemePictures.find(scheme);
    if (found != m_schemePictures.end()) {
        return found->second;
    }
    if (m_schemePictures.size() >= kMostPreviews) {
        // Each draws in threads and memory of its own.
        const auto idle = std::find_if(
            m_schemePictures.begin(), m_schemePictures.end(),
            [](const auto& one) { return one.second.use_count() == 1 && one.second->isIdle(); });
        if (idle == m_schemePictures.end()) {
            refusal = refuse(503, "too_many", "The pictures of other schemes are watched now.", 2);
            return nullptr;
        }
        const int old = idle->first;
        m_schemePictures.erase(idle);
        m_camera.releasePicturesOf(old);
    }
    host::PictureHub* const hub = m_camera.picturesOf(scheme);
    if (hub == nullptr) {
        refusal = refuse(501, "no_preview",
                         "This camera's picture shows only what is in force, no other scheme.");
        return nullptr;
    }
    return m_schemePictures[scheme] = std::make_shared<Pictures>(*hub, m_streams);
}

void Service::video(const Shared& exchange, const Identity& who) {
    const http::Request& request = exchange->request();
    http::Response refusal;
    const std::shared_ptr<Pictures> pictures = picturesFor(request, who, refusal);
    if (pictures == nullptr) {
        return answer(exchange, refusal);
    }
    const unsigned long number =
        m_streams.open(streamOwner(request, who), StreamList::Kind::Video,
                       m_options.mostVideosOfSession, m_options.mostVideos);
    if (number == 0) {
        answer(exchange, refuse(503, "too_many_videos",
                                std::to_string(m_streams.count(StreamList::Kind::Video)) +
                                    " people watch already: ask for single pictures.",
                                2));
        return;
    }
    http::Response response = problem(0);
    response.headers.push_back(
        {"Content-Type",
         std::string("multipart/x-mixed-replace; boundary=") + Pictures::kBoundary});
    http::StreamOptions options;
    options.sendBuffer = 128 * 1024;
    options.unchunked = true;
    options.gone = [this, number] { m_streams.close(number); };
    attach(number, *exchange, exchange->stream(std::move(response), pictures->video(), options));
}

void Service::picture(const Shared& exchange, const Identity& who) {
    http::Response refusal;
    const std::shared_ptr<Pictures> pictures = picturesFor(exchange->request(), who, refusal);
    if (pictures == nullptr) {
        return answer(exchange, refusal);
    }
    pictures->single([this, exchange](Pictures::Bytes jpeg, const std::string& why) {
        if (jpeg == nullptr) {
            answer(exchange, refuse(503, "no_picture", "There is no picture: " + why + ".", 2));
            return;
        }
        http::Response response;
        response.headers.push_back({"Content-Type", "image/jpeg"});
        response.body = std::move(jpeg);
        answer(exchange, std::move(response));
    });
}

} // namespace imgctld
