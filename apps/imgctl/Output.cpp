#include "Output.h"

#include <unistd.h>
#include <cerrno>

namespace imgctl {
namespace {

bool atLineStart = true; // guarded by the lock of stdout

ssize_t writeThrough(void* /*cookie*/, const char* data, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = write(STDOUT_FILENO, data + done, size - done);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return 0; // what a stream takes for an error
        }
        done += static_cast<std::size_t>(count);
    }
    atLineStart = size == 0 ? atLineStart : data[size - 1] == '\n';
    return static_cast<ssize_t>(size);
}

} // namespace

FILE* watchOutput() {
    FILE* before = stdout;
    FILE* watched = fopencookie(nullptr, "w", {nullptr, writeThrough, nullptr, nullptr});
    if (watched != nullptr) {
        std::setvbuf(watched, nullptr, isatty(STDOUT_FILENO) != 0 ? _IOLBF : _IOFBF, BUFSIZ);
        stdout = watched;
    }
    return before;
}

void startLine() {
    flockfile(stdout);
    std::fflush(stdout);
    if (!atLineStart) {
        std::fputc('\n', stdout);
        std::fflush(stdout);
    }
    funlockfile(stdout);
}

void printLine(const std::string& text) {
    flockfile(stdout);
    startLine();
    std::fwrite(text.data(), 1, text.size(), stdout);
    if (text.empty() || text.back() != '\n') {
        std::fputc('\n', stdout);
    }
    std::fflush(stdout);
    funlockfile(stdout);
}

} // namespace imgctl
