#pragma once

#include <string>
#include <vector>

#include "host/CommandLine.h"

namespace imgctl {

/// What the command line asks for.
struct Options {
    host::CameraArguments device;
    std::vector<std::string> commands; ///< of -c
    std::vector<std::string> words;    ///< one command, word by word
    std::string connect;               ///< the address of a camera elsewhere; empty: this machine's
    std::string tokenFile;
    std::string fingerprint;
    int language = 0;
    bool json = false;
    bool complete = false; ///< only print what may stand at the end of a line
    std::string completeLine;
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
