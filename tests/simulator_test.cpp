#include "SimulatedImageAdjust.h"

#include <gtest/gtest.h>
#include <tinyxml.h>

#include <algorithm>
#include <climits>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <sstream>
#include <thread>

#include "CallTrace.h"
#include "CommandTable.h"
#include "ImageAdjust.h"
#include "SensorKeys.h"

namespace {

long long fakeTime = 0;
int fakeMinutes = 0;

struct Simulator : testing::Test {
    Simulator() {
        restart([] { return fakeTime; }, [] { return fakeMinutes; });
    }
    ~Simulator() override { restart(nullptr, nullptr); }
    static void restart(long long (*time)(), int (*minutes)()) {
        simulated_ia::reset();
        image_adjust::setLayer(simulated_ia::layer());
        simulated_ia::setTimeSource(time);
        simulated_ia::setTimeOfDaySource(minutes);
    }
};

typedef std::vector<int> Ints;

// One call on unaligned memory of so many words, given first; what lies behind it must stay.
// Returns the words after the call, then its result.
Ints call(unsigned cmd, unsigned opt, Ints words, unsigned count) {
    words.resize(count);
    std::string memory(1 + count * sizeof(int) + 64, 'g');
    std::memcpy(&memory[1], words.data(), count * sizeof(int));
    words.push_back(ia_ioctrl(cmd, opt, &memory[1]));
    std::memcpy(words.data(), &memory[1], count * sizeof(int));
    EXPECT_EQ(std::string(64, 'g'), memory.substr(memory.size() - 64)) << cmd << ' ' << opt;
    return words;
}

// Plays calls as the trace shows them, and compares the trace; between them the world moves.
void play(const std::string& script) {
    char* trace = nullptr;
    size_t size = 0;
    FILE* file = open_memstream(&trace, &size);
    image_adjust::traceTo(file);
    std::istringstream lines(script);
    for (std::string line; std::getline(lines >> std::ws, line, ';');) {
        unsigned number = 0, opt = 0;
        Ints words(4);
        if (std::sscanf(line.c_str(), "light %u", &number) == 1) {
            simulated_ia::setLight(number);
        } else if (std::sscanf(line.c_str(), "ms %u", &number) == 1) {
            fakeTime += number * 1000LL;
        } else if (std::sscanf(line.c_str(), "clock %d", &fakeMinutes) == 0) {
            std::sscanf(line.c_str(), "ia %u %u %d,%d", &number, &opt, &words[0], &words[1]);
            const size_t before = size;
            call(number, opt, words, 69);
            EXPECT_EQ(line + '\n', trace + before);
        }
    }
    image_adjust::traceTo(nullptr);
    std::fclose(file);
    std::free(trace);
}

TEST_F(Simulator, EveryCommandKeepsToItsRange) {
    for (int i = 0; i < simulated_ia::COMMAND_COUNT; ++i, simulated_ia::reset()) {
        const simulated_ia::CommandRow& row = simulated_ia::commandRow(i);
        SCOPED_TRACE(row.name);
        const auto count = static_cast<unsigned>(simulated_ia::fieldsOf(i).count);
        const auto field = static_cast<unsigned>(i - simulated_ia::fieldsOf(i).first);
        Ints now = call(row.cmd, IA_CMD_OPT_GET, {}, count);
        EXPECT_EQ(row.defaultValue, now[field]);
        for (int value : {row.min, row.max, row.max + 1, row.min - 1}) {
            Ints next = now;
            next[field] = value;
            const int nearest = std::clamp(value, row.min, row.max);
            EXPECT_EQ((Ints{nearest, 0}), call(row.cmd, IA_CMD_OPT_CORRECT_PARAM, {value}, 1));
            next[count] = nearest == value ? 0 : IA_ERR_RANGE;
            EXPECT_EQ(next, call(row.cmd, IA_CMD_OPT_SET, next, count));
            fakeTime += 60000000; // the lens arrives
            now = nearest == value ? next : now;
            EXPECT_EQ(now, call(row.cmd, IA_CMD_OPT_GET, {}, count));
        }
        Ints wanted = {row.max, row.defaultValue, row.min, row.max};
        wanted.resize(70);
        EXPECT_EQ(wanted, call(row.cmd, IA_CMD_OPT_GET_PARAM_RNAGE, {}, 69));
        EXPECT_EQ(IA_ERR_ARGUMENT, ia_ioctrl(row.cmd, IA_CMD_OPT_GET, nullptr));
    }
}

TEST_F(Simulator, FailsRestrictsAndLiesAsTold) {
    simulated_ia::observe([](const simulated_ia::Call&) { simulated_ia::callCount(); });
    EXPECT_TRUE(simulated_ia::limit(49, 1, {1}) && simulated_ia::limit(96, 4, {4, 2}));
    EXPECT_TRUE(simulated_ia::unlimit(49) && !simulated_ia::limit(49, 1, Ints(65)));
    simulated_ia::fail(34, IA_ERR_FAILED, 1);
    simulated_ia::failNthCall(3, IA_ERR_BUSY);
    play(
        "ia 34 0 60 60 -1; ia 34 1 - 128 0; ia 146 0 10,30 10,30 -2; ia 146 0 10,30 10,30 0;"
        "ia 145 1 - 10,30 0; ia 34 3 300 255 0; ia 5 0 7 7 -5; ia 34 5 - - -6; ia 153 2 - - -6;"
        "ia 96 0 3 3 -4; ia 96 3 3 2 0; ia 96 3 9 4 0; ia 96 2 - 0,4,0,4,2,4,2 0;"
        "ia 149 1 - 18,0,6,0 0; ia 83 0 1 1 0; ia 82 1 - 55 0; ia 84 0 1 1 0; ia 82 1 - 50 0;"
        "ia 4112 1 - 1,96,0,0,0,0,0,0,0,0,0,0,0,0,0,0,0 0");
    simulated_ia::setLie({true, 1000, INT_MAX, true});
    EXPECT_EQ(1000, call(IA_CMD_DYNAMIC_PARAMS_CMDS_GET, IA_CMD_OPT_GET, {}, 17)[0]);
    EXPECT_EQ(INT_MAX, call(96, IA_CMD_OPT_GET_PARAM_RNAGE, {}, 69)[4]);
    char text[IA_VERSION_SIZE + 1] = {};
    EXPECT_EQ(0, ia_ioctrl(IA_CMD_CAMERA_VERSION, IA_CMD_OPT_GET, text));
    EXPECT_EQ(std::string(IA_VERSION_SIZE, 'S'), text);
}

TEST_F(Simulator, DayTurnsToNightByLightModeAndClock) {
    play(
        "light 20; ia 153 1 - 0 0; light 19; ia 153 1 - 1 0; light 40; ia 153 1 - 1 0;"
        "light 41; ia 153 1 - 0 0; ia 144 0 2 2 0; ia 153 1 - 1 0;"
        "ia 144 0 1 1 0; light 0; ia 153 1 - 0 0; ia 144 0 3 3 0; clock 1079; ia 153 1 - 0 0;"
        "clock 1080; ia 153 1 - 1 0; clock 359; ia 153 1 - 1 0; clock 360; ia 153 1 - 0 0");
    EXPECT_FALSE(simulated_ia::lampOn());
    play("clock 1080");
    EXPECT_TRUE(simulated_ia::lampOn());
}

TEST_F(Simulator, LensTakesItsTimeAndFocusFollowsTheZoom) {
    play(
        "ia 1648 1 - 4000000 0; ia 1568 0 24384 24384 0; ms 1000; ia 1568 1 - 20384 0;"
        "ia 1568 4 - 1 0; ia 1569 0 1 1 0; ms 64; ia 1568 1 - 20640 0; ia 1568 4 - 0 0;"
        "ia 1552 4 - 1 0; ms 100; ia 1552 1 - 240 0; ia 1632 0 1 1 0; ms 999; ia 1552 1 - 240 0;"
        "ia 1539 0 1 1 -2; ia 1632 0 0 0 0; ms 999; ia 1552 1 - 363 0; ia 1648 1 - 4000000 0;"
        "ia 1616 0 1 1 0; ia 1616 4 - 1 0; ms 9999; ia 1568 1 - 16384 0; ia 1536 0 1 1 0;"
        "ia 1554 0 1 1 0; ms 99; ia 1648 1 - 3200000 0; ia 1539 0 1 1 0; ms 99; ia 1552 1 - 200 0");
}

TEST_F(Simulator, TellsWhatHappensToItAndWhatHoldsACommand) {
    std::mutex lock;
    std::condition_variable wake;
    std::string told;
    const auto layer = simulated_ia::layer();
    layer->onEvent([&](const image_adjust::LayerEvent& event) {
        const std::lock_guard<std::mutex> guard(lock);
        told += "vgb"[static_cast<int>(event.kind)] + std::to_string(event.value) + ' ';
        wake.notify_one();
    });
    int value = 60;
    EXPECT_EQ(0, ia_ioctrl(34, IA_CMD_OPT_SET, &value));
    EXPECT_TRUE(simulated_ia::changeFromOutside(34, 61));
    EXPECT_FALSE(simulated_ia::changeFromOutside(34, 256));
    EXPECT_EQ((Ints{61, 0}), call(34, IA_CMD_OPT_GET, {}, 1));
    simulated_ia::unplug();
    simulated_ia::unplug();
    fakeTime += 2500000;
    double since = 0;
    EXPECT_EQ(image_adjust::DeviceState::Gone, layer->state(&since));
    EXPECT_EQ(2.5, since);
    EXPECT_EQ((Ints{7, IA_ERR_FAILED}), call(34, IA_CMD_OPT_GET, {7}, 1));
    EXPECT_EQ("the sensor is unplugged", layer->about(34).lastFailure);
    EXPECT_FALSE(simulated_ia::changeFromOutside(34, 61));
    simulated_ia::plugIn();
    EXPECT_EQ((Ints{128, 0}), call(34, IA_CMD_OPT_GET, {}, 1));
    {
        std::unique_lock<std::mutex> guard(lock);
        wake.wait(guard, [&] { return told.size() >= 10; });
        EXPECT_EQ("v61 g0 b0 ", told);
    }
    layer->onEvent(nullptr);
    const struct {
        int masters[2];
        unsigned cmd;
        const char* blocker;
    } rows[] = {
        {{160, 0}, 163, "the infrared lamp is off"},
        {{160, 1}, 163, "the infrared lamp is automatic"},
        {{161, 2}, 163, ""},
        {{161, 2}, 162, "the infrared lamp is set by hand"},
        {{16, 2}, 49, "the exposure mode takes the fixed shutter"},
        {{16, 3}, 49, ""},
        {{144, 3}, 145, "day and night do not follow the light"},
        {{144, 3}, 152, ""},
    };
    for (const auto& row : rows) {
        call(static_cast<unsigned>(row.masters[0]), IA_CMD_OPT_SET, {row.masters[1]}, 1);
        const image_adjust::CommandState about = layer->about(row.cmd);
        EXPECT_EQ(row.blocker, about.blocker);
        EXPECT_EQ(about.blocker.empty(), !about.inactive);
        EXPECT_EQ(row.blocker[0] != 0, about.blockerCommand != 0);
    }
    EXPECT_FALSE(layer->about(9).supported);
    EXPECT_FALSE(layer->about(83).readable);
}

TEST_F(Simulator, ThreadsNeverTearARecord) {
    const auto write = [](int from) {
        for (int i = from; i < from + 500; ++i) {
            call(145, IA_CMD_OPT_SET, {i % 100, i % 100}, 2);
            const Ints record = call(146, IA_CMD_OPT_GET, {}, 2);
            EXPECT_EQ(record[0], record[1]);
        }
    };
    std::thread other(write, 50);
    write(0);
    other.join();
}

std::string load(const std::string& file) {
    TiXmlDocument document(IMGCTL_SOURCE_DIR "/device/hd1/moduleConfig/sensorConfig/" + file);
    EXPECT_TRUE(document.LoadFile()) << file << document.ErrorDesc();
    std::string text;
    return text << document;
}

TEST(DeviceTree, StylesFitTheCameraAndEveryLanguage) {
    std::string texts[3];
    for (char id : {'0', '1', '2'}) {
        const std::string folder = std::string("language/") + id;
        texts[id - '0'] = load(folder + "/language.xml") + load(folder + "/common.xml");
    }
    for (const char* file : {"/Style.xml", "/Style_dome.xml", "Diversity/StyleDiversity.xml",
                             "Diversity/StyleDiversity_dome.xml"}) {
        const std::string style = load(std::string("style") + file);
        std::string last;
        int values = 0, id = 0;
        simulated_ia::Range range = {};
        for (size_t at = style.find("=\""); at != std::string::npos;
             at = style.find("=\"", at + 2)) {
            const size_t start = style.rfind(' ', at) + 1;
            const std::string name = style.substr(start, at - start);
            const size_t stop = style.find('"', at + 2);
            const std::string value = style.substr(at + 2, stop - at - 2);
            const std::string entry = style.substr(start, stop + 1 - start) + '>';
            SCOPED_TRACE(file + entry);
            if (name == "id") {
                id = std::stoi(value);
                const unsigned cmd = commandOfKey(static_cast<unsigned>(id));
                range = {0, 59, 0, ""};
                EXPECT_TRUE(id == 0 || id / 5 == 1600 || simulated_ia::describe(cmd, range))
                    << "include/SensorKeys.h has no such key, or the simulator not its command";
            } else if (name == "value" || name == "min" || name == "max" || name == "index") {
                EXPECT_EQ(std::clamp(std::stoi(value), range.min, range.max), std::stoi(value));
            }
            if (name == "value" && ++values <= 5) {
                EXPECT_TRUE(id == 7999 + values || file[0] != '/');
            }
            const bool shown =
                name == "id" || name == "key" || (last == "index" && value[1] != '/');
            for (const std::string& text : texts) {
                EXPECT_TRUE(!shown || text.find(entry) != std::string::npos);
            }
            last = name;
        }
        EXPECT_TRUE(values > 5 && values <= 100) << file << values;
    }
}

} // namespace
