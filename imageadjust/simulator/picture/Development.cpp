#include "Development.h"

#include <algorithm>
#include <cmath>

namespace simulated_ia {
namespace {

constexpr int full = 4095;
constexpr int block = 32; // points of a row that a compiler may take at once
constexpr size_t noiseCount = 1 << 16;

uint32_t mixed(uint32_t value) {
    value ^= value >> 16;
    value *= 0x7feb352dU;
    value ^= value >> 15;
    value *= 0x846ca68bU;
    return value ^ value >> 16;
}

struct Balance {
    double red;
    double blue;
};

// What makes white of the light that a mode takes for granted; automatic goes
// by the light there is.
Balance balanceOf(const PictureSettings& s, const Illumination& light) {
    switch (s.whiteBalance) {
        case 1:
            return {std::exp2((s.redGain - 128) / 96.0), std::exp2((s.blueGain - 128) / 96.0)};
        case 2:
            return {1, 1};
        case 3:
            return {1.10, 0.88};
        case 4:
            return {0.88, 1.22};
        case 5:
            return {0.72, 1.75};
        default: {
            double all[3];
            for (int i = 0; i < 3; ++i) {
                all[i] = light.daylight[i] + 0.3 * light.lamp[i] + 1e-6;
            }
            // A little of the light's colour stays, as the eye expects it.
            return {std::pow(all[1] / all[0], 0.75), std::pow(all[1] / all[2], 0.75)};
        }
    }
}

} // namespace

struct Development::Channel {
    uint32_t times; // of the light, in 1 / 2^shift
    int shift;
    std::array<int16_t, 1024> deviation; // of the noise, at a sixteenth of the value
};

Development::Development() : m_noise(noiseCount) {
    uint32_t state = 12345;
    for (int16_t& value : m_noise) {
        int sum = 0;
        for (int i = 0; i < 6; ++i) {
            state = state * 1664525U + 1013904223U;
            sum += static_cast<int>(state >> 24) - 128;
        }
        value = static_cast<int16_t>(sum * 256 / 181); // deviation: 256
    }
}

void Development::develop(const LightPicture& light, const PictureSettings& s,
                          const Exposure& exposure, const Illumination& illumination, uint32_t seed,
                          Developed& picture) {
    const double factor = exposure.factor / light.unit;
    makeWideRange(light, s, factor);
    makeCurve(light, s, factor);

    const Balance balance = balanceOf(s, illumination);
    const double gains[3] = {balance.red, 1, balance.blue};
    // Reduction in time takes the mean of more and more pictures; by itself it does as much as the
    // gain makes necessary.
    double strength = s.temporal == 0 ? 0 : s.temporalManual / 100.0;
    if (s.temporal != 0 && s.temporalMode == 0) {
        const double noisy = std::min(1.0, std::log2(exposure.gain) / 4);
        strength = s.temporalAutomatic / 100.0 * (0.3 + 0.7 * noisy);
    }
    const double calm = 1 / std::sqrt(1 + 8 * strength);
    Channel channels[3];
    for (int i = 0; i < light.channels; ++i) {
        const double gain = light.channels == 1 ? 1 : gains[i];
        double times = factor * gain;
        int shift = 0;
        while (times < 32768 && shift < 28) {
            times *= 2;
            ++shift;
        }
        channels[i].times = static_cast<uint32_t>(std::min(times, 65535.0));
        channels[i].shift = shift;
        for (int k = 0; k < 1024; ++k) {
            // The amplifier's noise, and that of the light itself.
            const double read = 1.5 * exposure.gain * gain;
            const double own = 0.22 * exposure.gain * gain * k * 16;
            channels[i].deviation[static_cast<size_t>(k)] =
                static_cast<int16_t>(std::min(32000.0, 16 * calm * std::sqrt(read * read + own)));
        }
    }

    const int width = light.width;
    picture.width = width;
    picture.height = light.height;
    const auto count = static_cast<size_t>(width) * static_cast<size_t>(light.height);
    picture.luma.resize(count);
    picture.blue.assign(count / 4, 0);
    picture.red.assign(count / 4, 0);
    const auto line = static_cast<size_t>(width);
    std::vector<int16_t> rows(3 * line);
    std::vector<uint16_t> times(line, 256);
    for (int y = 0; y < light.height; ++y) {
        const size_t begin = static_cast<size_t>(y) * line;
        if (m_wide) {
            rangeOfRow(y, width, light.height, times.data());
        }
        int16_t* luma = &picture.luma[begin];
        for (int i = 0; i < light.channels; ++i) {
            const uint32_t chance = mixed(seed + static_cast<uint32_t>(y * 3 + i) * 0x9e3779b9U);
            exposeRow(&light.plane[i][begin], width, channels[i], chance,
                      m_wide ? times.data() : nullptr,
                      light.channels == 1 ? luma : &rows[line * i]);
        }
        if (light.channels == 1) {
            continue;
        }
        const int16_t* red = rows.data();
        const int16_t* green = red + line;
        const int16_t* blue = green + line;
        for (int x = 0; x < width; ++x) {
            luma[x] = static_cast<int16_t>((77 * red[x] + 150 * green[x] + 29 * blue[x]) >> 8);
        }
        int16_t* toBlue = &picture.blue[static_cast<size_t>(y / 2) * line / 2];
        int16_t* toRed = &picture.red[static_cast<size_t>(y / 2) * line / 2];
        for (int x = 0; x < width; x += 2) {
            const int both = luma[x] + luma[x + 1];
            const int b = (blue[x] + blue[x + 1] - both) * 36 >> 8;
            const int r = (red[x] + red[x + 1] - both) * 46 >> 8;
            toBlue[x / 2] = static_cast<int16_t>(toBlue[x / 2] + b);
            toRed[x / 2] = static_cast<int16_t>(toRed[x / 2] + r);
        }
    }
}

void Development::exposeRow(const uint16_t* light, int width, const Channel& channel,
                            uint32_t chance, const uint16_t* times, int16_t* to) const {
    const int16_t* noise = &m_noise[chance % (noiseCount - static_cast<size_t>(width))];
    const int limit = times != nullptr ? 16 * full : 4 * full;
    for (int x = 0; x < width; x += block) {
        int value[block];
        int16_t deviation[block];
        for (int i = 0; i < block; ++i) {
            // Nothing is cut off before the white balance, or bright spots would take on a colour.
            // What is brighter than light is counted is white.
            const uint32_t exposed = light[x + i] * channel.times >> channel.shift;
            const int counted = static_cast<int>(std::min<uint32_t>(exposed, 1U << 17));
            value[i] = light[x + i] == 65535 ? limit : std::min(counted, limit);
        }
        for (int i = 0; i < block; ++i) {
            deviation[i] = channel.deviation[static_cast<size_t>(std::min(value[i] >> 4, 1023))];
        }
        for (int i = 0; i < block; ++i) {
            value[i] = std::max(0, value[i] + (noise[x + i] * deviation[i] >> 12));
        }
        if (times != nullptr) {
            for (int i = 0; i < block; ++i) {
                value[i] = value[i] * times[x + i] >> 8;
            }
        }
        for (int i = 0; i < block; ++i) {
            to[x + i] = m_curve[static_cast<size_t>(std::min(value[i], full))];
        }
    }
}

void Development::makeCurve(const LightPicture& light, const PictureSettings& s, double factor) {
    int black = 0;
    if (s.defog != 0) {
        // What fog is left lifts what is dark: it becomes black again, but never so much that a
        // dark picture drowns.
        std::vector<int> seen;
        const auto& plane = light.plane[light.channels == 1 ? 0 : 1];
        for (size_t i = 0; i < plane.size(); i += 61) {
            seen.push_back(static_cast<int>(std::min(plane[i] * factor, double{full})));
        }
        std::sort(seen.begin(), seen.end());
        black = std::min(seen[seen.size() / 50], 400) * s.defogStrength / 100;
    }
    const int soft = s.highlight != 0 ? s.highlightStrength : 0;
    const int key[3] = {s.gamma, black, soft};
    if (std::equal(key, key + 3, m_curveKey)) {
        return;
    }
    std::copy(key, key + 3, m_curveKey);
    const double powers[4] = {1 / 2.3, 1 / 1.7, 1 / 2.2, 1 / 2.9};
    for (int i = 0; i <= full; ++i) {
        double v = std::clamp(static_cast<double>(i - black) / (full - black), 0.0, 1.0);
        // Straight near black, where a power would blow noise up.
        constexpr double toe = 0.004;
        const double power = powers[s.gamma];
        v = v < toe ? v / toe * std::pow(toe, power) : std::pow(v, power);
        if (s.gamma == 0) {
            v = v + 0.10 * v * (1 - v) * (2 * v - 1) * 4; // a little more depth
        }
        if (soft > 0 && v > 0.6) {
            v = 0.6 + (v - 0.6) * (1 - 0.6 * soft / 100);
        }
        // Black keeps a floor, as a sensor's pedestal gives it.
        m_curve[static_cast<size_t>(i)] = static_cast<int16_t>(40 + v * (full - 40));
    }
}

void Development::makeWideRange(const LightPicture& light, const PictureSettings& s,
                                double factor) {
    m_wide = s.wideRange != 0;
    if (!m_wide) {
        return;
    }
    const auto& plane = light.plane[light.channels == 1 ? 0 : 1];
    std::array<double, mapSize> mean;
    const double cellX = static_cast<double>(light.width) / (mapWidth - 1);
    const double cellY = static_cast<double>(light.height) / (mapHeight - 1);
    double least = 1e9;
    double most = 1;
    for (int row = 0; row < mapHeight; ++row) {
        for (int column = 0; column < mapWidth; ++column) {
            double sum = 0;
            int count = 0;
            for (int j = -3; j <= 3; ++j) {
                for (int i = -3; i <= 3; ++i) {
                    const int y =
                        std::clamp(static_cast<int>((row + j / 6.0) * cellY), 0, light.height - 1);
                    const int x = std::clamp(static_cast<int>((column + i / 6.0) * cellX), 0,
                                             light.width - 1);
                    sum += plane[static_cast<size_t>(y) * static_cast<size_t>(light.width) +
                                 static_cast<size_t>(x)];
                    ++count;
                }
            }
            const double value = sum / count * factor;
            mean[static_cast<size_t>(row) * mapWidth + column] = value;
            least = std::min(least, value);
            most = std::max(most, value);
        }
    }
    // By itself it does as much as the picture's contrast makes necessary.
    const double contrast = std::clamp(std::log2(most / (least + 20)) / 10, 0.2, 1.0);
    const double strength = s.wideRange == 2 ? contrast * 0.6 : s.wideRangeStrength / 100.0;
    for (size_t i = 0; i < mean.size(); ++i) {
        const double times = std::pow(1400 / (mean[i] + 40), 0.7 * strength);
        m_times[i] = static_cast<int>(std::clamp(times, 0.1, 10.0) * 256);
    }
}

void Development::rangeOfRow(int y, int width, int height, uint16_t* times) const {
    const int64_t at = int64_t{y} * (mapHeight - 1) * 256 / height;
    const auto part = static_cast<int>(at & 255);
    const int* upper = &m_times[static_cast<size_t>(at >> 8) * mapWidth];
    const int* lower = upper + mapWidth;
    int column[mapWidth];
    for (int i = 0; i < mapWidth; ++i) {
        column[i] = (upper[i] * (256 - part) + lower[i] * part) >> 8;
    }
    const int step = (mapWidth - 1) * 65536 / width;
    for (int x = 0, across = 0; x < width; ++x, across += step) {
        const int cell = across >> 16;
        const int right = across >> 8 & 255;
        times[x] =
            static_cast<uint16_t>((column[cell] * (256 - right) + column[cell + 1] * right) >> 8);
    }
}

} // namespace simulated_ia
