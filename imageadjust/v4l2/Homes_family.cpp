#include "Homes_family.h"

#include <algorithm>
#include <cerrno>

namespace image_adjust::v4l2 {
namespace {

enum : unsigned int { CMD_EXPOSURE_MODE = 16, CMD_BACKLIGHT_SWITCH = 128, CMD_MIRROR = 2384 };

enum { WB_AUTOMATIC, WB_MANUAL, WB_DAYLIGHT };

// What the light is called, and its colour temperature.
struct Light {
    const char* name;
    int kelvin;
};
constexpr Light lights[] = {
    {"daylight", 5500}, {"cloudy", 6500}, {"fluorescent", 4000}, {"incandescent", 2800}};

/// Reads both of two controls that may be missing.
int readBoth(Device& device, Control* one, Control* other) {
    const int result = one != nullptr ? device.get(*one) : 0;
    return result == 0 && other != nullptr ? device.get(*other) : result;
}

std::string namesOf(const Control* one, const Control* other) {
    const std::string first = one != nullptr ? controlName(one->id) : "";
    const std::string second = other != nullptr ? controlName(other->id) : "";
    return first + (first.empty() || second.empty() ? "" : ", ") + second;
}

} // namespace

ExposureModeHome::ExposureModeHome(Device& device, Control* mode, Control* gain, int gainAuto,
                                   int gainManual)
    : Home(CMD_EXPOSURE_MODE),
      m_device(device),
      m_mode(mode),
      m_gain(gain),
      m_gainAuto(gainAuto),
      m_gainManual(gainManual) {}

Values ExposureModeHome::values() const {
    Values values;
    if (m_mode == nullptr) {
        values.choices = {{0, "Automatic"}, {1, "Manual"}};
        values.defaultValue = m_gain->defaultValue == m_gainAuto ? 0 : 1;
        return values;
    }
    values.listed = true;
    for (const Control::Item& item : m_mode->menu) {
        values.choices.push_back({item.index, item.name});
    }
    values.min = values.choices.front().value;
    values.max = values.choices.back().value;
    values.defaultValue = nearestOf(values, m_mode->defaultValue);
    return values;
}

bool ExposureModeHome::takes(int value) const {
    return m_mode != nullptr ? m_mode->takes(value) : value == 0 || value == 1;
}

std::string ExposureModeHome::control() const {
    return namesOf(m_mode, m_gain);
}

int ExposureModeHome::seen() const {
    return m_mode != nullptr ? m_mode->value.load() : m_gain->value == m_gainAuto ? 0 : 1;
}

int ExposureModeHome::read(int& value) {
    const int result = m_device.get(m_mode != nullptr ? *m_mode : *m_gain);
    value = seen();
    return result;
}

int ExposureModeHome::write(int value) {
    const int gain = value == V4L2_EXPOSURE_MANUAL ? m_gainManual : m_gainAuto;
    return m_mode == nullptr   ? m_device.set(*m_gain, gain)
           : m_gain == nullptr ? m_device.set(*m_mode, value)
                               : m_device.set(*m_mode, value, *m_gain, gain);
}

ExposurePriorityHome::ExposurePriorityHome(Device& device, Control& control)
    : ControlHome(49, device, control, {nullptr, nullptr, 0, ""}, "") {}

Values ExposurePriorityHome::values() const {
    Values values = ControlHome::values();
    values.choices = {{0, "frameRateFirst"}, {1, "exposureFirst"}};
    return values;
}

IrisSwitchHome::IrisSwitchHome(Control& mode) : Home(80), m_mode(mode) {}

Values IrisSwitchHome::values() const {
    Values values;
    const int mode = m_mode.defaultValue;
    values.defaultValue = mode == V4L2_EXPOSURE_AUTO || mode == V4L2_EXPOSURE_SHUTTER_PRIORITY;
    return values;
}

int IrisSwitchHome::seen() const {
    const int mode = m_mode.value;
    return mode == V4L2_EXPOSURE_AUTO || mode == V4L2_EXPOSURE_SHUTTER_PRIORITY ? 1 : 0;
}

int IrisSwitchHome::read(int& value) {
    value = seen();
    return 0;
}

int IrisSwitchHome::write(int /*value*/) {
    return 0;
}

std::string IrisSwitchHome::holder(unsigned int& command) const {
    command = CMD_EXPOSURE_MODE;
    return seen() != 0 ? "the exposure mode makes the iris automatic"
                       : "the exposure mode makes the iris manual";
}

unsigned int IrisSwitchHome::master() const {
    return CMD_EXPOSURE_MODE;
}

WhiteBalanceHome::WhiteBalanceHome(Device& device, Control* automatic, Control* temperature)
    : Home(768), m_device(device), m_automatic(automatic), m_temperature(temperature), m_kind(-1) {
    m_values.listed = true;
    if (automatic != nullptr) {
        m_values.choices.push_back({WB_AUTOMATIC, "automatic"});
    }
    m_values.choices.push_back({WB_MANUAL, "manual"});
    for (int kind = WB_DAYLIGHT; temperature != nullptr && kind < WB_DAYLIGHT + 4; ++kind) {
        if (kelvinOf(kind) >= 0) {
            m_values.choices.push_back({kind, lights[kind - WB_DAYLIGHT].name});
        }
    }
    m_values.min = m_values.choices.front().value;
    m_values.max = m_values.choices.back().value;
    m_values.defaultValue =
        automatic != nullptr && automatic->defaultValue != 0 ? WB_AUTOMATIC : WB_MANUAL;
}

int WhiteBalanceHome::kelvinOf(int kind) const {
    const int kelvin = lights[kind - WB_DAYLIGHT].kelvin;
    if (kelvin < m_temperature->min || kelvin > m_temperature->max) {
        return -1;
    }
    Values all;
    all.min = m_temperature->min;
    all.max = m_temperature->max;
    all.step = m_temperature->step;
    return nearestOf(all, kelvin);
}

bool WhiteBalanceHome::takes(int value) const {
    return std::any_of(
        m_values.choices.begin(), m_values.choices.end(),
        [value](const CommandState::Choice& choice) { return choice.value == value; });
}

std::string WhiteBalanceHome::control() const {
    return namesOf(m_automatic, m_temperature);
}

int WhiteBalanceHome::seen() const {
    if (m_automatic != nullptr && m_automatic->value != 0) {
        return WB_AUTOMATIC;
    }
    if (m_temperature == nullptr || m_kind == WB_MANUAL) {
        return WB_MANUAL;
    }
    const int kelvin = m_temperature->value;
    for (int kind = WB_DAYLIGHT; kind < WB_DAYLIGHT + 4; ++kind) {
        if (kelvinOf(kind) == kelvin) {
            return kind;
        }
    }
    return WB_MANUAL;
}

int WhiteBalanceHome::read(int& value) {
    const int result = readBoth(m_device, m_automatic, m_temperature);
    value = seen();
    return result;
}

int WhiteBalanceHome::write(int value) {
    int result = 0;
    if (value >= WB_DAYLIGHT) {
        result = m_automatic == nullptr
                     ? m_device.set(*m_temperature, kelvinOf(value))
                     : m_device.set(*m_automatic, 0, *m_temperature, kelvinOf(value));
    } else if (m_automatic != nullptr) {
        result = m_device.set(*m_automatic, value == WB_AUTOMATIC ? 1 : 0);
    }
    if (result == 0) {
        m_kind = value;
    }
    return result;
}

BacklightSwitchHome::BacklightSwitchHome(std::shared_ptr<Backlight> light)
    : Home(CMD_BACKLIGHT_SWITCH), m_light(std::move(light)) {
    const Control& control = m_light->control;
    const int least = control.min + control.step;
    m_light->strength = control.value != control.min ? control.value.load()
                                                     : std::max<int>(control.defaultValue, least);
}

Values BacklightSwitchHome::values() const {
    Values values;
    values.defaultValue = m_light->control.defaultValue != m_light->control.min ? 1 : 0;
    return values;
}

int BacklightSwitchHome::read(int& value) {
    const int result = m_light->device.get(m_light->control);
    value = seen();
    return result;
}

int BacklightSwitchHome::write(int value) {
    Control& control = m_light->control;
    if (control.value != control.min) {
        m_light->strength = control.value.load();
    }
    return m_light->device.set(control, value != 0 ? m_light->strength : control.min);
}

BacklightStrengthHome::BacklightStrengthHome(std::shared_ptr<Backlight> light)
    : Home(130), m_light(std::move(light)) {}

Values BacklightStrengthHome::values() const {
    const Control& control = m_light->control;
    Values values;
    values.step = control.step;
    values.min = control.min + values.step;
    values.max = control.min + (control.max - control.min) / values.step * values.step;
    values.defaultValue = nearestOf(values, control.defaultValue);
    return values;
}

bool BacklightStrengthHome::takes(int value) const {
    return value != m_light->control.min && m_light->control.takes(value);
}

int BacklightStrengthHome::seen() const {
    const int value = m_light->control.value;
    return value != m_light->control.min ? value : m_light->strength.load();
}

int BacklightStrengthHome::read(int& value) {
    const int result = m_light->device.get(m_light->control);
    value = seen();
    return result;
}

int BacklightStrengthHome::write(int value) {
    const int result = m_light->device.set(m_light->control, value);
    if (result == 0) {
        m_light->strength = value;
    }
    return result;
}

std::string BacklightStrengthHome::holder(unsigned int& command) const {
    command = CMD_BACKLIGHT_SWITCH;
    return isHeld() ? "backlight compensation is off" : "";
}

unsigned int BacklightStrengthHome::master() const {
    return CMD_BACKLIGHT_SWITCH;
}

FlipHome::FlipHome(unsigned int cmd, std::shared_ptr<Flips> flips)
    : Home(cmd), m_flips(std::move(flips)) {}

namespace {

/// The flips, 1 across and 2 upside down, that a mirroring and a position ask for.
int flipsFor(int mirror, int hanging) {
    if (hanging == 0) {
        return mirror;
    }
    return (mirror == 1 ? 2 : mirror == 2 ? 1 : mirror) ^ 3;
}

} // namespace

Values FlipHome::values() const {
    Values values;
    if (cmd() == CMD_MIRROR) {
        for (int mirror = 0; mirror <= 3; ++mirror) {
            if (takes(mirror)) {
                values.max = mirror;
                constexpr const char* names[] = {"off", "horizontal", "vertical", "both"};
                values.choices.push_back({mirror, names[mirror]});
            }
        }
        values.listed = true;
    }
    return values;
}

bool FlipHome::takes(int value) const {
    const int most =
        (m_flips->across != nullptr ? 1 : 0) | (m_flips->upsideDown != nullptr ? 2 : 0);
    return cmd() == CMD_MIRROR ? value >= 0 && (value & ~most) == 0 : value == 0 || value == 1;
}

std::string FlipHome::control() const {
    return namesOf(m_flips->across, m_flips->upsideDown);
}

/// The mirroring that the flips amount to, also those that another program set.
int FlipHome::mirrored() const {
    const Control* across = m_flips->across;
    const Control* upsideDown = m_flips->upsideDown;
    const int flips = (across != nullptr && across->value != 0 ? 1 : 0) |
                      (upsideDown != nullptr && upsideDown->value != 0 ? 2 : 0);
    int mirror = 0;
    while (mirror < 3 && flipsFor(mirror, m_flips->hanging) != flips) {
        ++mirror;
    }
    return mirror;
}

int FlipHome::seen() const {
    return cmd() == CMD_MIRROR ? mirrored() : m_flips->hanging.load();
}

int FlipHome::read(int& value) {
    const int result = readBoth(m_flips->device, m_flips->across, m_flips->upsideDown);
    value = seen();
    return result;
}

int FlipHome::write(int value) {
    Flips& flips = *m_flips;
    const bool isMirror = cmd() == CMD_MIRROR;
    const int mirror = isMirror ? value : mirrored();
    const int hanging = isMirror ? flips.hanging.load() : value;
    const int wanted = flipsFor(mirror, hanging);
    const int across = wanted & 1;
    const int upsideDown = wanted >> 1;
    const int result = flips.upsideDown == nullptr ? flips.device.set(*flips.across, across)
                       : flips.across == nullptr
                           ? flips.device.set(*flips.upsideDown, upsideDown)
                           : flips.device.set(*flips.across, across, *flips.upsideDown, upsideDown);
    if (result == 0) {
        flips.hanging = hanging;
    }
    return result;
}

} // namespace image_adjust::v4l2
