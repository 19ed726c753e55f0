#include "CallTrace.h"

namespace simulated_ia {
namespace {

// A line of two whole records, each word with sign and separator.
constexpr int lineSize = 2 * Words::MAX * 12 + 64;

int appendWords(char* line, int length, const Words& words) {
    if (words.count == 0) {
        return length +
               std::snprintf(line + length, lineSize - static_cast<unsigned>(length), " -");
    }
    for (int i = 0; i < words.count; ++i) {
        length += std::snprintf(line + length, lineSize - static_cast<unsigned>(length), "%c%d",
                                i == 0 ? ' ' : ',', words.word[i]);
    }
    return length;
}

} // namespace

void writeTrace(FILE* file, unsigned int cmd, unsigned int opt, const Words& in, const Words& out,
                int result) {
    char line[lineSize];
    int length = std::snprintf(line, sizeof line, "ia %u %u", cmd, opt);
    length = appendWords(line, length, in);
    length = appendWords(line, length, out);
    std::snprintf(line + length, sizeof line - static_cast<unsigned>(length), " %d\n", result);
    std::fputs(line, file);
    std::fflush(file);
}

} // namespace simulated_ia
