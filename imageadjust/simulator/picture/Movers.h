#pragma once

#include <cstdint>
#include <vector>

#include "View.h"

namespace simulated_ia {

/// A figure that can be drawn at any size and as smeared as one likes, at one and the same cost for
/// a point: it keeps sums over rectangles.
class Sprite {
public:
    explicit Sprite(const Texture& painted);

    int width() const { return m_width; }
    int height() const { return m_height; }

    /// The mean over a rectangle of the figure's points; what lies outside is empty.
    /// @param mean  red, green, blue in 1/4096 of white paper, times what covers the ground; then
    ///              what covers it, 0 .. 4096
    void mean(int x0, int y0, int x1, int y1, int (&mean)[4]) const;

private:
    int m_width;
    int m_height;
    std::vector<uint64_t> m_sums; // four of each corner
};

/// What moves in the street: two cars and somebody who walks.
class Movers {
public:
    Movers();

    /// Draws them where they are at a time.
    /// @param right, down  how far the wind moves the picture
    /// @param shutter      seconds: what moves is smeared as far as it comes in that time
    /// @param trail        0 .. 100: how much of where they were is still seen
    void draw(LightPicture& picture, const View& view, const Illumination& light,
              long long milliseconds, int right, int down, double shutter, int trail) const;

private:
    struct Place {
        double x, foot, scale; // left lower corner, in points of the scene
        int distance;
        bool mirrored;
        double speed; // points of the scene in a second
    };

    void drawSprite(LightPicture& picture, const View& view, const Illumination& light,
                    const Sprite& sprite, const Place& place, int right, int down, double smear,
                    int part) const;
    void drawLights(LightPicture& picture, const View& view, const Illumination& light,
                    const Place& place, int right, int down) const;

    Sprite m_red;
    Sprite m_blue;
    std::vector<Sprite> m_steps; // somebody who walks
};

} // namespace simulated_ia
