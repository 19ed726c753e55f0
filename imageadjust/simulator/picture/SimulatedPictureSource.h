#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "PictureRenderer.h"
#include "PictureSource.h"
#include "SimulatedWorld.h"

namespace simulated_ia {

/// Where a simulated picture takes from what is not the sensor's. What is empty has a value of its
/// own. All are called by next, on its thread.
struct SimulatedPictureOptions {
    /// Values that the sensor is thought to have in place of its own, to see what another scheme
    /// would make of the scene.
    std::function<Assumptions()> assumptions;
    std::function<std::string()> time;       ///< as written into the picture; local time
    std::function<long long()> milliseconds; ///< that cars drive by; the monotonic clock
    uint32_t seed = 0;                       ///< of the noise
};

/// What the simulated sensor sees, as pictures.
///
/// It takes the nearest width that a renderer takes, at nine sixteenths of it, and comes as often
/// as it is asked to, but no more often than the sensor's frame rate. A picture that nobody was
/// there to take is left out.
class SimulatedPictureSource : public image_adjust::PictureSource {
public:
    explicit SimulatedPictureSource(SimulatedPictureOptions options = SimulatedPictureOptions());

    bool start(const image_adjust::PictureFormat& format, std::string& problem) override;
    Result next(int milliseconds, image_adjust::Picture& picture, std::string& problem) override;
    void stop() override;

private:
    typedef std::chrono::steady_clock Clock;

    SimulatedPictureOptions m_options;
    image_adjust::PictureFormat m_format;
    std::unique_ptr<PictureRenderer> m_renderer;
    Frame m_frame;
    Clock::time_point m_due;
};

} // namespace simulated_ia
