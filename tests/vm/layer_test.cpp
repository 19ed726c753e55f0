#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <set>
#include <thread>

#include "Guest.h"
#include "Jpeg.h"
#include "host/compliance/Compliance.h"

using namespace guest;
using image_adjust::CommandState;
using image_adjust::DeviceState;
using image_adjust::LayerEvent;
using image_adjust::Picture;
using image_adjust::PictureFormat;
using image_adjust::PictureSource;
namespace v4l2 = image_adjust::v4l2;

namespace {
image_adjust::Layer* g_tried = nullptr;
} // namespace

/// The compliance check calls the process's layer.
extern "C" int ia_ioctrl(unsigned int cmd, unsigned int opt, void* data) {
    return g_tried->ioctl(cmd, opt, data);
}

namespace {

constexpr unsigned int kLastCommand = 2600;

/// How a command's value shows in a control, as v4l2-ctl names it.
struct Mapping {
    unsigned int cmd;
    const char* control;
    int (*expected)(int value);
    unsigned int id; ///< 0: the value is another number there
};
int same(int value) {
    return value;
}
int firstFlip(int value) {
    return value & 1;
}
constexpr Mapping kMappings[] = {
    {34, "brightness", same, V4L2_CID_BRIGHTNESS},
    {2337, "saturation", same, V4L2_CID_SATURATION},
    {2353, "contrast", same, V4L2_CID_CONTRAST},
    {2321, "sharpness", same, V4L2_CID_SHARPNESS},
    {2528, "gamma", same, V4L2_CID_GAMMA},
    {49, "exposure_dynamic_framerate", same, V4L2_CID_EXPOSURE_AUTO_PRIORITY},
    {50, "exposure_time_absolute", same, V4L2_CID_EXPOSURE_ABSOLUTE},
    {66, "gain", same, V4L2_CID_GAIN},
    {82, "iris_absolute", same, V4L2_CID_IRIS_ABSOLUTE},
    {130, "backlight_compensation", same, V4L2_CID_BACKLIGHT_COMPENSATION},
    {1552, "focus_absolute", same, V4L2_CID_FOCUS_ABSOLUTE},
    {1568, "zoom_absolute", same, V4L2_CID_ZOOM_ABSOLUTE},
    {2368, "wide_dynamic_range", same, V4L2_CID_WIDE_DYNAMIC_RANGE},
    {2384, "horizontal_flip", firstFlip, 0},
    {2416, "image_stabilization", same, V4L2_CID_IMAGE_STABILIZATION},
};

/// Automatics off, so that nothing is held.
void makeManual(Camera& camera) {
    for (const auto& [cmd, value] :
         {std::pair<unsigned int, int>{16, 1}, {1536, 1}, {768, 1}, {128, 1}}) {
        if (camera->about(cmd).supported) {
            EXPECT_EQ(0, camera.set(cmd, value)) << cmd;
        }
    }
}

class OnEach : public testing::TestWithParam<bool> {
protected:
    std::string node() const { return GetParam() ? usbCamera().node() : kVivid; }
};
INSTANTIATE_TEST_SUITE_P(Cameras, OnEach, testing::Bool(),
                         [](const auto& each) { return each.param ? "usb" : "vivid"; });

TEST_P(OnEach, TakesExactlyWhatTheWitnessThenReads) {
    Camera camera(node());
    makeManual(camera);
    std::vector<Mapping> present;
    std::string names;
    for (const Mapping& mapping : kMappings) {
        if (camera->about(mapping.cmd).supported) {
            present.push_back(mapping);
            names += std::string(names.empty() ? "" : ",") + mapping.control;
        }
    }
    EXPECT_GE(present.size(), GetParam() ? 14U : 5U);
    for (int round = 0; round < 4; ++round) {
        std::map<std::string, int> expected;
        for (const Mapping& mapping : present) {
            const ia_dynamic_params_attr_st range = camera.range(mapping.cmd);
            const int step = camera->about(mapping.cmd).step;
            const int middle =
                range.min_value + (range.max_value - range.min_value) / 2 / step * step;
            const int values[] = {range.min_value, middle, range.max_value, range.default_value};
            ASSERT_EQ(0, camera.set(mapping.cmd, values[round])) << mapping.cmd;
            EXPECT_EQ(values[round], camera.get(mapping.cmd)) << mapping.cmd;
            // What a driver would clamp or round is refused, and nothing changes.
            for (const int wrong : {range.min_value - 1, range.max_value + 1,
                                    step > 1 ? range.min_value + 1 : range.max_value + 9999}) {
                EXPECT_EQ(IA_ERR_RANGE, camera.set(mapping.cmd, wrong)) << mapping.cmd;
                EXPECT_NE("", camera->about(mapping.cmd).lastFailure);
            }
            expected[mapping.control] = mapping.expected(values[round]);
        }
        EXPECT_EQ(expected, witnessAll(node(), names));
    }
}

TEST_P(OnEach, PassesTheComplianceCheck) {
    v4l2::Options options;
    Camera camera(node(), options);
    g_tried = &*camera.operator->();
    std::vector<compliance::Command> commands;
    for (unsigned int cmd = 1; cmd < kLastCommand; ++cmd) {
        int value[64] = {};
        if (camera->ioctl(cmd, IA_CMD_OPT_GET, value) != IA_ERR_UNKNOWN_CMD) {
            commands.push_back({cmd, cmd, std::to_string(cmd)});
        }
    }
    commands.push_back({IA_CMD_DYNAMIC_PARAMS_CMDS_GET, IA_CMD_DYNAMIC_PARAMS_CMDS_GET, "list"});
    compliance::Settings settings;
    settings.rounds = 50;
    std::string failures;
    settings.print = [&failures](const std::string& line) {
        if (line.find("FAILED") != std::string::npos) {
            failures += line + "\n";
        }
    };
    const compliance::Totals totals = compliance::run(commands, nullptr, settings);
    EXPECT_EQ(0, totals.failed) << failures;
    EXPECT_GE(totals.succeeded, GetParam() ? 20 : 12);
    std::printf("vm: compliance: %d succeeded, %d warnings\n", totals.succeeded, totals.warnings);
}

TEST_P(OnEach, HearsOfOtherProgramsWithinATenthOfASecond) {
    Camera camera(node());
    Camera other(node());
    ASSERT_EQ(0, camera.set(34, 20));
    EXPECT_GE(other.await(LayerEvent::Kind::ValueChanged, 34, 1), 0);
    camera.forget();
    other.forget();
    ASSERT_EQ(0, other.set(34, 33));
    const double took = camera.await(LayerEvent::Kind::ValueChanged, 34, 1);
    EXPECT_GE(took, 0);
    EXPECT_LT(took, 0.1);
    EXPECT_EQ(33, camera.lastValue());
    EXPECT_EQ(33, camera.get(34));
    EXPECT_LT(other.await(LayerEvent::Kind::ValueChanged, 34, 0.1), 0) << "its own change";
    EXPECT_LT(processorSecondsIn(0.5), 0.1) << "somebody spins";
}

TEST_P(OnEach, KeepsWhatAnAutomaticHoldsAndAppliesItWhenItIsFree) {
    // Focus on the USB camera, gain on the other.
    const unsigned int master = GetParam() ? 1536 : 16;
    const unsigned int cmd = GetParam() ? 1552 : 66;
    const unsigned int control = GetParam() ? V4L2_CID_FOCUS_ABSOLUTE : V4L2_CID_GAIN;
    Camera camera(node());
    ASSERT_EQ(0, camera.set(master, 1));
    ASSERT_EQ(0, camera.set(cmd, 90));
    ASSERT_EQ(0, camera.set(master, 0));
    ASSERT_EQ(0, camera.set(cmd, 120));
    const CommandState held = camera->about(cmd);
    EXPECT_TRUE(held.held && held.inactive);
    EXPECT_EQ(120, held.wanted);
    EXPECT_EQ(master, held.blockerCommand);
    EXPECT_EQ(GetParam() ? "automatic focus is on" : "automatic gain is on", held.blocker);
    EXPECT_EQ(120, camera.get(cmd));
    if (GetParam()) {
        EXPECT_EQ(90, witness(node(), control)) << "the camera has not seen it";
    }
    ASSERT_EQ(0, camera.set(master, 1));
    EXPECT_FALSE(camera->about(cmd).held);
    EXPECT_EQ(120, witness(node(), control));
    // The same when another program turns the automatic off.
    ASSERT_EQ(0, camera.set(master, 0));
    ASSERT_EQ(0, camera.set(cmd, 70));
    Camera other(node());
    ASSERT_EQ(0, other.set(master, 1));
    EXPECT_GE(camera.await(LayerEvent::Kind::ValueChanged, master, 1), 0);
    for (int i = 0; i < 5 && witness(node(), control) != 70; ++i) {
    }
    EXPECT_EQ(70, witness(node(), control));
}

TEST_P(OnEach, AppliesASchemeForTwiceTheDriversOwnTimeAndStartsWithFewCalls) {
    struct Counting : v4l2::DeviceCalls {
        std::atomic<int> calls{0};
        int control(int fd, unsigned long request, void* data) override {
            ++calls;
            return DeviceCalls::control(fd, request, data);
        }
    };
    const auto counting = std::make_shared<Counting>();
    v4l2::Options options;
    options.calls = counting;
    Camera camera(node(), options);
    const int start = counting->calls;
    const int controls = std::atoi(output("v4l2-ctl -d " + node() + " -l | grep -c 0x").c_str());
    EXPECT_LE(start, 3 * controls);
    makeManual(camera);
    // Every value that a scheme records of this camera, beside one control for each: its own, or,
    // where a value is made of several or of none, the brightness.
    const std::set<unsigned int> orders = {83, 84, 1539, 1553, 1554, 1569, 1570, 1571};
    std::vector<std::pair<unsigned int, int>> scheme;
    std::vector<v4l2_control> bare;
    for (unsigned int cmd = 1; cmd < kLastCommand; ++cmd) {
        int value[64] = {};
        if (orders.count(cmd) != 0 || !camera->about(cmd).supported ||
            camera->ioctl(cmd, IA_CMD_OPT_GET, value) != 0 || camera.set(cmd, value[0]) != 0) {
            continue;
        }
        const auto mapping = std::find_if(std::begin(kMappings), std::end(kMappings),
                                          [cmd](const Mapping& m) { return m.cmd == cmd; });
        scheme.emplace_back(cmd, value[0]);
        const bool own = mapping != std::end(kMappings) && mapping->id != 0;
        bare.push_back({own ? mapping->id : V4L2_CID_BRIGHTNESS, own ? value[0] : camera.get(34)});
    }
    EXPECT_GE(scheme.size(), 8U);
    v4l2::DeviceCalls plain;
    const int fd = plain.open(node().c_str());
    double best[2] = {1e9, 1e9};
    for (int round = 0; round < 30; ++round) {
        double begin = secondsNow();
        for (const auto& [cmd, value] : scheme) {
            camera.set(cmd, value);
        }
        best[0] = std::min(best[0], secondsNow() - begin);
        begin = secondsNow();
        for (v4l2_control& control : bare) {
            ioctl(fd, VIDIOC_S_CTRL, &control);
        }
        best[1] = std::min(best[1], secondsNow() - begin);
    }
    plain.close(fd);
    std::printf("vm: start %d calls for %d controls; scheme of %zu: %.0f us, bare %.0f us\n", start,
                controls, scheme.size(), best[0] * 1e6, best[1] * 1e6);
    EXPECT_LT(best[0], 2 * best[1]);
}

/// Means of some pictures, at two brightnesses.
TEST_P(OnEach, ShowsPicturesThatFollowTheControls) {
    Camera camera(node());
    PictureSource& source = *camera->picture();
    std::string problem;
    ASSERT_TRUE(source.start(PictureFormat(), problem)) << problem;
    const ia_dynamic_params_attr_st range = camera.range(34);
    int light[2] = {};
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(0, camera.set(34, i == 0 ? range.min_value : range.max_value));
        Picture picture;
        for (int frame = 0; frame < 6; ++frame) {
            ASSERT_EQ(PictureSource::Result::Picture, source.next(3000, picture, problem))
                << problem;
        }
        EXPECT_GT(picture.width, 300);
        light[i] = v4l2::lightOf(picture.jpeg);
    }
    EXPECT_GE(light[0], 0);
    EXPECT_GT(light[1], light[0] + 20);
    // A rate waits until nobody watches, and says so.
    const ia_dynamic_params_attr_st rates = camera.range(2464);
    ASSERT_GT(rates.items_cnt, 1);
    const int other = rates.cur_value == rates.item[0] ? rates.item[1] : rates.item[0];
    EXPECT_EQ(0, camera.set(2464, other));
    EXPECT_EQ(other, camera.get(2464));
    if (GetParam()) {
        EXPECT_EQ("it waits until nobody watches the picture", camera->about(2464).blocker);
    }
    // Watched by us, it is taken by nobody else.
    Camera second(node());
    EXPECT_FALSE(second->picture()->start(PictureFormat(), problem));
    source.stop();
    EXPECT_FALSE(camera->about(2464).held);
    EXPECT_NE(std::string::npos,
              output("v4l2-ctl -d " + node() + " -P").find("(" + std::to_string(other)));
    EXPECT_EQ(0, camera.set(34, range.default_value));
}

TEST_P(OnEach, SaysWhoHoldsThePictureAndGoesOnWithItsControls) {
    Camera camera(node());
    std::string problem;
    const Process viewer({"v4l2-ctl", "-d", node(), "--stream-mmap", "--stream-count=1000000"});
    for (int i = 0; i < 100 && viewer.log().find('<') == std::string::npos; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    EXPECT_FALSE(camera->picture()->start(PictureFormat(), problem)) << viewer.log();
    EXPECT_EQ(0U, problem.find(node() + " is used by v4l2-ctl (")) << problem;
    EXPECT_EQ(0, camera.set(34, 40));
    EXPECT_EQ(40, witness(node(), V4L2_CID_BRIGHTNESS));
}

TEST_P(OnEach, TellsDayAndNightByThePicture) {
    Camera camera(node());
    const ia_dynamic_params_attr_st range = camera.range(34);
    dn_thr_st thresholds = {30, 40};
    ASSERT_EQ(0, camera->ioctl(145, IA_CMD_OPT_SET, &thresholds));
    ASSERT_EQ(0, camera.set(147, 1));
    ASSERT_EQ(0, camera.set(34, range.min_value));
    EXPECT_EQ(0, camera.get(IA_CMD_DN_STATE));
    ASSERT_EQ(0, camera.set(144, 0));
    EXPECT_GE(camera.await(LayerEvent::Kind::ValueChanged, IA_CMD_DN_STATE, 12), 0);
    EXPECT_EQ(1, camera.get(IA_CMD_DN_STATE));
    if (GetParam()) {
        EXPECT_EQ(1, witness(node(), V4L2_CID_COLORFX)) << "grey by night";
    }
    camera.forget();
    ASSERT_EQ(0, camera.set(144, 1));
    EXPECT_EQ(0, camera.get(IA_CMD_DN_STATE));
    EXPECT_EQ(0, camera.set(34, range.default_value));
}

TEST(Usb, WhiteBalanceExposureAndBacklightHaveTwoHomes) {
    const std::string node = usbCamera().node();
    Camera camera(node);
    const struct {
        unsigned int cmd;
        int value;
        unsigned int control;
        int expected;
    } steps[] = {
        {768, 0, V4L2_CID_AUTO_WHITE_BALANCE, 1},
        {768, 2, V4L2_CID_WHITE_BALANCE_TEMPERATURE, 5500},
        {768, 3, V4L2_CID_WHITE_BALANCE_TEMPERATURE, 6500},
        {768, 5, V4L2_CID_WHITE_BALANCE_TEMPERATURE, 2800},
        {768, 4, V4L2_CID_AUTO_WHITE_BALANCE, 0},
        {16, 3, V4L2_CID_EXPOSURE_AUTO, 3},
        {16, 1, V4L2_CID_EXPOSURE_AUTO, 1},
        {128, 0, V4L2_CID_BACKLIGHT_COMPENSATION, 0},
        {130, 3, V4L2_CID_BACKLIGHT_COMPENSATION, 0},
        {128, 1, V4L2_CID_BACKLIGHT_COMPENSATION, 3},
        {130, 4, V4L2_CID_BACKLIGHT_COMPENSATION, 4},
        {83, 1, V4L2_CID_IRIS_ABSOLUTE, 60},
        {84, 1, V4L2_CID_IRIS_ABSOLUTE, 50},
        {1536, 1, V4L2_CID_FOCUS_AUTO, 0},
        {1552, 500, V4L2_CID_FOCUS_ABSOLUTE, 500},
        {1553, 1, V4L2_CID_FOCUS_ABSOLUTE, 520},
        {1554, 1, V4L2_CID_FOCUS_ABSOLUTE, 500},
    };
    ASSERT_EQ(0, camera.set(16, 1));
    ASSERT_EQ(0, camera.set(82, 50));
    ASSERT_EQ(0, camera.set(130, 2));
    for (const auto& step : steps) {
        EXPECT_EQ(0, camera.set(step.cmd, step.value)) << step.cmd;
        EXPECT_EQ(step.expected, witness(node, step.control)) << step.cmd << " " << step.value;
        if (!camera->about(step.cmd).readable) {
            continue;
        }
        EXPECT_EQ(step.value, camera.get(step.cmd)) << step.cmd;
    }
    EXPECT_EQ(IA_ERR_RANGE, camera.set(16, 0)) << "a hole in its menu";
    ASSERT_EQ(0, camera.set(1536, 0));
    EXPECT_EQ(IA_ERR_UNSUPPORTED, camera.set(1553, 1)) << "an order is not kept";
    EXPECT_EQ("automatic focus is on", camera->about(1553).lastFailure);
    EXPECT_EQ(IA_ERR_UNSUPPORTED, camera.set(2400, 1));
    EXPECT_FALSE(camera->about(2400).supported);
    EXPECT_EQ(IA_ERR_UNKNOWN_CMD, camera.set(4711, 1));
    int wanted = 53;
    EXPECT_EQ(0, camera->ioctl(2353, IA_CMD_OPT_CORRECT_PARAM, &wanted));
    EXPECT_EQ(55, wanted);
}

TEST(Vivid, TurnsThePictureOverAndShowsAPart) {
    Camera camera(kVivid);
    const int pairs[][4] = {// handed over: mirror, hanging; flips across, upside down
                            {0, 0, 0, 0}, {1, 0, 1, 0}, {2, 0, 0, 1}, {3, 0, 1, 1},
                            {0, 1, 1, 1}, {1, 1, 1, 0}, {2, 1, 0, 1}, {3, 1, 0, 0}};
    for (const auto& pair : pairs) {
        ASSERT_EQ(0, camera.set(2385, pair[1]));
        ASSERT_EQ(0, camera.set(2384, pair[0]));
        EXPECT_EQ(pair[0], camera.get(2384));
        EXPECT_EQ(pair[1], camera.get(2385));
        EXPECT_EQ(pair[2], witness(kVivid, V4L2_CID_HFLIP));
        EXPECT_EQ(pair[3], witness(kVivid, V4L2_CID_VFLIP));
    }
    ASSERT_EQ(0, camera.set(2384, 0));
    ASSERT_EQ(0, camera.set(2385, 0));

    Camera grabber(kGrabber);
    ASSERT_EQ(0, grabber.set(2436, 8)) << "kept while the whole is shown";
    EXPECT_TRUE(grabber->about(2436).held);
    ASSERT_EQ(0, grabber.set(1584, 1));
    const std::string crop =
        output(std::string("v4l2-ctl -d ") + kGrabber + " --get-selection target=crop");
    EXPECT_NE(std::string::npos, crop.find("Left 8,")) << crop;
    EXPECT_EQ(0, grabber.set(1584, 0));
}

TEST(Usb, IsToldAmongTheCameras) {
    const std::string node = usbCamera().node();
    const std::vector<v4l2::CameraInfo> cameras = v4l2::listCameras();
    ASSERT_EQ(3U, cameras.size());
    EXPECT_EQ("vivid", cameras[0].driver);
    EXPECT_EQ("vivid.0-0", cameras[0].identity);
    EXPECT_EQ(node, cameras[2].node);
    EXPECT_EQ("uvcvideo", cameras[2].driver);
    EXPECT_EQ("usb-1d6b-0102-EMU0001-0", cameras[2].identity);
    EXPECT_EQ("Emulated UVC", cameras[2].name);
}

TEST(Usb, IsFoundAgainAtAnotherNodeAfterItWasPulledOutInAWalk) {
    UsbCamera& usb = usbCamera();
    for (const bool elsewhere : {false, true}) {
        Camera camera(usb.node());
        std::atomic<bool> done{false};
        std::atomic<double> longest{0};
        std::thread walk([&] {
            while (!done) {
                for (const unsigned int cmd : {34U, 2353U, 1568U, 66U}) {
                    const double begin = secondsNow();
                    camera.set(cmd, 100);
                    longest = std::max<double>(longest, secondsNow() - begin);
                }
            }
        });
        std::string problem;
        if (elsewhere) {
            EXPECT_TRUE(camera->picture()->start(PictureFormat(), problem)) << problem;
        }
        const int held = elsewhere ? open(usb.node().c_str(), O_RDWR) : -1;
        const std::string before = usb.node();
        usb.unplug();
        EXPECT_GE(camera.await(LayerEvent::Kind::DeviceGone, 0, 2), 0);
        double since = -1;
        EXPECT_EQ(DeviceState::Gone, camera->state(&since));
        EXPECT_GE(since, 0);
        EXPECT_EQ(IA_ERR_FAILED, camera.set(34, 1));
        EXPECT_EQ("the camera is unplugged", camera->about(34).lastFailure);
        if (elsewhere) {
            Picture picture;
            PictureSource::Result result = PictureSource::Result::Picture;
            for (int i = 0; i < 50 && result != PictureSource::Result::Failed; ++i) {
                result = camera->picture()->next(200, picture, problem);
            }
            EXPECT_EQ(PictureSource::Result::Failed, result);
            EXPECT_EQ("the camera is unplugged", problem);
        }
        done = true;
        walk.join();
        EXPECT_LT(processorSecondsIn(0.3), 0.06) << "somebody spins";
        usb.plugIn();
        EXPECT_EQ(elsewhere, usb.node() != before) << usb.node();
        const double back = camera.await(LayerEvent::Kind::DeviceBack, 0, 2);
        EXPECT_GE(back, 0);
        EXPECT_EQ(DeviceState::Present, camera->state());
        EXPECT_LT(longest, 2);
        EXPECT_EQ(0, camera.set(34, 12));
        EXPECT_EQ(12, witness(usb.node(), V4L2_CID_BRIGHTNESS));
        std::printf("vm: back after %.0f ms, longest call %.0f ms\n", back * 1000, longest * 1000);
        if (held >= 0) {
            close(held);
        }
    }
}

} // namespace
