#pragma once

#include <cstdio>
#include <string>

namespace imgctl {

/// From now on an answer begins a new line even where the library's reports, which go to standard
/// output too and end with the colour reset, have left one unfinished. Call it once, before the
/// first output.
/// @return the stream that was standard output before, for the line editor
FILE* watchOutput();

/// Hands on what has been printed and ends a line that is unfinished; before anything else is said.
void startLine();

/// Prints an answer, or further lines of one, on standard output at once; adds the line end if
/// there is none.
void printLine(const std::string& text);

} // namespace imgctl
