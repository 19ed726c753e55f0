#include "Scene.h"

#include <algorithm>
#include <cmath>

namespace simulated_ia {
namespace {

Texture half(const Texture& from) {
    Texture to(from.width / 2, from.height / 2);
    for (int y = 0; y < to.height; ++y) {
        for (int x = 0; x < to.width; ++x) {
            const uint32_t* p =
                &from.points[2 * (static_cast<size_t>(y) * from.width + static_cast<size_t>(x))];
            const uint32_t* q = p + from.width;
            uint32_t mean = 0;
            for (int shift = 0; shift < 32; shift += 8) {
                const uint32_t sum = (p[0] >> shift & 255) + (p[1] >> shift & 255) +
                                     (q[0] >> shift & 255) + (q[1] >> shift & 255);
                mean |= (sum + 2) / 4 << shift;
            }
            to.points[static_cast<size_t>(y) * to.width + x] = mean;
        }
    }
    return to;
}

} // namespace

const Scene& Scene::street() {
    static const Scene scene;
    return scene;
}

Scene::Scene() {
    m_levels.emplace_back(middleWidth + 2 * margin, middleHeight + 2 * margin);
    Painter painter(m_levels[0], margin, margin);
    paintSky(painter, m_luminous);
    paintHouses(painter, m_luminous);
    paintGround(painter);
    paintStreetLamp(painter, m_luminous);
    paintTree(painter);
    paintChart(painter);
    // A star is seen where there is sky.
    const auto hidden = [this](const Luminous& part) {
        const auto at = [](double place) { return static_cast<size_t>(place + margin); };
        const Texture& t = m_levels[0];
        const uint32_t point = t.points[at(part.y0) * static_cast<size_t>(t.width) + at(part.x0)];
        return part.y1 - part.y0 < 4 && point >> 24 != DISTANCE_SKY;
    };
    m_luminous.erase(std::remove_if(m_luminous.begin(), m_luminous.end(), hidden),
                     m_luminous.end());
    while (m_levels.size() < levelCount) {
        m_levels.push_back(half(m_levels.back()));
    }
}

double Scene::lampLight(double x, double y) {
    // Below the lamp the ground lies flat and its pool of light is wide; the houses stand behind.
    const double ground = 500;
    const double across = (x - lampX) / 300;
    const double down = y > ground ? (y - ground) / 130 : (y - ground) / 300;
    const double far = across * across + down * down;
    const double shade = y < lampY ? std::max(0.0, 1 - (lampY - y) / 60) : 1.0;
    return shade / (1 + 3 * far * far + far);
}

} // namespace simulated_ia
