#pragma once

#include <cstring>

#include "SensorTypes.h"

// Records of scheme arrays are read and written by the application's threads and the worker thread
// without a common lock. Each word is therefore accessed whole, as a relaxed atomic, which on every
// board is a plain load or store.

inline u32 loadWord(const u32& word) {
    return __atomic_load_n(&word, __ATOMIC_RELAXED);
}

inline void storeWord(u32& word, u32 value) {
    __atomic_store_n(&word, value, __ATOMIC_RELAXED);
}

inline KeyVal loadRecord(const KeyVal& record) {
    return KeyVal{loadWord(record.key), loadWord(record.value)};
}

inline void copyRecords(KeyVal* to, const KeyVal* from, u32 count) {
    for (u32 i = 0; i < count; ++i) {
        const KeyVal record = loadRecord(from[i]);
        storeWord(to[i].key, record.key);
        storeWord(to[i].value, record.value);
    }
}

/// @return the index of the first record with the key, or -1
inline int findRecord(const KeyVal* records, u32 count, u32 key) {
    for (u32 i = 0; i < count; ++i) {
        if (loadWord(records[i].key) == key)
            return static_cast<int>(i);
    }
    return -1;
}

/// The 32-bit word at data, which need not be aligned; 0 for null.
inline u32 wordAt(const void* data) {
    u32 word = 0;
    if (data != nullptr)
        memcpy(&word, data, sizeof word);
    return word;
}

/// Room for whatever record a command of the image-adjust layer may carry (the largest has 276
/// bytes). Its first word is the value.
struct CommandScratch {
    explicit CommandScratch(u32 value) : words{value} {}
    u32 words[128];
};
