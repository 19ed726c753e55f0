#pragma once

#include <string>
#include <vector>

#include "host/CommandLine.h"

namespace imgctl {

/// What the command line asks for.
struct Options {
    host::CameraArguments device;
    std::vector<std::string> commands;
    bool help = false;
    bool version = false;
};

/// Reads the command line.
/// @param problem  receives what is wrong, and what would be allowed
/// @return false for a command line that is not understood
bool readOptions(int argc, char* const* argv, Options& options, std::string& problem);

/// The options, one a line with its help.
std::string optionHelp();

} // namespace imgctl
