#pragma once

#include <cstdio>

namespace image_adjust {

/// Writes a line for every call of ia_ioctrl: "ia CMD OPT WORDS_IN WORDS_OUT RESULT", words joined
/// by commas, "-" for none; one write each, then a flush. The file stays the caller's; null ends
/// the trace. When this returns nothing is written to the file before.
void traceTo(FILE* file);

} // namespace image_adjust
