// What 87 parameters cost beside things that users of Linux cameras know.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>

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

void command(benchmark::State& state) {
    if (system("command -v v4l2-ctl >/dev/null 2>&1") != 0) {
        state.SkipWithError("skipped: v4l2-ctl is not installed");
        return;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(system("v4l2-ctl --version >/dev/null 2>&1"));
}
BENCHMARK(command)->Name("v4l2-ctl started once")->UseRealTime();

} // namespace

BENCHMARK_MAIN();
