#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/Snapshot.h"
#include "host/WindowWarnings.h"

/// What the schedule will do: which scheme is in force when, and what each switch changes. Made
/// from a snapshot alone; any thread.
namespace host {

constexpr int kMostPlanHours = 7 * 24;

/// A time in which one rule holds. Minutes count from the midnight before the plan begins, by the
/// camera's clock; a day has 1440.
struct PlanStretch {
    enum class Rule {
        Window,  ///< the lowest enabled window that holds it
        Outside, ///< no window: the default scheme
        Light,   ///< no window, on a camera that then chooses 0 by day and 1 by night
        ByHand,  ///< the schedule is off
    };
    int from = 0;
    int to = 0; ///< the first minute behind it
    Rule rule = Rule::Outside;
    std::optional<int> scheme; ///< none by Rule::Light
};

/// A value that a switch brings.
struct PlannedChange {
    u32 key = 0;
    std::optional<int> before;
    std::optional<int> after;
};

struct PlanSwitch {
    int minute = 0;
    bool atOnce = false; ///< it is due now
    PlanStretch::Rule rule = PlanStretch::Rule::Window;
    std::optional<int> from; ///< none: whichever the light chose
    std::optional<int> to;   ///< none: the light chooses
    /// What reaches the device. Where the light chooses: as it is now.
    std::vector<PlannedChange> changes;
};

struct Plan {
    CameraTime now;
    int hours = 24;
    bool bySchedule = true;
    std::string text;               ///< the switches in a sentence
    std::vector<PlanStretch> strip; ///< from this minute on, for the hours
    std::vector<PlanStretch> day; ///< 00:00 to 24:00 by the windows, also while the schedule is off
    std::vector<PlanSwitch> switches;
    std::vector<WindowWarning> warnings;
};

/// A window as it might be.
struct WindowDraft {
    int scheme = 0; ///< a timed one
    Window window;
};

/// @param hours  1 .. kMostPlanHours
/// @param draft  windows in place of those that are recorded
Plan planOf(const Snapshot& snapshot, int hours, const std::vector<WindowDraft>& draft = {});

/// Who is in force, in the middle of a sentence: "1 Night", "the factory values"; of none: the
/// light's choice.
std::string holderText(const Snapshot& snapshot, const std::optional<int>& scheme);

/// What the device has of a key while a scheme is in force; of none: while the light chooses, as it
/// is now.
std::optional<int> valueUnder(const Snapshot& snapshot, const std::optional<int>& scheme, u32 key);

/// The date and time of a minute of a plan.
CameraTime timeOf(const Plan& plan, int minute);

} // namespace host
