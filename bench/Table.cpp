#include "Table.h"

#include <cstdio>

namespace {

bool s_bAllHold = true;
constexpr char kFormat[] = "%-3s %-50s %14s %14s %7s %8s  %s\n";

std::string number(double value, const char* unit) {
    char text[40];
    snprintf(text, sizeof text, value < 100 ? "%.1f%s" : "%.0f%s", value, unit);
    return text;
}

} // namespace

void ratioRow(const char* number_, const char* what, double measured, double floor, double goal,
              const char* unit) {
    const double ratio = floor > 0 ? measured / floor : 0;
    const bool holds = ratio > 0 && ratio <= goal;
    char quotient[20];
    char limit[20];
    snprintf(quotient, sizeof quotient, "%.2f", ratio);
    snprintf(limit, sizeof limit, "<= %.2f", goal);
    printf(kFormat, number_, what, number(measured, unit).c_str(), number(floor, unit).c_str(),
           quotient, limit, holds ? "yes" : "no");
    s_bAllHold = s_bAllHold && holds;
}

void row(const char* number_, const char* what, const std::string& measured,
         const std::string& floor, const std::string& goal, bool holds) {
    printf(kFormat, number_, what, measured.c_str(), floor.c_str(), "", goal.c_str(),
           holds ? "yes" : "no");
    s_bAllHold = s_bAllHold && holds;
}

bool allHold() {
    return s_bAllHold;
}

void heading() {
    setvbuf(stdout, nullptr, _IOLBF, 0);
    printf(kFormat, "#", "what", "measured", "floor", "ratio", "goal", "holds");
}
