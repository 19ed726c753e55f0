#pragma once

#include <string>

/// The names by which layers are chosen: "simulator", "so:PATH", "v4l2:DEVICE".
namespace host {

constexpr char kSimulatorLayer[] = "simulator";

/// The shared library of a layer's name; empty for another layer.
std::string libraryOfLayer(const std::string& name);

/// The camera of a layer's name, as it is given there: "/dev/video0"; empty where it has none.
std::string deviceOfLayer(const std::string& name);

} // namespace host
