// What 87 parameters cost beside things that users of Linux cameras know.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>
#ifdef BENCH_LIBCAMERA
#include <libcamera/controls.h>

#include <deque>
#endif

#include "BenchCamera.h"

namespace {

/// Set and read back; every value differs from the one before.
void controller(benchmark::State& state) {
    BenchCamera camera;
    camera.start();
    std::vector<KeyVal> records = BenchCamera::records(0);
    u32 value = 0;
    for (auto _ : state) {
        ++value;
        for (KeyVal& kv : records)
            kv.value = value;
        camera.controller->setParameters(records.data(), 87, true);
        int read = 0;
        for (const KeyVal& kv : records)
            camera.controller->getParameter(static_cast<int>(kv.key), read);
        benchmark::DoNotOptimize(read);
    }
}
BENCHMARK(controller)->Name("this library");

void ioctls(benchmark::State& state) {
    const int fd = open("/dev/null", O_RDWR | O_CLOEXEC);
    for (auto _ : state) {
        for (int i = 0; i < 87; ++i)
            benchmark::DoNotOptimize(ioctl(fd, 0x5600, &i));
    }
    close(fd);
}
BENCHMARK(ioctls)->Name("87 ioctls on /dev/null");

#ifdef BENCH_LIBCAMERA
/// 29 controls of one type, entered in the map, which points to them: they must stay in place.
template <typename T>
std::deque<libcamera::Control<T>> makeControls(libcamera::ControlIdMap& map) {
    std::deque<libcamera::Control<T>> controls;
    for (int i = 0; i < 29; ++i) {
        const auto id = static_cast<unsigned int>(map.size() + 1);
        map[id] = &controls.emplace_back(id, "control");
    }
    return controls;
}

/// As above, every value differs from the one before. The controls are ours: its own are too few.
void controlList(benchmark::State& state) {
    libcamera::ControlIdMap map;
    const auto ints = makeControls<int32_t>(map);
    const auto floats = makeControls<float>(map);
    const auto bools = makeControls<bool>(map);
    libcamera::ControlList list(map);
    int32_t value = 0;
    for (auto _ : state) {
        ++value;
        for (size_t i = 0; i < 29; ++i) {
            list.set(ints[i], value);
            list.set(floats[i], static_cast<float>(value));
            list.set(bools[i], value % 2 != 0);
        }
        for (size_t i = 0; i < 29; ++i) {
            benchmark::DoNotOptimize(list.get(ints[i]));
            benchmark::DoNotOptimize(list.get(floats[i]));
            benchmark::DoNotOptimize(list.get(bools[i]));
        }
    }
    // A list drops what it does not know without an error.
    if (list.size() != 87 || list.get(ints[28]) != value)
        state.SkipWithError("the list did not take the 87 values");
}
#else
void controlList(benchmark::State& state) {
    state.SkipWithError("skipped: pkg-config found no libcamera when this was configured");
}
#endif
BENCHMARK(controlList)->Name("libcamera ControlList");

/// Without a shell, whose own start would be counted too.
void command(benchmark::State& state) {
    char name[] = "v4l2-ctl";
    char option[] = "--version";
    char* const arguments[] = {name, option, nullptr};
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    for (auto _ : state) {
        pid_t pid = 0;
        int status = 0;
        if (posix_spawnp(&pid, name, &quiet, nullptr, arguments, environ) != 0) {
            state.SkipWithError("skipped: v4l2-ctl is not on PATH");
            break;
        }
        if (waitpid(pid, &status, 0) != pid || status != 0) {
            state.SkipWithError("v4l2-ctl failed");
            break;
        }
    }
    posix_spawn_file_actions_destroy(&quiet);
}
BENCHMARK(command)->Name("v4l2-ctl started once")->UseRealTime();

} // namespace

BENCHMARK_MAIN();
