#include <gtest/gtest.h>

#include <fstream>
#include <set>
#include <sstream>

#include "Camera.h"
#include "CommandTable.h"
#include "FakeDriver.h"
#include "ImageAdjustRecords.h"
#include "SensorConfig.h"
#include "SensorKeyTable.h"

namespace {

std::string contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    EXPECT_FALSE(text.str().empty()) << path;
    return text.str();
}

const std::string sensorConfig = "device/hd1/moduleConfig/sensorConfig/";

/// The name of the element with an attribute such as id="34"; empty for none.
std::string elementWith(const std::string& xml, const std::string& attribute) {
    const size_t at = xml.find(' ' + attribute);
    if (at == std::string::npos)
        return "";
    const size_t begin = xml.rfind('<', at) + 1;
    return xml.substr(begin, xml.find(' ', begin) - begin);
}

/// What the camera's style shows a kind as.
std::string elementFor(const SensorKeyRow& row) {
    if (row.isWriteOnly() || row.key == KEY_FREEZE)
        return "button";
    return row.kind == KeyKind::SWITCH || row.kind == KeyKind::CHOICE ? nameOf(row.kind) : "slider";
}

TEST(KeyTable, EveryKeyIsInEveryPlaceThatAKeyNeeds) {
    const std::string styleFile = sensorConfig + "style/Style.xml";
    const std::string style = contents(IMGCTL_SOURCE_DIR "/" + styleFile);
    for (const SensorKeyRow& row : SENSOR_KEY_TABLE) {
        const std::string id = "id=\"" + std::to_string(row.key) + '"';
        EXPECT_TRUE(row.isStoredOnly() || simulated_ia::findCommand(row.command) >= 0)
            << row.symbol << ": add a ROW for command " << row.command
            << " to imageadjust/simulator/CommandTable.h";
        EXPECT_EQ(elementFor(row), elementWith(style, id))
            << row.symbol << ": add <" << elementFor(row) << ' ' << id << " .../> to " << styleFile
            << ", or mend its kind (" << nameOf(row.kind) << ") in include/SensorKeys.h";
        for (const char language : {'0', '1', '2'}) {
            const std::string file = sensorConfig + "language/" + language + "/language.xml";
            EXPECT_EQ("text", elementWith(contents(IMGCTL_SOURCE_DIR "/" + file), id))
                << row.symbol << ": add <text " << id << ">...</text> to " << file;
        }
        const std::string meaning = row.meaning;
        EXPECT_TRUE(meaning.size() > 3 && std::islower(meaning[0]) && meaning.back() != '.')
            << row.symbol << ": its meaning is one line in small letters without a full stop";
        EXPECT_TRUE(row.isStoredOnly() == (std::string("stored") == row.handler)) << row.symbol;
        static const std::set<std::string> ofOneWord = {"doIaCmd",       "doIaCmd_User", "doHwdr",
                                                        "doDIS",         "doMirror",     "doBeaway",
                                                        "doImageAdjust", "stored"};
        EXPECT_EQ(ofOneWord.count(row.handler) == 0, image_adjust::recordOf(row.command).words > 1)
            << row.symbol
            << ": the commands that recordOf (imageadjust/include/ImageAdjustRecords.h)"
            << " counts to a record are those whose handlers send one; is " << row.handler
            << " such, or is it to be among the others here?";
    }
}

TEST(KeyTable, EveryCommandOfTheSimulatorIsAKeysOrNamed) {
    for (int i = 0; i < simulated_ia::COMMAND_COUNT; ++i) {
        const simulated_ia::CommandRow& row = simulated_ia::commandRow(i);
        bool found = row.cmd == IA_CMD_PTZ_RUN_STATE;
        for (const SensorKeyRow& key : SENSOR_KEY_TABLE)
            found = found || key.command == row.cmd;
        EXPECT_TRUE(found) << row.name << ": add a KEY for command " << row.cmd
                           << " to include/SensorKeys.h";
        EXPECT_TRUE(i == 0 || simulated_ia::commandRow(i - 1).cmd < row.cmd)
            << row.name << ": the ROWs of CommandTable.h ascend by number";
    }
}

TEST(KeyTable, EveryKeyIsAControlOfLinuxCamerasOrNamedAsNone) {
    FakeDriver driver;
    std::string problem;
    const auto layer = image_adjust::v4l2::openV4l2(driver.node(), driver.options(), problem);
    ASSERT_NE(nullptr, layer) << problem;
    for (const SensorKeyRow& row : SENSOR_KEY_TABLE) {
        int words[image_adjust::RECORD_WORDS_MAX] = {};
        EXPECT_TRUE(row.isStoredOnly() ||
                    layer->ioctl(row.command, IA_CMD_OPT_GET, words) != IA_ERR_UNKNOWN_CMD)
            << row.symbol << ": add a row for command " << row.command
            << " to imageadjust/v4l2/Homes_table.cpp, or name it there among the homeless";
    }
}

TEST(KeyTable, LibraryCarriesTheMapButNoMeaning) {
    const std::string library = contents(IMGCTL_LIBRARY);
    for (const SensorKeyRow& row : SENSOR_KEY_TABLE) {
        EXPECT_NE(std::string::npos, library.find(row.symbol));
        EXPECT_EQ(std::string::npos, library.find(row.meaning)) << row.symbol;
    }
    EXPECT_EQ(std::string::npos, library.find("threshold"));
}

class DeviceTypes : public Camera {};

TEST_F(DeviceTypes, AreKnownEverywhere) {
    const std::string modules =
        contents(IMGCTL_SOURCE_DIR "/device/hd1/moduleConfig/moduleConfig.xml");
    const std::string formats = contents(IMGCTL_SOURCE_DIR "/docs/formats.md");
    const struct {
        int number;
        const char* name;
    } types[] = {
#define TYPE(symbol, number, name) {number, name},
        SENSOR_DEVICE_TYPES(TYPE)
#undef TYPE
    };
    for (const auto& type : types) {
        const std::string number = std::to_string(type.number);
        setDeviceType(type.number);
        EXPECT_EQ("", output([this] { start(); }))
            << number << ": choose its style in hasDomeStyle (include/SensorConfig.h)";
        EXPECT_NE("", elementWith(modules, "deviceType=\"" + number + '"'))
            << number << ": add a module for it to device/hd1/moduleConfig/moduleConfig.xml";
        EXPECT_NE(std::string::npos, formats.find(number + ' ' + type.name))
            << number << ": tell of it in docs/formats.md";
    }
}

} // namespace
