#include "ImagingFields.h"

#include <tinyxml.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>

#include "SensorKeys.h"
#include "host/Text.h"
#include "host/Xml.h"

namespace onvif {
namespace {

constexpr int kNoValue = -1;

/// A word of ONVIF and the values that it stands for. The first one that the camera takes is what
/// the word sets.
struct Word {
    const char* word;
    int first;
    int second = kNoValue;
};

/// The words of a mode. A value that none of them names belongs to the last one.
struct Words {
    const Word* list = nullptr;
    std::size_t count = 0;

    const Word* begin() const { return list; }
    const Word* end() const { return list + count; }
    bool empty() const { return count == 0; }
};

template <std::size_t N>
constexpr Words allOf(const Word (&list)[N]) {
    return {list, N};
}

constexpr Words kNone;
constexpr Word kSwitchWords[] = {{"OFF", 0}, {"ON", 1, 2}};
constexpr Word kExposureWords[] = {{"MANUAL", 1}, {"AUTO", 0, 3}};
constexpr Word kWhiteBalanceWords[] = {{"AUTO", 0}, {"MANUAL", 1}};
constexpr Word kFocusWords[] = {{"MANUAL", 1}, {"AUTO", 0}};
// Day takes the infrared out of the picture, night lets it in.
constexpr Word kIrCutWords[] = {{"ON", 1}, {"OFF", 2}, {"AUTO", 0, 3}};
constexpr Words kSwitch = allOf(kSwitchWords);
constexpr Words kExposureModes = allOf(kExposureWords);
constexpr Words kWhiteBalanceModes = allOf(kWhiteBalanceWords);
constexpr Words kFocusModes = allOf(kFocusWords);
constexpr Words kIrCutFilter = allOf(kIrCutWords);

/// A setting of ONVIF.
struct Field {
    const char* setting; ///< where it stands among the settings
    const char* option;  ///< and among the options
    u32 key;
    Words words;      ///< of a mode; empty: a number
    bool time;        ///< the number is in microseconds
    u32 mode;         ///< the key of the mode it stands beside; 0: none
    const char* acts; ///< the word of that mode under which it acts; empty: any
};

// A mode stands before what it holds.
constexpr Field kFields[] = {
    {"BacklightCompensation/Mode", "BacklightCompensation/Mode", KEY_BLC_SWITCH, kSwitch, false, 0,
     ""},
    {"BacklightCompensation/Level", "BacklightCompensation/Level", KEY_BLC_STRG, kNone, false,
     KEY_BLC_SWITCH, ""},
    {"Brightness", "Brightness", KEY_BRIGHTNESS, kNone, false, 0, ""},
    {"ColorSaturation", "ColorSaturation", KEY_SATURATION, kNone, false, 0, ""},
    {"Contrast", "Contrast", KEY_CONTRAST, kNone, false, 0, ""},
    {"Exposure/Mode", "Exposure/Mode", KEY_EXPOSE_MODE, kExposureModes, false, 0, ""},
    {"Exposure/MaxExposureTime", "Exposure/MaxExposureTime", KEY_MAX_SHUTTER, kNone, true,
     KEY_EXPOSE_MODE, ""},
    {"Exposure/MaxGain", "Exposure/MaxGain", KEY_MAX_GAIN, kNone, false, KEY_EXPOSE_MODE, ""},
    {"Exposure/ExposureTime", "Exposure/ExposureTime", KEY_FIX_SHUTTER, kNone, true,
     KEY_EXPOSE_MODE, "MANUAL"},
    {"Exposure/Gain", "Exposure/Gain", KEY_FIX_GAIN, kNone, false, KEY_EXPOSE_MODE, "MANUAL"},
    {"Focus/AutoFocusMode", "Focus/AutoFocusModes", KEY_AUTO_FOCUS_MODE, kFocusModes, false, 0, ""},
    {"IrCutFilter", "IrCutFilterModes", KEY_DN_MODE, kIrCutFilter, false, 0, ""},
    {"Sharpness", "Sharpness", KEY_SHARPNESS, kNone, false, 0, ""},
    {"WideDynamicRange/Mode", "WideDynamicRange/Mode", KEY_WDR_MODE, kSwitch, false, 0, ""},
    {"WideDynamicRange/Level", "WideDynamicRange/Level", KEY_WDR_STRG, kNone, false, KEY_WDR_MODE,
     ""},
    {"WhiteBalance/Mode", "WhiteBalance/Mode", KEY_WB_MODE, kWhiteBalanceModes, false, 0, ""},
    {"WhiteBalance/CrGain", "WhiteBalance/YrGain", KEY_R_GAIN, kNone, false, KEY_WB_MODE, "MANUAL"},
    {"WhiteBalance/CbGain", "WhiteBalance/YbGain", KEY_B_GAIN, kNone, false, KEY_WB_MODE, "MANUAL"},
    {"Extension/ImageStabilization/Mode", "Extension/ImageStabilization/Mode",
     KEY_ANTI_SHAKE_SWITCH, kSwitch, false, 0, ""},
    {"Extension/ImageStabilization/Level", "Extension/ImageStabilization/Level",
     KEY_ANTI_SHAKE_STRG, kNone, false, KEY_ANTI_SHAKE_SWITCH, ""},
};

/// Whether a key takes a value, as far as range and choices tell.
bool takes(const host::Snapshot& snapshot, u32 key, int value) {
    const std::optional<host::Limits> limits = limitsOf(snapshot, key);
    const host::Parameter& about = *snapshot.parameter(key);
    return limits && limits->allows(value) &&
           (about.options.empty() || about.option(value) != nullptr);
}

/// What a word sets.
std::optional<int> valueOf(const host::Snapshot& snapshot, u32 key, const Word& word) {
    for (const int value : {word.first, word.second}) {
        if (value != kNoValue && takes(snapshot, key, value)) {
            return value;
        }
    }
    return std::nullopt;
}

const Word& wordOf(Words words, int value) {
    for (const Word& word : words) {
        if (value == word.first || value == word.second) {
            return word;
        }
    }
    return words.list[words.count - 1];
}

/// The microseconds of a choice's name, "1/25"; none where it is no time.
std::optional<double> timeOf(const std::string& name) {
    const std::string::size_type slash = name.find('/');
    int over = 0;
    int under = 1;
    const bool whole = slash == std::string::npos;
    if (!host::readIntWithin(name.substr(0, slash), 1, 3600, over) ||
        (!whole && !host::readIntWithin(name.substr(slash + 1), 1, 10000000, under))) {
        return std::nullopt;
    }
    return 1e6 * over / under;
}

/// How a field's number and the parameter's value stand for each other. Either there are points, or
/// each step of the value is as long.
struct Scale {
    std::vector<std::pair<int, double>> points;
    host::Limits limits;
    double step = 1;

    std::optional<double> shown(int value) const;
    std::optional<int> value(double shown) const;
    double least() const { return points.empty() ? step * limits.minimum : edge(false); }
    double most() const { return points.empty() ? step * limits.maximum : edge(true); }

private:
    double edge(bool upper) const {
        double result = points[0].second;
        for (const auto& point : points) {
            result = upper ? std::max(result, point.second) : std::min(result, point.second);
        }
        return result;
    }
};

std::optional<double> Scale::shown(int value) const {
    if (points.empty()) {
        return step * value;
    }
    for (const auto& point : points) {
        if (point.first == value) {
            return point.second;
        }
    }
    return std::nullopt;
}

std::optional<int> Scale::value(double shown) const {
    // A float has seven digits: what was rounded on the way to the client and back is no fault.
    const double slack = 1e-6 * std::abs(shown);
    if (shown < least() - slack || shown > most() + slack) {
        return std::nullopt;
    }
    if (points.empty()) {
        const double last =
            std::floor((static_cast<double>(limits.maximum) - limits.minimum) / limits.step);
        const double steps = std::round((shown / step - limits.minimum) / limits.step);
        return static_cast<int>(limits.minimum + limits.step * std::clamp(steps, 0.0, last));
    }
    return std::min_element(points.begin(), points.end(),
                            [shown](const auto& one, const auto& other) {
                                return std::abs(one.second - shown) <
                                       std::abs(other.second - shown);
                            })
        ->first;
}

/// The scale of a number; none where this camera has no such number.
std::optional<Scale> scaleOf(const host::Snapshot& snapshot, const Field& field) {
    const std::optional<host::Limits> limits = limitsOf(snapshot, field.key);
    if (!limits || limits->step < 1 || limits->minimum > limits->maximum) {
        return std::nullopt;
    }
    Scale scale;
    scale.limits = *limits;
    if (!field.time) {
        for (const int item : limits->items) {
            scale.points.emplace_back(item, item);
        }
        return scale;
    }
    if (snapshot.value(field.key)->unit() == "100 us") {
        scale.step = 100;
        return scale;
    }
    for (const host::Parameter::Option& option : snapshot.parameter(field.key)->options) {
        const std::optional<double> time = timeOf(option.name);
        if (time && limits->allows(option.value)) {
            scale.points.emplace_back(option.value, *time);
        }
    }
    return scale.points.empty() ? std::nullopt : std::optional<Scale>(scale);
}

/// The words of a mode that this camera has.
std::vector<const Word*> wordsOf(const host::Snapshot& snapshot, const Field& field) {
    std::vector<const Word*> list;
    for (const Word& word : field.words) {
        if (usable(snapshot, field.key) && valueOf(snapshot, field.key, word)) {
            list.push_back(&word);
        }
    }
    return list;
}

const Field* fieldOf(u32 key) {
    const auto* const found = std::find_if(std::begin(kFields), std::end(kFields),
                                           [key](const Field& one) { return one.key == key; });
    return found != std::end(kFields) ? found : nullptr;
}

std::optional<int> inForce(const host::Snapshot& snapshot, u32 key) {
    const host::Value* const value = snapshot.value(key);
    return value != nullptr ? value->inForce() : std::nullopt;
}

/// Whether a field is there on this camera, whatever it stands at. A number whose mode is not there
/// has no element to stand in.
bool isThere(const host::Snapshot& snapshot, const Field& field) {
    if (field.mode != 0 && (!isThere(snapshot, *fieldOf(field.mode)))) {
        return false;
    }
    return field.words.empty()
               ? scaleOf(snapshot, field).has_value()
               : !wordsOf(snapshot, field).empty() && inForce(snapshot, field.key).has_value();
}

/// A setting that a client wants.
struct Wanted {
    const Field* field;
    std::string text;
};

/// Finds the settings in a request; their elements' names are ONVIF's, whatever their prefix.
std::optional<Fault> collect(const TiXmlElement& from, const std::string& path,
                             std::vector<Wanted>& list) {
    for (const TiXmlElement* child = from.FirstChildElement(); child != nullptr;
         child = child->NextSiblingElement()) {
        const std::string here = path + localName(*child);
        if (child->FirstChildElement() != nullptr) {
            std::optional<Fault> fault = collect(*child, here + '/', list);
            if (fault) {
                return fault;
            }
            continue;
        }
        const std::string text = host::textOf(*child);
        const auto* const field =
            std::find_if(std::begin(kFields), std::end(kFields),
                         [&here](const Field& one) { return here == one.setting; });
        if (field != std::end(kFields)) {
            list.push_back({field, text});
        } else if (!text.empty() || child->FirstAttribute() != nullptr) {
            return invalid("SettingsInvalid", "This camera has no '" + here + "' to set.");
        }
    }
    return std::nullopt;
}

Fault wrongValue(const Wanted& wanted, const std::string& allowed) {
    return invalid("SettingsInvalid", std::string(wanted.field->setting) + " takes " + allowed +
                                          "; " + host::quoted(wanted.text) + " was refused.");
}

/// The value that a mode is to have; the one in force where the word says that already.
std::optional<Fault> readMode(const host::Snapshot& snapshot, const Wanted& wanted, int& value) {
    const Field& field = *wanted.field;
    std::string allowed;
    const int now = *inForce(snapshot, field.key);
    if (wanted.text == wordOf(field.words, now).word) {
        value = now;
        return std::nullopt;
    }
    for (const Word* word : wordsOf(snapshot, field)) {
        if (wanted.text == word->word) {
            value = *valueOf(snapshot, field.key, *word);
            return std::nullopt;
        }
        allowed += (allowed.empty() ? "" : ", ") + std::string(word->word);
    }
    return wrongValue(wanted, allowed);
}

std::optional<Fault> readNumber(const host::Snapshot& snapshot, const Wanted& wanted, int& value) {
    const Scale scale = *scaleOf(snapshot, *wanted.field);
    const std::optional<double> number = readFloat(wanted.text);
    const std::optional<int> read = number ? scale.value(*number) : std::nullopt;
    if (!read) {
        return wrongValue(wanted, floatText(scale.least()) + " to " + floatText(scale.most()));
    }
    value = *read;
    return std::nullopt;
}

} // namespace

bool usable(const host::Snapshot& snapshot, u32 key) {
    return limitsOf(snapshot, key).has_value();
}

std::optional<host::Limits> limitsOf(const host::Snapshot& snapshot, u32 key) {
    const host::Parameter* const about = snapshot.parameter(key);
    const host::Value* const value = snapshot.value(key);
    if (about == nullptr || value == nullptr || about->kind == host::Parameter::Kind::Hidden ||
        !value->supported() || (key == KEY_WDR_MODE && !snapshot.wideDynamicRangeAllowed)) {
        return std::nullopt;
    }
    return value->limits ? value->limits : about->style;
}

void addSettings(const host::Snapshot& snapshot, Element& to) {
    for (const Field& field : kFields) {
        const std::optional<int> value = inForce(snapshot, field.key);
        if (!value || !isThere(snapshot, field)) {
            continue;
        }
        if (!field.words.empty()) {
            to.at(field.setting).text = wordOf(field.words, *value).word;
            continue;
        }
        const std::optional<double> shown = scaleOf(snapshot, field)->shown(*value);
        if (shown) {
            to.at(field.setting).text = floatText(*shown);
        }
    }
}

void addOptions(const host::Snapshot& snapshot, Element& to) {
    for (const Field& field : kFields) {
        if (!isThere(snapshot, field)) {
            continue;
        }
        if (field.words.empty()) {
            const Scale scale = *scaleOf(snapshot, field);
            Element& range = to.at(field.option);
            range.add("Min", floatText(scale.least()));
            range.add("Max", floatText(scale.most()));
            continue;
        }
        const std::string path = field.option;
        const std::string::size_type slash = path.rfind('/');
        Element& block = slash == std::string::npos ? to : to.at(path.substr(0, slash));
        for (const Word* word : wordsOf(snapshot, field)) {
            block.add(slash == std::string::npos ? path : path.substr(slash + 1), word->word);
        }
    }
}

std::optional<Fault> readSettings(const host::Snapshot& snapshot, const TiXmlElement& settings,
                                  std::vector<host::Pair>& pairs) {
    std::vector<Wanted> list;
    std::optional<Fault> fault = collect(settings, "", list);
    std::stable_sort(list.begin(), list.end(), [](const Wanted& one, const Wanted& other) {
        return one.field < other.field;
    });
    std::map<u32, int> modes; ///< as they will be
    for (const Wanted& wanted : list) {
        const Field& field = *wanted.field;
        int value = 0;
        if (!fault && !isThere(snapshot, field)) {
            fault = invalid("SettingsInvalid",
                            std::string("This camera has no '") + field.setting + "' to set.");
        }
        if (!fault) {
            fault = field.words.empty() ? readNumber(snapshot, wanted, value)
                                        : readMode(snapshot, wanted, value);
        }
        if (fault) {
            return fault;
        }
        if (!field.words.empty()) {
            modes[field.key] = value;
        }
        if (inForce(snapshot, field.key) == value) {
            continue;
        }
        // A preset of white balance, say, counts as manual, but its gains are not the user's.
        if (*field.acts != '\0') {
            const Field& mode = *fieldOf(field.mode);
            const auto asked = modes.find(mode.key);
            const int stands = asked != modes.end() ? asked->second : *inForce(snapshot, mode.key);
            const Word& word = wordOf(mode.words, stands);
            const std::optional<int> sets = valueOf(snapshot, mode.key, word);
            if (word.word == std::string(field.acts) && sets && *sets != stands) {
                pairs.push_back({mode.key, *sets});
                modes[mode.key] = *sets;
            }
        }
        pairs.push_back({field.key, value});
    }
    return fault;
}

std::optional<double> readFloat(const std::string& text) {
    char* end = nullptr;
    // Its hexadecimal numbers and words for what is no number are not the schema's.
    if (text.empty() || text.find_first_not_of("0123456789+-.eE") != std::string::npos) {
        return std::nullopt;
    }
    const double value = std::strtod(text.c_str(), &end);
    return *end == '\0' && std::isfinite(value) ? std::optional<double>(value) : std::nullopt;
}

} // namespace onvif
