#include "Homes_plain.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace image_adjust::v4l2 {
namespace {

typedef std::chrono::steady_clock Clock;

// How long a motor may stand still on its way before it counts as arrived elsewhere.
constexpr std::chrono::milliseconds stillness(300);
// How far one order moves what only knows speeds, and how finely one divides a whole way.
constexpr std::chrono::milliseconds driveTime(200);
constexpr int stepsOfWay = 50;

bool isHolding(const Holder& holder) {
    return holder.control != nullptr && holder.holds(holder.control->value);
}

/// A step that is seen, in steps of the control.
int stepOf(const Control& control) {
    const long long way = 0LL + control.max - control.min;
    const long long step = std::max<int>(control.step, 1);
    return static_cast<int>(std::max(way / stepsOfWay / step, 1LL) * step);
}

} // namespace

int nearestOf(const Values& all, int wanted) {
    if (!all.listed) {
        const long long step = std::max(all.step, 1);
        const long long within = std::clamp(wanted, all.min, all.max);
        const long long steps = (within - all.min + step / 2) / step;
        const long long most = (0LL + all.max - all.min) / step;
        return static_cast<int>(all.min + std::min(steps, most) * step);
    }
    long long best = -1;
    int nearest = wanted;
    for (const CommandState::Choice& choice : all.choices) {
        const long long away = std::llabs(0LL + choice.value - wanted);
        if (best < 0 || away < best) {
            best = away;
            nearest = choice.value;
        }
    }
    return nearest;
}

int Home::correct(int& value) {
    value = nearestOf(values(), value);
    return 0;
}

ControlHome::ControlHome(unsigned int cmd, Device& device, Control& control, const Holder& holder,
                         const char* unit)
    : Home(cmd), m_device(device), m_control(control), m_holder(holder), m_unit(unit) {}

Values ControlHome::values() const {
    Values values;
    values.min = m_control.min;
    values.max = m_control.max;
    values.step = std::max<int>(m_control.step, 1);
    values.defaultValue = m_control.defaultValue;
    for (const Control::Item& item : m_control.menu) {
        values.choices.push_back({item.index, item.name});
    }
    if (m_control.isMenu()) {
        values.step = 1;
        values.listed = true;
        if (!values.choices.empty()) {
            values.min = values.choices.front().value;
            values.max = values.choices.back().value;
        }
    } else {
        // Drivers name ends that they do not take themselves.
        const long long steps = (0LL + values.max - values.min) / values.step;
        values.max = static_cast<int>(values.min + steps * values.step);
    }
    values.defaultValue = nearestOf(values, values.defaultValue);
    return values;
}

int ControlHome::read(int& value) {
    const int result = m_device.get(m_control);
    value = m_control.value;
    return result;
}

int ControlHome::correct(int& value) {
    // Menus have holes, which a driver refuses instead of naming the next entry; and where it does
    // answer, the answer is only as good as what a set would take.
    int answer = std::clamp<int>(value, m_control.min, m_control.max);
    if (!m_control.isMenu()) {
        const int result = m_device.correct(m_control, answer);
        if (result == -ENODEV) {
            return result;
        }
        if (result == 0 && m_control.takes(answer)) {
            value = answer;
            return 0;
        }
    }
    return Home::correct(value);
}

bool ControlHome::isHeld() const {
    return isHolding(m_holder) || m_control.isInactive();
}

std::string ControlHome::holder(unsigned int& command) const {
    command = m_holder.command;
    return isHolding(m_holder)      ? m_holder.text
           : m_control.isInactive() ? "the camera does not use it in its present mode"
                                    : "";
}

bool ControlHome::uses(const Control& control) const {
    return &control == &m_control || &control == m_holder.control;
}

int PositionHome::write(int value) {
    const int result = ControlHome::write(value);
    if (result == 0) {
        m_target = value;
        m_last = value;
        m_moving = true;
        m_seen = Clock::now();
    }
    return result;
}

int PositionHome::busy() {
    int now = 0;
    if (!m_moving) {
        return 0;
    }
    const int result = read(now);
    if (result != 0) {
        return result;
    }
    const Clock::time_point time = Clock::now();
    if (now != m_last) {
        m_last = now;
        m_seen = time;
    }
    m_moving = now != m_target && time - m_seen < stillness;
    return m_moving ? 1 : 0;
}

MappedHome::MappedHome(unsigned int cmd, Device& device, Control& control, const Pair* pairs)
    : Home(cmd), m_device(device), m_control(control), m_pairs(pairs) {
    m_values.listed = true;
    for (const Pair* pair = pairs; pair->name != nullptr; ++pair) {
        if (control.takes(pair->device) && !MappedHome::takes(pair->value)) {
            m_values.choices.push_back({pair->value, pair->name});
        }
    }
    if (!isEmpty()) {
        m_values.min = m_values.choices.front().value;
        m_values.max = m_values.choices.back().value;
        m_values.defaultValue = fromDevice(control.defaultValue);
    }
}

bool MappedHome::takes(int value) const {
    const auto& choices = m_values.choices;
    return std::any_of(choices.begin(), choices.end(), [value](const CommandState::Choice& choice) {
        return choice.value == value;
    });
}

int MappedHome::toDevice(int value) const {
    const Pair* pair = m_pairs;
    while (pair->name != nullptr && pair->value != value) {
        ++pair;
    }
    return pair->device;
}

int MappedHome::fromDevice(int value) const {
    const Pair* pair = m_pairs;
    while (pair->name != nullptr && pair->device != value) {
        ++pair;
    }
    return pair->name != nullptr && takes(pair->value) ? pair->value : m_values.min;
}

int MappedHome::read(int& value) {
    const int result = m_device.get(m_control);
    value = seen();
    return result;
}

OrderHome::OrderHome(unsigned int cmd, Device& device, const Plan& plan, const Holder& holder)
    : Home(cmd), m_device(device), m_plan(plan), m_holder(holder) {}

int OrderHome::read(int& value) {
    value = 0;
    return 0;
}

int OrderHome::write(int value) {
    Control& control = *m_plan.control;
    const bool start = value != 0;
    switch (m_plan.way) {
        case Way::Button:
            if (!start) {
                return m_plan.end != nullptr ? m_device.set(*m_plan.end, 1) : 0;
            }
            return m_device.set(control, 1);
        case Way::Step: {
            const int result = start ? m_device.get(control) : 0;
            if (!start || result != 0) {
                return result;
            }
            Values all;
            all.min = control.min;
            all.max = control.max;
            all.step = control.step;
            const long long to = control.value + 1LL * m_plan.sign * stepOf(control);
            return m_device.set(
                control,
                nearestOf(all, static_cast<int>(std::clamp<long long>(to, all.min, all.max))));
        }
        case Way::Nudge:
            return start ? m_device.set(control, m_plan.sign * std::max<int>(control.step, 1)) : 0;
        case Way::Drive:
            break;
    }
    if (!start) {
        m_device.stopAt(control, Clock::now());
        return 0;
    }
    const int speed = m_plan.speed != nullptr ? m_plan.speed->load() : 1;
    const int result =
        m_device.set(control, std::clamp<int>(m_plan.sign * speed, control.min, control.max));
    if (result == 0) {
        m_device.stopAt(control, Clock::now() + driveTime);
    }
    return result;
}

bool OrderHome::isHeld() const {
    return isHolding(m_holder) || m_plan.control->isInactive();
}

std::string OrderHome::holder(unsigned int& command) const {
    command = m_holder.command;
    return isHolding(m_holder)            ? m_holder.text
           : m_plan.control->isInactive() ? "the camera does not use it in its present mode"
                                          : "";
}

int OrderHome::busy() {
    if (m_plan.way == Way::Drive) {
        return m_device.stops(*m_plan.control) ? 1 : 0;
    }
    if (m_plan.state == nullptr) {
        return 0;
    }
    const int result = m_device.get(*m_plan.state);
    return result != 0 ? result : (m_plan.state->value & V4L2_AUTO_FOCUS_STATUS_BUSY) != 0 ? 1 : 0;
}

int StoredHome::read(int& value) {
    value = m_store;
    return 0;
}

int StoredHome::write(int value) {
    m_store = value;
    return 0;
}

} // namespace image_adjust::v4l2
