#pragma once

#include <cstdio>
#include <string>

#include "TerminalGuard.h"

struct editline;
struct history;

namespace imgctl {

/// The command line at a terminal: editing, history, and completion of commands and keys with Tab.
/// Ctrl-C clears the line; Ctrl-D on an empty line ends.
class Prompt {
public:
    /// @param terminal  the stream of the terminal that lines are edited on
    explicit Prompt(FILE* terminal);
    ~Prompt();
    Prompt(const Prompt&) = delete;
    Prompt& operator=(const Prompt&) = delete;

    /// Reads the next line. @return false at the end
    bool read(std::string& line);

private:
    TerminalGuard m_terminal;            // before the editor changes it
    [[maybe_unused]] editline* m_editor; // by a program without an editor
    [[maybe_unused]] history* m_history;
    std::string m_historyFile; ///< empty: it is not kept
};

/// Reads the next line of a file, without its line end; lines of any length, and any bytes.
/// @return false at the end
bool readLine(FILE* file, std::string& line);

} // namespace imgctl
