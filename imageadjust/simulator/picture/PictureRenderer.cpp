#include "PictureRenderer.h"

#include <algorithm>
#include <cmath>

namespace simulated_ia {
namespace {

// The mast swings slowly and trembles; what the camera holds against it takes a part away.
double swing(const PictureSettings& s, const World& world, int width) {
    const double held = s.antiShake != 0 ? s.antiShakeStrength / 100.0 : 0;
    return world.shake / 100.0 * (1 - held) * width / 640 * 12;
}

int spatialStrength(const PictureSettings& s, double gain) {
    if (s.spatial == 0) {
        return 0;
    }
    if (s.spatialMode != 0) {
        return s.spatialManual;
    }
    const double noisy = std::min(1.0, std::log2(gain) / 4);
    return static_cast<int>(s.spatialAutomatic * (0.3 + 0.7 * noisy));
}

int frameWidth(int wanted) {
    return std::clamp((std::clamp(wanted, 0, 10000) + 16) / 32 * 32, 128, Scene::middleWidth);
}

} // namespace

PictureRenderer::PictureRenderer(int width)
    : m_view(frameWidth(width), frameWidth(width) * 9 / 16) {}

const Frame& PictureRenderer::draw(const PictureSettings& settings, const World& world,
                                   long long milliseconds, uint32_t seed) {
    if (settings.freeze != 0 && !m_frame.luma.empty()) {
        return m_frame;
    }
    m_view.look(settings, world);
    const double most = swing(settings, world, m_view.width());
    const auto time = static_cast<double>(milliseconds % 1000000) / 1000;
    const auto right = static_cast<int>(
        std::lround(most * (0.7 * std::sin(time * 9.1) + 0.3 * std::sin(time * 31.7))));
    const auto down = static_cast<int>(
        std::lround(most * (0.5 * std::sin(time * 11.3 + 1) + 0.3 * std::sin(time * 37.9))));
    m_exposure = expose(settings, m_view.metering(), m_view.unit());
    m_view.copyTo(m_light, right, down);
    const Illumination illumination(settings, world);
    int trail = 0;
    if (settings.temporal != 0) {
        trail = settings.temporalMode != 0 ? settings.temporalManual : settings.temporalAutomatic;
        trail = std::max(0, trail - 40);
    }
    m_movers.draw(m_light, m_view, illumination, milliseconds, right, down, m_exposure.shutter,
                  trail);
    const auto moment = static_cast<uint32_t>(milliseconds);
    m_development.develop(m_light, settings, m_exposure, illumination,
                          seed * 0x85ebca6bU + moment * 0x27d4eb2fU, m_developed);
    reduceNoise(m_developed, spatialStrength(settings, m_exposure.gain));
    finish(m_developed, settings, m_frame);
    arrange(settings, m_frame);
    return m_frame;
}

} // namespace simulated_ia
