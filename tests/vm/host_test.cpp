#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <random>
#include <thread>

#include "Guest.h"
#include "Jpeg.h"
#include "LinuxFramework.h"
#include "SensorKeys.h"
#include "host/Camera.h"
#include "host/Journal.h"
#include "host/PictureHub.h"
#include "host/Sentences.h"

/// Whole cameras, with their schemes, on the drivers.
namespace {

using namespace host;
using guest::output;
using guest::secondsNow;
using guest::usbCamera;
using guest::witness;

/// The host has 2 seconds; the machine is emulated, and does other things too.
constexpr double kPatience = 4;

/// Keys that are one control on both cameras, held by nothing.
const std::pair<u32, unsigned int> kPlain[] = {{KEY_BRIGHTNESS, V4L2_CID_BRIGHTNESS},
                                               {KEY_SATURATION, V4L2_CID_SATURATION},
                                               {KEY_CONTRAST, V4L2_CID_CONTRAST}};

class OnDriver : public testing::Test {
protected:
    OnDriver() {
        static int number = 0;
        setenv("XDG_STATE_HOME", ("/tmp/state" + std::to_string(++number)).c_str(), 1);
        options.program = "tests";
        options.clock = CameraOptions::Clock{3, 0, 0};
    }

    static bool within(double seconds, const std::function<bool()>& holds) {
        for (const double end = secondsNow() + seconds; secondsNow() < end;) {
            if (holds()) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return holds();
    }
    static bool soon(const std::function<bool()>& holds) { return within(kPatience, holds); }

    void start() {
        options.layer = "v4l2:" + node;
        const StartProblem problem = camera.start(options);
        ASSERT_FALSE(problem) << problem.text;
    }
    Outcome set(u32 key, int value, std::optional<int> scheme = {}) {
        SetValues operation;
        operation.values = {{key, value}};
        operation.scheme = scheme;
        operation.otherwise = WhenNotInForce::Record;
        return camera.perform(operation);
    }
    /// Another program sets a control.
    void setOutside(unsigned int control, int value) const {
        const int fd = open(node.c_str(), O_RDWR);
        v4l2_control wanted = {control, value};
        EXPECT_EQ(0, ioctl(fd, VIDIOC_S_CTRL, &wanted));
        close(fd);
    }
    bool present() const { return camera.snapshot()->layer.present; }
    bool rests() const { return present() && camera.snapshot()->settled; }
    /// Whether the driver has what the scheme in force records.
    bool driverHasScheme() const {
        const auto now = camera.snapshot();
        return std::all_of(std::begin(kPlain), std::end(kPlain), [&](const auto& plain) {
            return now->value(plain.first)->inForce() == witness(node, plain.second);
        });
    }
    std::string differs();

    std::string node = guest::kVivid;
    CameraOptions options;
    Camera camera;
};

class HostOnEach : public OnDriver, public testing::WithParamInterface<bool> {
protected:
    HostOnEach() { node = GetParam() ? usbCamera().node() : guest::kVivid; }
};
INSTANTIATE_TEST_SUITE_P(Cameras, HostOnEach, testing::Bool(),
                         [](const auto& each) { return each.param ? "usb" : "vivid"; });

TEST_P(HostOnEach, TheScheduleSwitchesTheDriversControls) {
    options.clock = CameraOptions::Clock{7, 58, 0};
    options.speed = 20;
    start();
    ASSERT_TRUE(camera.perform(SetWindows{{{0, {true, 0, 0, 8, 0}}}, {}}).done());
    ASSERT_TRUE(camera.perform(SetWindows{{{1, {true, 8, 0, 23, 0}}}, {}}).done());
    for (const int scheme : {0, 1}) {
        ASSERT_TRUE(set(KEY_BRIGHTNESS, scheme == 0 ? 40 : 60, scheme).done());
        ASSERT_TRUE(set(KEY_SATURATION, scheme == 0 ? 30 : 50, scheme).done());
    }
    EXPECT_TRUE(soon([this] { return witness(node, V4L2_CID_BRIGHTNESS) == 40; }));
    EXPECT_TRUE(within(15, [this] { return witness(node, V4L2_CID_SATURATION) == 50; }));
    const std::map<std::string, int> expected = {{"brightness", 60}, {"saturation", 50}};
    EXPECT_EQ(expected, guest::witnessAll(node, "brightness,saturation"));
}

TEST_P(HostOnEach, TakesBackWhatAnotherProgramChangesOrLetsItStayUntilTheSwitch) {
    for (const bool winsBack : {true, false}) {
        options.schemeWinsBack = winsBack;
        start();
        camera.perform(SetMode{false});
        ASSERT_TRUE(set(KEY_BRIGHTNESS, 20).done());
        EXPECT_TRUE(soon([this] { return camera.snapshot()->settled; }));
        const auto isTold = [this](std::uint64_t after) {
            bool complete = false;
            for (const Journal::Entry& entry : camera.journal().since(after, complete)) {
                if (entry->note == "changed by another program" && entry->changes[0].after == 40) {
                    return true;
                }
            }
            return false;
        };
        const std::uint64_t before = camera.journal().sequence();
        setOutside(V4L2_CID_BRIGHTNESS, 40);
        EXPECT_TRUE(within(0.1, [&] { return isTold(before); }));
        if (!winsBack) {
            std::this_thread::sleep_for(std::chrono::milliseconds(300));
            EXPECT_EQ(40, witness(node, V4L2_CID_BRIGHTNESS));
            camera.perform(SwitchScheme{1});
            camera.perform(SwitchScheme{0});
        }
        EXPECT_TRUE(soon([this] { return witness(node, V4L2_CID_BRIGHTNESS) == 20; }));
        camera.stop();
    }
}

TEST_P(HostOnEach, BelongsToOneProgramAtATimeAndItsControlsToEverybody) {
    start();
    const std::string get = " -c 'get brightness' 2>&1; echo $?";
    EXPECT_NE(std::string::npos,
              output("imgctl --layer " + options.layer + get).find("is in use by tests (process"));
    EXPECT_NE(std::string::npos,
              output("imgctl make-device " + node + " " + linux_framework::deviceRoot() + " 2>&1")
                  .find("is in use by tests (process"));
    const std::string other = " --device " + std::string(std::getenv("XDG_STATE_HOME")) + "/other";
    EXPECT_NE("", output("imgctl make-device " + node + other.substr(9)));
    EXPECT_NE(std::string::npos, output("imgctl --layer " + options.layer + other + get)
                                     .find("the camera " + node + " is in use by tests (process"));
    camera.stop();
    const std::string free = output("imgctl --layer " + options.layer + get);
    EXPECT_EQ('0', free.back()) << free;
}

TEST_P(HostOnEach, ItsPictureFollowsTheScheme) {
    start();
    camera.perform(SetMode{false});
    const Limits range = *camera.snapshot()->value(KEY_BRIGHTNESS)->limits;
    set(KEY_BRIGHTNESS, range.minimum, 0);
    set(KEY_BRIGHTNESS, range.maximum, 1);
    int light[2] = {};
    PictureHub::Viewer viewer(camera.pictures());
    for (const int scheme : {0, 1}) {
        camera.perform(SwitchScheme{scheme});
        PictureHub::Shared picture;
        for (int frame = 0; frame < 6; ++frame) {
            std::string problem;
            picture = viewer.next(std::chrono::seconds(3), problem);
            ASSERT_NE(nullptr, picture) << problem;
        }
        light[scheme] = image_adjust::v4l2::lightOf(picture->jpeg);
    }
    EXPECT_GT(light[1], light[0] + 20);
}

class HostOnUsb : public OnDriver {
protected:
    HostOnUsb() { node = usbCamera().node(); }
    ~HostOnUsb() override {
        if (access(usbCamera().node().c_str(), F_OK) != 0) {
            usbCamera().plugIn();
        }
    }
    void plugIn() {
        usbCamera().plugIn();
        node = usbCamera().node();
    }
};

TEST_F(HostOnUsb, UnpluggedInASwitchItIsFoundAtAnotherNodeWithItsWholeScheme) {
    start();
    const std::string other = std::string(std::getenv("XDG_STATE_HOME")) + "/other";
    EXPECT_NE("", output("imgctl make-device " + node + " " + other));
    camera.perform(SetMode{false});
    for (const int scheme : {0, 1}) {
        for (const auto& plain : kPlain) {
            ASSERT_TRUE(set(plain.first, 20 + 30 * scheme, scheme).done());
        }
    }
    for (int round = 0; round < 3; ++round) {
        const std::string before = node;
        const int occupied = open(node.c_str(), O_RDWR); // so that the node is not free again
        std::thread plug([round] {
            std::this_thread::sleep_for(std::chrono::milliseconds(3 * round));
            usbCamera().unplug();
        });
        double longest = 0;
        for (int i = 1; i <= 20; ++i) {
            const double begin = secondsNow();
            camera.perform(SwitchScheme{(round + i) % 2});
            longest = std::max(longest, secondsNow() - begin);
        }
        plug.join();
        EXPECT_LT(longest, 2);
        EXPECT_TRUE(soon([this] { return !present(); }));
        const Outcome gone = set(KEY_BRIGHTNESS, 77);
        EXPECT_EQ(Reason::Gone, gone.refusal.reason) << reasonText(gone.refusal);
        EXPECT_LT(guest::processorSecondsIn(0.5), 0.15) << "somebody spins";
        timespec whole = {};
        std::thread watcher([&] {
            EXPECT_TRUE(within(10, [this] { return rests(); })) << round;
            clock_gettime(CLOCK_REALTIME, &whole);
        });
        plugIn();
        watcher.join();
        EXPECT_NE(before, node);
        EXPECT_TRUE(driverHasScheme()) << round;
        struct stat made = {};
        ASSERT_EQ(0, stat(node.c_str(), &made));
        const double seconds = static_cast<double>(whole.tv_sec - made.st_ctim.tv_sec) +
                               static_cast<double>(whole.tv_nsec - made.st_ctim.tv_nsec) / 1e9;
        EXPECT_LT(seconds, 2);
        std::printf("vm: whole scheme %.0f ms after its node was there\n", 1000 * seconds);
        const std::string refused = output("imgctl --layer v4l2:" + node + " --device " + other +
                                           " -c 'get brightness' 2>&1");
        EXPECT_NE(std::string::npos, refused.find(" is in use by tests (process")) << refused;
        close(occupied);
    }
}

TEST_F(HostOnUsb, ACameraThatIsNotThereAtTheStartIsWaitedForWhereThatIsAsked) {
    start();
    ASSERT_TRUE(set(KEY_BRIGHTNESS, 33).done());
    ASSERT_TRUE(camera.perform(Save{}).done());
    camera.stop();
    usbCamera().unplug();
    ASSERT_TRUE(soon([this] { return access(node.c_str(), F_OK) != 0; }));
    const StartProblem problem = camera.start(options);
    EXPECT_EQ(StartProblem::Kind::Layer, problem.kind) << problem.text;
    EXPECT_EQ(0U, problem.text.find(node + " is not there: no camera ")) << problem.text;
    options.waitForCamera = true;
    start();
    EXPECT_FALSE(present());
    EXPECT_EQ(33, camera.snapshot()->value(KEY_BRIGHTNESS)->stored);
    EXPECT_EQ(Reason::Gone, set(KEY_BRIGHTNESS, 34).refusal.reason);
    plugIn();
    EXPECT_TRUE(soon([this] { return present() && witness(node, V4L2_CID_BRIGHTNESS) == 33; }));
    EXPECT_TRUE(set(KEY_BRIGHTNESS, 35).done());
    EXPECT_EQ(35, witness(node, V4L2_CID_BRIGHTNESS));
}

/// What the camera has otherwise than the scheme in force records, but for what
/// is told; at rest nothing.
std::string OnDriver::differs() {
    const auto now = camera.snapshot();
    if (!now->settled) {
        return "it does not come to rest";
    }
    for (std::size_t i = 0; i < now->values.size(); ++i) {
        const Parameter& about = now->catalogue->parameters[i];
        const Value& value = now->values[i];
        const bool position = about.key == KEY_MF_POSITION || about.key == KEY_MZ_POSITION;
        const bool told = std::any_of(
            now->differences.begin(), now->differences.end(), [&](const Difference& difference) {
                return difference.key == about.key && difference.refusal.reason != Reason::None;
            });
        if (!about.inScheme() || about.storedOnly() || position || told ||
            !value.state->supported || !value.state->readable) {
            continue;
        }
        const Outcome read = camera.perform(ReadKeys{{about.key}, true});
        if (read.values.count(about.key) == 0 || read.values.at(about.key) != value.inForce()) {
            return "key " + std::to_string(about.key) + " is not " +
                   std::to_string(value.inForce().value_or(-1));
        }
    }
    return driverHasScheme() ? "" : "the driver has another value";
}

TEST_P(HostOnEach, AfterAnyMixTheDriverHasTheSchemeInForce) {
    start();
    camera.perform(SetMode{false});
    std::mt19937 random(20240611);
    const auto any = [&random](std::size_t n) { return static_cast<int>(random() % n); };
    const double end = secondsNow() + 6;
    int steps = 0;
    for (int round = 0; secondsNow() < end; ++round) {
        const bool away = GetParam() && round % 8 == 3;
        for (int i = 0; i < 12; ++i, ++steps) {
            if (away && i == 4) {
                usbCamera().unplug();
            }
            const auto now = camera.snapshot();
            const auto at = static_cast<std::size_t>(any(now->values.size()));
            const Parameter& about = now->catalogue->parameters[at];
            const std::optional<Limits>& limits = now->values[at].limits;
            switch (any(8)) {
                case 0:
                    camera.perform(SwitchScheme{any(5)});
                    break;
                case 1:
                    if (!away) {
                        const auto& plain = kPlain[any(std::size(kPlain))];
                        setOutside(plain.second, any(100));
                    }
                    break;
                default:
                    // Day and night by the picture, and a mirror that depends on where it hangs,
                    // are others' business.
                    if (limits && about.key != KEY_DN_MODE && about.key != KEY_BEAWAY) {
                        const int span = limits->maximum - limits->minimum + 1;
                        set(about.key, limits->minimum + any(static_cast<std::size_t>(span)));
                    }
                    break;
            }
        }
        if (away) {
            EXPECT_TRUE(soon([this] { return !present(); }));
            usbCamera().plugIn();
            node = usbCamera().node();
            EXPECT_TRUE(soon([this] { return present(); }));
        }
        std::string problem;
        ASSERT_TRUE(soon([&] { return (problem = differs()).empty(); }))
            << "round " << round << ": " << problem;
    }
    std::printf("vm: %d steps\n", steps);
}

} // namespace
