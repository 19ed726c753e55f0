#pragma once

#include <optional>

#include "Command.h"

namespace imgctl {

/// Runs what needs no camera that is switched on: "imgctl cameras", "imgctl
/// make-device CAMERA DIR".
/// @return none: the command line asks for something else
std::optional<Status> runTool(int argc, char* const* argv);

/// What there is, one a line with its help.
std::string toolHelp();

} // namespace imgctl
