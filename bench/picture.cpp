// Prints what a picture of the simulated sensor costs: imgctl_picture_bench.

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "JpegEncoder.h"
#include "PictureRenderer.h"
#include "Table.h"

using namespace simulated_ia;

namespace {

constexpr int kWidth = 640;
constexpr double kGoal = 8; // milliseconds of one core
constexpr int kRounds = 60;

double processorTime() {
    timespec now = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

/// The median of one piece of work, in milliseconds of a core.
double median(const std::function<void(int)>& work) {
    std::vector<double> times;
    for (int i = 0; i < kRounds; ++i) {
        const double begin = processorTime();
        work(i);
        times.push_back(processorTime() - begin);
    }
    std::nth_element(times.begin(), times.begin() + kRounds / 2, times.end());
    return times[kRounds / 2];
}

std::string text(double milliseconds) {
    char line[20];
    snprintf(line, sizeof line, "%.1fms", milliseconds);
    return line;
}

struct Case {
    const char* what;
    World world;
    bool night;
    Assumptions with;
    bool zooming;
};

} // namespace

int main() {
    const Case cases[] = {
        {"picture of 640x360: day", {100, 0, 30, 0}, false, {}, false},
        {"  night under the lamp", {5, 0, 60, 0}, false, {}, false},
        {"  night, infrared", {2, 0, 30, 0}, true, {}, false},
        {"  fog, every enhancement",
         {60, 60, 30, 0},
         false,
         {{2368, 1}, {2400, 1}, {112, 1}, {128, 1}, {2321, 255}, {2307, 100}},
         false},
        {"  in the wind, out of focus", {30, 0, 30, 100}, false, {{1552, 400}}, false},
        {"  while the lens zooms", {30, 0, 30, 0}, false, {}, true},
    };
    heading();
    PictureRenderer renderer(kWidth);
    for (const Case& one : cases) {
        PictureSettings settings;
        settings.night = one.night;
        for (const auto& value : one.with)
            settings.set(value.first, value.second);
        const double time = median([&](int i) {
            if (one.zooming)
                settings.set(1568, 16384 + i * 200);
            renderer.draw(settings, one.world, 100LL * i);
        });
        row("9", one.what, text(time), "", "<= " + text(kGoal), time <= kGoal);
    }
    const Frame& frame = renderer.draw(PictureSettings(), World(), 0);
    std::vector<unsigned char> jpeg;
    std::string problem;
    const double time = median([&](int) { encodeJpeg(frame, 80, jpeg, problem); });
    row("9", "  as JPEG of quality 80", text(time), std::to_string(jpeg.size()) + "B", "counted",
        true);
    return allHold() ? 0 : 1;
}
