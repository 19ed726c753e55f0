#include <algorithm>
#include <climits>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "Counters.h"
#include "SensorKeyVal.h"
#include "Table.h"

namespace {

using Records = std::vector<KeyVal>;

std::string writeByPrintf(const Records& records) {
    std::string text;
    char pair[32];
    for (const KeyVal& kv : records) {
        snprintf(pair, sizeof pair, "(%d,%d)", static_cast<int>(kv.key),
                 static_cast<int>(kv.value));
        text += pair;
    }
    return text;
}

/// The same rules, each pair read by sscanf: its numbers are wider here and so held to 32 bits.
Records readByScanf(const std::string& text) {
    Records records;
    long key = 0;
    long value = 0;
    for (size_t at = 0; at < text.size();) {
        const size_t open = text.find('(', at);
        const size_t close = text.find(')', at);
        if (open == std::string::npos || open == text.size() - 1 || close == std::string::npos)
            break;
        std::string pair;
        if (close > open)
            pair = text.substr(open, close - open + 1);
        else if (close + 1 < open)
            pair = text.substr(open);
        sscanf(pair.c_str(), "(%ld,%ld)", &key, &value);
        key = std::clamp<long>(key, INT_MIN, INT_MAX);
        value = std::clamp<long>(value, INT_MIN, INT_MAX);
        records.push_back(KeyVal{static_cast<u32>(key), static_cast<u32>(value)});
        at = close + 1;
    }
    return records;
}

std::string roundTrip(const std::string& text, Records& records) {
    u32 count = 0;
    keyval_str2st(text, records.data(), &count, static_cast<u32>(records.size()));
    std::string written;
    keyval_st2str(written, records.data(), count);
    return written;
}

Records someRecords(size_t count) {
    std::mt19937 random(5);
    Records records(count);
    for (KeyVal& kv : records)
        kv = KeyVal{static_cast<u32>(random() % 8005), static_cast<u32>(random() % 101)};
    return records;
}

/// @return on how many of the random texts, well-formed and spoilt, the two ways differ
int differences(int texts) {
    std::mt19937 random(7);
    Records records(1000);
    int different = 0;
    for (int i = 0; i < texts; ++i) {
        Records wanted(random() % 12);
        for (KeyVal& kv : wanted)
            kv = KeyVal{static_cast<u32>(random()) >> random() % 32,
                        static_cast<u32>(random()) >> random() % 32};
        std::string text = writeByPrintf(wanted);
        for (auto spoilt = i % 2 ? random() % 6 : 0; spoilt > 0 && !text.empty(); --spoilt)
            text[random() % text.size()] = "()(),,-+ 059x"[random() % 13];
        different += roundTrip(text, records) != writeByPrintf(readByScanf(text)) ? 1 : 0;
    }
    return different;
}

} // namespace

void measureText() {
    const std::string text = writeByPrintf(someRecords(87));
    Records records(100);
    size_t sink = 0;
    const Times times = interleaved(
        5000, [&] { sink += roundTrip(text, records).size(); },
        [&] { sink += writeByPrintf(readByScanf(text)).size(); });
    ratioRow("4", "87 pairs read and written, by sscanf + snprintf", times.subject, times.floor,
             0.15, "us");
    constexpr int kTexts = 200000;
    const int different = differences(kTexts);
    row("4", "  texts read or written otherwise", std::to_string(different),
        std::to_string(kTexts) + " tried", "0", different == 0 && sink != 0);
}

bool doTextWork(size_t pairs) {
    const std::string text = writeByPrintf(someRecords(pairs));
    Records records(pairs);
    measuredWork([&] { roundTrip(text, records); });
    return true;
}
