#pragma once

#include <functional>
#include <string>
#include <vector>

#include "host/CameraOptions.h"

/// The command lines of programs that run a camera.
namespace host {

/// One option of a command line.
struct CommandLineOption {
    const char* name;     ///< "--device"
    const char* argument; ///< what stands behind it: "DIR"; empty: nothing
    const char* allowed;  ///< what the argument may be, for refusals
    const char* help;
    std::function<bool(const std::string& value)> take; ///< @return false: not allowed
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
