#include <gtest/gtest.h>
#include <tinyxml.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <set>

#include "ImageAdjust.h"
#include "JpegLuma.h"
#include "PictureRenderer.h"
#include "SensorKeys.h"
#include "SimulatedImageAdjust.h"
#include "SimulatedPictureSource.h"

namespace {

using namespace simulated_ia;
using image_adjust::PictureSource;

// Slow builds look at the ends of each range only, in every other scene.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || defined(__arm__)
constexpr bool slow = true;
#else
constexpr bool slow = false;
#endif
constexpr int width = 256;
constexpr int height = width * 9 / 16;

size_t at(int x, int y) {
    return static_cast<size_t>(y) * width + static_cast<size_t>(x);
}

struct Shot {
    PictureSettings settings;
    World world;
    long long time = 0; // both cars are in the right half, in front of nothing below
    Frame draw(uint32_t seed = 0, long long later = 0) const {
        static PictureRenderer renderer(width);
        return renderer.draw(settings, world, time + later, seed);
    }
};

// Parts of the picture, in points of the scene.
struct Part {
    int x0, y0, x1, y1;
};
constexpr Part whole = {0, 0, 1280, 720};
constexpr Part chart = {60, 354, 360, 650};
constexpr Part houses = {0, 190, 1280, 340};
constexpr Part gateway = {440, 300, 560, 440};
constexpr Part window = {664, 380, 776, 436};
constexpr Part pavement = {400, 600, 480, 640};
constexpr Part car = {540, 560, 820, 645};

double over(const Frame& frame, Part part, const std::function<double(int, int, int)>& what) {
    double sum = 0;
    int count = 0;
    for (int y = part.y0 * height / 720; y < part.y1 * height / 720; ++y) {
        for (int x = part.x0 * width / 1280; x < part.x1 * width / 1280; ++x, ++count) {
            sum += what(frame.luma[at(x, y)], x, y);
        }
    }
    return sum / count;
}
double mean(const Frame& frame, Part part) {
    return over(frame, part, [](int luma, int, int) { return luma; });
}

typedef std::function<double(const Shot&)> Measure;

Measure meanOf(Part part) {
    return [part](const Shot& shot) { return mean(shot.draw(), part); };
}
double awayFromGrey(const Shot& shot) {
    return over(shot.draw(), whole, [](int luma, int, int) { return std::abs(luma - 119); });
}
double clipped(const Shot& shot) {
    return over(shot.draw(), window, [](int luma, int, int) { return luma > 250 ? 100 : 0; });
}
double deviation(const Shot& shot) {
    const Frame frame = shot.draw();
    const double middle = mean(frame, houses);
    return over(frame, houses, [&](int luma, int, int) { return std::abs(luma - middle); });
}
Measure detailOf(Part part) {
    return [part](const Shot& shot) {
        const Frame frame = shot.draw();
        return over(frame, part, [&](int luma, int x, int y) {
            return std::abs(luma - frame.luma[at(x < 9 ? x + 1 : x - 1, y)]);
        });
    };
}
double colour(const Shot& shot) {
    const Frame frame = shot.draw();
    double sum = 0;
    for (size_t i = 0; i < frame.blue.size(); ++i) {
        sum += std::abs(frame.blue[i] - 128) + std::abs(frame.red[i] - 128);
    }
    return sum / static_cast<double>(frame.blue.size());
}
double chroma(const std::vector<uint8_t>& plane) {
    double sum = 0;
    for (const uint8_t value : plane) {
        sum += value;
    }
    return sum / static_cast<double>(plane.size());
}
double redness(const Shot& shot) {
    return chroma(shot.draw().red);
}
double blueness(const Shot& shot) {
    return chroma(shot.draw().blue);
}
double warmth(const Shot& shot) {
    return redness(shot) - blueness(shot);
}
double noise(const Shot& shot) {
    const Frame a = shot.draw(1);
    const Frame b = shot.draw(2);
    return over(a, pavement,
                [&](int luma, int x, int y) { return std::abs(luma - b.luma[at(x, y)]); });
}
double unrest(const Shot& shot) {
    const Frame a = shot.draw(0);
    double sum = 0;
    for (int later = 50; later < 1000; later += 90) {
        const Frame b = shot.draw(0, later);
        sum += over(a, houses,
                    [&](int luma, int x, int y) { return std::abs(luma - b.luma[at(x, y)]); });
    }
    return sum / 11;
}
// How far the picture lies from where the offset in the middle has it.
Measure displacement(bool down) {
    return [down](const Shot& shot) {
        Shot middle = shot;
        middle.settings.offsetAcross = middle.settings.offsetDown = 64;
        const auto profile = [down](const Frame& frame) {
            std::vector<double> sums(static_cast<size_t>(down ? height : width));
            over(frame, whole, [&](int luma, int x, int y) {
                return sums[static_cast<size_t>(down ? y : x)] += luma;
            });
            return sums;
        };
        const auto a = profile(middle.draw());
        const auto b = profile(shot.draw());
        const int reach = width / 16;
        double least = 1e18;
        int best = 0;
        for (int shift = -reach; shift <= reach; ++shift) {
            double differs = 0;
            for (int i = reach; i + reach < static_cast<int>(a.size()); ++i) {
                differs += std::abs(a[static_cast<size_t>(i)] -
                                    b[static_cast<size_t>(i) + static_cast<size_t>(shift)]);
            }
            if (differs < least) {
                least = differs;
                best = shift;
            }
        }
        return static_cast<double>(-best);
    };
}
double size(const Shot& shot) {
    View view(width, height);
    view.look(shot.settings, shot.world);
    return 100 / view.step();
}
typedef std::vector<int> Values;
struct Property {
    unsigned int command;
    Measure measure; // grows along the values; null: each value gives another picture
    Values values;   // empty: from the smallest to the largest
    Assumptions with;
    enum { DAY = 0, NIGHT = 1, SHAKEN = 2, BRIGHT = 4 } scenes;
    double slack;
};

Measure less(const Measure& measure) {
    return [measure](const Shot& shot) { return -measure(shot); };
}

const Assumptions manual = {{16, 1}, {66, 60}, {50, 3}};
const Values shorter = {19, 15, 12, 10, 7, 5, 4, 3, 2, 1, 0};

const std::vector<Property>& properties() {
    static const Assumptions byHand = {{16, 1},   {161, 2},  {66, 60}, {50, 3},
                                       {163, 20}, {165, 20}, {167, 20}};
    static const std::vector<Property> all = {
        {34, meanOf(whole), {}, {}, Property::DAY, 0},
        {2337, colour, {}, {}, Property::DAY, 0.1},
        {2353, awayFromGrey, {}, {}, Property::DAY, 0},
        {2321, detailOf(chart), {}, {}, Property::DAY, 0.05},
        {2528, meanOf(whole), {1, 2, 3}, {}, Property::DAY, 0},
        {16, nullptr, {}, {{66, 0}, {82, 20}, {50, 12}}, Property::DAY, 0},
        {96, nullptr, {}, {}, Property::DAY, 0},
        {49, meanOf(whole), shorter, {}, Property::DAY, 2},
        {50, meanOf(whole), shorter, {{16, 1}}, Property::DAY, 2},
        {50, less(detailOf(car)), {10, 7, 4, 2, 0}, {{16, 2}}, Property::BRIGHT, 0.05},
        {65, meanOf(whole), {}, {}, Property::DAY, 1},
        {66, meanOf(whole), {}, {{16, 1}}, Property::DAY, 1},
        {2464, meanOf(whole), {60, 30, 12, 6, 1}, {{49, 100}}, Property::DAY, 2},
        {80, meanOf(whole), {1, 0}, manual, Property::DAY, 1},
        {82, meanOf(whole), {}, manual, Property::DAY, 1},
        {85, meanOf(whole), {}, manual, Property::DAY, 1},
        {768, warmth, {5, 4, 2, 3}, {}, Property::DAY, 0.2},
        {770, redness, {}, {{768, 1}}, Property::DAY, 0.3},
        {771, blueness, {}, {{768, 1}}, Property::DAY, 0.3},
        {160, meanOf(whole), {}, byHand, Property::NIGHT, 0},
        {161, nullptr, {}, {{162, 90}, {163, 10}}, Property::NIGHT, 0},
        {162, meanOf(chart), {}, {{16, 1}, {166, 0}}, Property::NIGHT, 0},
        {163, meanOf(chart), {}, byHand, Property::NIGHT, 0},
        {164, meanOf(pavement), {}, {{16, 1}, {162, 0}}, Property::NIGHT, 0},
        {165, meanOf(pavement), {}, byHand, Property::NIGHT, 0},
        {166, meanOf(houses), {}, {{16, 1}, {164, 0}}, Property::NIGHT, 0},
        {167, meanOf(houses), {}, byHand, Property::NIGHT, 0},
        {2304, less(noise), {}, {}, Property::DAY, 0.02},
        {2305, less(noise), {}, {{2306, 0}, {2307, 100}}, Property::DAY, 0.02},
        {2306, less(noise), {}, {}, Property::DAY, 0.05},
        {2307, less(noise), {}, {{2305, 1}}, Property::DAY, 0.05},
        {2308, less(noise), {}, {}, Property::DAY, 0.02},
        {2309, less(noise), {}, {{2312, 0}, {2313, 100}}, Property::DAY, 0.02},
        {2312, less(noise), {}, {}, Property::DAY, 0.05},
        {2313, less(noise), {}, {{2309, 1}}, Property::DAY, 0.05},
        {2368, meanOf(gateway), {0, 2, 1}, {{2369, 100}}, Property::DAY, 0.5},
        {2369, meanOf(gateway), {}, {{2368, 1}}, Property::DAY, 0.5},
        {2369, less(clipped), {}, {{2368, 1}}, Property::DAY, 0.5},
        {112, less(meanOf(whole)), {}, {}, Property::DAY, 0},
        {113, less(meanOf(whole)), {}, {{112, 1}}, Property::DAY, 0},
        {113, less(clipped), {}, {{112, 1}}, Property::DAY, 0},
        {128, meanOf(whole), {}, {}, Property::DAY, 0},
        {129, nullptr, {}, {{128, 1}, {130, 100}}, Property::DAY, 0},
        {130, meanOf(whole), {}, {{128, 1}}, Property::DAY, 0},
        {2400, deviation, {}, {{2401, 100}}, Property::DAY, 0.5},
        {2401, deviation, {}, {{2400, 1}}, Property::DAY, 0.5},
        {2416, less(unrest), {}, {{2417, 100}}, Property::SHAKEN, 0.1},
        {2417, less(unrest), {}, {{2416, 1}}, Property::SHAKEN, 0.3},
        {2436, displacement(false), {}, {}, Property::DAY, 1},
        {2439, displacement(true), {}, {}, Property::DAY, 1},
        {1584, less(detailOf(whole)), {}, {}, Property::DAY, 0.2},
        {1568, size, {}, {}, Property::DAY, 0},
        {1552, detailOf(chart), {800, 600, 400, 300, 250, 200}, {}, Property::DAY, 0.3},
        {1552, detailOf(chart), {0, 100, 150, 200}, {}, Property::DAY, 0.3},
        {2384, nullptr, {}, {}, Property::DAY, 0},
        {2385, nullptr, {}, {}, Property::DAY, 0},
        {2512, nullptr, {}, {}, Property::DAY, 0},
    };
    return all;
}

const struct {
    const char* name;
    World world;
} scenes[] = {{"day", {100, 0, 30, 0}},
              {"dusk", {30, 0, 30, 0}},
              {"under the lamp", {5, 0, 60, 0}},
              {"dark", {1, 0, 0, 0}},
              {"fog", {70, 60, 30, 0}}};

TEST(Picture, EveryParameterDoesWhatItIsCalledAlongItsWholeRangeInFiveScenes) {
    for (const Property& property : properties()) {
        if (property.command == 2512) {
            continue; // needs two moments
        }
        Range range = {};
        ASSERT_TRUE(describe(property.command, range));
        Values values = property.values;
        const int steps = std::min(range.max - range.min, 6);
        for (int i = 0; values.empty() || (property.values.empty() && i <= steps); ++i) {
            values.push_back(range.min + (range.max - range.min) * i / steps);
        }
        if (slow && property.measure) {
            values = {values.front(), values.back()};
        }
        double most = 0;
        for (const auto& scene : scenes) {
            if ((property.scenes == Property::BRIGHT && scene.world.light < 30) ||
                (slow && (&scene - scenes) % 2 != 0)) {
                continue;
            }
            SCOPED_TRACE(std::string(range.name) + ", " + scene.name);
            Shot shot;
            shot.world = scene.world;
            shot.world.shake = property.scenes == Property::SHAKEN ? 100 : 0;
            shot.settings.night = property.scenes == Property::NIGHT;
            for (const auto& value : property.with) {
                shot.settings.set(value.first, value.second);
            }
            std::vector<double> seen;
            std::set<std::vector<uint8_t>> pictures;
            for (const int value : values) {
                shot.settings.set(property.command, value);
                if (!property.measure) {
                    pictures.insert(shot.draw().luma);
                    continue;
                }
                seen.push_back(property.measure(shot));
                const double before = seen.size() > 1 ? seen[seen.size() - 2] : -1e9;
                EXPECT_GE(seen.back(), before - property.slack - 1e-9) << "at " << value;
            }
            most = std::max(most, property.measure ? seen.back() - seen.front()
                                                   : static_cast<double>(pictures.size()));
        }
        const double least =
            property.measure ? 5 * property.slack + 0.3 : static_cast<double>(values.size());
        EXPECT_GE(most, least) << range.name << " does nothing";
    }
}

// What a picture does not show: windows of schemes, what decides between day and night, limits and
// steps of adjusting, speeds, and what starts a movement.
const std::set<unsigned int> unseen = {KEY_SCHEME_ENABLE,
                                       KEY_SCHEME_START_HOUR,
                                       KEY_SCHEME_START_MIN,
                                       KEY_SCHEME_END_HOUR,
                                       KEY_SCHEME_END_MIN,
                                       KEY_DN_MODE,
                                       KEY_DTN_THR,
                                       KEY_NTD_THR,
                                       KEY_DELAY,
                                       KEY_DTN_H,
                                       KEY_DTN_M,
                                       KEY_NTD_H,
                                       KEY_NTD_M,
                                       KEY_IRIS_SPEED,
                                       KEY_IRIS_UP,
                                       KEY_IRIS_DOWN,
                                       KEY_IN_OUT_SIDE,
                                       KEY_AUTO_FOCUS_MODE,
                                       KEY_AUTO_FOCUS_ONCE,
                                       KEY_AUTO_FOCUS_NEAR_LIMIT,
                                       KEY_FOCUS_NEAR,
                                       KEY_FOCUS_FAR,
                                       KEY_ZOOM_IN,
                                       KEY_AUTO_FOCUS_SENSITIVITY,
                                       KEY_ZOOM_OUT,
                                       KEY_MZOOM_SPEED,
                                       KEY_LENS_RESET,
                                       KEY_CAP_OFF_ADJ_DIRECTION,
                                       KEY_DN_AF_MODE,
                                       KEY_CAP_OFF_ADJ_STEP,
                                       KEY_CAP_OFF_ADJ_H_MIN,
                                       KEY_CAP_OFF_ADJ_H_MAX,
                                       KEY_CAP_OFF_ADJ_V_MIN,
                                       KEY_CAP_OFF_ADJ_V_MAX};

TEST(Picture, EveryParameterOfTheSampleStylesIsSeenOrIsKnownNotToBe) {
    std::set<unsigned int> seen;
    for (const Property& property : properties()) {
        seen.insert(property.command);
    }
    PictureSettings settings;
    int parameters = 0;
    for (const char* name : {"Style.xml", "Style_dome.xml"}) {
        TiXmlDocument style(std::string(IMGCTL_SOURCE_DIR "/device/hd1/moduleConfig/sensorConfig"
                                                          "/style/") +
                            name);
        ASSERT_TRUE(style.LoadFile());
        for (TiXmlElement* tab = style.RootElement()->FirstChildElement(); tab != nullptr;
             tab = tab->NextSiblingElement()) {
            for (TiXmlElement* control = tab->FirstChildElement(); control != nullptr;
                 control = control->NextSiblingElement()) {
                int key = 0;
                if (control->QueryIntAttribute("id", &key) != TIXML_SUCCESS || key == 0) {
                    continue;
                }
                const auto number = static_cast<unsigned int>(key);
                const unsigned int command = number == KEY_IRIS_SIZE    ? 85
                                             : number == KEY_SENSOR_FPS ? 2464
                                                                        : number;
                EXPECT_NE(seen.count(command), unseen.count(number))
                    << control->Attribute("name")
                    << ": say in `seen` what the picture makes of it, "
                    << "or name it in `unseen`";
                EXPECT_EQ(seen.count(command) != 0, settings.set(command, 1)) << key;
                ++parameters;
            }
        }
    }
    EXPECT_GT(parameters, 100);
}

TEST(Picture, MirrorsExactlyAndFreezes) {
    Shot shot;
    shot.world.light = 20;
    const Frame straight = shot.draw();
    for (const bool hanging : {false, true}) {
        for (int mirror = 0; mirror < 4; ++mirror) {
            shot.settings.set(2384, mirror);
            shot.settings.set(2385, hanging ? 1 : 0);
            const Frame turned = shot.draw();
            const bool x = ((mirror & 1) != 0) != hanging;
            const bool y = ((mirror & 2) != 0) != hanging;
            const auto fits = [&](const std::vector<uint8_t>& a, const std::vector<uint8_t>& b,
                                  int w, int h) {
                for (int i = 0; i < w * h; ++i) {
                    const int from = (y ? h - 1 - i / w : i / w) * w + (x ? w - 1 - i % w : i % w);
                    if (a[static_cast<size_t>(i)] != b[static_cast<size_t>(from)]) {
                        return false;
                    }
                }
                return true;
            };
            EXPECT_TRUE(fits(turned.luma, straight.luma, width, height)) << mirror << hanging;
            EXPECT_TRUE(fits(turned.red, straight.red, width / 2, height / 2)) << mirror << hanging;
        }
    }
    const Frame moving = shot.draw();
    shot.settings.freeze = 1;
    EXPECT_EQ(moving.luma, shot.draw(0, 700).luma);
    shot.settings.freeze = 0;
    EXPECT_NE(moving.luma, shot.draw(0, 700).luma);
}

TEST(Picture, FollowsFromSettingsWorldTimeAndSeedAlone) {
    Shot shot;
    shot.world = {40, 20, 50, 60};
    const Frame first = shot.draw(7, 1234);
    Shot other;
    other.settings.night = true;
    other.settings.set(1568, 30000);
    other.draw(3);
    PictureRenderer fresh(width);
    EXPECT_EQ(first.rgb(), fresh.draw(shot.settings, shot.world, 1234, 7).rgb());
    EXPECT_EQ(first.rgb(), shot.draw(7, 1234).rgb());
    EXPECT_NE(first.rgb(), shot.draw(8, 1234).rgb());
    shot.settings.set(2337, 0);
    EXPECT_EQ(0, colour(shot)) << "no saturation is grey";
    EXPECT_EQ(0, colour(other)) << "night is grey";
    // Nothing in time, size or settings makes it look outside its own memory.
    for (const int extreme : {0, 1}) {
        for (int row = 0; row < COMMAND_COUNT; ++row) {
            other.settings.set(commandRow(row).cmd,
                               extreme != 0 ? commandRow(row).max : commandRow(row).min);
        }
        other.settings.freeze = 0;
        other.world = extreme != 0 ? World{100, 100, 100, 100} : World{0, 0, 0, 0};
        for (const long long time : {-9000000000000000000LL, -1LL, 4711LL, 9000000000000000000LL}) {
            for (const bool night : {false, true}) {
                other.settings.night = night;
                for (const int wide : {-5, 140, 200}) {
                    EXPECT_EQ(
                        0,
                        PictureRenderer(wide).draw(other.settings, other.world, time).width % 16);
                }
            }
        }
    }
}

TEST(Picture, KeepsHighlightsWhiteMoversInTheFogAndGlowRound) {
    Shot shot;
    for (const auto& value : Assumptions{{16, 1}, {50, 0}, {768, 1}, {770, 0}, {771, 255}}) {
        shot.settings.set(value.first, value.second);
    }
    const Frame bright = shot.draw();
    const int x = 700 * width / 1280 / 2;
    const int y = 400 * height / 720 / 2;
    EXPECT_NEAR(128, bright.blue[static_cast<size_t>(y * width / 2 + x)], 1);
    EXPECT_NEAR(128, bright.red[static_cast<size_t>(y * width / 2 + x)], 1);

    const auto carInFog = [](int fog) {
        Shot clear;
        clear.world.fog = fog;
        return std::abs(mean(clear.draw(), car) - mean(clear.draw(0, 3000), car));
    };
    EXPECT_GT(carInFog(0), 8 * carInFog(100));

    std::vector<uint16_t> plane(size_t{101} * 101);
    const double amount[] = {30000};
    addGlow(&plane, 1, 101, 101, 50, 50, 40, amount);
    for (int r = 0; r < 50; ++r) {
        const int aslant = static_cast<int>(std::lround(r * 0.6)) * 101;
        const int aside = static_cast<int>(std::lround(r * 0.8));
        EXPECT_EQ(plane[static_cast<size_t>(50 * 101 + 50 + r)],
                  plane[static_cast<size_t>((50 - r) * 101 + 50)]);
        if (r % 5 == 0) {
            EXPECT_EQ(plane[static_cast<size_t>(50 * 101 + 50 + r)],
                      plane[static_cast<size_t>(50 * 101 + 50 + aslant + aside)]);
        }
    }
}

TEST(Picture, ComesFromTheSensorAsItIsOrAsAnotherSchemeWouldSetIt) {
    reset();
    setFog(30);
    setLamp(200);
    setShake(7);
    EXPECT_EQ(100, world().lamp);
    SimulatedPictureOptions options;
    options.milliseconds = [] { return 0LL; };
    options.time = [] { return std::string("2026-03-01 08:00:00"); };
    Assumptions assumptions;
    options.assumptions = [&] { return assumptions; };
    SimulatedPictureSource source(options);
    image_adjust::Picture picture;
    std::string problem;
    EXPECT_EQ(PictureSource::Result::Failed, source.next(0, picture, problem));
    EXPECT_NE("", problem);
    image_adjust::PictureFormat format;
    format.width = width + 3;
    format.framesPerSecond = 1;
    const auto shown = [&] {
        EXPECT_TRUE(source.start(format, problem));
        EXPECT_EQ(PictureSource::Result::Picture, source.next(1000, picture, problem)) << problem;
        EXPECT_EQ(width, picture.width);
        EXPECT_EQ(height / 2 * 2, picture.height);
        int across = 0;
        int down = 0;
        const double luma = lumaOf(picture.jpeg.data(), picture.jpeg.size(), across, down);
        EXPECT_EQ(picture.width, across);
        EXPECT_EQ(picture.height, down);
        return luma;
    };
    const auto began = std::chrono::steady_clock::now();
    const double plain = shown();
    const PictureSource::Result next = source.next(0, picture, problem);
    if (std::chrono::steady_clock::now() - began < std::chrono::seconds(1)) {
        EXPECT_EQ(PictureSource::Result::None, next) << "not yet due";
    }
    PictureRenderer renderer(width);
    const SensorState state = sensorState();
    EXPECT_NEAR(plain, mean(renderer.draw(PictureSettings(state), state.world, 0), whole), 3);

    const unsigned long calls = callCount();
    assumptions = {{34, 255}, {2337, 9999}, {1, 1}};
    EXPECT_GT(shown(), plain + 50);
    setLight(30);
    EXPECT_FALSE(sensorState().night);
    EXPECT_TRUE(sensorState({{145, 35}}).night) << "by its thresholds";
    assumptions = {{144, 2}};
    shown();
    EXPECT_EQ(calls, callCount());
    int brightness = 0;
    layer()->ioctl(34, IA_CMD_OPT_GET, &brightness);
    EXPECT_EQ(128, brightness);
    source.stop();
    reset();
    EXPECT_EQ(0, world().fog);
}

} // namespace
