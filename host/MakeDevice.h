#pragma once

#include <string>
#include <vector>

namespace image_adjust {
class Layer;
}

namespace host {

/// What makeDevice did with the files of a device tree, by their paths in it.
struct MadeDevice {
    std::vector<std::string> written;
    std::vector<std::string> kept; ///< were there, and are the user's
    int controls = 0;              ///< parameters that the camera has
    bool carriesOver = false;      ///< what was saved has other parameters: see rememberRemade()
};

/// Makes a device tree for a camera from what its layer tells of it, or brings one up to date.
///
/// The style has the tabs, names and order of the sample camera, the parameters that this one has,
/// and its ranges, choices and factory values; it is written anew each time. Texts of the languages
/// are added where they are missing, so that those that somebody has changed stay. The module list,
/// the machine information and the style rules are only written where there are none.
///
/// Saved values stay as they are; where the style has other keys now, or other ranges, whoever
/// keeps a tree calls rememberRemade().
/// @param layer      with its camera present
/// @param directory  of the tree; it is made with the folders above it
/// @param problem    receives what is wrong
bool makeDevice(image_adjust::Layer& layer, const std::string& directory, MadeDevice& made,
                std::string& problem);

} // namespace host
