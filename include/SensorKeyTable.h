#pragma once

#include "SensorKeys.h"

/// The image parameters as data, for programs that show them. The library itself carries neither
/// kinds nor meanings.

/// What a value of a key can be: kind, name for people, unit (empty where the
/// layer's own scale holds).
// clang-format off
#define SENSOR_KEY_KINDS(KIND) \
    KIND(LEVEL, "level", "")         /* an amount; the image-adjust layer tells the range */ \
    KIND(SWITCH, "switch", "")       /* 0 off, 1 on */ \
    KIND(CHOICE, "choice", "")       /* one of several, which the style names */ \
    KIND(HOUR, "hour", "h")          /* of the day */ \
    KIND(MINUTE, "minute", "min")    /* of the hour */ \
    KIND(SECOND, "second", "s") \
    KIND(RATE, "rate", "1/s")        /* of pictures */ \
    KIND(THRESHOLD, "threshold", "") /* a level of light */ \
    KIND(OFFSET, "offset", "")       /* a place on the sensor */ \
    KIND(POSITION, "position", "")   /* of a motor: takes its time, and may move by itself */ \
    KIND(STEP, "step", "")           /* 1 moves a little; cannot be read */ \
    KIND(ACTION, "action", "")       /* 1 starts something; cannot be read */
// clang-format on

enum class KeyKind {
#define KIND(kind, name, unit) kind,
    SENSOR_KEY_KINDS(KIND)
#undef KIND
};

/// @return "level"
constexpr const char* nameOf(KeyKind wanted) {
    constexpr const char* names[] = {
#define KIND(kind, name, unit) name,
        SENSOR_KEY_KINDS(KIND)
#undef KIND
    };
    return names[static_cast<int>(wanted)];
}

/// @return "s"; empty for none
constexpr const char* unitOf(KeyKind wanted) {
    constexpr const char* units[] = {
#define KIND(kind, name, unit) unit,
        SENSOR_KEY_KINDS(KIND)
#undef KIND
    };
    return units[static_cast<int>(wanted)];
}

struct SensorKeyRow {
    const char* symbol; ///< "KEY_BRIGHTNESS"
    unsigned int key;
    unsigned int command; ///< 0: only stored
    const char* handler;  ///< "doIaCmd"; "stored" for none
    KeyKind kind;
    const char* meaning;

    constexpr bool isStoredOnly() const { return command == 0; }
    constexpr bool isWriteOnly() const { return kind == KeyKind::STEP || kind == KeyKind::ACTION; }
};

/// Every key, in the order of the key-command map.
inline constexpr SensorKeyRow SENSOR_KEY_TABLE[] = {
#define KEY(symbol, key, command, handler, kind, meaning) \
    {#symbol, key, command, #handler, KeyKind::kind, meaning},
    SENSOR_KEYS(KEY)
#undef KEY
};
