#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

#include "DayNight.h"
#include "FakeDriver.h"
#include "ImageAdjust.h"
#include "Jpeg.h"
#include "PictureSource.h"

using image_adjust::DeviceState;
using image_adjust::Layer;
using image_adjust::LayerEvent;
namespace v4l2 = image_adjust::v4l2;

namespace {

int setValue(Layer& layer, unsigned int cmd, int value) {
    return layer.ioctl(cmd, IA_CMD_OPT_SET, &value);
}

bool waitFor(const std::function<bool()>& condition) {
    for (int i = 0; i < 400 && !condition(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return condition();
}

/// What is set, and the control that shows it.
constexpr struct {
    unsigned int cmd;
    int value;
    unsigned int control;
    int shown;
} kSteps[] = {
    {16, 1, V4L2_CID_EXPOSURE_AUTO, 1},
    {50, 77, V4L2_CID_EXPOSURE_ABSOLUTE, 77},
    {1536, 1, V4L2_CID_FOCUS_AUTO, 0},
    {1552, 300, V4L2_CID_FOCUS_ABSOLUTE, 300},
    {34, -5, V4L2_CID_BRIGHTNESS, -5},
    {2353, 55, V4L2_CID_CONTRAST, 55},
    {768, 4, V4L2_CID_WHITE_BALANCE_TEMPERATURE, 4000},
    {2384, 3, V4L2_CID_VFLIP, 1},
    {128, 0, V4L2_CID_BACKLIGHT_COMPENSATION, 0},
};

/// A layer on a driver one of whose calls fails: every answer tells what the driver has.
void walkWithFault(FakeDriver& driver, Layer& layer, int error) {
    for (const auto& step : kSteps) {
        const std::string what = "command " + std::to_string(step.cmd);
        const int before = driver.value(step.control);
        const int result = setValue(layer, step.cmd, step.value);
        int now = 0;
        const int read = layer.ioctl(step.cmd, IA_CMD_OPT_GET, &now);
        EXPECT_TRUE(result == 0 || result == IA_ERR_FAILED || result == IA_ERR_BUSY ||
                    result == IA_ERR_UNSUPPORTED)
            << what << " gives " << result;
        if (error == EINTR) {
            EXPECT_EQ(0, result) << what;
        }
        if (result == 0 && !layer.about(step.cmd).held) {
            EXPECT_EQ(step.shown, driver.value(step.control)) << what;
        }
        if (result != 0) {
            EXPECT_EQ(before, driver.value(step.control)) << what << " failed";
        }
        if (read == 0 && result == 0) {
            EXPECT_EQ(step.value, now) << what;
        } else if (read != 0) {
            EXPECT_NE("", layer.about(step.cmd).lastFailure) << what;
        }
    }
}

TEST(V4l2Layer, AnswersTruthfullyWhicheverCallOfTheDriverFails) {
    const struct {
        int error;
        bool mayGo;
    } errors[] = {{ENODEV, true}, {EIO, false}, {EBUSY, false}, {EACCES, false}, {EINTR, false}};
    for (const auto& fault : errors) {
        bool faulted = true;
        for (int call = 1; faulted; ++call) {
            SCOPED_TRACE(std::string(std::strerror(fault.error)) + " at call " +
                         std::to_string(call));
            FakeDriver driver;
            driver.failAt(call, fault.error);
            std::string problem;
            const std::unique_ptr<Layer> layer =
                v4l2::openV4l2(driver.node(), driver.options(), problem);
            EXPECT_EQ(layer == nullptr, !problem.empty());
            if (layer != nullptr) {
                std::atomic<int> gone{0};
                std::atomic<int> back{0};
                layer->onEvent([&](const LayerEvent& event) {
                    gone += event.kind == LayerEvent::Kind::DeviceGone ? 1 : 0;
                    back += event.kind == LayerEvent::Kind::DeviceBack ? 1 : 0;
                });
                walkWithFault(driver, *layer, fault.error);
                EXPECT_TRUE(waitFor([&] { return layer->state() == DeviceState::Present; }));
                EXPECT_TRUE(waitFor([&] { return gone == back; }));
                EXPECT_TRUE(fault.mayGo || gone == 0);
                driver.failAt(0, 0);
                for (const auto& step : kSteps) {
                    EXPECT_EQ(0, setValue(*layer, step.cmd, step.value)) << step.cmd;
                    EXPECT_EQ(step.shown, driver.value(step.control)) << step.cmd;
                }
            } else {
                EXPECT_NE(EINTR, fault.error) << problem;
            }
            faulted = call < driver.calls() && call < 300;
        }
    }
}

TEST(V4l2Layer, SaysThatTheCameraIsGoneAndFindsItAtAnotherNode) {
    FakeDriver driver;
    std::string problem;
    const std::unique_ptr<Layer> layer = v4l2::openV4l2(driver.node(), driver.options(), problem);
    ASSERT_NE(nullptr, layer) << problem;
    EXPECT_EQ("Fake <Cam> & \"more\" ()", layer->device());
    driver.unplug();
    EXPECT_EQ(IA_ERR_FAILED, setValue(*layer, 34, 1));
    EXPECT_EQ(DeviceState::Gone, layer->state());
    EXPECT_EQ("the camera is unplugged", layer->about(34).lastFailure);
    ia_dynamic_params_attr_st range = {};
    EXPECT_EQ(0, layer->ioctl(34, IA_CMD_OPT_GET_PARAM_RNAGE, &range));
    EXPECT_EQ(64, range.max_value);
    driver.addCamera(0, "1-3", "B2");
    driver.plugIn(7);
    EXPECT_TRUE(waitFor([&] { return layer->state() == DeviceState::Present; }));
    EXPECT_EQ(0, setValue(*layer, 34, 1));
    std::string none;
    EXPECT_EQ(nullptr, v4l2::openV4l2("/nowhere/video9", driver.options(), none));
    EXPECT_NE(std::string::npos, none.find("no camera /nowhere/video9; there is ")) << none;
}

TEST(V4l2Layer, StopsASpeedAfterATime) {
    FakeDriver driver;
    std::string problem;
    const std::unique_ptr<Layer> layer = v4l2::openV4l2(driver.node(), driver.options(), problem);
    ASSERT_NE(nullptr, layer) << problem;
    ASSERT_EQ(0, setValue(*layer, 1571, 2));
    ASSERT_EQ(0, setValue(*layer, 1570, 1));
    EXPECT_EQ(-2, driver.value(V4L2_CID_ZOOM_CONTINUOUS));
    int busy = 0;
    EXPECT_EQ(0, layer->ioctl(1570, IA_CMD_OPT_GET_EXEC_STATUS, &busy));
    EXPECT_EQ(1, busy);
    EXPECT_TRUE(waitFor([&] { return driver.value(V4L2_CID_ZOOM_CONTINUOUS) == 0; }));
}

TEST(V4l2Cameras, AreFoundAgainButNotTakenForTheirTwins) {
    const struct {
        const char* serial;
        const char* portThen; // of the camera that comes
        bool twinThere;       // when the first one went, at the second port
        bool found;
    } cases[] = {
        {"A1", "1-1", false, true}, {"A1", "1-2", false, true}, {"", "1-1", true, true},
        {"", "1-2", false, true},   {"", "1-2", true, false},
    };
    for (const auto& one : cases) {
        FakeDriver driver;
        driver.removeCamera(0);
        driver.addCamera(1, "1-5", one.serial);
        v4l2::CameraInfo lost = v4l2::knownCameras(driver.places()).at(0);
        driver.removeCamera(1);
        lost.port = "1-1";
        v4l2::CameraInfo twin = lost;
        twin.port = "1-2";
        std::vector<v4l2::CameraInfo> others;
        if (one.twinThere) {
            others.push_back(twin);
        }
        driver.addCamera(4, one.portThen, one.serial);
        driver.addCamera(9, "1-9", one.serial);
        v4l2::CameraInfo camera;
        const std::vector<v4l2::CameraInfo> there = v4l2::knownCameras(driver.places());
        EXPECT_EQ(one.serial[0] == '\0', there.at(0).identity != there.at(1).identity);
        EXPECT_EQ(there.at(0).model, v4l2::modelOf(there.at(0).identity));
        driver.removeCamera(9);
        EXPECT_EQ(one.found, v4l2::findAgain(lost, others, driver.places(), camera))
            << one.serial << " " << one.portThen;
    }
}

TEST(V4l2DayNight, TurnsByThresholdsAndDelay) {
    v4l2::DayNightSettings settings;
    settings.delay = 3;
    const struct {
        int mode, light, minute;
        double at;
        bool night;
    } steps[] = {
        {0, 10, 0, 0, false},    {0, 10, 0, 2.9, false}, {0, 30, 0, 3, false},
        {0, 10, 0, 4, false},    {0, 10, 0, 7, true},    {0, 30, 0, 20, true},
        {0, -1, 0, 40, true},    {0, 41, 0, 41, true},   {0, 41, 0, 44, false},
        {3, 0, 1079, 45, false}, {3, 0, 1080, 45, true}, {3, 0, 359, 45, true},
        {3, 0, 360, 45, false},  {2, 90, 720, 46, true}, {1, 0, 0, 47, false},
    };
    v4l2::DayNight state(settings);
    for (const auto& step : steps) {
        settings.mode = step.mode;
        EXPECT_EQ(step.night, state.update(step.light, step.minute, step.at)) << step.at;
    }
}

TEST(V4l2Jpeg, LosesNothingAndTrustsNoFrame) {
    const std::vector<unsigned char> pixels(64 * 32 * 2, 200);
    std::vector<unsigned char> jpeg;
    ASSERT_TRUE(v4l2::compress({pixels.data(), 64, 32, 128, false}, 90, jpeg));
    EXPECT_NEAR(78, v4l2::lightOf(jpeg), 1);
    for (std::size_t bytes = 0; bytes <= jpeg.size(); ++bytes) {
        // In memory of its own, so that a step beyond it is seen.
        const std::vector<unsigned char> cut(jpeg.begin(),
                                             jpeg.begin() + static_cast<std::ptrdiff_t>(bytes));
        std::vector<unsigned char> whole;
        EXPECT_EQ(bytes == jpeg.size(), v4l2::completeJpeg(cut.data(), cut.size(), whole)) << bytes;
        v4l2::lightOf(cut);
    }
}

} // namespace
