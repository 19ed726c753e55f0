#include "SensorReport.h"

// The abort needs the C library's assertion failure, which <cassert> hides in release builds.
#undef NDEBUG
#include <algorithm>
#include <cassert>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "DKFile.h"
#include "DKLogger.h"
#include "DeviceAccess.h"
#include "SensorPaths.h"
#include "TextNumber.h"

std::atomic<int> g_nDebugLevel{1};
std::atomic<bool> g_bEnAssert{false};

namespace {

constexpr unsigned int kSignRead = 1024; // it is read before every report, so however long it is
constexpr unsigned int kErrorLogSize = 10240;
constexpr unsigned int kErrorLogFiles = 3;
constexpr char kAssertTag[] = "[sensor assert]";
constexpr char kWarnTag[] = "[sensor warn]";

/// The parts of a site as they are printed.
struct Position {
    explicit Position(ReportSite site) : line(static_cast<int>(site.place & 0xffff)) {
        constexpr const char* kUnits[] = {"ISensorController.cpp", "sensor.cpp", "SensorFile.cpp",
                                          "SensorKeyVal.cpp"};
        unit = kUnits[site.place >> 16];
        // "int ISensorController::flush()": the name stands before the parameters, behind a blank
        // or a colon. What is in no named namespace has parentheses of its own with one compiler.
        const char* end = strchr(site.signature, '(');
        while (end != nullptr && (end == site.signature || end[-1] == ' '))
            end = strchr(end + 1, '(');
        const char* start = end != nullptr ? end : site.signature;
        while (start > site.signature && start[-1] != ' ' && start[-1] != ':')
            --start;
        const size_t length = end != nullptr ? static_cast<size_t>(end - start) : strlen(start);
        snprintf(function, sizeof function, "%.*s", static_cast<int>(length), start);
    }

    const char* unit;
    char function[64];
    int line;
};

int level() {
    return g_nDebugLevel.load(std::memory_order_relaxed);
}

/// One coloured block on standard output, which other threads' lines cannot tear.
class OutputBlock {
public:
    explicit OutputBlock(ReportColour colour) {
        flockfile(stdout);
        fprintf(stdout, "\033[%dm\033[%dm", 0, colour);
    }
    ~OutputBlock() {
        fwrite("\033[0m", 1, 4, stdout);
        funlockfile(stdout);
    }
    OutputBlock(const OutputBlock&) = delete;
    OutputBlock& operator=(const OutputBlock&) = delete;

    void position(const char* tag, const Position& at) {
        fprintf(stdout, "%s file:%s fun:%s line:%d\n", tag, at.unit, at.function, at.line);
    }
};

/// The entries that one block leaves in the error log.
class LogBlock {
public:
    explicit LogBlock(const char* tag) : m_pTag(tag) {
        m_log.init(sensor_paths::kErrorLog, kErrorLogSize, kErrorLogFiles);
    }

    void position(const Position& at) {
        write("file:%s fun:%s line:%d\n", at.unit, at.function, at.line);
    }

    void write(const char* format, ...) __attribute__((format(printf, 2, 3))) {
        va_list args;
        va_start(args, format);
        writeList(format, args);
        va_end(args);
    }

    void writeList(const char* format, va_list args) {
        char text[1024]; // longer texts are cut
        vsnprintf(text, sizeof text, format, args);
        m_log.writeLog(m_pTag, text);
    }

private:
    const char* m_pTag;
    DKLogger m_log;
};

/// Takes a line off a text. @return the number in it, or the one for an empty line
int takeNumber(char*& rest, int ifEmpty) {
    char* const line = rest;
    rest += strcspn(rest, "\n");
    if (*rest != '\0')
        *rest++ = '\0';
    return *line == '\0' || strcmp(line, "\r") == 0 ? ifEmpty : parseInt32(line);
}

} // namespace

void updateDebugLevel() {
    char text[kSignRead + 1];
    int size = 0;
    if (existsOnDevice(sensor_paths::kSignFile)) {
        DKFile file;
        if (!file.open(sensor_paths::kSignFile, kOpenForReading))
            return;
        size = file.read(text, kSignRead);
        file.close();
    }
    text[std::max(size, 0)] = '\0';
    char* rest = text;
    g_nDebugLevel.store(takeNumber(rest, 1), std::memory_order_relaxed);
    g_bEnAssert.store(takeNumber(rest, 0) != 0, std::memory_order_relaxed);
}

void reportAssertion(ReportSite site, const char* expression, const char* detail, ...) {
    updateDebugLevel();
    if (level() >= 0) {
        {
            OutputBlock block(kColourRed);
            block.position(kAssertTag, Position(site));
            fprintf(stdout, "%s   ~~~Assertion failed.\n", expression);
        }
        LogBlock log(kAssertTag);
        log.position(Position(site));
        log.write("%s   ~~~Assertion failed.\n", expression);
    }
    if (detail != nullptr) {
        updateDebugLevel();
        if (level() >= 0) {
            va_list args;
            {
                OutputBlock block(kColourRed);
                va_start(args, detail);
                vfprintf(stdout, detail, args);
                va_end(args);
            }
            LogBlock log(kAssertTag);
            va_start(args, detail);
            log.writeList(detail, args);
            va_end(args);
        }
    }
    if (g_bEnAssert.load(std::memory_order_relaxed)) {
        fflush(stdout);
        const Position at(site);
        __assert_fail("bRet", at.unit, static_cast<unsigned int>(at.line), site.signature);
    }
}

void reportWarning(ReportSite site, const char* format, ...) {
    updateDebugLevel();
    if (level() <= 3)
        return;
    va_list args;
    {
        OutputBlock block(kColourPlain);
        block.position(kWarnTag, Position(site));
        va_start(args, format);
        vfprintf(stdout, format, args);
        va_end(args);
    }
    LogBlock log(kWarnTag);
    log.position(Position(site));
    va_start(args, format);
    log.writeList(format, args);
    va_end(args);
}

void reportTrace(TraceKind kind, ReportSite site, ReportColour colour, const char* format, ...) {
    updateDebugLevel();
    if (level() <= (kind == TraceKind::Information ? 6 : 5))
        return;
    OutputBlock block(colour);
    block.position(kind == TraceKind::Error   ? "[sensor err]"
                   : kind == TraceKind::Debug ? "[sensor dbg]"
                                              : "[sensor info]",
                   Position(site));
    va_list args;
    va_start(args, format);
    vfprintf(stdout, format, args);
    va_end(args);
}

void reportBareDebug(const char* format, ...) {
    updateDebugLevel();
    if (level() <= 5)
        return;
    OutputBlock block(kColourPlain);
    va_list args;
    va_start(args, format);
    vfprintf(stdout, format, args);
    va_end(args);
}
