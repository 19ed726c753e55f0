#pragma once

#include <string>

/// What the columns hold.
void heading();

/// One line of the result: what was measured, beside what the same would cost at least.
/// @param ratio  measured by floor, compared with the goal
void ratioRow(const char* number, const char* what, double measured, double floor, double goal,
              const char* unit);

/// A line whose goal is not a ratio.
void row(const char* number, const char* what, const std::string& measured,
         const std::string& floor, const std::string& goal, bool holds);

/// @return false once a goal did not hold
bool allHold();

// The goals by what they are about; each prints its lines.
void measureApplying();
void measureText();
void measureStarting();
void measureFlushing();

/// Does the work of a name, under callgrind: see instructions(). @return false for no such work
bool doWork(const std::string& name);

/// The heap bytes that a started controller with four schemes keeps, without the style text.
long keptMemory();
