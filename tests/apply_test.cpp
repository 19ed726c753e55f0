#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "Camera.h"
#include "CountingNew.h"
#include "ImageAdjust.h"
#include "SensorFile.h"
#include "SensorKeyTable.h"
#include "SensorWdrFlag.h"

namespace {

using Lines = std::vector<std::string>;
using Told = std::vector<std::pair<int, int>>;

class Apply : public Camera {
protected:
    /// Scheme 0 is current in mode 0, and the layer's calls are forgotten.
    void startInScheme0() {
        start();
        controller->setParamMode(0);
        controller->setParamScheme(0);
        calls();
        video.told.clear();
    }
};

TEST_F(Apply, TheMapHasEveryRowInItsPlace) {
    start();
    std::ifstream listing(IMGCTL_SOURCE_DIR "/tests/data/keymap.txt");
    int row = 0;
    u32 key = 0;
    u32 cmd = 0;
    std::string name;
    std::string handler;
    int rows = 0;
    for (; listing >> row >> name >> key >> cmd >> handler; ++rows) {
        keycmd found = {};
        ASSERT_EQ(row, controller->findFromKeyCmdMap(g_pKeyCmdMap, key, found)) << name;
        EXPECT_EQ(key, found.key) << name;
        EXPECT_EQ(cmd, found.ia_cmd) << name;
        EXPECT_EQ(name, found.name);
        EXPECT_EQ(handler, found.handler_name) << name;
        EXPECT_EQ(handler == "NULL", found.handler == nullptr) << name;
    }
    EXPECT_EQ(87, rows); // later keys come behind these
    EXPECT_EQ(std::size(SENSOR_KEY_TABLE), static_cast<size_t>(g_nKeyCmdNum));
    setDebugLevel(6);
    for (const u32 absent : {0u, 769u, 2310u, 2311u}) {
        keycmd untouched = {};
        EXPECT_EQ(
            "[sensor dbg] file:ISensorController.cpp fun:findFromKeyCmdMap line:0\n"
            "cand not find key-cmd while key=" +
                std::to_string(absent) + "\n",
            output([&] {
                EXPECT_EQ(-1, controller->findFromKeyCmdMap(g_pKeyCmdMap, absent, untouched));
            }));
        EXPECT_EQ(0u, untouched.key);
    }
}

TEST_F(Apply, BatchesReachTheLayerOnceAndAreStored) {
    startInScheme0();
    const struct {
        const char* text;
        bool update;
        int result;
        Lines sets;
        KeyVal stored; ///< in scheme 0 afterwards
    } table[] = {
        {"", true, 0, {}, {34, 128}},
        {"(34,60)(2337,55)", true, 0, {"34 0 60 0", "2337 0 55 0"}, {34, 60}},
        {"(34,60)(2337,55)", true, 0, {}, {2337, 55}},
        {"(34,61)", false, 0, {"34 0 61 0"}, {34, 60}},
        {"(8001,8)", false, 0, {}, {8001, 0}},
        {"(8001,8)", true, 0, {}, {8001, 8}},
        {"(83,1)(2497,20)", false, 0, {"85 0 1 0", "2464 0 20 0"}, {34, 60}},
        {"(34,70)(2337,9999)(2353,70)", true, -2337, {"34 0 70 0", "2337 0 9999 -4"}, {34, 70}},
        // An unknown key is its own command, and is not stored.
        {"(4000,1)(34,71)", false, -4000, {"4000 0 1 -5"}, {34, 70}},
        // Thresholds and times travel as whole records, with the other fields as they are stored.
        {"(145,10)(146,30)", true, 0, {}, {146, 30}},
        {"(146,31)", true, 0, {"146 0 10,31 0"}, {146, 31}},
        {"(149,18)(150,0)(151,6)(152,30)", true, 0, {}, {152, 30}},
        {"(150,45)", true, 0, {"150 0 18,45,6,30 0"}, {150, 45}},
    };
    for (const auto& row : table) {
        EXPECT_EQ(row.result, controller->setParameters(row.text, row.update)) << row.text;
        const Lines sent = sets();
        if (!row.sets.empty() || row.stored.key < 145 || row.stored.key > 152) {
            EXPECT_EQ(row.sets, sent) << row.text;
        }
        EXPECT_EQ(row.stored.value, stored(0, row.stored.key)) << row.text;
    }
}

TEST_F(Apply, TracesEveryStepAtLevel6) {
    startInScheme0();
    simulated_ia::fail(34, IA_ERR_FAILED, 1);
    simulated_ia::fail(2337, IA_ERR_UNSUPPORTED, 1);
    setDebugLevel(6);
    const char* const at = "[sensor dbg] file:ISensorController.cpp fun:";
    const auto block = [&](const std::string& fun, const std::string& text) {
        return at + fun + " line:0\n" + text + "\n";
    };
    const auto command = [&](int cmd, int value) {
        const std::string text = "====================== cmd:" + std::to_string(cmd) +
                                 " dir:0 val:" + std::to_string(value) + " =====================";
        return block("doIaCmd", text + "begin") + block("doIaCmd", text + "end");
    };
    EXPECT_EQ(block("setParameters", "p_Parameters1111111111((34,5))") +
                  block("setParameters",
                        "====================== set KEY_BRIGHTNESS (34,5) func:"
                        "&ISensorController::doIaCmd ia_cmd:34 =====================") +
                  command(34, 5) +
                  "[sensor err] file:ISensorController.cpp fun:setParameters line:0\n"
                  "set KEY_BRIGHTNESS (34,5) func:&ISensorController::doIaCmd ia_cmd:34 ~~~failed "
                  "ia_ret=-1\n",
              output([&] { controller->setParameters("(34,5)", true); }));
    // Other codes fail without the error line.
    EXPECT_EQ(std::string::npos,
              output([&] { controller->setParameter(2337, 5, true); }).find("sensor err"));
    const std::string unknown = output([&] { controller->setParameter(4000, 1, true); });
    EXPECT_NE(std::string::npos,
              unknown.find("[sensor assert] file:ISensorController.cpp fun:setParameters line:0\n"
                           "-1 != findFromKeyCmdMap(m_pKeyCmdMap, p_pKeyval[i].key, stKeyCmdTmp)   "
                           "~~~Assertion failed.\np_pKeyval[0].key(4000)" +
                           block("setParameters", "not find (4000) ")))
        << unknown;
    EXPECT_NE(std::string::npos,
              unknown.find("set unknow key (4000,1) func:ISensorController::doIaCmd"));
    const u32 value = stored(0, 34);
    EXPECT_NE(
        std::string::npos,
        output([&] { controller->setParameter(34, static_cast<int>(value), true); })
            .find("ignore, (34," + std::to_string(value) +
                  ") is newest, m_nFlags.switching_flag(0), m_nLastScheme(0), m_nCurScheme(0)!!!"));
}

TEST_F(Apply, AllocatesNothingForRecords) {
    startInScheme0();
    simulated_ia::observe({});
    std::vector<KeyVal> batch;
    for (const KeyVal& kv : schemeFile(0))
        batch.push_back({kv.key, kv.value ^ 1});
    const unsigned long before = counting_new::count();
    controller->setParameters(batch.data(), static_cast<u32>(batch.size()), true);
    for (KeyVal& kv : batch)
        controller->setParameters(&kv, 1, true);
    EXPECT_EQ(before, counting_new::count());
}

TEST_F(Apply, HandlersTellTheVideoModuleInTheirOrder) {
    writeStyle(
        {{34, 1}, {KEY_WDR_MODE, 0}, {KEY_MIRROR, 0}, {KEY_BEAWAY, 0}, {KEY_ANTI_SHAKE_SWITCH, 0}});
    startInScheme0();
    const struct {
        const char* set;
        Told told;
        Lines sets;
    } table[] = {
        {"(2384,1)", {{2384, 1}}, {"2384 0 1 0"}},
        {"(2385,1)", {{2384, 2}, {2385, 1}}, {"2385 0 1 0"}},
        {"(2384,2)", {{2384, 1}}, {"2384 0 1 0"}},
        {"(2384,3)", {{2384, 3}}, {"2384 0 3 0"}},
        {"(2385,0)", {{2384, 3}, {2385, 0}}, {"2385 0 0 0"}},
        {"(2368,1)", {{2370, 0}, {2368, 1}, {2370, 1}}, {"2368 0 1 0"}},
        {"(2416,1)", {{2416, 1}}, {"2416 0 1 0"}},
        {"(2436,3)", {{2436, 3}}, {"2436 0 3 0"}},
    };
    for (const auto& row : table) {
        EXPECT_EQ(0, controller->setParameters(row.set, true)) << row.set;
        EXPECT_EQ(row.told, video.told) << row.set;
        EXPECT_EQ(row.sets, sets()) << row.set;
        video.told.clear();
    }
    EXPECT_EQ(3u, stored(0, KEY_MIRROR)); // as the user chose, not as the layer got it
}

TEST_F(Apply, HandlersFailWithTheSideThatCounts) {
    startInScheme0();
    // Every handler with its layer command failing, then with the video module failing.
    const struct {
        u32 key;
        bool layerCounts;
        bool videoCounts;
        const char* layerReport;
        const char* videoReport;
    } table[] = {
        {KEY_WDR_MODE, false, true, "SNS_SUCCESS == doIaCmd(p_nKey, p_nDir, p_pVal)", ""},
        {2436, false, true, "SNS_SUCCESS == doIaCmd(p_nKey, p_nDir, p_pVal)", ""},
        {2416, true, false, "", "SNS_SUCCESS == notifyToVideo(p_nKey, *(u32*)p_pVal)"},
        {KEY_MIRROR, true, false, "", "SNS_SUCCESS == notifyToVideo(p_nKey, nMirror)"},
        {KEY_BEAWAY, true, false, "", "SNS_SUCCESS == notifyToVideo(p_nKey, nBeaway)"},
    };
    for (const auto& row : table) {
        const int minusKey = -static_cast<int>(row.key);
        simulated_ia::fail(row.key, IA_ERR_BUSY, 1);
        const std::string layer = output([&] {
            EXPECT_EQ(row.layerCounts ? minusKey : 0,
                      controller->setParameter(static_cast<int>(row.key), 1, false));
        });
        EXPECT_NE(std::string::npos, layer.find(row.layerReport)) << row.key;
        EXPECT_EQ(*row.layerReport == '\0', layer.empty()) << row.key;
        video.answers[static_cast<int>(row.key)] = 9;
        const std::string told = output([&] {
            EXPECT_EQ(row.videoCounts ? minusKey : 0,
                      controller->setParameter(static_cast<int>(row.key), 1, false));
        });
        EXPECT_NE(std::string::npos, told.find(row.videoReport)) << row.key;
        EXPECT_EQ(*row.videoReport == '\0', told.empty()) << row.key;
        video.answers.clear();
    }
    setshowWDRFalg(false);
    calls();
    video.told.clear();
    KeyVal wdr = {KEY_WDR_MODE, 1};
    EXPECT_EQ(0, controller->setParameters(&wdr, 1, true));
    EXPECT_EQ(0u, wdr.value);
    EXPECT_TRUE(calls().empty() && video.told.empty());
    setshowWDRFalg(true);
}

TEST_F(Apply, ReadsAnyCommandWithoutHarm) {
    startInScheme0();
    int value = 0;
    for (const int key : {145, 149, 2496, 4112, 153})
        EXPECT_TRUE(controller->getParameter(key, value)) << key;
    value = 7;
    EXPECT_EQ(
        "[sensor assert] file:ISensorController.cpp fun:getParameter line:0\n"
        "SNS_SUCCESS == doIaCmd(p_nKey, IA_CMD_OPT_GET, &p_nVal)   ~~~Assertion failed.\n"
        "get key(4000) val from 2a err",
        output([&] { EXPECT_FALSE(controller->getParameter(4000, value)); }));
    EXPECT_EQ(7, value);
}

} // namespace
