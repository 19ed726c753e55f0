#pragma once

#include <string>
#include <vector>

#include "host/Camera.h"

namespace imgctl {

/// How a command ended; the number is the exit status, and the highest of a run counts.
enum class Status { done = 0, failed = 1, usage = 2, rejected = 3 };

/// One call of a command.
struct Call {
    host::Camera& camera;
    const char* name; ///< the command's
    std::vector<std::string>
        arguments; ///< as many as the synopsis has at most; optional ones may lack
    bool& quit;    ///< set to end the run

    /// Asks the camera, as this program and its user.
    host::Outcome perform(host::Operation operation) const;

    /// Prints "NAME TEXT" on standard output, at once. No control character passes, here and below.
    void answer(const std::string& text) const;

    /// Prints on standard error what the user may not expect, though nothing is wrong.
    void note(const std::string& what) const;

    /// Prints what is wrong on standard error. @return the status, for the caller to give back
    Status refuse(Status status, const std::string& what) const;

    /// The same for an answer of the camera.
    Status refuse(const host::Outcome& outcome) const;
};

/// A command of the host.
struct Command {
    const char* name;
    std::string synopsis; ///< its arguments, separated by blanks, optional ones in brackets; the
                          ///< last one takes the rest of the line
    const char* help;
    Status (*run)(const Call& call);
};

/// Every command, in the order of the help.
const std::vector<Command>& commands();

/// Runs one line. Blank lines and comments, which start with '#', do nothing.
Status runLine(host::Camera& camera, const std::string& line, bool& quit);

/// The commands, one a line with its help.
std::string commandHelp();

} // namespace imgctl
