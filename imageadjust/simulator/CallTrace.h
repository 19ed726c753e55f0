#pragma once

#include <cstdio>

namespace simulated_ia {

/// The words of one record on their way into or out of a call. No allocation: every call has two.
struct Words {
    enum { MAX = 69 }; ///< words of the longest record

    int count = 0; ///< 0: nothing was handed over
    int word[MAX] = {};
};

/// Writes "ia CMD OPT WORDS_IN WORDS_OUT RESULT" as one write, and flushes.
void writeTrace(FILE* file, unsigned int cmd, unsigned int opt, const Words& in, const Words& out,
                int result);

} // namespace simulated_ia
