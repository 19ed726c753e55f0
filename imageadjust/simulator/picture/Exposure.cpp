#include "Exposure.h"

#include <algorithm>
#include <cmath>

namespace simulated_ia {
namespace {

constexpr double wanted = 1200; // the mean of a well exposed picture, of 4095
constexpr double paper = 3300;  // white paper on a bright day at 1/500 s with the iris at size 5
constexpr double narrowest = 1.0 / 64;

double gainOf(int value) {
    return std::pow(10, value * 0.36 / 20);
}

bool within(int area, int row, int column) {
    switch (area) {
        case 1:
            return column > 4 && column < 11 && row > 2 && row < 7;
        case 2:
            return row < 4;
        case 3:
            return row > 4;
        case 4: // the user's own field; this sensor has it at the right
            return column > 10;
        default:
            return true;
    }
}

// The mean of an area; what lies outside counts a little.
double meanOf(const Metering& metering, int area) {
    double sum = 0;
    double weights = 0;
    for (int row = 0; row < Metering::down; ++row) {
        for (int column = 0; column < Metering::across; ++column) {
            const double weight = within(area, row, column) ? 1 : 0.02;
            sum += weight * metering.field[row][column];
            weights += weight;
        }
    }
    return std::max(sum / weights, 1e-3);
}

// A dark street is to look dark: the more light it would take, the less of it is asked for.
double target(double need) {
    const double stops = std::log2(std::max(1.0, need / 40));
    return wanted * std::max(0.4, 1 - 0.09 * stops);
}

} // namespace

double shutterTime(int step, int frameRate) {
    static const int parts[] = {3,   6,   12,   25,   30,   50,   60,   100,  120,  180,
                                250, 500, 1000, 1500, 2000, 2500, 3000, 4000, 5000, 10000};
    if (step == 100) {
        return 1.0 / frameRate;
    }
    return 1.0 / parts[std::clamp(step, 0, 19)];
}

Exposure expose(const PictureSettings& s, const Metering& metering, double unit) {
    const double widest = std::exp2((s.irisSize - 5) * 0.4);
    const double placed =
        s.irisDriven != 0 ? widest * std::exp2((s.irisPosition - 100) / 100.0 * 8) : widest;
    // Exposure is counted in that of 1/500 s at size 5 without gain.
    const double mean = meanOf(metering, s.meteringArea) / unit * paper;
    double need = wanted / mean;
    need = target(need) / mean;
    if (s.backlight != 0) {
        // What stands against the light is brought up, the more the darker it is; never down.
        const double darker = mean * unit / paper / meanOf(metering, s.backlightArea);
        const double raise = std::min(6.0, 1 + 0.6 * darker);
        need *= std::pow(raise, s.backlightStrength / 100.0);
    }
    if (s.highlight != 0) {
        need *= 1 - 0.6 * s.highlightStrength / 100;
    }
    Exposure e = {};
    if (s.exposureMode == 1) {
        e.shutter = shutterTime(s.fixedShutter, s.frameRate);
        e.iris = placed;
        e.gain = gainOf(s.fixedGain);
    } else {
        const double longest = s.exposureMode == 2 ? shutterTime(s.fixedShutter, s.frameRate)
                                                   : shutterTime(s.longestShutter, s.frameRate);
        const double shortest = s.exposureMode == 2 ? longest : 1.0 / 10000;
        const double usual = std::clamp(0.01, shortest, longest);
        // The iris takes what is too much, then the shutter; the shutter gives what is
        // missing, then the gain.
        e.iris = widest;
        if (s.exposureMode == 3) {
            e.iris = placed;
        } else if (s.irisDriven != 0) {
            e.iris = std::clamp(need / (usual * 500), widest * narrowest, widest);
        }
        e.shutter = std::clamp(need / (e.iris * 500), shortest, longest);
        e.gain = std::clamp(need / (e.iris * e.shutter * 500), 1.0, gainOf(s.highestGain));
    }
    e.factor = paper * e.shutter * 500 * e.iris * e.gain;
    return e;
}

} // namespace simulated_ia
