#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "FileFaults.h"
#include "HostCamera.h"
#include "LinuxFramework.h"
#include "SensorKeys.h"
#include "host/SavedFor.h"

namespace fs = std::filesystem;

namespace {

using file_faults::Kind;
using Files = std::map<std::string, std::string>;

/// Starts in a process of their own, which may be killed at any of their file operations.
class SavedFor : public HostCamera {
protected:
    static constexpr int kRefused = 9;

    /// Starts a camera of a device type, saves that brightness unless it is -1, and stops it.
    /// @param fault  the file operation from then on; 0: none
    /// @return 0; kRefused; 137 when killed; 3 when the fault lies behind the end
    int run(int deviceType, bool convert, int brightness = -1, unsigned long fault = 0,
            Kind kind = Kind::Death) {
        const pid_t child = fork();
        if (child == 0) {
            const int nowhere = open("/dev/null", O_WRONLY);
            dup2(nowhere, STDERR_FILENO);
            options.device = root;
            options.program = "test";
            options.debugLevel = -1;
            options.speed = 1000;
            options.deviceType = deviceType;
            options.convert = convert;
            file_faults::failNth(fault, kind, kind != Kind::Death);
            if (camera.start(options)) {
                _exit(kRefused);
            }
            const bool reached = fault == 0 || file_faults::operations() >= fault;
            file_faults::clear();
            bool done = true;
            if (brightness >= 0) {
                done = set(KEY_BRIGHTNESS, brightness, 0).done() && perform(host::Save{0}).done();
            }
            camera.stop();
            _exit(!done ? 1 : reached ? 0 : 3);
        }
        int status = 0;
        waitpid(child, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    fs::path folder() const { return root + "/mnt/mtd/code/config_file"; }
    /// The files whose names end so: "cfg" the live ones, "cfg.before" those put aside first.
    Files files(const std::string& ending) const {
        Files found;
        for (const auto& entry : fs::directory_iterator(folder())) {
            const std::string name = entry.path().filename();
            if (name.rfind("sensor", 0) == 0 && name.size() > ending.size() &&
                name.compare(name.size() - ending.size() - 1, std::string::npos, "." + ending) ==
                    0) {
                std::ifstream file(entry.path());
                found[name.substr(0, 7)] = {std::istreambuf_iterator<char>(file), {}};
            }
        }
        return found;
    }
    /// What a scheme file has of a key, wherever its record stands; -1: nothing.
    static int valueIn(const std::string& file, u32 key) {
        for (std::size_t at = 0; at + 8 <= file.size(); at += 8) {
            if (file[at] == static_cast<char>(key) && file[at + 1] == static_cast<char>(key >> 8)) {
                return static_cast<unsigned char>(file[at + 4]);
            }
        }
        return -1;
    }
    void putBack(const fs::path& copy) const {
        fs::remove_all(folder());
        fs::copy(copy, folder());
    }
};

/// A conversion that is killed at any file operation, or whose flash fails from there on, costs
/// nothing: asked for again it is the same as one that came to its end, not asked for the camera
/// that the schemes belong to finds its very files, and any other is refused.
TEST_F(SavedFor, NoEndOfAConversionCostsWhatWasSaved) {
    ASSERT_EQ(0, run(1, false, 61));
    const Files saved = files("cfg");
    const fs::path copy = root + "/saved";
    fs::copy(folder(), copy);
    ASSERT_EQ(0, run(4, true));
    const Files converted = files("cfg");
    ASSERT_EQ(2U, converted.size());
    ASSERT_EQ(61, valueIn(converted.at("sensor0"), KEY_BRIGHTNESS));
    ASSERT_EQ(saved, files("cfg.before"));
    ASSERT_EQ(kRefused, run(1, false));
    int stopped = 0;
    for (const Kind kind : {Kind::Death, Kind::Enospc}) {
        int status = 0;
        for (unsigned long n = 1; status != 3; n += kind == Kind::Death ? 1 : 3) {
            putBack(copy);
            status = run(4, true, -1, n, kind);
            ASSERT_TRUE(status == 0 || status == 3 ||
                        status == (kind == Kind::Death ? 137 : kRefused))
                << status;
            stopped += status == 137 || status == kRefused ? 1 : 0;
            const bool ended = files("cfg") == converted && run(4, false) == 0;
            if (!ended && n % 2 == 0) {
                EXPECT_EQ(kRefused, run(9, false)) << n;
                EXPECT_EQ(0, run(1, false)) << n;
                EXPECT_EQ(saved, files("cfg")) << n;
            } else {
                EXPECT_EQ(0, run(4, true)) << n;
                EXPECT_EQ(converted, files("cfg")) << n;
                EXPECT_TRUE(files("cfg.before") == saved || files("cfg.before2") == saved) << n;
            }
        }
    }
    EXPECT_GT(stopped, 20);
}

/// Whoever has the style made anew for the same camera has asked for it; one that is changed by
/// other means, also later, is another camera's.
TEST_F(SavedFor, AStyleThatWasMadeAnewIsCarriedOverTo) {
    ASSERT_EQ(0, run(1, false, 61));
    const fs::path style = root + "/hd1/moduleConfig/sensorConfig/style/Style.xml";
    const auto without = [&style](const std::string& id) {
        std::ifstream file(style);
        std::string text{std::istreambuf_iterator<char>(file), {}};
        const std::size_t at = text.find(" id=\"" + id + "\"");
        ASSERT_NE(std::string::npos, at);
        std::ofstream(style) << text.replace(at, 5, " key=\"");
    };
    ASSERT_TRUE(linux_framework::setDeviceRoot(root));
    std::string problem;
    EXPECT_FALSE(host::rememberRemade(problem));
    without("2353");
    EXPECT_EQ(kRefused, run(1, false));
    EXPECT_TRUE(host::rememberRemade(problem));
    EXPECT_EQ(kRefused, run(4, false));
    EXPECT_EQ(0, run(1, false));
    EXPECT_EQ(61, valueIn(files("cfg").at("sensor0"), KEY_BRIGHTNESS));
    EXPECT_EQ(61, valueIn(files("cfg.before").at("sensor0"), KEY_BRIGHTNESS));
    without("2337");
    EXPECT_EQ(kRefused, run(1, false));
    // A style that this camera does not use says nothing about what is saved.
    ASSERT_EQ(0, run(4, true, 61));
    EXPECT_FALSE(host::rememberRemade(problem));
    EXPECT_EQ("", problem);
}

/// What the library made by itself is nobody's: another camera gets its own factory values, and
/// what was saved in whatever way is not taken for that.
TEST_F(SavedFor, OnlyWhatWasSavedBelongsToACamera) {
    ASSERT_EQ(0, run(4, false));
    const Files factory = files("cfg");
    putBack(fs::path(IMGCTL_SOURCE_DIR "/device/mnt/mtd/code/config_file"));
    ASSERT_EQ(0, run(1, false));
    ASSERT_NE(factory, files("cfg"));
    ASSERT_EQ(0, run(4, false));
    EXPECT_EQ(factory, files("cfg"));
    EXPECT_TRUE(files("cfg.before").empty());
    ASSERT_EQ(0, run(4, false, 61));
    EXPECT_EQ(kRefused, run(1, false));

    start(); // of type 4; the reset is no child's, as its end is waited for
    ASSERT_TRUE(perform(host::Reset{}).done());
    camera.stop();
    EXPECT_EQ(factory, files("cfg"));
    ASSERT_EQ(0, run(1, false));
    // By a program that keeps nothing beside the schemes
    std::fstream(folder() / "sensor1.cfg").seekp(44).put('\x2a');
    EXPECT_EQ(kRefused, run(4, false));
}

} // namespace
