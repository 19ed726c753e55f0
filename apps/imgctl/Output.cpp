#include "Output.h"

#include <unistd.h>
#include <cerrno>

#include "host/Text.h"

namespace imgctl {
namespace {

FILE* answerStream = nullptr;

// Guarded by the lock of stdout, which is the stream of the reports.
bool atLineStart = true;
bool colours = false;
bool inEscape = false;

bool writeAll(const char* data, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = write(STDERR_FILENO, data + done, size - done);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        done += static_cast<std::size_t>(count);
    }
    return true;
}

ssize_t writeReport(void* /*cookie*/, const char* data, std::size_t size) {
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        const char c = data[i];
        const bool escape = inEscape || c == '\033';
        inEscape = escape && c != 'm';
        if (!escape) {
            atLineStart = c == '\n'; // the colour reset behind a line's end begins no line
        }
        if (!escape || colours) {
            text += c;
        }
    }
    return writeAll(text.data(), text.size()) ? static_cast<ssize_t>(size) : 0;
}

} // namespace

void separateReports() {
    answerStream = stdout;
    FILE* const reports = fopencookie(nullptr, "w", {nullptr, writeReport, nullptr, nullptr});
    if (reports != nullptr) {
        colours = isatty(STDERR_FILENO) != 0;
        std::setvbuf(reports, nullptr, colours ? _IOLBF : _IOFBF, BUFSIZ);
        stdout = reports;
    }
}

FILE* answers() {
    return answerStream != nullptr ? answerStream : stdout;
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
    startLine();
    std::fwrite(text.data(), 1, text.size(), answers());
    if (text.empty() || text.back() != '\n') {
        std::fputc('\n', answers());
    }
    std::fflush(answers());
}

void printError(const std::string& text) {
    startLine();
    std::fprintf(stderr, "imgctl: %s\n", host::printable(text).c_str());
}

} // namespace imgctl
