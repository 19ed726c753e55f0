#pragma once

#include <cstdint>

#include "Development.h"
#include "Finish.h"
#include "Movers.h"
#include "PictureSettings.h"
#include "View.h"
#include "World.h"

namespace simulated_ia {

/// Draws what the simulated camera sees. It shows what the settings do and in which direction, as
/// an illustration; it measures no lens and no sensor.
///
/// A frame follows from settings, world, time and seed alone, whatever was drawn before; but while
/// the settings freeze the picture, the last one stays. Not thread-safe; several renderers may work
/// side by side.
class PictureRenderer {
public:
    /// @param width  of the frames, 128 .. 1280 and a multiple of 32; any other is brought to the
    ///               nearest that is. The height is nine sixteenths of it
    explicit PictureRenderer(int width);

    /// @param milliseconds  of a clock that the street lives by; any
    /// @return the frame, valid until the next call
    const Frame& draw(const PictureSettings& settings, const World& world, long long milliseconds,
                      uint32_t seed = 0);

    /// What the frame was exposed with.
    const Exposure& exposure() const { return m_exposure; }

private:
    View m_view;
    Movers m_movers;
    Development m_development;
    LightPicture m_light;
    Developed m_developed;
    Exposure m_exposure = {};
    Frame m_frame;
};

} // namespace simulated_ia
