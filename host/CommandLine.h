#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/CameraOptions.h"

/// The command lines of programs that run a camera.
namespace host {

/// What most options do with what stands behind them; the targets must outlive the options.
using TakeValue = std::function<bool(const std::string& value)>;
TakeValue takeText(std::string& target); ///< one that is not empty
TakeValue takeTexts(
    std::vector<std::string>& target); ///< the same, for options that may come again
TakeValue takeNumber(int least, int most, int& target);
TakeValue takeFlag(bool& target); ///< true, when the option is there

/// One option of a command line.
struct CommandLineOption {
    const char* name;     ///< "--device"
    const char* argument; ///< what stands behind it: "DIR"; empty: nothing
    const char* allowed;  ///< what the argument may be, for refusals
    const char* help;
    TakeValue take; ///< @return false: not allowed
};

/// Reads a command line: "--name VALUE" and "--name=VALUE".
/// @param words    receives the first word that is no option and all behind it, options or not;
///                 null: nothing else is expected
/// @param problem  receives what is wrong, and what would be allowed
bool readCommandLine(int argc, char* const* argv, const std::vector<CommandLineOption>& options,
                     std::vector<std::string>* words, std::string& problem);

/// The options, one a line with its help.
std::string commandLineHelp(const std::vector<CommandLineOption>& options);

/// What a command line says of a camera beside its options.
struct CameraArguments {
    CameraOptions camera;
    std::string trace; ///< the file's name; empty: none
};

/// The options by which a program is told what camera to run; they write to the arguments, which
/// must outlive them.
std::vector<CommandLineOption> cameraCommandLine(CameraArguments& arguments);

} // namespace host
