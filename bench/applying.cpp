#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "BenchCamera.h"
#include "Counters.h"
#include "ImageAdjust.h"
#include "SySystem.h"
#include "Table.h"

namespace {

constexpr int kRounds = 3000;
constexpr size_t kRecords = 87;

/// What the handlers of some keys do beyond their one call of the layer.
struct Extra {
    u32 key;
    int reports;
    int scans; ///< values of the current scheme that it looks up
};
constexpr Extra kExtras[] = {
    {KEY_MIRROR, 1, 1}, {KEY_BEAWAY, 0, 1}, {KEY_DTN_THR, 1, 1}, {KEY_NTD_THR, 1, 1},
    {KEY_DTN_H, 1, 3},  {KEY_DTN_M, 1, 3},  {KEY_NTD_H, 1, 3},   {KEY_NTD_M, 1, 3},
};

Extra extraOf(u32 key) {
    for (const Extra& extra : kExtras) {
        if (extra.key == key)
            return extra;
    }
    return Extra{key, 0, 0};
}

/// 87 records that the layer gets: the keys that are applied, and the first five of them once more
/// with another value (the five scheme keys are only stored).
std::vector<KeyVal> batch(u32 value) {
    std::vector<KeyVal> list = BenchCamera::records(value);
    list.erase(list.begin(), list.begin() + 5);
    for (size_t i = 0; list.size() < kRecords; ++i)
        list.push_back(KeyVal{list[i].key, value + 2});
    return list;
}

int reportsOf(const std::vector<KeyVal>& list) {
    int reports = 0;
    for (const KeyVal& kv : list)
        reports += 3 + extraOf(kv.key).reports;
    return reports;
}

/// The least that applying takes: what every report does first, the scans of the map and of the
/// scheme's array, and a call of the layer through a member pointer.
class Floor {
public:
    explicit Floor(std::function<void()> report) : m_report(std::move(report)) {
        m_pHandler = &Floor::handle;
    }

    void apply(const std::vector<KeyVal>& list) {
        for (const KeyVal& kv : list) {
            const Extra extra = extraOf(kv.key);
            for (int i = 0; i < 3 + extra.reports; ++i)
                m_report();
            for (int i = 0; i < 2 + extra.scans; ++i)
                scan(kv.key);
            keycmd row;
            for (int i = 0; i < g_nKeyCmdNum; ++i) {
                if (g_pKeyCmdMap[i].key == kv.key) {
                    row = g_pKeyCmdMap[i];
                    break;
                }
            }
            u32 value = kv.value;
            (this->*m_pHandler)(row.ia_cmd, IA_CMD_OPT_SET, &value);
            asm volatile("" : : "r"(&row) : "memory");
        }
    }

    void skip(const std::vector<KeyVal>& list) {
        for (const KeyVal& kv : list) {
            scan(kv.key);
            m_report();
        }
    }

private:
    int handle(u32 cmd, u32 opt, void* data) { return ia_ioctrl(cmd, opt, data); }

    void scan(u32 key) {
        size_t i = 0;
        while (i < m_array.size() && m_array[i].key != key)
            ++i;
        asm volatile("" : : "r"(i) : "memory");
    }

    std::function<void()> m_report;
    int (Floor::*volatile m_pHandler)(u32, u32, void*);
    std::vector<KeyVal> m_array = BenchCamera::records(0);
};

/// The sign file as every report reads it, in the C library's terms.
void readSign(const char* hostPath) {
    char line[64];
    if (access(hostPath, F_OK) != 0)
        return;
    FILE* file = fopen(hostPath, "r");
    for (int i = 0; i < 2; ++i) {
        if (fgets(line, sizeof line, file) == nullptr)
            break;
    }
    fclose(file);
}

std::string countsText(unsigned long calls, unsigned long checks, unsigned long others,
                       unsigned long blocks) {
    return std::to_string(calls) + "/" + std::to_string(checks) + "/" + std::to_string(others) +
           "/" + std::to_string(blocks);
}

/// Layer calls, existence checks, other system calls and heap blocks of a piece of work.
std::string counted(const std::function<void()>& work, const std::function<void()>& undo) {
    auto calls = systemCalls(work);
#ifdef SYS_access
    const unsigned long checks = calls[SYS_access];
#else
    const unsigned long checks = calls[SYS_faccessat];
#endif
    unsigned long all = 0;
    for (const auto& call : calls)
        all += call.second;
    g_nLayerCalls = 0;
    const HeapCount heap;
    work();
    const unsigned long blocks = HeapCount::calls();
    const unsigned long layer = g_nLayerCalls;
    undo();
    return countsText(layer, checks, all - checks, blocks);
}

} // namespace

void measureApplying() {
    BenchCamera camera;
    camera.start();
    ISensorController& controller = *camera.controller;
    std::vector<KeyVal> lists[] = {batch(1), batch(2)};
    const auto reports = static_cast<unsigned long>(reportsOf(lists[0]));
    int round = 0;
    const auto applyChanged = [&] {
        controller.setParameters(lists[++round & 1].data(), kRecords, true);
    };
    const auto checkSign = [] { sy_access(sensor_paths::kSignFile, F_OK); };
    Floor floor(checkSign);

    applyChanged();
    const std::string exact = countsText(kRecords, reports, 0, 0);
    const std::string changed = counted(applyChanged, applyChanged);
    Times times = interleaved(kRounds, applyChanged, [&] { floor.apply(lists[0]); });
    ratioRow("1", "87 changed records: time", times.subject, times.floor, 1.10, "us");
    row("1", "  calls: layer/exists/other system/heap", changed, exact, "equal", changed == exact);

    std::vector<KeyVal> same = BenchCamera::records(0);
    for (KeyVal& kv : same)
        controller.getKeyValFromCache(0, kv.key, kv.value);
    const auto applySame = [&] { controller.setParameters(same.data(), kRecords, true); };
    const std::string none = countsText(0, kRecords, 0, 0);
    const std::string unchanged = counted(applySame, applySame);
    times = interleaved(kRounds, applySame, [&] { floor.skip(same); });
    ratioRow("2", "87 unchanged records: time", times.subject, times.floor, 1.10, "us");
    row("2", "  calls: layer/exists/other system/heap", unchanged, none, "equal",
        unchanged == none);

    camera.write(sensor_paths::kSignFile, "1\n0\n");
    const std::string hostSign = camera.path(sensor_paths::kSignFile);
    const auto readAll = [&] {
        for (unsigned long i = 0; i < reports; ++i)
            readSign(hostSign.c_str());
    };
    unsigned long blocks[2];
    for (int i = 0; i < 2; ++i) {
        const HeapCount heap;
        i == 0 ? applyChanged() : readAll();
        blocks[i] = HeapCount::calls();
    }
    times = interleaved(kRounds / 3, applyChanged, readAll);
    ratioRow("3", "87 changed, sign file of level 1: time", times.subject, times.floor, 1.25, "us");
    row("3", "  heap blocks", std::to_string(blocks[0]), std::to_string(blocks[1]), "<= floor",
        blocks[0] <= blocks[1]);
}
