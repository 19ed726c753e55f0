#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "PictureSettings.h"
#include "Scene.h"
#include "World.h"

namespace simulated_ia {

/// The light on the sensor, point by point: what the lens throws there before it is exposed.
struct LightPicture {
    int width = 0;
    int height = 0;
    int channels = 3; ///< red, green, blue; 1: grey
    double unit = 1;  ///< what white paper on a bright day would give; high when the world is dark
    std::vector<uint16_t> plane[3];
};

/// The light that falls on the street, in parts of a bright day's.
struct Illumination {
    double daylight[3];
    double lamp[3];     ///< under the street lamp
    double infrared[3]; ///< of the camera's own near, medium and far lamp
    double fog;         ///< 0 .. 1
    double dusk;        ///< 0 by day .. 1 when the sun is long down

    Illumination(const PictureSettings& settings, const World& world);

    /// The daylight on what is at a distance, 256: all of it. The sky fades before the street does.
    int daylightAt(int distance) const;

    /// The part of what is seen at a distance that is fog, 0 .. 256.
    int fogAt(int distance) const;

    /// The camera's own light at a distance.
    double infraredAt(int distance) const;
};

/// The fog that is seen, 0 .. 10000: what defogging cannot tell from the street.
int fogLeft(const PictureSettings& settings, const World& world);

/// The means of the picture's 16 by 9 fields, in units of the light's.
struct Metering {
    static constexpr int across = 16;
    static constexpr int down = 9;
    double field[down][across];
};

/// What the lens shows of the street, without what moves in it. It is drawn again only when the
/// lens, the light or the camera's place changes.
class View {
public:
    /// @param width, height  of the picture; even, the width a multiple of 32
    View(int width, int height);

    /// Looks through the lens.
    void look(const PictureSettings& settings, const World& world);

    /// The whole view, moved by the wind so many points of the picture.
    void copyTo(LightPicture& picture, int right, int down) const;

    const Metering& metering() const { return m_metering; }

    /// The picture's size.
    int width() const { return m_width - 2 * m_pad; }
    int height() const { return m_height - 2 * m_pad; }

    /// How far a point of the picture is off its place where the lens is out of focus.
    int blur() const { return m_key.blur; }

    /// The most points of the picture that the wind may move it.
    int room() const { return m_pad; }

    /// Where a point of the scene lies in the picture.
    double across(double sceneX) const { return (sceneX - m_left) / m_step - m_pad; }
    double down(double sceneY) const { return (sceneY - m_top) / m_step - m_pad; }

    /// Points of the scene in one of the picture.
    double step() const { return m_step; }

    double unit() const { return m_unit; }

    /// Reflectance of what is seen at a point of the picture that the wind has not moved, 255:
    /// white paper. The point may lie as far outside as the wind moves it.
    int reflectance(int x, int y) const { return m_reflectance[place(x, y)]; }

    /// How far away it is, 0 .. 255.
    int distance(int x, int y) const { return m_distance[place(x, y)]; }

private:
    struct Key {
        int zoom, across, down, blur;
        int light, fog, lamp, night, infrared;
        bool operator==(const Key& other) const;
    };

    size_t place(int x, int y) const {
        return static_cast<size_t>(y + m_pad) * m_width + static_cast<size_t>(x + m_pad);
    }
    // A point between two rows: red and blue, then green and distance, each in a half word.
    struct Mixed {
        uint64_t even;
        uint64_t odd;
    };

    View(int width, int height, int pad);
    void draw(const PictureSettings& settings, const World& world);
    void drawSoft(const PictureSettings& settings, const World& world);
    void drawRow(int y, bool grey, const std::vector<int>& lampRow);
    void mixRows(const uint32_t* upper, const uint32_t* lower, int from, int to, unsigned int part);
    void drawLuminous(const Illumination& light, const World& world, bool grey);
    void meter();

    int m_pad;
    int m_width; // with the room around the picture
    int m_height;
    double m_step = 1;
    double m_left = 0; // the scene's point in the left upper corner of the room
    double m_top = 0;
    double m_unit = 1;
    Key m_key = {-1, 0, 0, 0, 0, 0, 0, 0, 0};
    int m_channels = 3;
    std::array<std::vector<uint16_t>, 3> m_plane;
    std::vector<uint8_t> m_reflectance;
    std::vector<uint8_t> m_distance;
    std::array<uint16_t, 4096> m_linear;
    // By distance, four times the light's units.
    std::array<std::array<unsigned int, 256>, 3> m_day;
    std::array<unsigned int, 3> m_lamp;
    std::array<unsigned int, 256> m_infrared;
    std::array<unsigned int, 256> m_fog; // 256: nothing but fog
    std::vector<Mixed> m_mixed;
    Metering m_metering = {};
    std::unique_ptr<View> m_half; // of half the points; made when it is first needed
};

/// Spreads each point of a plane over a square, twice: as a lens out of focus does.
void spread(std::vector<uint16_t>& plane, int width, int height, int radius);

/// Adds a round glow.
/// @param amount  for each channel, in the middle
void addGlow(std::vector<uint16_t>* planes, int channels, int width, int height, double x, double y,
             double radius, const double* amount);

} // namespace simulated_ia
