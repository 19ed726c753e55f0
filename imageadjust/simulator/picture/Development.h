#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "Exposure.h"
#include "PictureSettings.h"
#include "View.h"

namespace simulated_ia {

/// A developed picture: luma of every point and chroma of every two by two, each in 12 bits; chroma
/// is 0 where there is no colour.
struct Developed {
    int width = 0;
    int height = 0;
    std::vector<int16_t> luma;
    std::vector<int16_t> blue;
    std::vector<int16_t> red;
};

/// What makes a picture of light: exposure with its noise, white balance, wide
/// dynamic range, defog, gamma.
class Development {
public:
    Development();

    /// @param seed  of the noise
    void develop(const LightPicture& light, const PictureSettings& settings,
                 const Exposure& exposure, const Illumination& illumination, uint32_t seed,
                 Developed& picture);

private:
    struct Channel;

    void makeCurve(const LightPicture& light, const PictureSettings& settings, double factor);
    void makeWideRange(const LightPicture& light, const PictureSettings& settings, double factor);
    void rangeOfRow(int y, int width, int height, uint16_t* times) const;
    void exposeRow(const uint16_t* light, int width, const Channel& channel, uint32_t chance,
                   const uint16_t* times, int16_t* to) const;

    static constexpr int mapWidth = 41;
    static constexpr int mapHeight = 24;
    static constexpr size_t mapSize = size_t{mapWidth} * mapHeight;

    std::vector<int16_t> m_noise;
    std::array<int16_t, 4096> m_curve;
    int m_curveKey[3] = {-1, 0, 0};
    bool m_wide = false;
    std::array<int, mapSize> m_times;
};

} // namespace simulated_ia
