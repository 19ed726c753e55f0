#include "Device.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <system_error>

namespace image_adjust::v4l2 {
namespace {

// A driver that always has one more control would keep the start for ever.
constexpr int mostControls = 1000;
constexpr int longestMenu = 256;

bool isUsable(const v4l2_queryctrl& answer) {
    switch (answer.type) {
        case V4L2_CTRL_TYPE_INTEGER:
        case V4L2_CTRL_TYPE_BOOLEAN:
        case V4L2_CTRL_TYPE_MENU:
        case V4L2_CTRL_TYPE_INTEGER_MENU:
        case V4L2_CTRL_TYPE_BITMASK:
        case V4L2_CTRL_TYPE_BUTTON:
            break;
        default:
            return false;
    }
    return (answer.flags & V4L2_CTRL_FLAG_DISABLED) == 0 && answer.minimum <= answer.maximum;
}

void describe(Control& to, const v4l2_queryctrl& answer) {
    to.flags = answer.flags;
    to.min = answer.minimum;
    to.max = answer.maximum;
    to.step = std::max(answer.step, 1);
    to.defaultValue = answer.default_value;
}

} // namespace

bool Control::takes(int wanted) const {
    if (isMenu()) {
        return std::any_of(menu.begin(), menu.end(),
                           [wanted](const Item& item) { return item.index == wanted; });
    }
    const int low = min;
    return wanted >= low && wanted <= max &&
           (static_cast<long long>(wanted) - low) % std::max<int>(step, 1) == 0;
}

std::string errorText(int result) {
    return result == OTHER_TAKEN ? "the driver took another value"
                                 : std::generic_category().message(-result);
}

Device::Device(DeviceCalls& calls, const std::string& node, int fd)
    : m_calls(calls), m_node(node), m_fd(fd) {}

Device::~Device() {
    shut();
}

void Device::shut() {
    if (m_fd >= 0) {
        m_calls.close(m_fd);
    }
    m_fd = -1;
}

std::unique_ptr<Device> Device::open(DeviceCalls& calls, const std::string& node,
                                     const std::vector<unsigned int>& wanted,
                                     std::string& problem) {
    const int fd = calls.open(node.c_str());
    if (fd < 0) {
        problem = node + ": " + errorText(fd);
        return nullptr;
    }
    std::unique_ptr<Device> device(new Device(calls, node, fd));
    int result = device->call(VIDIOC_QUERYCAP, &device->m_capability);
    if (result >= 0) {
        const v4l2_capability& is = device->m_capability;
        const unsigned int caps =
            (is.capabilities & V4L2_CAP_DEVICE_CAPS) != 0 ? is.device_caps : is.capabilities;
        if ((caps & V4L2_CAP_VIDEO_CAPTURE) == 0) {
            problem = node + ": no camera, it gives no pictures";
            return nullptr;
        }
        result = device->queryAll(wanted);
    }
    if (result < 0) {
        problem = node + ": " + (result == -ENOTTY ? "no camera" : errorText(result));
        return nullptr;
    }
    device->readAll();
    return device;
}

int Device::queryAll(const std::vector<unsigned int>& wanted) {
    v4l2_queryctrl answer = {};
    answer.id = V4L2_CTRL_FLAG_NEXT_CTRL;
    int result = 0;
    for (int i = 0; i < mostControls; ++i) {
        result = call(VIDIOC_QUERYCTRL, &answer);
        if (result < 0) {
            break;
        }
        if (isUsable(answer) && std::binary_search(wanted.begin(), wanted.end(), answer.id)) {
            auto control = std::make_unique<Control>();
            control->id = answer.id;
            control->type = answer.type;
            describe(*control, answer);
            if (control->isMenu()) {
                queryMenu(*control);
            }
            v4l2_event_subscription events = {};
            events.type = V4L2_EVENT_CTRL;
            events.id = answer.id;
            // Where a driver has no events, changes are seen when the value is read.
            call(VIDIOC_SUBSCRIBE_EVENT, &events);
            m_controls.push_back(std::move(control));
        }
        answer.id |= V4L2_CTRL_FLAG_NEXT_CTRL;
    }
    return result == -EINVAL || result == -ENOTTY ? 0 : result;
}

void Device::queryMenu(Control& menu) {
    const long long last = std::min<long long>(menu.max, 0LL + menu.min + longestMenu - 1);
    for (long long index = menu.min; index <= last; ++index) {
        v4l2_querymenu item = {};
        item.id = menu.id;
        item.index = static_cast<unsigned int>(index);
        if (call(VIDIOC_QUERYMENU, &item) < 0) {
            continue; // menus have holes
        }
        const char* name = reinterpret_cast<const char*>(item.name);
        menu.menu.push_back(
            {static_cast<int>(index), menu.type == V4L2_CTRL_TYPE_INTEGER_MENU
                                          ? std::to_string(item.value)
                                          : std::string(name, strnlen(name, sizeof item.name))});
    }
}

/// All in one call; one by one where the driver will not.
void Device::readAll() {
    std::vector<v4l2_ext_control> values;
    for (const auto& control : m_controls) {
        control->value = control->defaultValue.load();
        if (control->isReadable() && control->type != V4L2_CTRL_TYPE_BUTTON) {
            values.emplace_back();
            values.back().id = control->id;
        }
    }
    v4l2_ext_controls all = {};
    all.count = static_cast<unsigned int>(values.size());
    all.controls = values.data();
    const bool together = call(VIDIOC_G_EXT_CTRLS, &all) >= 0;
    for (const v4l2_ext_control& value : values) {
        Control& control = *find(value.id);
        if (together) {
            control.value = value.value;
        } else {
            get(control);
        }
    }
}

Control* Device::find(unsigned int id) const {
    const auto found = std::lower_bound(
        m_controls.begin(), m_controls.end(), id,
        [](const std::unique_ptr<Control>& left, unsigned int right) { return left->id < right; });
    return found != m_controls.end() && (*found)->id == id ? found->get() : nullptr;
}

int Device::get(Control& wanted) {
    v4l2_control answer = {wanted.id, 0};
    const int result = call(VIDIOC_G_CTRL, &answer);
    if (result < 0) {
        return result;
    }
    wanted.value = answer.value;
    return 0;
}

int Device::set(Control& wanted, int value) {
    const int before = wanted.value;
    v4l2_control order = {wanted.id, value};
    const int result = call(VIDIOC_S_CTRL, &order);
    if (result < 0) {
        return result;
    }
    if (wanted.isReadable() && wanted.type != V4L2_CTRL_TYPE_BUTTON && order.value != value) {
        order.value = before;
        call(VIDIOC_S_CTRL, &order);
        return OTHER_TAKEN;
    }
    wanted.value = value;
    return 0;
}

int Device::set(Control& first, int firstValue, Control& second, int secondValue) {
    const int before = first.value;
    int result = set(first, firstValue);
    if (result == 0) {
        result = set(second, secondValue);
        if (result != 0 && before != firstValue) {
            set(first, before);
        }
    }
    return result;
}

int Device::correct(const Control& wanted, int& value) {
    v4l2_ext_control question = {};
    question.id = wanted.id;
    question.value = value;
    v4l2_ext_controls one = {};
    one.count = 1;
    one.controls = &question;
    const int result = call(VIDIOC_TRY_EXT_CTRLS, &one);
    if (result < 0) {
        return result;
    }
    value = question.value;
    return 0;
}

void Device::refresh(Control& wanted) {
    v4l2_queryctrl answer = {};
    answer.id = wanted.id;
    if (call(VIDIOC_QUERYCTRL, &answer) >= 0) {
        describe(wanted, answer);
    }
}

Control* Device::takeEvent() {
    v4l2_event event = {};
    while (call(VIDIOC_DQEVENT, &event) >= 0) {
        Control* control = event.type == V4L2_EVENT_CTRL ? find(event.id) : nullptr;
        if (control == nullptr) {
            continue;
        }
        const v4l2_event_ctrl& now = event.u.ctrl;
        control->flags = now.flags;
        if ((now.changes & V4L2_EVENT_CTRL_CH_RANGE) != 0) {
            control->min = now.minimum;
            control->max = now.maximum;
            control->step = std::max(now.step, 1);
            control->defaultValue = now.default_value;
        }
        return control;
    }
    return nullptr;
}

void Device::stopAt(Control& moving, std::chrono::steady_clock::time_point when) {
    for (Stop& stop : m_stops) {
        if (stop.control == &moving) {
            stop.when = when;
            return;
        }
    }
    m_stops.push_back({&moving, when});
}

bool Device::stops(const Control& moving) const {
    return std::any_of(m_stops.begin(), m_stops.end(),
                       [&moving](const Stop& stop) { return stop.control == &moving; });
}

int Device::stopDue() {
    const auto now = std::chrono::steady_clock::now();
    long long next = -1;
    for (std::size_t i = 0; i < m_stops.size();) {
        if (m_stops[i].when <= now) {
            Control& moving = *m_stops[i].control;
            m_stops.erase(m_stops.begin() + static_cast<std::ptrdiff_t>(i));
            set(moving, 0);
            continue;
        }
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(m_stops[i].when - now).count();
        next = next < 0 ? left + 1 : std::min<long long>(next, left + 1);
        ++i;
    }
    return static_cast<int>(next);
}

} // namespace image_adjust::v4l2
