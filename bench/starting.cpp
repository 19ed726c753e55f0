#include <sys/stat.h>
#include <sys/syscall.h>
#include <tinyxml.h>

#include <cstring>

#include "BenchCamera.h"
#include "Counters.h"
#include "SensorConfig.h"
#include "Table.h"

bool doTextWork(size_t pairs);

namespace {

constexpr size_t kStyle = 30000;

std::string bytes(long count) {
    return std::to_string(count) + "B";
}

void load(const BenchCamera& camera) {
    TiXmlDocument style;
    style.LoadFile(camera.path(g_strBenchStyle).c_str());
}

bool doSwitch(int schemes) {
    BenchCamera camera(kStyle, schemes);
    camera.start();
    for (const KeyVal& kv : BenchCamera::records(7))
        camera.controller->setKeyValToCache(1, kv.key, kv.value, false);
    measuredWork([&] { camera.controller->switch_to(1, false); });
    return true;
}

bool doStart(size_t style) {
    BenchCamera camera(style);
    const auto controller = camera.makeController();
    measuredWork([&] { controller->init(camera.module); });
    controller->uinit();
    return true;
}

} // namespace

bool doWork(const std::string& name) {
    if (name == "load") {
        BenchCamera camera(kStyle);
        TiXmlDocument style;
        measuredWork([&] { style.LoadFile(camera.path(g_strBenchStyle).c_str()); });
        return true;
    }
    return name == "start"        ? doStart(kStyle)
           : name == "start-8"    ? doStart(8 * kStyle)
           : name == "switch-4"   ? doSwitch(4)
           : name == "switch-255" ? doSwitch(255)
           : name == "pairs"      ? doTextWork(87)
           : name == "pairs-100"  ? doTextWork(8700)
                                  : false;
}

long keptMemory() {
    BenchCamera camera(kStyle);
    const HeapCount heap;
    const auto controller = camera.makeController();
    controller->init(camera.module);
    const long kept = HeapCount::live() - static_cast<long>(strlen(g_stSysConf.szUIStyle) + 1);
    controller->uinit();
    return kept;
}

void measureStarting() {
    const double start = instructions("start");
    ratioRow("5", "start, style of 30 KB, by one load: instructions", start, instructions("load"),
             2.40, "");
    BenchCamera camera(kStyle);
    long peaks[2] = {};
    {
        const HeapCount heap;
        load(camera);
        peaks[0] = HeapCount::peak();
    }
    long left = 0;
    {
        const HeapCount heap;
        auto controller = camera.makeController();
        controller->init(camera.module);
        peaks[1] = HeapCount::peak();
        controller->uinit();
        controller.reset();
        left = HeapCount::live();
    }
    ratioRow("5", "  most heap at once", static_cast<double>(peaks[1]),
             static_cast<double>(peaks[0]), 2.10, "B");
    row("5", "  heap left after the end", bytes(left), "", "0", left == 0);

    ratioRow("6", "style x 8: instructions of a start", instructions("start-8"), start, 8.50, "");
    ratioRow("6", "pairs x 100: instructions of a round trip", instructions("pairs-100"),
             instructions("pairs"), 115, "");
    ratioRow("6", "255 schemes by 4: instructions of a switch", instructions("switch-255"),
             instructions("switch-4"), 1.001, "");
    const long kept = keptMemory();
    row("8", "heap kept after a start, without the style text", bytes(kept), "", "<= 64KiB",
        kept <= 64 * 1024);
}

void measureFlushing() {
    BenchCamera camera;
    camera.start();
    camera.controller->flush();
    const std::string file = camera.path(sensor_paths::SchemeFile(0).text);
    for (const bool changed : {false, true}) {
        struct stat before {};
        struct stat after {};
        stat(file.c_str(), &before);
        auto calls = systemCalls([&] {
            if (changed)
                camera.controller->setKeyValToCache(0, KEY_BRIGHTNESS, 77, false);
            camera.controller->flush();
        });
        stat(file.c_str(), &after);
        const unsigned long renames =
#ifdef SYS_rename
            calls[SYS_rename] +
#endif
            calls[SYS_renameat2];
        const std::string counts = std::to_string(calls[SYS_write]) + "/" +
                                   std::to_string(calls[SYS_fdatasync]) + "/" +
                                   std::to_string(renames) + "/" + std::to_string(calls[SYS_fsync]);
        const bool replaced = before.st_ino != after.st_ino ||
                              before.st_mtim.tv_sec != after.st_mtim.tv_sec ||
                              before.st_mtim.tv_nsec != after.st_mtim.tv_nsec;
        const std::string wanted = changed ? "1/1/1/1" : "1/0/0/0";
        row("7",
            changed ? "flush, changed: write/fdatasync/rename/fsync" : "flush, unchanged: same",
            counts + (replaced ? " new" : " kept"), "", wanted,
            counts == wanted && replaced == changed);
    }
}
