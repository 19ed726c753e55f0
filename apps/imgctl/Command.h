#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Client.h"
#include "host/Camera.h"

namespace imgctl {

/// How a command ended; the number is the exit status, and the highest of a run counts.
enum class Status { done = 0, failed = 1, usage = 2, rejected = 3 };

/// The same as a word, with which commands answer that have nothing else to tell.
const char* word(Status status);

/// The camera that commands are about.
struct Target {
    Client& client;
    host::Camera* camera; ///< where this process runs it itself, else null
    bool json = false;    ///< documents in place of texts, for every command
};

/// Options by name, each with its value.
using GivenOptions = std::vector<std::pair<std::string, std::string>>;

/// One call of a command.
struct Call {
    const Target& target;
    const char* name; ///< the command's
    std::vector<std::string>
        arguments;        ///< as many as the synopsis has at most; optional ones may lack
    bool json;            ///< the answer's document is asked for, not a text
    bool& quit;           ///< set to end the run
    GivenOptions options; ///< of Command::options, those that are given

    /// The value of the first option of that name, empty where it takes none.
    /// @return null where it is not given
    const std::string* option(const std::string& wanted) const;

    /// Asks the camera by the API.
    Answer ask(const std::string& method, const std::string& path, const Query& query = {}) const;
    Answer ask(const std::string& method, const std::string& path, const Json& body) const;

    /// Tells what went wrong, or with --json the document, whatever it says.
    /// @param status  receives how the command ends then
    /// @return true when all is said; false when the text of a good answer is still to be printed
    bool told(const Answer& answer, Status& status) const;

    /// The camera of this process; only for commands that are marked so.
    host::Camera& camera() const { return *target.camera; }

    /// Prints "NAME TEXT" on standard output, at once. No control character passes, here and below.
    void answer(const std::string& text) const;

    /// Prints on standard error what the user may not expect, though nothing is wrong.
    void note(const std::string& what) const;

    /// Prints what is wrong on standard error. @return the status, for the caller to give back
    Status refuse(Status status, const std::string& what) const;
};

/// How a run ends with such an answer: the same for the same fault, whatever the command was.
Status statusOf(const Answer& answer);

/// A command of the host.
struct Command {
    const char* name;
    std::string synopsis; ///< its arguments, separated by blanks, optional ones in brackets; the
                          ///< last one takes the rest of the line
    const char* help;
    Status (*run)(const Call& call);
    bool ownCamera = false; ///< works only on a camera of this process
    /// Beside --json, which all take; "--with=" takes the next word as its value.
    std::vector<std::string> options = {};
};

/// Every command, in the order of the help.
const std::vector<Command>& commands();

/// What a line asks for, before any camera is asked.
struct Line {
    const Command* command = nullptr; ///< null for a blank line or a comment
    bool json = false;
    GivenOptions options;
    std::vector<std::string> arguments;
};

/// @return false with what is not understood in it
bool readLine(const std::string& text, Line& line, std::string& problem);

/// Runs one line. Blank lines and comments, which start with '#', do nothing.
Status runLine(const Target& target, const std::string& text, bool& quit);

/// The commands, one a line with its help.
std::string commandHelp();

} // namespace imgctl
