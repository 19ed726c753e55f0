#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Layer.h"
#include "PictureSource.h"
#include "host/CameraOptions.h"

namespace host {

/// Makes the layer that the options name: "simulator", "so:PATH", "v4l2:DEVICE", where the device
/// is a node, a link to one, or a camera's identity.
/// @param problem  receives what is wrong and what is allowed
/// @return null when there is none of that name, or it cannot be opened
std::shared_ptr<image_adjust::Layer> openLayer(const CameraOptions& options, std::string& problem);

/// Commands of a layer with a value for each.
using CommandValues = std::vector<std::pair<unsigned int, int>>;

/// The picture of a layer that has none of its own because a program without pictures links it too:
/// the simulator's. Null for every other layer.
/// @param assumed  the values that the layer is thought to have in place of its own, asked for each
///                 picture on the thread that takes it; empty: it is shown as it is
std::unique_ptr<image_adjust::PictureSource> pictureBeside(
    const std::string& name, const std::function<CommandValues()>& assumed = {});

} // namespace host
