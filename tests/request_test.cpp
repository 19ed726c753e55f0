#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Camera.h"
#include "ImageAdjust.h"
#include "LinuxFramework.h"
#include "SensorConfig.h"

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point begin) {
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

/// How often, where the environment asks for more than a usual run does.
int effort(const char* name, int usual) {
    const char* text = getenv(name);
    return text ? atoi(text) : usual;
}

constexpr u32 kMarker = 113; // only switches set it: to 10 for scheme 0, to 20 for scheme 1
constexpr u32 kTriples[2][3] = {{34, 2337, 2353}, {770, 771, 2321}};

class Requests : public Camera {
protected:
    /// Two timed schemes, in force from 8 and from 12 o'clock, that differ in every value.
    void startTwoSchemes() {
        std::vector<KeyVal> controls = {{kMarker, 1}};
        for (const auto& triple : kTriples) {
            for (const u32 key : triple)
                controls.push_back({key, 1});
        }
        writeStyle(controls);
        linux_framework::setClock(9, 0, 0, 1000);
        start("(max_scheme=2)");
        for (u32 s = 0; s < 2; ++s) {
            const u32 window[] = {1, 8 + 4 * s, 0, 12 + 4 * s, 0};
            for (u32 i = 0; i < 5; ++i)
                controller->setKeyValToCache(s, KEY_SCHEME_ENABLE + i, window[i], false);
            for (const KeyVal& control : controls)
                controller->setKeyValToCache(s, control.key, 10 + 10 * s, false);
        }
        controller->setParamMode(0);
        controller->switch_to(0, true);
    }
    /// Waits in real time. @return false when it did not come true within the time
    static bool comesTrue(const std::function<bool()>& condition, double seconds) {
        const auto begin = Clock::now();
        while (!condition()) {
            if (secondsSince(begin) > seconds)
                return false;
            usleep(1000);
        }
        return true;
    }
};

/// Follows the sets of two requesting threads and of the switches among them.
class Watch {
public:
    static thread_local int t_requester; ///< 0 or 1; -1 on any other thread
    static thread_local int t_sets;

    void see(const simulated_ia::Call& call) {
        if (call.opt != IA_CMD_OPT_SET)
            return;
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_open != t_requester && m_open != -1)
            ++split;
        m_open = t_requester;
        if (t_requester == -1) {
            if (call.cmd == kMarker)
                marker = call.in[0];
        } else if (++t_sets == 3) {
            m_open = -1;
        }
    }
    std::atomic<int> split{0};
    std::atomic<int> marker{10};

private:
    std::mutex m_mutex;
    int m_open = -1; ///< who has begun a request and not ended it
};
thread_local int Watch::t_requester = -1;
thread_local int Watch::t_sets = 0;

/// Two threads send requests back to back while the schemes are switched to and fro. Each request
/// reaches the layer whole, with nothing between its values, and one scheme's memory; no switch
/// waits long.
TEST_F(Requests, BelongToOneSchemeAndLetSwitchesPass) {
    enum Switcher { Worker, Host };
    enum Form { Text, Record };
    const struct {
        unsigned int delay; ///< of a call of the layer, in microseconds
        Switcher switcher;
        Form form; ///< records keep to no order; they only must not hold the switch up
        int switches;
        int between; ///< requests from one switch to the next
    } table[] = {
        {0, Worker, Text, 20, 500},   {200, Worker, Text, 20, 10}, {4000, Worker, Text, 6, 2},
        {20000, Worker, Text, 2, 1},  {0, Host, Text, 20, 100},    {4000, Host, Text, 4, 2},
        {4000, Worker, Record, 1, 2},
    };
    startTwoSchemes();
    const int factor = effort("IMGCTL_REQUEST_FACTOR", 1); // of switches, and of what is between
    for (const auto& row : table) {
        const std::string name = std::to_string(&row - table);
        Watch watch;
        simulated_ia::observe([&](const simulated_ia::Call& call) { watch.see(call); });
        controller->switch_to(0, true);
        simulated_ia::setDelay(row.delay);
        std::atomic<bool> stop{false};
        std::atomic<int> requests{0};
        std::atomic<int> incomplete{0};
        const auto request = [&](int self) {
            Watch::t_requester = self;
            const auto& keys = kTriples[self];
            u32 value = 0;
            while (!stop) {
                // One that neither scheme has, so that none is to be skipped.
                do {
                    value = (value + 1) % 200;
                } while (value == stored(0, keys[0]) || value == stored(1, keys[0]));
                Watch::t_sets = 0;
                std::string text;
                std::vector<KeyVal> records;
                for (const u32 key : keys) {
                    text += "(" + std::to_string(key) + "," + std::to_string(value) + ")";
                    records.push_back({key, value});
                }
                const int result = row.form == Text
                                       ? controller->setParameters(text, true)
                                       : controller->setParameters(records.data(), 3, true);
                incomplete += result != 0 || Watch::t_sets != 3;
                ++requests;
            }
        };
        std::thread requesters[] = {std::thread(request, 0), std::thread(request, 1)};
        if (row.switcher == Worker)
            controller->setParamMode(1);
        double latest = 0;
        const auto begin = Clock::now();
        for (int i = 1; i <= row.switches * factor; ++i) {
            for (const int enough = requests + row.between * factor; requests < enough;)
                usleep(1000);
            const int scheme = i % 2;
            const auto due = Clock::now();
            if (row.switcher == Worker)
                linux_framework::setClock(9 + 4 * scheme, 0, 0, 1000);
            else
                controller->switch_to(scheme, false);
            EXPECT_TRUE(comesTrue([&] { return watch.marker == 10 + 10 * scheme; }, 4)) << name;
            latest = std::max(latest, secondsSince(due));
        }
        EXPECT_GT(2.0, latest) << name;
        controller->setParamMode(0);
        stop = true;
        for (std::thread& thread : requesters)
            thread.join();
        simulated_ia::setDelay(0);
        if (row.form == Record)
            continue;
        printf(
            "layer %5u us: %d requests in %.1f s, %d switches, %d split, %d incomplete; latest "
            "switch %.3f s\n",
            row.delay, requests.load(), secondsSince(begin), row.switches * factor,
            watch.split.load(), incomplete.load(), latest);
        EXPECT_EQ(0, watch.split) << name;
        EXPECT_EQ(0, incomplete) << name;
        int current = -1;
        controller->getParamScheme(current);
        for (const auto& keys : kTriples) {
            for (const u32 key : keys) {
                EXPECT_EQ(stored(current, key), static_cast<u32>(layerValue(key))) << name;
                for (const int scheme : {0, 1})
                    EXPECT_EQ(stored(scheme, keys[0]), stored(scheme, key)) << name;
            }
        }
    }
}

/// Whatever the device's clock does, a member with the lock waits for the end of a switch; but for
/// no longer than the layer answers.
TEST_F(Requests, WaitForASwitchInRealTimeUnlessTheLayerHangs) {
    startTwoSchemes();
    const struct {
        const char* name;
        std::function<void()> call;
    } members[] = {
        {"text", [this] { controller->setParameters("(34,77)", true); }},
        {"setParameter", [this] { controller->setParameter(34, 78, true); }},
        {"restore", [this] { controller->restore(34); }},
        {"resetToLast", [this] { controller->resetToLastParameters(); }},
        {"getAll",
         [this] {
             std::string s;
             controller->getAllParameters(s);
         }},
    };
    for (const auto& member : members) {
        const bool hangs = &member == members;
        std::atomic<bool> inside{false};
        std::atomic<bool> release{false};
        std::atomic<int> switched{0};
        simulated_ia::observe([&, host = std::this_thread::get_id()](const simulated_ia::Call& c) {
            switched += std::this_thread::get_id() != host;
            if (c.cmd != kMarker || inside.exchange(true))
                return;
            for (int i = 0; i < (hangs ? 4000 : 50) && !release; ++i)
                usleep(1000);
        });
        std::thread switcher([&] { controller->switch_to(1, true); });
        ASSERT_TRUE(comesTrue([&] { return inside.load(); }, 10));
        linux_framework::setClock(9, 0, 0, 0.001);
        const auto begin = Clock::now();
        member.call();
        const double waited = secondsSince(begin);
        EXPECT_EQ(hangs ? 1 : 7, switched) << member.name; // of its sets
        if (hangs) {
            EXPECT_LT(0.95, waited);
        }
        EXPECT_GT(3.0, waited) << member.name;
        release = true;
        switcher.join();
        linux_framework::setClock(9, 0, 0, 1000);
    }
}

/// A pass of the worker that began during a reset, and then asked a slow layer for day or night,
/// ends without a switch: scheme 0 stays in force until the next pass has paused its second.
TEST_F(Requests, AResetIsNotFollowedByASwitchAtOnce) {
    const struct : RecordingVideo {
        void getAVStreamParams(std::vector<AVStreamParam>&) const override { usleep(5000); }
    } slowVideo;
    startTwoSchemes();
    controller->setVideoStreamModule(&slowVideo); // what a reset asks last
    setDeviceType(DEVICE_TYPE_LPR);
    simulated_ia::setLight(0); // night, and so scheme 1
    linux_framework::setClock(23, 0, 0, 1);
    simulated_ia::setDelay(2000);
    for (int i = 0; i < 5; ++i) {
        controller->resetParameters();
        usleep(10000);
        int current = -1;
        controller->getParamScheme(current);
        EXPECT_EQ(0, current) << i;
    }
    controller->setVideoStreamModule(nullptr);
}

/// Hosts read the map as the plain variables that its two globals are, also
/// while a reset builds it anew.
TEST_F(Requests, TheMapMayBeReadDuringAReset) {
    startTwoSchemes();
    std::atomic<bool> stop{false};
    std::thread reader([&] {
        while (!stop.load(std::memory_order_relaxed))
            EXPECT_EQ(34u, g_nKeyCmdNum == 87 ? g_pKeyCmdMap[0].key : 0u);
    });
    for (int i = 0; i < 3; ++i)
        controller->resetParameters();
    stop = true;
    reader.join();
}

} // namespace
