#pragma once

#include "SensorDebug.h"

/// Where a report is made. Every source file names its unit in a constant kUnit.
struct ReportSite {
    const char* unit;      ///< for example "SensorFile.cpp", whichever of the unit's files it is
    const char* function;  ///< short name
    int line;              ///< in its own file
    const char* signature; ///< whole, for the abort
};

/// Colours of the report kinds, as terminal attribute numbers.
enum ReportColour { kColourPlain = 0, kColourRed = 31, kColourMagenta = 35, kColourWhite = 37 };

/// The kinds that are gated by the debug level and go to standard output only.
enum class TraceKind { Error, Debug, Information };

/// A check failed: on standard output in red and in the error log, unless the level is negative.
/// With the abort switch on, the process ends here.
/// @param expression  the check as the reports name it
/// @param detail      printf format of a second block, or null for none
void reportAssertion(const ReportSite& site, const char* expression, const char* detail = nullptr,
                     ...) __attribute__((format(printf, 3, 4)));

/// A warning, at level 4 and above: on standard output and in the error log.
void reportWarning(const ReportSite& site, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

/// An error or debug line (level 6 and above) or information (7 and above).
void reportTrace(TraceKind kind, const ReportSite& site, ReportColour colour, const char* format,
                 ...) __attribute__((format(printf, 4, 5)));

/// A debug line without the position line.
void reportBareDebug(const char* format, ...) __attribute__((format(printf, 1, 2)));

// The site must be taken where the report is made, so these have to be macros.
#define REPORT_SITE (ReportSite{kUnit, __func__, __LINE__, __PRETTY_FUNCTION__})
#define REPORT_ASSERTION(...) reportAssertion(REPORT_SITE, __VA_ARGS__)
#define REPORT_WARNING(...) reportWarning(REPORT_SITE, __VA_ARGS__)
#define REPORT_ERROR(...) reportTrace(TraceKind::Error, REPORT_SITE, kColourPlain, __VA_ARGS__)
#define REPORT_DEBUG(...) reportTrace(TraceKind::Debug, REPORT_SITE, kColourPlain, __VA_ARGS__)
#define REPORT_INFORMATION(colour, ...) \
    reportTrace(TraceKind::Information, REPORT_SITE, colour, __VA_ARGS__)
