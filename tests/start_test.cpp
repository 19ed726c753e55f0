#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "Camera.h"
#include "ImageAdjust.h"
#include "SensorConfig.h"
#include "SensorFile.h"
#include "SensorWdrFlag.h"

namespace {

class Start : public Camera {
protected:
    u32 inFile(int scheme, u32 key) {
        for (const KeyVal& kv : schemeFile(scheme)) {
            if (kv.key == key)
                return kv.value;
        }
        return ~0u;
    }
};

TEST_F(Start, MakesTheSchemeFilesAndEnablesTheFirst) {
    EXPECT_EQ("", output([&] { start(); }));
    for (int s = 0; s < 4; ++s)
        EXPECT_EQ(s == 0 ? 1u : 0u, inFile(s, KEY_SCHEME_ENABLE)) << s;
    EXPECT_FALSE(exists("/mnt/mtd/code/config_file/sensor4.cfg"));
    EXPECT_EQ(0u, stored(4, KEY_SCHEME_ENABLE));
    EXPECT_EQ(std::string("\x08\0\0\0", 4), read("/mnt/mtd/code/config_file/snsversion.cfg"));
    EXPECT_EQ(3, controller->getSensorType());
    EXPECT_TRUE(controller->getSensorStatus());
    int scheme = 0;
    controller->getParamScheme(scheme);
    EXPECT_EQ(0, scheme); // its window is the whole day
    for (const KeyVal& kv : schemeFile(1))
        EXPECT_EQ(kv.value, stored(4, kv.key)) << kv.key;
}

TEST_F(Start, KeepsSavedValuesUnlessTheVersionDiffers) {
    start();
    controller->setParamMode(0);
    controller->setParamScheme(2);
    controller->setParameters("(8000,1)(8003,9)(34,77)", true);
    EXPECT_EQ(0, controller->flush());
    start(); // a second start shuts the first one down
    EXPECT_EQ(77u, stored(2, 34));
    write("/mnt/mtd/code/config_file/snsversion.cfg", std::string("\x07\0\0\0", 4));
    setDebugLevel(4);
    EXPECT_EQ(
        "[sensor warn] file:ISensorController.cpp fun:init line:0\n"
        "check the sensor version,   local(7) --> libimgctl.so(8), source the cmd: rm -rf "
        "/mnt/mtd/code/config*/sensor*\n",
        output([&] { start(); }));
    EXPECT_EQ(stored(4, 34), stored(2, 34));
    EXPECT_NE(std::string::npos, read("/mnt/mtd/log/SensorError.log").find("[sensor warn]"));
}

TEST_F(Start, LoadsDamagedSchemeFilesWithoutHarm) {
    start();
    controller->uinit();
    const std::vector<KeyVal> whole = schemeFile(1);
    std::vector<KeyVal> part = whole;
    part.pop_back();
    part[10].value += 1;
    writeSchemeFile(0, part);
    std::vector<KeyVal> more = whole;
    more.push_back({1, 2});
    writeSchemeFile(1, more);
    writeSchemeFile(2, std::vector<KeyVal>(whole.size()));
    remove((root + "/mnt/mtd/code/config_file/sensor3.cfg").c_str());
    ASSERT_EQ(0, mkdir((root + "/mnt/mtd/code/config_file/sensor3.cfg").c_str(), 0700));
    const std::string size = std::to_string(whole.size());
    const std::string file = "[sensor assert] file:SensorFile.cpp fun:keyValFromFile line:0\n";
    EXPECT_EQ(file +
                  "nSize == sizeof(KeyVal)*p_nKeyValNum   ~~~Assertion failed.\n"
                  "file_name(/mnt/mtd/code/config_file/sensor0.cfg) nSize(" +
                  std::to_string(part.size() * 8) + ") sizeof(KeyVal) = 8, p_nKeyValNum(" + size +
                  ")\n" + file +
                  "file.open(file_name)   ~~~Assertion failed.\n"
                  "file_name(/mnt/mtd/code/config_file/sensor3.cfg)\n" +
                  file +
                  "nSize == sizeof(KeyVal)*p_nKeyValNum   ~~~Assertion failed.\n"
                  "file_name(/mnt/mtd/code/config_file/sensor3.cfg) nSize(0) sizeof(KeyVal) = 8, "
                  "p_nKeyValNum(" +
                  size + ")\n",
              output([&] { start(); }));
    EXPECT_EQ(part[10].value, stored(0, part[10].key));
    EXPECT_EQ(whole.back().value, stored(0, whole.back().key));
    u32 value = 5;
    EXPECT_EQ(-1, controller->getKeyValFromCache(2, 34, value));
    EXPECT_EQ(stored(4, 34), stored(3, 34));
}

TEST_F(Start, PlateRecognitionGetsANightScheme) {
    const struct {
        int type;
        const char* detail;
        bool night;
    } table[] = {
        {8, "(max_scheme=2)", true},
        {8, "", true},
        {8, "(isInfrared=2)(max_scheme=2)", true},
        {8, "(max_scheme=2)(isInfrared=0)", false},
        {8, "(isInfrared=1)(max_scheme=2)", false},
        {1, "(max_scheme=2)", false},
    };
    const KeyVal night[] = {{KEY_DN_MODE, 0},
                            {KEY_MAX_SHUTTER, 18},
                            {KEY_METER_AREA, 1},
                            {KEY_IR_MODE, 2},
                            {KEY_IR_MANUAL_STRG_NEAR, 40}};
    writeStyle({{144, 1}, {49, 2}, {96, 0}, {161, 0}, {163, 7}, {144, 2}});
    for (const auto& row : table) {
        setDeviceType(row.type);
        write("/mnt/mtd/code/config_file/snsversion.cfg", "");
        start(row.detail);
        for (const KeyVal& kv : night)
            EXPECT_EQ(row.night ? kv.value : stored(2, kv.key), inFile(1, kv.key)) << row.detail;
        EXPECT_EQ(2u, schemeFile(1).back().value); // only the first record of a key differs
        EXPECT_EQ(row.night ? 0u : 1u, inFile(0, KEY_SCHEME_ENABLE)) << row.detail;
    }
}

TEST_F(Start, ReportsEachThingThatIsMissingAndGoesOn) {
    ASSERT_EQ(
        0,
        system(("rm -r '" + root + "/hd1' '" + root + "/mnt/mtd/code/factory_setting'").c_str()));
    const std::string out = output([&] { start("(max_scheme=256)" + std::string(600, 'x')); });
    const char* const expected[] = {
        "fun:initSysConf line:0\nmoduleCfg.getDetail().size() < sizeof(szDetail)   ~~~",
        "nSchemeSum <= SENSOR_SCHEME_MAX   ~~~Assertion failed.\nmax_scheme(256)\n",
        "SystemInfoParser::parseMachineInfo(\"/mnt/mtd/code/factory_setting/machineinfo.ini\", "
        "machineInfo)   ~~~",
        "machineinfo, devicetype(0) error, must be 1 or 4 or 8\n",
        "file_name(/hd1/moduleConfig/sensorConfig/style/Style_dome.xml)",
        "loadFromFile(strStyleFileName.c_str(), p_stSysConf->szUIStyle, "
        "getFileLen(strStyleFileName.c_str())) > 0   ~~~",
        "file_name(/hd1/moduleConfig/sensorConfig/styleDiversity/StyleDiversity_dome.xml)",
        "loadFromFile(strStyleDivFileName.c_str(), ui_styleDiversity, "
        "getFileLen(strStyleDivFileName.c_str())) > 0",
        "doc_style.LoadMem(*ui_style, TIXML_ENCODING_UTF8)   ~~~",
        "doc_style_div.LoadMem(ui_styleDiversity, TIXML_ENCODING_UTF8)   ~~~",
        "NULL != (node_first = doc_style_div.RootElement())   ~~~",
        "loadFromFile(\"/tmp/merge_style.xml\", *ui_style, file_len) > 0   ~~~",
        "objStyleXmlDoc.LoadMem(szStyle, TIXML_ENCODING_UTF8)   ~~~",
        "objDnaStyleDoc.LoadMem(strDnaStyle.c_str(), TIXML_ENCODING_UTF8)   ~~~",
    };
    size_t at = 0;
    for (const char* text : expected) {
        at = out.find(text, at);
        ASSERT_NE(std::string::npos, at) << text << "\nin\n" << out;
    }
    size_t reports = 0;
    for (size_t i = out.find("~~~"); i != std::string::npos; i = out.find("~~~", i + 1))
        ++reports;
    EXPECT_EQ(std::size(expected), reports) << out;
    EXPECT_EQ(4u, g_stSysConf.nSchemeSum);
    EXPECT_EQ("", read("/mnt/mtd/code/config_file/sensor0.cfg"));
    EXPECT_EQ(507, controller->paramCheck());
}

TEST_F(Start, EveryMemberIsSafeBeforeAndAfter) {
    Random random(4);
    const auto callAll = [&] {
        for (u32 member = 0; member < kMembers; ++member)
            callMember(member, random);
        controller->uinit();
    };
    output(callAll);
    start();
    output(callAll);
    output(callAll);
    start();
    EXPECT_EQ(0, controller->setParameter(34, 9, true));
}

/// Every call of the layer fails once, with every code where that is quick, in
/// every kind of operation.
TEST_F(Start, SurvivesAnyFailingLayerCall) {
    start();
    controller->setParamMode(0);
    controller->setParamScheme(1);
    controller->setParameters("(8000,1)(8003,9)", true);
    controller->flush();
    const auto different = [this](int scheme) {
        for (const KeyVal& kv : schemeFile(scheme)) {
            if (kv.key < KEY_SCHEME_ENABLE || kv.key > KEY_SCHEME_END_MIN)
                controller->setKeyValToCache(static_cast<u32>(scheme), kv.key, kv.value ^ 1, false);
        }
    };
    const struct {
        std::function<void()> prepare;
        std::function<void()> work;
        int scheme; ///< in force afterwards, whatever failed
        int codes;
    } operations[] = {
        {[] {}, [this] { start(); }, 0, 1},
        {[&] { controller->setParamScheme(0), different(1); },
         [this] { EXPECT_TRUE(controller->setParamScheme(1)); }, 1, 6},
        {[&] { different(1); }, [this] { controller->resetToLastParameters(); }, 1, 6},
        {[&] { different(1); }, [this] { controller->restoreAeMode(); }, 1, 6},
        {[] {}, [this] { controller->resetParameters(); }, 0, 1},
    };
    for (const auto& operation : operations) {
        unsigned long used = 1;
        for (unsigned long n = 1; n <= used; ++n) {
            for (int code = 1; code <= operation.codes; ++code) {
                controller->setParamMode(0);
                operation.prepare();
                const unsigned long before = simulated_ia::callCount();
                simulated_ia::failNthCall(
                    n, operation.codes > 1 ? -code : -1 - static_cast<int>(n % 6));
                output(operation.work);
                used = std::max(used, simulated_ia::callCount() - before);
                simulated_ia::failNthCall(0, 0);
                int scheme = -1;
                controller->getParamScheme(scheme);
                ASSERT_EQ(operation.scheme, scheme) << n;
                ASSERT_TRUE(controller->getSensorStatus());
                ASSERT_EQ(0, controller->setParameter(34, static_cast<int>(n % 100), true));
            }
        }
    }
    // A batch keeps what came before the failure and nothing after it.
    controller->setParamMode(0);
    const u32 keys[] = {34, 2337, 2353, 2321};
    for (u32 n = 0; n < 4; ++n) {
        KeyVal batch[4];
        u32 old[4];
        for (u32 i = 0; i < 4; ++i) {
            old[i] = stored(0, keys[i]);
            batch[i] = {keys[i], old[i] ^ 1};
        }
        simulated_ia::failNthCall(n + 1, -2);
        EXPECT_EQ(-static_cast<int>(keys[n]), controller->setParameters(batch, 4, true));
        for (u32 i = 0; i < 4; ++i)
            EXPECT_EQ(i < n ? old[i] ^ 1 : old[i], stored(0, keys[i]));
    }
}

/// A host takes its table of texts back once the controller is shut down.
TEST_F(Start, TouchesNoTableOfTextsThatTheHostHasTakenBack) {
    start();
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    void* const table =
        mmap(nullptr, page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    g_stSysConf.pUIFiles = static_cast<UIFileEntry*>(table);
    g_stSysConf.pUIFiles->pszCommonFile = strdup("text");
    g_stSysConf.nUIFileSum = 1;
    controller->uinit();
    ASSERT_EQ(0, munmap(table, page));
    controller->uinit();
    start();
    EXPECT_EQ("", controller->getUICommonFile(0));
}

/// Nothing of what a record held before is left in it, behind the texts and between the members.
TEST_F(Start, TheConfigurationIsZeroedWhole) {
    SysConfig records[2];
    memset(&records[0], 0x5a, sizeof records[0]);
    memset(&records[1], 0, sizeof records[1]);
    for (SysConfig& record : records) {
        module.setDetail("(max_scheme=2)");
        initSysConf(module, &record);
        EXPECT_EQ(2u, record.nSchemeSum);
        uinitSysConf(&record);
    }
    EXPECT_EQ(0, memcmp(records, records + 1, sizeof records[0]));
}

TEST_F(Start, TheWideDynamicRangeFlagFollowsTheFrameRate) {
    for (const int rate : {25, 50, 30, 60}) {
        video.frameRate = rate;
        start();
        EXPECT_EQ(rate == 25 || rate == 30, getshowWDRFalg()) << rate;
    }
    controller->setVideoStreamModule(nullptr);
    start();
    EXPECT_TRUE(getshowWDRFalg());
}

} // namespace
