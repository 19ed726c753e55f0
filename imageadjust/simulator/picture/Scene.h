#pragma once

#include <vector>

#include "Painter.h"

namespace simulated_ia {

/// Something of the scene that shines by itself, or that throws the daylight back like a mirror.
struct Luminous {
    double x0, y0, x1, y1; ///< in points of the scene
    int rgb;               ///< its colour, 0xRRGGBB
    double daylight;       ///< how bright, in parts of the daylight on white paper
    double own;            ///< how bright by itself, in parts of white paper on a bright day
};

/// What stands still in front of the camera: a street.
///
/// Its points are a half of those of a picture of 640 x 360 at the wide end. The picture in the
/// middle is 1280 x 720 of them; around it is a margin for the offset and the wind. The fourth byte
/// of a point is its distance, 0 at the camera, 255 the sky.
class Scene {
public:
    static constexpr int middleWidth = 1280;
    static constexpr int middleHeight = 720;
    static constexpr int margin = 80;
    static constexpr int levelCount = 4;

    /// The one street; painted when it is first asked for, which takes a tenth of a second.
    static const Scene& street();

    /// The scene at a half, a quarter ... of its points: level 0 has all of them.
    const Texture& level(int number) const { return m_levels[static_cast<size_t>(number)]; }

    const std::vector<Luminous>& luminous() const { return m_luminous; }

    /// The street lamp's light on what is there, 0 .. 1, and where the lamp itself hangs; in points
    /// of the scene from the middle's left upper corner, as everything else.
    static double lampLight(double x, double y);
    static constexpr double lampX = 985;
    static constexpr double lampY = 168;

private:
    Scene();

    std::vector<Texture> m_levels;
    std::vector<Luminous> m_luminous;
};

/// Distances of the scene, as the fourth byte of its points has them.
enum Distance {
    DISTANCE_CHART = 30,
    DISTANCE_NEAR_LANE = 70,
    DISTANCE_FAR_LANE = 95,
    DISTANCE_PAVEMENT = 112,
    DISTANCE_TREE = 125,
    DISTANCE_HOUSES = 150,
    DISTANCE_TOWN = 205,
    DISTANCE_SKY = 255,
};

// The parts of the street, each in front of the ones before.
void paintSky(Painter& painter, std::vector<Luminous>& luminous);
void paintHouses(Painter& painter, std::vector<Luminous>& luminous);
void paintGround(Painter& painter);
void paintStreetLamp(Painter& painter, std::vector<Luminous>& luminous);
void paintTree(Painter& painter);
void paintChart(Painter& painter);

} // namespace simulated_ia
