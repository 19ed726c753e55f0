#pragma once

#include <string>
#include <vector>

#include "Cameras.h"
#include "host/CameraOptions.h"
#include "host/MakeDevice.h"

namespace host {

/// The Linux cameras of this machine. Opens each for a moment.
std::vector<image_adjust::v4l2::CameraInfo> linuxCameras();

/// Makes a device tree for a Linux camera, or brings one up to date, see makeTree() and
/// makeDevice(). One that a program runs is left alone.
/// @param camera   a node, a link to one, or an identity
/// @param program  who asks, for others that want the tree meanwhile
/// @param name     receives the camera's, for people
/// @param problem  receives what is wrong
bool makeDeviceFor(const std::string& camera, const std::string& directory,
                   const std::string& program, MadeDevice& made, std::string& name,
                   std::string& problem);

/// The folder of the user's state folder where the settings of a camera that is there are, or
/// belong. One without a serial number that has moved to another port takes the tree of its model
/// whose port is empty now, where there is exactly one.
std::string settingsPlaceOf(const image_adjust::v4l2::CameraInfo& camera,
                            const image_adjust::v4l2::Places& places);

/// Where a camera's settings are kept.
struct CameraTree {
    std::string path;
    std::string madeFor; ///< the camera's name, where the tree was made by this call; else empty
};

/// The device tree that the options ask for: the one that they name, else defaultDeviceTree(),
/// else, of an installed program, one in the user's state folder, made from the sample. A Linux
/// camera without a named one has one of its own there, see settingsPlaceOf(), so that it finds its
/// settings again at whichever node it is. What stands in the state folder is made where it is
/// missing; a tree that is named is made only where CameraOptions::makeDevice says so.
///
/// The folder also remembers which camera was last given by which name, so that one that is away,
/// or at another node now, is known.
/// @param problem  receives what is wrong and what to do
/// @return false: there is none
bool deviceTreeFor(const CameraOptions& options, CameraTree& tree, std::string& problem);

/// The camera that a name means: the one that has it now, else the one that had it last, by its
/// identity. @return the name itself where nothing is known of it
std::string cameraMeant(const std::string& given);

/// The camera of a layer as it is now; of one that is away what is known of it: its identity.
/// @return false for a layer without one
bool cameraOfLayer(const std::string& layer, image_adjust::v4l2::CameraInfo& camera);

} // namespace host
