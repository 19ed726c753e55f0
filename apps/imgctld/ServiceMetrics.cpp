#include <sstream>

#include "Service.h"
#include "host/Camera.h"
#include "host/Journal.h"
#include "host/PictureHub.h"

namespace imgctld {
namespace {

/// Writes metrics in Prometheus's text format.
class MetricsText {
public:
    void gauge(const char* name, const char* help, double value) {
        write(name, help, "gauge", value);
    }
    void counter(const char* name, const char* help, double value) {
        write(name, help, "counter", value);
    }
    void head(const char* name, const char* help, const char* type) {
        m_text << "# HELP " << name << ' ' << help << "\n# TYPE " << name << ' ' << type << '\n';
    }
    void sample(const char* name, const std::string& labels, double value) {
        m_text << name << '{' << labels << "} " << value << '\n';
    }
    std::string text() const { return m_text.str(); }

private:
    void write(const char* name, const char* help, const char* type, double value) {
        head(name, help, type);
        m_text << name << ' ' << value << '\n';
    }
    std::ostringstream m_text;
};

} // namespace

void Service::metrics(const Shared& exchange) {
    MetricsText text;
    const auto snapshot = m_camera.snapshot();
    if (snapshot != nullptr) {
        text.gauge("imgctl_layer_present", "1 while the device answers.",
                   snapshot->layer.present ? 1 : 0);
        text.gauge("imgctl_scheme", "The scheme in force.", snapshot->scheme);
        text.gauge("imgctl_by_schedule", "1 while schemes switch by the schedule.",
                   snapshot->bySchedule ? 1 : 0);
        text.gauge("imgctl_unsaved_values", "Values that differ from their scheme's file.",
                   snapshot->unsaved);
        text.gauge("imgctl_differences", "Values that the device does not have as recorded.",
                   static_cast<double>(snapshot->differences.size()));
        text.gauge("imgctl_trial", "1 while values are on trial.", snapshot->trial ? 1 : 0);
        if (snapshot->night) {
            text.gauge("imgctl_night", "1 by night.", *snapshot->night ? 1 : 0);
        }
    }
    text.gauge("imgctl_controller_busy_seconds", "How long the controller is at one request.",
               m_camera.busySeconds());
    text.counter("imgctl_journal_total", "Changes noted in the journal since the start.",
                 static_cast<double>(m_camera.journal().sequence()));
    text.counter("imgctl_pictures_total", "Pictures taken since the start.",
                 static_cast<double>(m_camera.pictures().captured()));
    text.gauge("imgctl_video_streams", "Open video streams.",
               static_cast<double>(m_streams.count(StreamList::Kind::Video)));
    text.gauge("imgctl_event_streams", "Open event streams.",
               static_cast<double>(m_streams.count(StreamList::Kind::Events)));
    if (m_connections) {
        text.gauge("imgctl_http_connections", "Open connections.",
                   static_cast<double>(m_connections()));
    }
    if (m_certificateExpires != 0) {
        text.gauge("imgctl_certificate_expiry_timestamp_seconds", "When the certificate runs out.",
                   static_cast<double>(m_certificateExpires));
    }
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        text.counter("imgctl_wrong_logins_total", "Wrong names or passwords since the start.",
                     static_cast<double>(m_wrongLogins));
        text.head("imgctl_http_answers_total", "Answers since the start, by status.", "counter");
        for (const auto& [status, count] : m_answers) {
            text.sample("imgctl_http_answers_total", "status=\"" + std::to_string(status) + "\"",
                        static_cast<double>(count));
        }
    }
    http::Response response;
    response.headers.push_back({"Content-Type", "text/plain; version=0.0.4; charset=utf-8"});
    response.body = std::make_shared<const std::string>(text.text());
    answer(exchange, std::move(response));
}

} // namespace imgctld
