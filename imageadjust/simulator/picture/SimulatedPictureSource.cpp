#include "SimulatedPictureSource.h"

#include <algorithm>
#include <ctime>
#include <thread>
#include <utility>

#include "JpegEncoder.h"
#include "Overlay.h"
#include "SimulatedImageAdjust.h"

namespace simulated_ia {
namespace {

std::string localTime() {
    const time_t now = time(nullptr);
    tm local = {};
    localtime_r(&now, &local);
    char text[40];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    return text;
}

long long monotonicMilliseconds() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

} // namespace

SimulatedPictureSource::SimulatedPictureSource(SimulatedPictureOptions options)
    : m_options(std::move(options)) {
    if (!m_options.assumptions) {
        m_options.assumptions = [] { return Assumptions(); };
    }
    if (!m_options.time) {
        m_options.time = localTime;
    }
    if (!m_options.milliseconds) {
        m_options.milliseconds = monotonicMilliseconds;
    }
}

bool SimulatedPictureSource::start(const image_adjust::PictureFormat& format,
                                   std::string& problem) {
    problem.clear();
    m_format = format;
    m_renderer = std::make_unique<PictureRenderer>(format.width);
    m_due = Clock::now();
    return true;
}

image_adjust::PictureSource::Result SimulatedPictureSource::next(int milliseconds,
                                                                 image_adjust::Picture& picture,
                                                                 std::string& problem) {
    problem.clear();
    if (!m_renderer) {
        problem = "the simulator's picture was not started";
        return Result::Failed;
    }
    const Clock::time_point end =
        Clock::now() + std::chrono::milliseconds(std::max(0, milliseconds));
    std::this_thread::sleep_until(std::min(m_due, end));
    if (m_due > end) {
        return Result::None;
    }
    if (layer()->state() == image_adjust::DeviceState::Gone) {
        problem = "the simulated camera is unplugged";
        return Result::Failed;
    }
    const SensorState state = sensorState(m_options.assumptions());
    const PictureSettings settings(state);
    const int rate = std::clamp(m_format.framesPerSecond, 1, settings.frameRate);
    m_due = std::max(m_due + std::chrono::microseconds(1000000 / rate), Clock::now());

    m_frame = m_renderer->draw(settings, state.world, m_options.milliseconds(), m_options.seed);
    writeOverlay(m_frame, m_options.time(), state, m_renderer->exposure());
    if (!encodeJpeg(m_frame, m_format.quality, picture.jpeg, problem)) {
        return Result::Failed;
    }
    picture.width = m_frame.width;
    picture.height = m_frame.height;
    return Result::Picture;
}

void SimulatedPictureSource::stop() {
    m_renderer.reset();
}

} // namespace simulated_ia
