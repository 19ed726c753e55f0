#pragma once

namespace simulated_ia {

/// What the simulated camera looks at: dials from 0 to 100, as a sensor just
/// switched on finds them.
struct World {
    int light = 100; ///< daylight, from a moonless night to a bright day; squared in the picture
    int fog = 0;     ///< how little is seen of what is far
    int lamp = 30;   ///< the street lamp, warm; next to nothing beside daylight
    int shake = 0;   ///< how far the wind moves the mast that carries the camera
};

} // namespace simulated_ia
