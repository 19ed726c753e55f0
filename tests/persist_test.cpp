#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "Camera.h"
#include "CountingNew.h"
#include "ImageAdjust.h"
#include "LinuxFramework.h"
#include "SensorConfig.h"
#include "SensorKeyTable.h"

namespace {

using Lines = std::vector<std::string>;

class Persist : public Camera {
protected:
    void startInScheme(int scheme) {
        start();
        controller->setParamMode(0);
        controller->setParamScheme(scheme);
        controller->setParameters("(8000,0)(8001,1)(8003,2)", true);
        calls();
    }
    int current() {
        int scheme = 0;
        controller->getParamScheme(scheme);
        return scheme;
    }
};

TEST_F(Persist, LastSavedValuesComeBackWhereTheyDiffer) {
    startInScheme(1);
    controller->setParameters("(34,10)(145,12)(146,40)", true);
    EXPECT_EQ(0, controller->flush());
    controller->setParameters("(34,20)(145,13)(146,41)(8003,5)", true);
    sets();
    // The layer refuses a threshold record in between; while restoring that does not stop the walk.
    simulated_ia::fail(145, IA_ERR_RANGE, 1);
    EXPECT_TRUE(controller->resetToLastParameters());
    EXPECT_EQ((Lines{"34 0 10 0", "145 0 12,41 -4", "146 0 12,40 0"}), sets());
    EXPECT_EQ(2u, stored(1, 8003));
    EXPECT_EQ(10u, stored(1, 34));
    simulated_ia::fail(34, IA_ERR_FAILED);
    controller->setKeyValToCache(1, 34, 11, false);
    EXPECT_FALSE(controller->resetToLastParameters());
    simulated_ia::fail(34, 0);

    // Without a file the scratch array is applied as it stands: here, what was read last.
    remove((root + "/mnt/mtd/code/config_file/sensor1.cfg").c_str());
    const std::string out = output([&] { EXPECT_TRUE(controller->resetToLastParameters()); });
    EXPECT_EQ(0u, out.find("[sensor assert] file:SensorFile.cpp fun:keyValFromFile line:0\n"
                           "file.open(file_name)   ~~~Assertion failed.\n"
                           "file_name(/mnt/mtd/code/config_file/sensor1.cfg)\n"));
    EXPECT_EQ(10u, stored(1, 34));
    controller->setParamScheme(4);
    EXPECT_EQ("", output([&] { EXPECT_TRUE(controller->resetToLastParameters()); }));
}

TEST_F(Persist, SingleKeysAreAppliedAgain) {
    startInScheme(0);
    EXPECT_EQ(0, controller->restore(34));
    EXPECT_TRUE(controller->restoreAeMode());
    EXPECT_EQ((Lines{"34 0 " + std::to_string(stored(0, 34)) + " 0",
                     "16 0 " + std::to_string(stored(0, 16)) + " 0",
                     "1536 0 " + std::to_string(stored(0, 1536)) + " 0"}),
              sets());
    simulated_ia::fail(16, IA_ERR_BUSY);
    EXPECT_FALSE(controller->restoreAeMode());
    EXPECT_EQ(1u, sets().size());
    EXPECT_EQ(
        "[sensor assert] file:ISensorController.cpp fun:restore line:0\n"
        "-1 != nPos   ~~~Assertion failed.\n"
        "restore key(4000) failed! make sure it is sensor ui key \n",
        output([&] { EXPECT_EQ(-1, controller->restore(4000)); }));
}

/// Where wide dynamic range is not shown, its handler applies 0. What the owner saved stays, and so
/// do the factory values.
TEST_F(Persist, ValuesThatAreNotShownNowAreKept) {
    writeStyle({{34, 1}, {KEY_WDR_MODE, 1}});
    video.frameRate = 50;
    startInScheme(0);
    controller->setKeyValToCache(0, KEY_WDR_MODE, 2, false);
    EXPECT_EQ(0, controller->restore(KEY_WDR_MODE));
    EXPECT_EQ(2u, stored(0, KEY_WDR_MODE));
    for (const bool all : {false, true}) {
        controller->switch_to(4, all);
        EXPECT_EQ(0, controller->restore(KEY_WDR_MODE));
        EXPECT_EQ(1u, stored(4, KEY_WDR_MODE)) << all;
    }
}

TEST_F(Persist, AResetStartsAgainFromTheFactoryValues) {
    startInScheme(2);
    controller->setParameters("(34,10)", true);
    EXPECT_EQ(0, controller->flush());
    linux_framework::setClock(3, 0, 0,
                              1); // so slow that the worker does not switch during the checks
    // What the camera is may have changed meanwhile.
    setDeviceType(DEVICE_TYPE_DOME);
    EXPECT_EQ("", output([&] { EXPECT_TRUE(controller->resetParameters()); }));
    EXPECT_EQ(0, current());
    EXPECT_EQ(u32{DEVICE_TYPE_DOME}, g_stSysConf.nDeviceType);
    EXPECT_STREQ("(max_scheme=4)", g_stSysConf.moduleConfig.szDetail);
    EXPECT_EQ(stored(4, 34), stored(2, 34));
    for (const KeyVal& kv : schemeFile(2))
        EXPECT_EQ(kv.value, stored(4, kv.key)) << kv.key;
    int mode = 0;
    controller->getParamMode(mode);
    EXPECT_EQ(1, mode);
    EXPECT_EQ(std::size(SENSOR_KEY_TABLE), static_cast<size_t>(g_nKeyCmdNum));
}

TEST_F(Persist, QueriesAreAnsweredInTheirOrder) {
    startInScheme(0);
    controller->setParameters("(34,50)(2337,128)", true);
    const struct {
        const char* query;
        bool good;
        const char* answer;
    } table[] = {
        {"(2337,34)", true, "(2337,128)(34,50)"},
        {"( 34,34x)", true, "(34,50)(34,50)"},
        {"(34,4000,,34)", true, "(34,50)(34,50)"},
        {"(153)", true, "(153,0)"},
        {"34,2337", false, "before"},
        {"(34,2337", false, "before"},
        {"(34)x", false, "before"},
        {"()", false, "before"},
        {"", false, "before"},
        {"(3)(4)", false, "before"},
        {"(99999999999)", true, ""},
    };
    for (const auto& row : table) {
        std::string answer = "before";
        const std::string out =
            output([&] { EXPECT_EQ(row.good, controller->getParameters(row.query, answer)); });
        EXPECT_EQ(row.answer, answer) << row.query;
        if (!row.good) {
            EXPECT_EQ(std::string("ISensorController769 getParameters fail p_strIds = ") +
                          row.query + " \n",
                      out);
        }
    }
}

TEST_F(Persist, AllParametersAreCorrectedInTheScheme) {
    startInScheme(0);
    controller->setParameters("(34,50)", true);
    simulated_ia::limit(34, 100, {100, 110});
    std::string all = "x";
    EXPECT_TRUE(controller->getAllParameters(all));
    EXPECT_EQ(0u, all.find("x(8000,0)(8001,1)"));
    EXPECT_NE(std::string::npos, all.find("(34,100)"));
    EXPECT_EQ(100u, stored(0, 34));
}

TEST_F(Persist, LensCallsGoStraightToTheLayer) {
    startInScheme(0);
    const struct {
        bool (ISensorController::*call)();
        int modeCmd;
        Lines sets;
    } steps[] = {
        {&ISensorController::focusFar, 1536, {"1536 0 1 0", "1554 0 1 0"}},
        {&ISensorController::focusNear, 1536, {"1536 0 1 0", "1553 0 1 0"}},
        {&ISensorController::irisUp, 16, {"16 0 3 0", "83 0 1 0"}},
        {&ISensorController::irisDown, 16, {"16 0 3 0", "84 0 1 0"}},
        {&ISensorController::zoomIn, 0, {"1569 0 1 0"}},
        {&ISensorController::zoomOut, 0, {"1570 0 1 0"}},
    };
    for (const auto& step : steps) {
        EXPECT_TRUE((controller.get()->*step.call)()) << step.sets.back();
        EXPECT_EQ(step.sets, sets());
        if (step.modeCmd != 0) {
            simulated_ia::fail(static_cast<unsigned int>(step.modeCmd), IA_ERR_FAILED, 1);
            EXPECT_FALSE((controller.get()->*step.call)()) << step.sets.back();
            EXPECT_EQ(1u, sets().size());
        }
    }
    // Each reading of the clock finds the movement ended.
    simulated_ia::setTimeSource([] {
        static long long s_nNow = 0;
        return s_nNow += 1000000000;
    });
    const int ratios[][2] = {{16384, 1000}, {24576, 2000},  {26000, 2530}, {27264, 3000},
                             {28000, 3523}, {31424, 16000}, {31425, -1},   {32000, -1}};
    for (const auto& row : ratios) {
        int pos = 0;
        int ratio = -1;
        EXPECT_TRUE(controller->setZoomValue(row[0]));
        EXPECT_EQ(1, controller->getZoomValue(pos, ratio));
        EXPECT_EQ(row[0], pos);
        EXPECT_EQ(row[1], ratio) << row[0];
    }
    simulated_ia::setLie({true, 0, 0, true});
    std::string version = "before";
    EXPECT_TRUE(controller->getCameraVerInf(version));
    EXPECT_EQ(50u, version.size());
    output([&] {
        std::string none;
        counting_new::failNth(1);
        EXPECT_NO_THROW(EXPECT_FALSE(controller->getCameraVerInf(none)));
        counting_new::failNth(0);
    });
    simulated_ia::fail(2496, IA_ERR_FAILED);
    EXPECT_FALSE(controller->getCameraVerInf(version));
    EXPECT_EQ(50u, version.size());
}

TEST_F(Persist, UserInterfaceTextsComeFromTheTableAndTheSensor) {
    startInScheme(0);
    EXPECT_EQ("", controller->getUILanguageFile(1));
    UIFileEntry table[] = {{5, "five", strdup("lang5"), strdup("common5")},
                           {6, "six", strdup("lang6"), nullptr}};
    g_stSysConf.pUIFiles = table;
    g_stSysConf.nUIFileSum = 2;
    EXPECT_EQ("lang6", controller->getUILanguageFile(6));
    EXPECT_EQ("", controller->getUICommonFile(6));
    EXPECT_EQ("lang5", controller->getUILanguageFile(7));
    EXPECT_EQ("common5", controller->getUICommonFile(7));
    const std::string style = controller->getUIStyleFile();
    EXPECT_EQ(style, controller->getUIStyleFile());
    EXPECT_EQ(std::string::npos, style.find("id=\"0\""));
    simulated_ia::limit(KEY_GAMMA, 1, {1});
    EXPECT_NE(style, controller->getUIStyleFile());
    controller->uinit();
    EXPECT_EQ(nullptr, table[0].pszLanguageFile);
    EXPECT_EQ(nullptr, table[0].pszCommonFile);
    g_stSysConf.nUIFileSum = 0; // the table ends here
}

} // namespace
