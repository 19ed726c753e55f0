#include "CallTrace.h"

#include <mutex>

#include "Entry.h"

namespace image_adjust {
namespace {

// A line of two whole records, each word with sign and separator.
constexpr int lineSize = 2 * RECORD_WORDS_MAX * 12 + 64;

int appendWords(char* line, int length, const Words& words) {
    if (words.empty()) {
        return length +
               std::snprintf(line + length, lineSize - static_cast<unsigned>(length), " -");
    }
    for (std::size_t i = 0; i < words.size(); ++i) {
        length += std::snprintf(line + length, lineSize - static_cast<unsigned>(length), "%c%d",
                                i == 0 ? ' ' : ',', words[i]);
    }
    return length;
}

void writeLine(FILE* file, const Call& call) {
    char line[lineSize];
    int length = std::snprintf(line, sizeof line, "ia %u %u", call.cmd, call.opt);
    length = appendWords(line, length, call.in);
    length = appendWords(line, length, call.out);
    std::snprintf(line + length, sizeof line - static_cast<unsigned>(length), " %d\n", call.result);
    // Other lines go into the same file; the stream's own lock keeps each whole.
    std::fputs(line, file);
    std::fflush(file);
}

} // namespace

void traceTo(FILE* file) {
    static std::mutex lock;
    static Observation trace;
    const std::lock_guard<std::mutex> guard(lock);
    trace = file == nullptr ? Observation()
                            : observe([file](const Call& call) { writeLine(file, call); });
}

} // namespace image_adjust
