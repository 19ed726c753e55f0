#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace simulated_ia {

/// A painted surface. A point is four bytes, lowest first: red, green and blue reflectance, and a
/// fourth that its use defines. Reflectance is kept as 127 times its root, so that white paper is
/// 127 and what shines up to four times as bright still fits.
struct Texture {
    Texture(int width_, int height_);

    int width;
    int height;
    std::vector<uint32_t> points;
};

/// A colour as screens give it, 0xRRGGBB, how much brighter than that it is, and what part of it
/// hides what was there.
struct Paint {
    Paint(unsigned int rgb_, double times_ = 1, double cover_ = 1)
        : rgb(rgb_), times(times_), cover(cover_) {}
    unsigned int rgb;
    double times;
    double cover;
};

/// Paints a texture, with smooth edges. What lies outside is left out.
class Painter {
public:
    typedef std::vector<std::pair<double, double>> Outline;

    /// @param left, top  where the origin of the coordinates lies in the texture
    Painter(Texture& texture, int left, int top);

    /// The fourth byte of whatever is painted from now on.
    void fourth(int value) { m_fourth = value; }

    void fill(double x0, double y0, double x1, double y1, Paint paint);
    void polygon(const Outline& outline, Paint paint);
    void ellipse(double x, double y, double across, double down, Paint paint);

    /// From one paint at the top to another at the bottom.
    void fade(double x0, double y0, double x1, double y1, Paint top, Paint bottom);

    /// Makes points lighter or darker by chance, in spots.
    /// @param percent  at most
    /// @param across, down  a spot's size
    void grain(int x0, int y0, int x1, int y1, int percent, int across, int down);

    /// Chance of the scene's own, the same at every start. @return 0 .. below
    int random(int below);

private:
    void blend(int x, int y, uint32_t point, double part);

    Texture& m_texture;
    int m_left;
    int m_top;
    int m_fourth = 255;
    uint32_t m_random = 7;
};

} // namespace simulated_ia
