#include <algorithm>
#include <cmath>

#include "View.h"

namespace simulated_ia {
namespace {

// What is left of daylight in a night without moon, so that nothing is ever quite black.
constexpr double starlight = 0.00012;

double bump(int distance, int middle, int reach) {
    const double off = static_cast<double>(distance - middle) / reach;
    return std::max(0.0, 1 - off * off);
}

} // namespace

int fogLeft(const PictureSettings& settings, const World& world) {
    const int taken = settings.defog != 0 ? settings.defogStrength * 7 / 10 : 0;
    return world.fog * (100 - taken);
}

Illumination::Illumination(const PictureSettings& settings, const World& world)
    : fog(fogLeft(settings, world) / 10000.0),
      dusk(std::clamp((40 - world.light) / 34.0, 0.0, 1.0)) {
    const double level = world.light / 100.0;
    const double bright = level * level + starlight;
    // The sky alone gives a blue light once the sun is down.
    const double blue[3] = {-0.22, -0.04, 0.30};
    const double warm[3] = {1.0, 0.76, 0.42};
    for (int i = 0; i < 3; ++i) {
        daylight[i] = bright * (1 + blue[i] * dusk);
        lamp[i] = 0.05 * warm[i] * world.lamp / 100;
        infrared[i] = 0;
    }
    if (settings.night && settings.infrared != 0) {
        // By zoom: the tele end sees only what the far lamp reaches.
        const double tele = (settings.zoom - 16384) / (32000.0 - 16384.0);
        const double share[3] = {1 - 0.8 * tele, 0.7, 0.2 + 0.8 * tele};
        for (int i = 0; i < 3; ++i) {
            const int strength = settings.infraredMode == 2 ? settings.infraredManual[i]
                                                            : settings.infraredAutomatic[i];
            infrared[i] = 0.03 * strength / 100 * (settings.infraredMode == 1 ? share[i] : 1);
        }
    }
}

int Illumination::daylightAt(int distance) const {
    return static_cast<int>(256 * (1 - 0.8 * dusk * std::clamp((distance - 210) / 40.0, 0.0, 1.0)));
}

int Illumination::fogAt(int distance) const {
    return static_cast<int>(256 * (1 - std::exp(-2.6 * fog * fog * (distance + 12) / 100)));
}

double Illumination::infraredAt(int distance) const {
    return infrared[0] * 0.7 * bump(distance, 25, 62) + infrared[1] * bump(distance, 92, 50) +
           infrared[2] * 0.8 * bump(distance, 150, 52);
}

} // namespace simulated_ia
