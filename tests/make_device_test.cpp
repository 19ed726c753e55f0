#include <gtest/gtest.h>
#include <tinyxml.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "FakeDriver.h"
#include "ImageAdjust.h"
#include "ModuleConfigureParser.h"
#include "SystemInfoParser.h"
#include "host/CameraTree.h"
#include "host/MakeDevice.h"
#include "host/MakeTree.h"
#include "host/OwnerLock.h"

namespace fs = std::filesystem;
namespace v4l2 = image_adjust::v4l2;
using image_adjust::Layer;

namespace {

/// A device tree that was made for the fake driver's camera.
class MakeDevice : public testing::Test {
protected:
    MakeDevice() : m_root(fs::temp_directory_path() / "imgctl-made.XXXXXX") {
        std::string name = m_root.string();
        EXPECT_NE(nullptr, mkdtemp(name.data()));
        m_root = fs::path(name) / "tree";
        std::string problem;
        m_layer = v4l2::openV4l2(m_driver.node(), m_driver.options(), problem);
        make();
    }
    ~MakeDevice() override { fs::remove_all(m_root.parent_path()); }

    void make() {
        std::string problem;
        EXPECT_TRUE(host::makeDevice(*m_layer, m_root.string(), m_made, problem)) << problem;
    }

    std::string path(const std::string& file) const { return (m_root / file).string(); }

    std::string text(const std::string& file) const {
        std::stringstream text;
        text << std::ifstream(path(file)).rdbuf();
        return text.str();
    }

    FakeDriver m_driver;
    fs::path m_root;
    std::unique_ptr<Layer> m_layer;
    host::MadeDevice m_made;
};

const char style[] = "hd1/moduleConfig/sensorConfig/style/Style.xml";
const char german[] = "hd1/moduleConfig/sensorConfig/language/2/language.xml";

unsigned int commandOf(int key) {
    return key == 2497              ? 2464
           : key == 17 || key == 18 ? static_cast<unsigned>(key) + 66
                                    : static_cast<unsigned>(key);
}

TEST_F(MakeDevice, OffersWhatTheCameraHasAndNothingElse) {
    TiXmlDocument document(path(style));
    ASSERT_TRUE(document.LoadFile(TIXML_ENCODING_UTF8)) << document.ErrorDesc();
    int controls = 0;
    for (TiXmlElement* tab = document.RootElement()->FirstChildElement(); tab != nullptr;
         tab = tab->NextSiblingElement()) {
        EXPECT_NE(nullptr, tab->FirstChildElement()) << tab->Attribute("key");
        for (TiXmlElement* control = tab->FirstChildElement(); control != nullptr;
             control = control->NextSiblingElement()) {
            int key = 0;
            ASSERT_EQ(TIXML_SUCCESS, control->QueryIntAttribute("id", &key));
            if (key >= 8000) {
                continue;
            }
            ++controls;
            ia_dynamic_params_attr_st range = {};
            ASSERT_EQ(0, m_layer->ioctl(commandOf(key), IA_CMD_OPT_GET_PARAM_RNAGE, &range)) << key;
            if (control->ValueStr() == "button") {
                EXPECT_EQ(nullptr, control->Attribute("value"));
                continue;
            }
            int value = 0;
            ASSERT_EQ(TIXML_SUCCESS, control->QueryIntAttribute("value", &value)) << key;
            int taken = value;
            EXPECT_EQ(0, m_layer->ioctl(commandOf(key), IA_CMD_OPT_CORRECT_PARAM, &taken)) << key;
            EXPECT_EQ(value, taken) << key;
            int max = range.max_value;
            control->QueryIntAttribute("max", &max);
            EXPECT_EQ(range.max_value, max) << key;
        }
    }
    EXPECT_EQ(m_made.controls, controls);
    for (const unsigned int cmd : {34U, 50U, 128U, 130U, 768U, 1536U, 1552U, 1569U, 2384U, 2385U}) {
        EXPECT_NE(std::string::npos, text(style).find("id=\"" + std::to_string(cmd) + "\"")) << cmd;
    }
    // Names that the languages know; what is automatic here is called so.
    EXPECT_NE(std::string::npos, text(style).find("<item index=\"3\" name=\"automatic\""));
    EXPECT_EQ(std::string::npos, text(style).find("infrared"));
    EXPECT_EQ(std::string::npos, text(german).find("id=\"2400\""));
}

TEST_F(MakeDevice, IsReadByTheCamera) {
    std::vector<ModuleConfigure> modules;
    MachineInfo machine;
    ASSERT_TRUE(SystemInfoParser::parseMachineInfo(
        path("mnt/mtd/code/factory_setting/machineinfo.ini"), machine));
    EXPECT_EQ("Fake <Cam> & \"more\"", machine.getModelName());
    ASSERT_TRUE(ModuleConfigureParser::parse(path("hd1/moduleConfig/moduleConfig.xml"), "1",
                                             machine.getModelName(), modules));
    ASSERT_EQ(1U, modules.size());
    EXPECT_EQ("(max_scheme=4)(isInfrared=0)(lensType=motor)(hasWdr=0)", modules[0].getDetail());
}

TEST_F(MakeDevice, KeepsTextsThatSomebodyChanged) {
    std::string changed = text(german);
    const std::size_t at = changed.find("Helligkeit");
    ASSERT_NE(std::string::npos, at);
    changed.replace(at, 10, "Wie hell");
    const std::size_t missing = changed.find("<text id=\"2353\"");
    ASSERT_NE(std::string::npos, missing);
    changed.erase(missing, changed.find("</text>", missing) + 7 - missing);
    std::ofstream(path(german)) << changed;
    std::ofstream(path(style)) << "<broken";
    std::ofstream(path("hd1/moduleConfig/moduleConfig.xml")) << "mine";
    make();
    EXPECT_NE(std::string::npos, text(german).find("Wie hell"));
    EXPECT_NE(std::string::npos, text(german).find("<text id=\"2353\""));
    EXPECT_NE(std::string::npos, text(style).find("brightness"));
    EXPECT_EQ("mine", text("hd1/moduleConfig/moduleConfig.xml"));
    const std::vector<std::string> expected = {style, german};
    EXPECT_EQ(expected, m_made.written);
    // A folder that cannot be is said.
    std::string problem;
    EXPECT_FALSE(host::makeDevice(*m_layer, path(style), m_made, problem));
    EXPECT_NE("", problem);
}

TEST_F(MakeDevice, WhereAFolderIsOrBecomesOneWholeOrNotAtAll) {
    const fs::path yard = m_root.parent_path() / "yard";
    const struct {
        const char* prepare;
        const char* folder;
        bool broken; // whatever fills it
        const char* problem;
    } cases[] = {
        {"mkdir empty", "empty", false, ""},
        {"mkdir empty && ln -s empty link", "link/", false, ""},
        {"mkdir here", "here/.", false, ""},
        {"mkdir -p full/mnt full/.making/hd1 && echo mine > full/mnt/kept", "full", false, ""},
        {"true", "new/below/it", false, ""},
        {"mkdir empty", "empty", true, "too dark to see"},
        {"true", "new/below", true, "too dark to see"},
        {"touch file", "file/below", false, "yard/file'"},
        {"touch file", "file", false, "yard/file"},
        {"ln -s nowhere link", "link", false, "a link to 'nowhere', which does not exist"},
        {"mkdir odd && touch odd/hd1", "odd", false, "odd/hd1': it is no folder"},
        {"mkdir way && touch way/mnt", "way", false, "way/mnt': it is no folder"},
        {"true", "shared/below", true, "too dark to see"},
    };
    const auto make = [&yard](const std::string& folder, bool broken, std::string& problem) {
        const auto fill = [&](const std::string& into, std::string& why) {
            fs::create_directories(into + "/mnt/deep");
            std::ofstream(into + "/mnt/kept") << "theirs";
            fs::create_directories(into + "/hd1/inner");
            EXPECT_FALSE(fs::exists(yard / folder / "hd1/inner"));
            if (folder == "shared/below") { // somebody else finds a place there meanwhile
                std::ofstream(yard / "shared/others") << "theirs";
            }
            why = broken ? "too dark to see" : "";
            return !broken;
        };
        return host::makeTree((yard / folder).string(), "test", fill, problem);
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.prepare + std::string(" ") + one.folder);
        fs::create_directories(yard);
        ASSERT_EQ(0, std::system(("cd " + yard.string() + " && " + one.prepare).c_str()));
        std::string problem;
        EXPECT_EQ(one.problem[0] == '\0', make(one.folder, one.broken, problem)) << problem;
        EXPECT_NE(std::string::npos, problem.find(one.problem)) << problem;
        EXPECT_EQ(one.problem[0] == '\0', fs::exists(yard / one.folder / "hd1/inner"));
        EXPECT_FALSE(fs::exists(yard / one.folder / ".making"));
        EXPECT_FALSE(one.broken && fs::exists(yard / "new"));
        EXPECT_EQ(one.folder == std::string("shared/below"), fs::exists(yard / "shared/others"));
        EXPECT_FALSE(fs::exists(yard / "shared/below"));
        std::string kept;
        std::ifstream(yard / "full/mnt/kept") >> kept;
        EXPECT_TRUE(kept.empty() || kept == "mine") << kept;
        fs::remove_all(yard);
    }
    host::OwnerLock owner;
    fs::create_directories(yard / "owned");
    owner.take(host::treeLockPath((yard / "owned").string()), "elsewhere");
    std::string problem;
    EXPECT_FALSE(make("owned", false, problem));
    EXPECT_NE(std::string::npos, problem.find("in use by elsewhere (process")) << problem;
    // The same for one that is brought up to date.
    owner.take(host::treeLockPath(m_root.string()), "elsewhere");
    std::string name;
    EXPECT_FALSE(
        host::makeDeviceFor(m_driver.node(), m_root.string(), "test", m_made, name, problem));
    EXPECT_NE(std::string::npos, problem.find("in use by elsewhere (process")) << problem;
}

TEST_F(MakeDevice, ATwinAtAnotherPortTakesTheTreeThatNobodyElseCanMean) {
    const fs::path state = m_root.parent_path() / "state";
    setenv("XDG_STATE_HOME", state.c_str(), 1);
    const auto at = [](const char* port) {
        std::string folder = port;
        folder.replace(1, 1, "_");
        return "usb-046d-0825-Fake_Cam-at-" + folder + "-0";
    };
    const struct {
        std::vector<const char*> trees;
        std::vector<const char*> there; // beside the one at 1-9
        const char* taken;
    } cases[] = {
        {{"1-1"}, {}, "1-1"},        {{"1-1", "1-9"}, {}, "1-9"},      {{"1-1"}, {"1-1"}, "1-9"},
        {{"1-1", "1-2"}, {}, "1-9"}, {{"1-1", "1-2"}, {"1-2"}, "1-1"},
    };
    for (const auto& one : cases) {
        FakeDriver driver;
        driver.removeCamera(0);
        driver.addCamera(9, "1-9", "");
        const v4l2::CameraInfo camera = v4l2::knownCameras(driver.places()).at(0);
        ASSERT_EQ(at("1-9"), camera.identity);
        int number = 0;
        for (const char* port : one.there) {
            driver.addCamera(number++, port, "");
        }
        for (const char* port : one.trees) {
            fs::create_directories(state / "imgctl" / at(port) / "hd1");
        }
        EXPECT_EQ((state / "imgctl" / at(one.taken)).string(),
                  host::settingsPlaceOf(camera, driver.places()));
        fs::remove_all(state);
    }
    unsetenv("XDG_STATE_HOME");
}

} // namespace
