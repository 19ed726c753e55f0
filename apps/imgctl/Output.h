#pragma once

#include <cstdio>
#include <string>

namespace imgctl {

/// From now on standard output is for answers alone: what the library reports, which it prints to
/// stdout, goes to standard error, and without colours where that is no terminal. Call it once,
/// before the first output.
void separateReports();

/// The stream of the answers.
FILE* answers();

/// Hands on what has been reported and ends a line that is unfinished; before
/// anything else is said.
void startLine();

/// Prints an answer, or further lines of one, at once; adds the line end if there is none.
void printLine(const std::string& text);

/// Prints a line on standard error. No control character passes.
void printError(const std::string& text);

} // namespace imgctl
