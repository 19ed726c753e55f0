#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "Camera.h"
#include "ImageAdjust.h"
#include "LinuxFramework.h"
#include "SensorConfig.h"

namespace {

using Lines = std::vector<std::string>;

class Schemes : public Camera {
protected:
    void setWindow(int scheme, u32 enable, u32 start, u32 end) {
        const u32 values[] = {enable, start / 100, start % 100, end / 100, end % 100};
        for (u32 i = 0; i < 5; ++i)
            controller->setKeyValToCache(static_cast<u32>(scheme), KEY_SCHEME_ENABLE + i, values[i],
                                         true);
    }
    int current() {
        int scheme = 0;
        EXPECT_TRUE(controller->getParamScheme(scheme));
        return scheme;
    }
    /// Lets the worker thread work from a time of day on (-1: as it is), until it has made as many
    /// sets as expected, or for a while when none are. @return the sets
    Lines work(int hour, int minute, size_t expected) {
        if (hour >= 0)
            linux_framework::setClock(hour, minute, 0, 1000);
        controller->setParamMode(1);
        for (int i = 0; i < (expected > 0 ? 5000 : 20) && (expected == 0 || setCount() < expected);
             ++i)
            usleep(1000);
        controller->setParamMode(0); // waits for the end of a switch
        return sets();
    }
    void startStopped(const std::string& detail) {
        start(detail);
        // In mode 0 the worker's passes do nothing.
        controller->setParamMode(0);
        calls();
    }
};

TEST_F(Schemes, TheLowestMatchingWindowWinsAtEveryMinute) {
    startStopped("(max_scheme=3)");
    Random random(2);
    for (int round = 0; round < 40; ++round) {
        u32 enable[3];
        u32 from[3];
        u32 to[3];
        for (int s = 0; s < 3; ++s) {
            enable[s] = random(4);
            from[s] = random(25) * 100 + random(60);
            to[s] = random(25) * 100 + random(60);
            setWindow(s, enable[s], from[s], to[s]);
        }
        for (u32 minute = 0; minute < 24 * 60; minute += 1 + random(60)) {
            const u32 now = minute / 60 * 100 + minute % 60;
            int expected = 3;
            for (int s = 2; s >= 0; --s) {
                if (enable[s] != 0 && from[s] <= now && now < to[s])
                    expected = s;
            }
            linux_framework::setClock(static_cast<int>(minute / 60), static_cast<int>(minute % 60),
                                      0, 1);
            int scheme = -9;
            int schedule = -9;
            EXPECT_EQ(0, controller->judgeCurScheme(scheme, schedule));
            EXPECT_EQ(expected, scheme) << now;
            EXPECT_EQ(expected < 3 ? 1 : 0, schedule);
        }
    }
}

TEST_F(Schemes, WindowsAreCheckedBeforeSaving) {
    startStopped("(max_scheme=1)");
    controller->setParamScheme(0);
    setDebugLevel(6);
    const std::string saved = read("/mnt/mtd/code/config_file/sensor0.cfg");
    const struct {
        u32 enable, start, end;
        int result;
        const char* report;
    } table[] = {
        {1, 2401, 2400, 505, "failed!!!! nParamSchemeStartTime(2401)\n"},
        {1, 0, 2459, 506, "failed!!!! nParamSchemeEndTime(2459)\n"},
        {1, 800, 800, 507, "failed!!!! nParamSchemeStartTime(800) nParamSchemeEndTime(800)\n"},
        {0, 2200, 600, 507, "failed!!!! nParamSchemeStartTime(2200) nParamSchemeEndTime(600)\n"},
        {1, 2359, 2400, 0, ""},
    };
    for (const auto& row : table) {
        EXPECT_EQ(saved, read("/mnt/mtd/code/config_file/sensor0.cfg"));
        setWindow(0, row.enable, row.start, row.end);
        EXPECT_NE(std::string::npos,
                  output([&] { EXPECT_EQ(row.result, controller->flush()); }).find(row.report));
    }
    EXPECT_EQ(23u, schemeFile(0)[1].value);
    controller->setParamScheme(1);
    EXPECT_EQ(0, controller->flush());
    EXPECT_FALSE(exists("/mnt/mtd/code/config_file/sensor1.cfg"));
}

TEST_F(Schemes, TheWorkerSwitchesByTheClockAndSendsOnlyWhatDiffers) {
    startStopped("(max_scheme=2)");
    setWindow(0, 1, 800, 1200);
    setWindow(1, 1, 1000, 1400);
    controller->setKeyValToCache(0, 34, 10, false);
    controller->setKeyValToCache(1, 34, 20, false);
    controller->setParamScheme(2);
    calls();
    const struct {
        int hour, minute, scheme;
        Lines sets;
    } table[] = {
        {7, 30, 2, {}},  {8, 0, 0, {"34 0 10 0"}},
        {11, 30, 0, {}}, {12, 0, 1, {"34 0 20 0"}},
        {13, 0, 1, {}},  {14, 0, 2, {"34 0 " + std::to_string(stored(2, 34)) + " 0"}},
    };
    for (const auto& row : table) {
        EXPECT_EQ(row.sets, work(row.hour, row.minute, row.sets.size())) << row.hour;
        EXPECT_EQ(row.scheme, current()) << row.hour;
    }
    linux_framework::setClock(9, 0, 0, 1000);
    usleep(20000);
    EXPECT_EQ(2, current()); // in mode 0 nothing switches
    EXPECT_EQ(
        "[sensor assert] file:ISensorController.cpp fun:setParamMode line:0\n"
        "0 == p_nMode || 1 == p_nMode   ~~~Assertion failed.\np_nMode(2)\n",
        output([&] { controller->setParamMode(2); }));
    for (int i = 0; i < 5000 && current() != 0; ++i)
        usleep(1000);
    EXPECT_EQ(0, current()); // any other number means automatic
}

TEST_F(Schemes, PlateRecognitionSwitchesByDayAndNightOutsideWindows) {
    setDeviceType(DEVICE_TYPE_LPR);
    writeStyle({{KEY_DN_MODE, 1}, {34, 50}});
    simulated_ia::setLight(0);
    startStopped("(max_scheme=2)");
    setWindow(0, 1, 800, 1200);
    controller->setKeyValToCache(0, KEY_DN_MODE, 2, false);
    controller->setKeyValToCache(1, 34, 51, false);
    EXPECT_EQ(1, current()); // start-up found night
    EXPECT_EQ(Lines{}, work(-1, 0, 0));
    simulated_ia::setLight(100);
    EXPECT_EQ((Lines{"144 0 0 0", "34 0 50 0"}), work(-1, 0, 2));
    EXPECT_EQ(0, current());
    EXPECT_EQ(2u, stored(0, KEY_DN_MODE));                       // as it was, though 0 was sent
    EXPECT_EQ((Lines{"144 0 2 0", "34 0 50 0"}), work(9, 0, 2)); // a window takes over: all of it
    EXPECT_EQ(Lines{}, work(9, 30, 0));
    simulated_ia::setLight(0);
    EXPECT_EQ((Lines{"144 0 0 0", "34 0 51 0"}), work(13, 0, 2)); // and gives way to the night
    EXPECT_EQ(1, current());
}

TEST_F(Schemes, AnySchemeNumberIsSafe) {
    startStopped("(max_scheme=1)");
    EXPECT_EQ("", output([&] { EXPECT_TRUE(controller->setParamScheme(1)); }));
    for (const int scheme : {2, 255, 256, 1 << 30, -1, -2147483647 - 1}) {
        EXPECT_EQ(
            "[sensor assert] file:ISensorController.cpp fun:setParamScheme line:0\n"
            "p_nScheme >= 0 && (u32)p_nScheme <= g_stSysConf.nSchemeSum   ~~~Assertion failed.\n"
            "p_nScheme(" +
                std::to_string(scheme) + ")\n",
            output([&] { EXPECT_TRUE(controller->setParamScheme(scheme)); }));
        EXPECT_EQ(scheme, current());
        EXPECT_TRUE(calls().empty());
        EXPECT_EQ(0, controller->flush());
        EXPECT_EQ(507, controller->paramCheck());
        EXPECT_EQ(0, controller->LPR_switch_to(scheme));
        EXPECT_EQ(0, controller->setParameter(34, 3, true));
        std::string all;
        output([&] { EXPECT_TRUE(controller->getAllParameters(all)); });
        EXPECT_EQ("", all);
        EXPECT_EQ(-1, controller->setKeyValToCache(static_cast<u32>(scheme), 34, 1, true));
        calls();
    }
}

TEST_F(Schemes, WhatASwitchLeavesOutAndLetsPass) {
    writeStyle({{34, 1}, {KEY_MIRROR, 0}});
    startStopped("(max_scheme=1)");
    controller->setKeyValToCache(0, 34, 5, false);
    controller->setKeyValToCache(0, KEY_MIRROR, 1, false);
    std::vector<int> results;
    // From within the switch: lens commands are dropped, and a value is newest when the scheme that
    // is being left has it.
    simulated_ia::observe([&](const simulated_ia::Call& call) {
        if (call.cmd != KEY_MIRROR)
            return;
        KeyVal zoom = {KEY_ZOOM_IN, 1};
        results.push_back(controller->setParameters(&zoom, 1, false));
        results.push_back(controller->isKeyValNewest({34, 1}));
        results.push_back(controller->isKeyValNewest({34, 5}));
    });
    const unsigned long before = simulated_ia::callCount();
    controller->setParamScheme(0);
    EXPECT_EQ((std::vector<int>{0, 1, 0}), results);
    EXPECT_EQ(before + 2, simulated_ia::callCount());
    EXPECT_TRUE(controller->isKeyValNewest({34, 5}));
}

} // namespace
