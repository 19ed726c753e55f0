#pragma once

#include "SensorDebug.h"

/// The source units that reports name; every source file has its own in a constant kUnit.
enum class ReportUnit : unsigned int { ISensorController, sensor, SensorFile, SensorKeyVal };

/// Where a report is made. One word and a pointer to constant text: there are a hundred of
/// these, and on a board each word more would cost flash and work at load.
struct ReportSite {
    unsigned int place;    ///< the unit in the upper half, the line in its own file in the lower
    const char* signature; ///< of the function; its name is taken from it
};

/// Colours of the report kinds, as terminal attribute numbers.
enum ReportColour { kColourPlain = 0, kColourRed = 31, kColourMagenta = 35, kColourWhite = 37 };

/// The kinds that are gated by the debug level and go to standard output only.
enum class TraceKind { Error, Debug, Information };

/// A check failed: on standard output in red and in the error log, unless the level is negative.
/// With the abort switch on, the process ends here.
/// @param expression  the check as the reports name it
/// @param detail      printf format of a second block, or null for none
void reportAssertion(ReportSite site, const char* expression, const char* detail = nullptr, ...)
    __attribute__((format(printf, 3, 4)));

/// A warning, at level 4 and above: on standard output and in the error log.
void reportWarning(ReportSite site, const char* format, ...) __attribute__((format(printf, 2, 3)));

/// An error or debug line (level 6 and above) or information (7 and above).
void reportTrace(TraceKind kind, ReportSite site, ReportColour colour, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

/// A debug line without the position line.
void reportBareDebug(const char* format, ...) __attribute__((format(printf, 1, 2)));

// The site must be taken where the report is made, so these have to be macros.
#define REPORT_SITE REPORT_SITE_AS(__PRETTY_FUNCTION__)
#define REPORT_SITE_AS(signature) \
    (ReportSite{static_cast<unsigned int>(kUnit) << 16 | __LINE__, signature})
#define REPORT_ASSERTION(...) reportAssertion(REPORT_SITE, __VA_ARGS__)
#define REPORT_WARNING(...) reportWarning(REPORT_SITE, __VA_ARGS__)
#define REPORT_ERROR(...) reportTrace(TraceKind::Error, REPORT_SITE, kColourPlain, __VA_ARGS__)
#define REPORT_DEBUG(...) reportTrace(TraceKind::Debug, REPORT_SITE, kColourPlain, __VA_ARGS__)
#define REPORT_INFORMATION(colour, ...) \
    reportTrace(TraceKind::Information, REPORT_SITE, colour, __VA_ARGS__)
