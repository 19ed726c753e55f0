#include "CameraLayer.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "Homes_plain.h"

namespace image_adjust::v4l2 {
namespace {

enum : unsigned int {
    CMD_EXPOSURE_MODE = 16,
    CMD_DN_MODE = 144,
    CMD_DTN_THR = 145,
    CMD_NTD_THR = 146,
    CMD_DN_DELAY = 147,
    CMD_DTN_HOUR = 149,
    CMD_NTD_MIN = 152,
    CMD_FOCUS_ONCE = 1539,
    CMD_FREEZE = 2512,
    CMD_DN_FOCUS = 2560,
};

const char unplugged[] = "the camera is unplugged";

// Words of a record that several commands share, beginning with the first of them.
struct Fields {
    unsigned int first;
    unsigned int count;
};
Fields fieldsOf(unsigned int cmd) {
    return cmd == CMD_DTN_THR || cmd == CMD_NTD_THR    ? Fields{CMD_DTN_THR, 2}
           : cmd >= CMD_DTN_HOUR && cmd <= CMD_NTD_MIN ? Fields{CMD_DTN_HOUR, 4}
                                                       : Fields{cmd, 1};
}

bool isOfDayNight(unsigned int cmd) {
    return cmd >= CMD_DN_MODE && cmd <= CMD_NTD_MIN && cmd != 148;
}

bool isTold(unsigned int cmd) {
    return cmd == IA_CMD_DN_STATE || cmd == IA_CMD_AF_STATISTIC || cmd == IA_CMD_CAMERA_VERSION ||
           cmd == IA_CMD_DYNAMIC_PARAMS_CMDS_GET;
}

int reply(void* data, int word) {
    std::memcpy(data, &word, sizeof word);
    return 0;
}

/// The entries of a record's list: only where a list can say it.
bool isListed(const Values& values) {
    const long long steps = (0LL + values.max - values.min) / std::max(values.step, 1) + 1;
    return values.listed ? values.choices.size() <= IA_DYNAMIC_ITEM_MAX
                         : values.step > 1 && steps <= IA_DYNAMIC_ITEM_MAX;
}

std::string refusal(const Values& values, int value) {
    const std::string text = std::to_string(value);
    if (values.listed) {
        std::string names;
        for (const CommandState::Choice& choice : values.choices) {
            names += (names.empty() ? "" : ", ") + std::to_string(choice.value);
        }
        return text + " is not among the camera's values " + names;
    }
    if (value < values.min || value > values.max) {
        return text + " is not within the camera's range " + std::to_string(values.min) + ".." +
               std::to_string(values.max);
    }
    return text + " is between the camera's steps of " + std::to_string(values.step);
}

} // namespace

std::string CameraLayer::device() const {
    const std::lock_guard<std::mutex> lock(m_state);
    return m_title;
}

DeviceState CameraLayer::state(double* since) const {
    const std::lock_guard<std::mutex> lock(m_state);
    const std::chrono::duration<double> away = std::chrono::steady_clock::now() - m_goneAt;
    if (since != nullptr) {
        *since = m_gone ? away.count() : 0;
    }
    return m_gone ? DeviceState::Gone : DeviceState::Present;
}

CameraLayer::Entry* CameraLayer::findIn(const Entries& entries, unsigned int cmd) {
    const auto found = std::lower_bound(
        entries.begin(), entries.end(), cmd,
        [](const Entry& entry, unsigned int wanted) { return entry.home->cmd() < wanted; });
    return found != entries.end() && found->home->cmd() == cmd ? const_cast<Entry*>(&*found)
                                                               : nullptr;
}

CameraLayer::Entry* CameraLayer::find(unsigned int cmd) const {
    Entry* entry = findIn(m_entries, cmd);
    return entry != nullptr ? entry : findIn(m_own, cmd);
}

bool CameraLayer::isOwn(unsigned int cmd) const {
    return findIn(m_own, cmd) != nullptr;
}

bool CameraLayer::isHeldNow(const Entry& entry) const {
    return !entry.home->isOrder() && (entry.refused || entry.home->isHeld());
}

CommandState CameraLayer::about(unsigned int cmd) const {
    CommandState state;
    const std::lock_guard<std::mutex> lock(m_state);
    if (isTold(cmd)) {
        state.supported = cmd == IA_CMD_DN_STATE ? m_options.dayNight : cmd != IA_CMD_AF_STATISTIC;
        return state;
    }
    const Entry* entry = find(cmd);
    if (entry == nullptr && m_device == nullptr && isTabled(cmd)) {
        state.lastFailure = unplugged; // what it has will be seen
        return state;
    }
    if (entry == nullptr) {
        state.supported = false;
        state.lastFailure = isOfDayNight(cmd) ? "day and night are switched off for this camera"
                                              : "the camera has no such control";
        return state;
    }
    const Home& home = *entry->home;
    const Values values = home.values();
    state.readable = !home.isOrder();
    state.step = values.step;
    state.choices = values.choices;
    state.control = home.control();
    state.unit = home.unit();
    state.inactive = entry->refused || home.isHeld();
    state.blocker = home.holder(state.blockerCommand);
    if (state.blocker.empty()) {
        state.blocker = entry->refused ? entry->holder : "";
        state.blockerCommand = 0;
    }
    state.held = isHeldNow(*entry) && entry->known && entry->wanted != home.seen();
    state.wanted = state.held ? entry->wanted : 0;
    state.lastFailure = m_gone && !isOwn(cmd) ? unplugged : entry->lastFailure;
    return state;
}

int CameraLayer::ioctl(unsigned int cmd, unsigned int opt, void* data) {
    const bool told = isTold(cmd);
    const std::lock_guard<std::mutex> lock(m_calls);
    Entry* entry = told ? nullptr : find(cmd);
    if (!told && entry == nullptr) {
        if (m_device == nullptr && isTabled(cmd)) {
            return IA_ERR_FAILED;
        }
        return isTabled(cmd) || isOfDayNight(cmd) || cmd == CMD_DN_FOCUS ? IA_ERR_UNSUPPORTED
                                                                         : IA_ERR_UNKNOWN_CMD;
    }
    if (data == nullptr || opt > IA_CMD_OPT_GET_EXEC_STATUS ||
        (told && opt != IA_CMD_OPT_GET && opt != IA_CMD_OPT_GET_EXEC_STATUS)) {
        return IA_ERR_ARGUMENT;
    }
    if (!told) {
        return callHome(*entry, opt, data);
    }
    if (cmd == IA_CMD_AF_STATISTIC || (cmd == IA_CMD_DN_STATE && !m_options.dayNight)) {
        return IA_ERR_UNSUPPORTED;
    }
    if (opt == IA_CMD_OPT_GET_EXEC_STATUS) {
        return reply(data, 0);
    }
    switch (cmd) {
        case IA_CMD_DN_STATE:
            decideNight();
            return reply(data, m_dayNight.isNight() ? 1 : 0);
        case IA_CMD_CAMERA_VERSION:
            return replyVersion(data);
        default:
            return replyRestricted(data);
    }
}

int CameraLayer::callHome(Entry& entry, unsigned int opt, void* data) {
    const unsigned int cmd = entry.home->cmd();
    int value = 0;
    switch (opt) {
        case IA_CMD_OPT_SET:
            return setFields(cmd, data);
        case IA_CMD_OPT_GET:
            return getFields(cmd, data);
        case IA_CMD_OPT_GET_PARAM_RNAGE:
            return range(entry, data);
        case IA_CMD_OPT_CORRECT_PARAM: {
            std::memcpy(&value, data, sizeof value);
            const int result = m_gone ? 0 : entry.home->correct(value);
            value = m_gone ? nearestOf(entry.home->values(), value) : value;
            return result == 0 ? reply(data, value) : failed(entry, result);
        }
        default: {
            const int result = m_gone && !isOwn(cmd) ? -ENODEV : entry.home->busy();
            return result >= 0 ? reply(data, result) : failed(entry, result);
        }
    }
}

int CameraLayer::setFields(unsigned int cmd, const void* data) {
    const Fields fields = fieldsOf(cmd);
    int words[4] = {};
    std::memcpy(words, data, fields.count * sizeof(int));
    for (unsigned int i = 0; i < fields.count; ++i) {
        Entry& entry = *find(fields.first + i);
        if (!entry.home->takes(words[i])) {
            const std::string why = refusal(entry.home->values(), words[i]);
            const std::lock_guard<std::mutex> lock(m_state);
            entry.lastFailure = why;
            return IA_ERR_RANGE;
        }
    }
    int result = 0;
    bool decides = false; // something that day and night hang on is another now
    for (unsigned int i = 0; i < fields.count && result == 0; ++i) {
        Entry& entry = *find(fields.first + i);
        int before = 0;
        decides =
            decides || (isOfDayNight(cmd) && (entry.home->read(before) != 0 || before != words[i]));
        result = setValue(entry, words[i]);
    }
    if (result == 0 && decides) {
        decideNight();
        const std::lock_guard<std::mutex> lock(m_lightMutex);
        m_lightAgain = true;
        m_lightChanged.notify_all();
    }
    return result;
}

int CameraLayer::getFields(unsigned int cmd, void* data) {
    const Fields fields = fieldsOf(cmd);
    int words[4] = {};
    for (unsigned int i = 0; i < fields.count; ++i) {
        const int result = getValue(*find(fields.first + i), words[i]);
        if (result != 0) {
            return result;
        }
    }
    std::memcpy(data, words, fields.count * sizeof(int));
    return 0;
}

int CameraLayer::setValue(Entry& entry, int value) {
    Home& home = *entry.home;
    if (m_gone && !isOwn(home.cmd())) {
        return failed(entry, -ENODEV);
    }
    if (home.isHeld()) {
        unsigned int ignored = 0;
        const std::string holder = home.holder(ignored);
        const std::lock_guard<std::mutex> lock(m_state);
        if (home.isOrder()) {
            entry.lastFailure = holder;
            return IA_ERR_UNSUPPORTED;
        }
        entry.known = true;
        entry.held = true;
        entry.wanted = value;
        entry.lastFailure.clear();
        return 0;
    }
    const int result = write(entry, value);
    if (result == 0 && entry.isMaster) {
        letGo(home.cmd());
    }
    if (home.isOrder()) {
        wake(); // it may have to be stopped after a time
    }
    return result;
}

/// Hands a value to the device. Where that cannot be now but will be, it is kept, which is success.
int CameraLayer::write(Entry& entry, int value) {
    const int result = entry.home->write(value);
    if (result == 0) {
        const std::lock_guard<std::mutex> lock(m_state);
        entry.known = true;
        entry.wanted = value;
        entry.refused = false;
        entry.seen = entry.home->seen();
        entry.lastFailure.clear();
        return 0;
    }
    const bool waits = result == -EBUSY && m_device != nullptr && m_device->streaming;
    if ((waits || result == -EACCES) && !entry.home->isOrder()) {
        const std::lock_guard<std::mutex> lock(m_state);
        entry.known = true;
        entry.wanted = value;
        entry.refused = true;
        entry.holder = waits ? "it waits until nobody watches the picture"
                             : "the camera does not let it be set in its present mode";
        entry.lastFailure.clear();
        return 0;
    }
    return failed(entry, result);
}

int CameraLayer::getValue(Entry& entry, int& value) {
    if (m_gone && !isOwn(entry.home->cmd())) {
        return failed(entry, -ENODEV);
    }
    if (entry.known && isHeldNow(entry)) {
        value = entry.wanted;
        return 0;
    }
    const int result = entry.home->read(value);
    if (result != 0) {
        return failed(entry, result);
    }
    const std::lock_guard<std::mutex> lock(m_state);
    entry.lastFailure.clear();
    return 0;
}

/// Says why, and which of the layer's failures it is.
int CameraLayer::failed(Entry& entry, int result) {
    std::string why;
    int code = IA_ERR_FAILED;
    if (result == -ENODEV || ((result == -EIO || result == -ENXIO) && isDead())) {
        goGone();
        why = unplugged;
    } else if (result == -EBUSY) {
        code = IA_ERR_BUSY;
        const std::string holders = holdersOf(m_camera.node, m_options.places);
        why = "the camera does not change it while " +
              (holders.empty() ? "its pictures are taken" : "it is used by " + holders);
    } else if (result == -ERANGE || result == -EINVAL) {
        code = IA_ERR_RANGE;
        why = "the camera does not take this value";
    } else if (result == OTHER_TAKEN) {
        why = "the camera took another value, so the one before was put back";
    } else if (result == -EACCES || result == -EPERM) {
        code = IA_ERR_UNSUPPORTED;
        why = "the camera does not let it be used in its present mode";
    } else {
        why = "the camera failed: " + errorText(result);
    }
    const std::lock_guard<std::mutex> lock(m_state);
    entry.lastFailure = why;
    return code;
}

int CameraLayer::range(Entry& entry, void* data) {
    const Values values = entry.home->values();
    ia_dynamic_params_attr_st record = {};
    record.cur_value = entry.known ? entry.wanted : entry.home->seen();
    if (!m_gone || isOwn(entry.home->cmd())) {
        const int result = getValue(entry, record.cur_value);
        if (result != 0) {
            return result;
        }
    }
    record.default_value = values.defaultValue;
    record.min_value = values.min;
    record.max_value = values.max;
    if (isListed(values) && values.listed) {
        for (const CommandState::Choice& choice : values.choices) {
            record.item[record.items_cnt++] = choice.value;
        }
    } else if (isListed(values)) {
        for (long long item = values.min; item <= values.max; item += values.step) {
            record.item[record.items_cnt++] = static_cast<int>(item);
        }
    }
    std::memcpy(data, &record, sizeof record);
    return 0;
}

/// Menus first: there is room for some only, and a control with steps is understood without.
int CameraLayer::replyRestricted(void* data) const {
    ia_dynamic_params_cmds_st list = {};
    for (const bool menus : {true, false}) {
        for (const Entry& entry : m_entries) {
            const Values values = entry.home->values();
            if (values.listed == menus && isListed(values) && list.cmd_cnt < IA_DYNAMIC_CMD_MAX) {
                list.cmd_list[list.cmd_cnt++] = static_cast<int>(entry.home->cmd());
            }
        }
    }
    std::memcpy(data, &list, sizeof list);
    return 0;
}

int CameraLayer::replyVersion(void* data) const {
    if (m_device == nullptr) {
        return IA_ERR_FAILED;
    }
    const v4l2_capability& is = m_device->capability();
    std::string text(reinterpret_cast<const char*>(is.driver),
                     strnlen(reinterpret_cast<const char*>(is.driver), sizeof is.driver));
    text += " " + std::to_string(is.version >> 16U) + "." +
            std::to_string((is.version >> 8U) & 0xFFU) + "." + std::to_string(is.version & 0xFFU) +
            " ";
    text.append(reinterpret_cast<const char*>(is.card),
                strnlen(reinterpret_cast<const char*>(is.card), sizeof is.card));
    text.resize(IA_VERSION_SIZE - 1);
    std::memcpy(data, text.c_str(), IA_VERSION_SIZE);
    return 0;
}

/// Looks who is free after a command has changed; 0: after any may have. Whoever was held and is
/// not any more gets the value that waited.
void CameraLayer::letGo(unsigned int master) {
    for (Entry& entry : m_entries) {
        Home& home = *entry.home;
        if (home.isOrder() || (master != 0 && home.master() != master && !entry.refused)) {
            continue;
        }
        if (master != 0 && home.master() == master) {
            home.refresh();
        }
        const bool was = entry.held || entry.refused;
        {
            const std::lock_guard<std::mutex> lock(m_state);
            entry.held = home.isHeld();
            entry.seen = home.seen();
        }
        if (was && !entry.held && entry.known && !m_gone) {
            write(entry, entry.wanted);
        }
    }
}

/// @return whether the state is another one than the picture shows
void CameraLayer::decideNight() {
    if (!m_options.dayNight) {
        return;
    }
    const std::chrono::duration<double> now = std::chrono::steady_clock::now().time_since_epoch();
    const bool night = m_dayNight.update(m_light, minuteNow(), now.count());
    if (night == m_toldNight || m_gone) {
        return;
    }
    m_toldNight = night;
    Control* colour = m_device->find(V4L2_CID_COLORFX);
    if (colour != nullptr && colour->takes(V4L2_COLORFX_BW)) {
        if (night && colour->value != V4L2_COLORFX_BW) {
            m_colourByDay = colour->value;
        }
        m_device->set(*colour, night ? V4L2_COLORFX_BW : m_colourByDay);
    }
    Entry* focus = findIn(m_entries, CMD_FOCUS_ONCE);
    if (m_focusAtNight != 0 && focus != nullptr) {
        setValue(*focus, 1);
    }
    post(LayerEvent::Kind::ValueChanged, IA_CMD_DN_STATE, night ? 1 : 0);
}

void CameraLayer::enroll(Entries& entries, std::unique_ptr<Home> home) {
    Entry entry;
    entry.held = home->isHeld();
    entry.seen = home->seen();
    entry.home = std::move(home);
    entries.push_back(std::move(entry));
}

void CameraLayer::addOwn() {
    const auto keep = [this](unsigned int cmd, int min, int max, std::atomic<int>& store) {
        Values values;
        values.min = min;
        values.max = max;
        values.defaultValue = store;
        enroll(m_own, std::make_unique<StoredHome>(cmd, values, store));
    };
    if (m_options.dayNight) {
        keep(CMD_DN_MODE, 0, 3, m_settings.mode);
        keep(CMD_DTN_THR, 0, 100, m_settings.dayToNight);
        keep(CMD_NTD_THR, 0, 100, m_settings.nightToDay);
        keep(CMD_DN_DELAY, 1, 120, m_settings.delay);
        keep(CMD_DTN_HOUR, 0, 23, m_settings.nightHour);
        keep(CMD_DTN_HOUR + 1, 0, 59, m_settings.nightMinute);
        keep(CMD_DTN_HOUR + 2, 0, 23, m_settings.dayHour);
        keep(CMD_DTN_HOUR + 3, 0, 59, m_settings.dayMinute);
    }
    keep(IA_CMD_PTZ_RUN_STATE, 0, 1, m_headRuns);
    keep(CMD_FREEZE, 0, 1, m_frozen);
    if (m_options.dayNight &&
        (m_device == nullptr || findIn(m_entries, CMD_FOCUS_ONCE) != nullptr)) {
        keep(CMD_DN_FOCUS, 0, 1, m_focusAtNight);
    }
}

} // namespace image_adjust::v4l2
