#include "host/Plan.h"

#include <gtest/gtest.h>

#include <set>
#include <tuple>

#include "Camera.h"
#include "LinuxFramework.h"
#include "SensorConfig.h"
#include "SensorKeys.h"

namespace {

using host::PlanStretch;
using Kind = host::WindowWarning::Kind;

constexpr int kTimed = 4;

struct Hours {
    bool on;
    int start; ///< 730 for half past seven
    int end;
};

host::Scheme schemeOf(int number, const Hours& hours) {
    host::Scheme scheme;
    scheme.number = number;
    scheme.window = {hours.on, hours.start / 100, hours.start % 100, hours.end / 100,
                     hours.end % 100};
    scheme.values = std::make_shared<const std::vector<int>>(std::vector<int>{number % 2, 3});
    return scheme;
}

/// A camera as it stands, of two keys: brightness 0 in even schemes, 1 in odd
/// ones; day/night mode 3.
host::Snapshot snapshotOf(const std::vector<Hours>& windows, int hour, int minute) {
    const auto catalogue = std::make_shared<host::Catalogue>();
    for (const u32 key : {KEY_BRIGHTNESS, KEY_DN_MODE}) {
        host::Parameter parameter;
        parameter.key = parameter.command = key;
        catalogue->positions.emplace(key, catalogue->parameters.size());
        catalogue->parameters.push_back(parameter);
        catalogue->schemeKeys.push_back(key);
    }
    host::Snapshot snapshot;
    snapshot.catalogue = catalogue;
    snapshot.values.resize(2);
    snapshot.time = {2026, 12, 31, hour, minute, 30};
    for (std::size_t i = 0; i < windows.size(); ++i) {
        snapshot.schemes.push_back(schemeOf(static_cast<int>(i), windows[i]));
    }
    snapshot.schemes.push_back(schemeOf(static_cast<int>(windows.size()), {false, 0, 0}));
    snapshot.schemes.back().timed = false;
    snapshot.scheme = host::schemeAt(snapshot.schemes, hour * 60 + minute);
    snapshot.rule.why = snapshot.scheme == static_cast<int>(windows.size())
                            ? host::SchemeRule::Why::OutsideWindows
                            : host::SchemeRule::Why::Window;
    return snapshot;
}

class Plans : public Camera {
protected:
    /// What the library wants in force at a minute; none: no window, and the light chooses.
    std::optional<int> wanted(int minute, bool dayNight) {
        linux_framework::setClock(minute / 60 % 24, minute % 60, minute * 7 % 60, 1);
        int scheme = -1;
        int inWindow = -1;
        controller->judgeCurScheme(scheme, inWindow);
        return dayNight && inWindow == 0 ? std::nullopt : std::optional<int>(scheme);
    }
};

TEST_F(Plans, NameEverySwitchOfAWeekAtItsMinuteAndNoOther) {
    start("(max_scheme=4)");
    controller->setParamMode(0);
    ASSERT_EQ(kTimed, static_cast<int>(g_stSysConf.nSchemeSum));
    Random random(11);
    for (int round = 0; round < 12; ++round) {
        std::vector<Hours> windows;
        for (u32 s = 0; s < kTimed; ++s) {
            const auto time = [&random] {
                return static_cast<int>(random(26) * 100 + random(64)); // beyond :59 too
            };
            windows.push_back({random(4) != 0, time(), time()});
            const Hours& hours = windows.back();
            const int values[] = {hours.on ? 1 : 0, hours.start / 100, hours.start % 100,
                                  hours.end / 100, hours.end % 100};
            for (u32 i = 0; i < 5; ++i) {
                controller->setKeyValToCache(s, KEY_SCHEME_ENABLE + i, static_cast<u32>(values[i]),
                                             true);
            }
        }
        const bool dayNight = round % 2 != 0;
        const int now = static_cast<int>(random(1440));
        host::Snapshot snapshot = snapshotOf(windows, now / 60, now % 60);
        snapshot.dayNightSchemes = dayNight;
        std::optional<int> inForce = wanted(now, dayNight);
        snapshot.scheme = inForce.value_or(0);
        if (!inForce) {
            snapshot.rule.why = host::SchemeRule::Why::Day;
        }
        const host::Plan plan = host::planOf(snapshot, host::kMostPlanHours);
        auto next = plan.switches.begin();
        auto stretch = plan.strip.begin();
        for (int minute = now; minute < now + host::kMostPlanHours * 60; ++minute) {
            const std::optional<int> due = wanted(minute, dayNight);
            if (due != inForce) {
                ASSERT_TRUE(next != plan.switches.end()) << round << ": " << minute;
                ASSERT_EQ(std::make_tuple(minute, inForce, due),
                          std::make_tuple(next->minute, next->from, next->to))
                    << round << ": " << minute;
                ++next;
                inForce = due;
            }
            stretch += minute == stretch->to ? 1 : 0;
            ASSERT_EQ(due, stretch->scheme) << round << ": " << minute;
        }
        EXPECT_TRUE(next == plan.switches.end());
        EXPECT_EQ(now + host::kMostPlanHours * 60, plan.strip.back().to);

        // The warnings name each minute that a window loses to a lower one, or that none holds.
        std::set<std::tuple<int, int, int>> lost;
        std::set<int> gap;
        std::set<int> dead;
        for (const host::WindowWarning& warning : plan.warnings) {
            for (int minute = warning.from;
                 minute % 1440 != warning.to % 1440 || minute == warning.from; ++minute) {
                if (warning.kind == Kind::Overlap) {
                    lost.emplace(minute, warning.schemes[0], warning.schemes[1]);
                } else if (warning.kind == Kind::Gap) {
                    gap.insert(minute % 1440);
                } else {
                    dead.insert(warning.schemes[0]);
                    break;
                }
            }
        }
        std::set<int> alive;
        bool anyWindow = false;
        for (int minute = 0; minute < 1440; ++minute) {
            const int clock = minute / 60 * 100 + minute % 60;
            int winner = -1;
            for (int s = 0; s < kTimed; ++s) {
                const Hours& hours = windows[static_cast<std::size_t>(s)];
                if (!hours.on || clock < hours.start || clock >= hours.end) {
                    continue;
                }
                if (winner >= 0) {
                    EXPECT_EQ(1U, lost.erase({minute, winner, s})) << round << ": " << minute;
                } else {
                    winner = s;
                    alive.insert(s);
                }
            }
            anyWindow = anyWindow || winner >= 0;
            EXPECT_TRUE(winner < 0 || gap.count(minute) == 0) << round << ": " << minute;
            gap.erase(minute);
        }
        EXPECT_TRUE(lost.empty());
        for (int s = 0; s < kTimed; ++s) {
            const Hours& hours = windows[static_cast<std::size_t>(s)];
            const bool broken = hours.start >= hours.end || hours.end > 2400;
            EXPECT_EQ(broken || (hours.on && alive.count(s) == 0), dead.count(s) != 0) << s;
        }
    }
}

TEST(Plan, SaysWhatToExpectAndWhatIsProbablyNotMeant) {
    struct Case {
        std::vector<Hours> windows;
        std::string text; ///< at 10:00
        std::vector<std::string> warnings;
    };
    const Case cases[] = {
        {{{false, 0, 2400}, {false, 0, 2400}},
         "No switch in the coming 24 hours; in force: the factory values.",
         {}},
        {{{true, 800, 1800}, {true, 1600, 2400}},
         "18:00 scheme 1, 24:00 the factory values, 08:00 0 Day.",
         {"16:00 to 18:00: 0 Day wins over scheme 1 (lower number).",
          "00:00 to 08:00: no window; the factory values are in force and changes are not kept."}},
        {{{true, 700, 1200}, {true, 800, 1200}},
         "12:00 the factory values, 07:00 0 Day.",
         {"08:00 to 12:00: 0 Day wins over scheme 1 (lower number).",
          "Scheme 1 never comes into force: 0 Day holds all its hours.",
          "12:00 to 07:00: no window; the factory values are in force and changes are not kept."}},
        {{{false, 1800, 600}, {true, 0, 2400}},
         "No switch in the coming 24 hours; in force: scheme 1.",
         {"0 Day: the window ends (06:00) before it starts (18:00); it is switched off, but must "
          "be in order too before the scheme can be saved. Over midnight it takes two schemes: "
          "18:00 to 24:00 and 00:00 to 06:00."}},
        {{{true, 800, 800}, {true, 0, 2430}},
         "No switch in the coming 24 hours; in force: scheme 1.",
         {"0 Day: a window of under a minute, 08:00 to 08:00; it never comes into force and cannot "
          "be saved.",
          "Scheme 1: 24:30 is beyond the day's end, 24:00; it cannot be saved."}},
        {{{true, 859, 860}, {true, 860, 890}, {true, 2401, 2430}},
         "08:59 0 Day, 09:00 the factory values.",
         {"Scheme 1 never comes into force: from 08:60 to 08:90 is no minute of the clock.",
          "Scheme 2: 24:01 is beyond the day's end, 24:00; it never comes into force and cannot be "
          "saved.",
          "09:00 to 08:59: no window; the factory values are in force and changes are not kept."}},
    };
    for (const Case& one : cases) {
        host::Snapshot snapshot = snapshotOf(one.windows, 10, 0);
        snapshot.schemes[0].name = "Day";
        const host::Plan plan = host::planOf(snapshot, 24);
        EXPECT_EQ(one.text, plan.text);
        std::vector<std::string> warnings;
        for (const host::WindowWarning& warning : plan.warnings) {
            warnings.push_back(warning.text);
        }
        EXPECT_EQ(one.warnings, warnings);
    }
}

TEST(Plan, ShowsADraftAndWhatIsDueAtOnce) {
    host::Snapshot snapshot = snapshotOf({{true, 800, 1800}, {true, 1800, 2400}}, 21, 4);
    const std::vector<host::WindowDraft> draft{{1, {false, 18, 0, 24, 0}},
                                               {0, {true, 8, 0, 23, 0}}};
    host::Plan plan = host::planOf(snapshot, 12, draft);
    EXPECT_EQ(
        "At once scheme 1 gives way to scheme 0; then 23:00 the factory values, "
        "08:00 scheme 0.",
        plan.text);
    const host::CameraTime last = host::timeOf(plan, plan.switches.back().minute);
    EXPECT_EQ(2027, last.year);
    EXPECT_EQ(1, last.month * last.day);
    // Values: brightness by the number, and what is only applied until the switch.
    ASSERT_EQ(1U, plan.switches[0].changes.size());
    EXPECT_EQ(0, plan.switches[0].changes[0].after);
    snapshot.values[0].applied = 0;
    EXPECT_TRUE(host::planOf(snapshot, 12, draft).switches[0].changes.empty());

    snapshot.bySchedule = false;
    plan = host::planOf(snapshot, 48, draft);
    EXPECT_TRUE(plan.switches.empty());
    ASSERT_EQ(1U, plan.strip.size());
    EXPECT_EQ(PlanStretch::Rule::ByHand, plan.strip[0].rule);
    EXPECT_EQ(3U, plan.day.size()) << "the windows are shown all the same";
}

} // namespace
