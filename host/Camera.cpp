#include "host/Camera.h"

#include <algorithm>
#include <future>
#include <utility>

#include "DravikTime.h"
#include "LinuxFramework.h"
#include "host/Core.h"

namespace host {

Camera::Camera() : m_core(std::make_unique<Core>()) {}

Camera::~Camera() = default;

StartProblem Camera::start(const CameraOptions& options) {
    m_speed = options.speed;
    return m_core->start(options);
}

void Camera::stop() {
    m_core->stop();
}

void Camera::submit(Request request, Completion done) {
    m_core->submit(std::move(request), std::move(done));
}

Outcome Camera::perform(Request request) {
    // Shared: the answering thread may still be in set_value when this one has its answer.
    const auto promise = std::make_shared<std::promise<Outcome>>();
    std::future<Outcome> outcome = promise->get_future();
    submit(std::move(request), [promise](const Outcome& answer) { promise->set_value(answer); });
    return outcome.get();
}

Outcome Camera::perform(Operation operation, Origin origin) {
    return perform(Request{std::move(origin), std::move(operation)});
}

std::shared_ptr<const Snapshot> Camera::snapshot() const {
    return m_core->snapshot();
}

bool Camera::waitForSnapshot(std::uint64_t number, std::chrono::milliseconds atMost) const {
    return m_core->waitForSnapshot(number, atMost);
}

long long Camera::clockMicroseconds() {
    return linux_framework::deviceMicroseconds();
}

bool Camera::wait(double seconds, const std::function<bool()>& interrupted) const {
    const auto span = static_cast<long long>(seconds * 1e6);
    const long long end = clockMicroseconds() + span;
    // Slices of a tenth of a real second, so that an interrupt is seen soon at any speed.
    const auto slice = static_cast<long long>(std::max(m_speed * 1e5, 1.0));
    for (long long left = span; left > 0; left = end - clockMicroseconds()) {
        if (interrupted && interrupted()) {
            return false;
        }
        const long long pause = std::min(left, slice);
        DravikTime::wait(
            DravikTime(static_cast<long>(pause / 1000000), static_cast<long>(pause % 1000000)));
    }
    return true;
}

Journal& Camera::journal() {
    return m_core->journal;
}

const LightHistory& Camera::lightHistory() const {
    return m_core->lightHistory;
}

PictureHub& Camera::pictures() {
    return m_core->pictures;
}

PictureHub* Camera::picturesOf(int scheme) {
    const auto now = snapshot();
    const bool known =
        now != nullptr && scheme >= 0 && static_cast<std::size_t>(scheme) < now->schemes.size();
    return known ? m_core->schemePictures.of(scheme) : nullptr;
}

void Camera::releasePicturesOf(int scheme) {
    m_core->schemePictures.release(scheme);
}

image_adjust::Layer* Camera::layer() {
    return m_core->layer();
}

double Camera::busySeconds() const {
    return m_core->busySeconds();
}

} // namespace host
