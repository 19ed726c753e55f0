#pragma once

#include <string>
#include <vector>

namespace host {

/// What the command line asks for.
struct Options {
    std::string device; ///< device root; empty: see DeviceTree.h
    int deviceType = 0; ///< 0: as the machine information says
    bool detailGiven = false;
    std::string detail;
    int fps = 25;
    bool clockGiven = false;
    int hour = 0;
    int minute = 0;
    int second = 0;
    double speed = 0; ///< camera seconds per second; 0: not given
    std::string trace;
    bool debugLevelGiven = false;
    int debugLevel = 1;
    bool abort = false;
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

} // namespace host
