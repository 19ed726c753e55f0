#include "host/Snapshot.h"

#include <algorithm>
#include <cstdio>

#include "DKDeviceTime.h"

namespace host {
namespace {

constexpr int kEnglish = 0;

/// A time of day as the library compares it: 730 for half past seven. A file may hold any number.
u32 asNumber(int hour, int minute) {
    return static_cast<u32>(hour) * 100 + static_cast<u32>(minute);
}

} // namespace

CameraTime cameraTime() {
    const DKDeviceTime now = DKDeviceTime::getCurrentTime();
    return {now.year, now.month, now.day, now.hour, now.minute, now.second};
}

std::string dateText(const CameraTime& time) {
    char text[40];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d", time.year, time.month, time.day);
    return text;
}

std::string clockText(const CameraTime& time) {
    char text[48];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d", time.hour, time.minute, time.second);
    return text;
}

const std::string& textIn(const Labels& labels, int language, const std::string& otherwise) {
    for (const int number : {language, kEnglish}) {
        const auto found = labels.find(number);
        if (found != labels.end() && !found->second.empty()) {
            return found->second;
        }
    }
    return otherwise;
}

const std::string& Parameter::label(int language) const {
    return textIn(labels, language, shortName);
}

const Parameter::Option* Parameter::option(int value) const {
    const auto found = std::find_if(options.begin(), options.end(), [value](const Option& option) {
        return option.value == value;
    });
    return found == options.end() ? nullptr : &*found;
}

std::size_t Catalogue::indexOf(u32 key) const {
    const auto found = positions.find(key);
    return found == positions.end() ? parameters.size() : found->second;
}

const Parameter* Catalogue::find(u32 key) const {
    const std::size_t index = indexOf(key);
    return index < parameters.size() ? &parameters[index] : nullptr;
}

std::optional<int> Value::inForce() const {
    return applied ? applied : stored ? stored : readBack;
}

bool Value::supported() const {
    return state == nullptr || state->supported;
}

std::string Value::unit() const {
    return state != nullptr ? state->unit : std::string();
}

const Value* Snapshot::value(u32 key) const {
    const std::size_t index = catalogue->indexOf(key);
    return index < values.size() ? &values[index] : nullptr;
}

std::optional<int> Snapshot::storedIn(int of, u32 key) const {
    if (of < 0 || static_cast<std::size_t>(of) >= schemes.size()) {
        return std::nullopt;
    }
    const auto& keys = catalogue->schemeKeys;
    const auto found = std::find(keys.begin(), keys.end(), key);
    const auto& stored = *schemes[static_cast<std::size_t>(of)].values;
    const auto index = static_cast<std::size_t>(found - keys.begin());
    return index < stored.size() ? std::optional<int>(stored[index]) : std::nullopt;
}

bool holds(const Window& window, int minuteOfDay) {
    const u32 now = asNumber(minuteOfDay / 60, minuteOfDay % 60);
    return asNumber(window.startHour, window.startMinute) <= now &&
           now < asNumber(window.endHour, window.endMinute);
}

int schemeAt(const std::vector<Scheme>& schemes, int minuteOfDay) {
    int timed = 0;
    for (const Scheme& scheme : schemes) {
        if (!scheme.timed) {
            continue;
        }
        if (scheme.window.enabled && holds(scheme.window, minuteOfDay)) {
            return scheme.number;
        }
        ++timed;
    }
    return timed;
}

} // namespace host
