#include "host/Core.h"

#include <algorithm>

#include "Entry.h"
#include "ImageAdjustRecords.h"
#include "LinuxFramework.h"
#include "Recording.h"
#include "SensorRules.h"
#include "SensorWdrFlag.h"

namespace host {
namespace {

constexpr int kMostTries = 3;
constexpr std::chrono::milliseconds kBetweenTries(200);

} // namespace

bool Core::deviceGone() const {
    return m_gone || m_layer->state() == image_adjust::DeviceState::Gone;
}

/// Reads a command's value; of a shared record, its own field.
std::optional<int> Core::readValue(u32 command, int* code) const {
    int words[image_adjust::RECORD_WORDS_MAX] = {};
    const int result = ia_ioctrl(command, IA_CMD_OPT_GET, words);
    if (code != nullptr) {
        *code = result;
    }
    if (result != 0) {
        return std::nullopt;
    }
    return words[command - image_adjust::recordOf(command).first];
}

std::optional<Limits> Core::readLimits(u32 command) const {
    ia_dynamic_params_attr_st range{};
    if (ia_ioctrl(command, IA_CMD_OPT_GET_PARAM_RNAGE, &range) != 0) {
        return std::nullopt;
    }
    const int count = std::clamp<int>(range.items_cnt, 0, IA_DYNAMIC_ITEM_MAX);
    Limits limits{range.min_value, range.max_value, std::max(m_layer->about(command).step, 1),
                  std::vector<int>(range.item, range.item + count)};
    return limits;
}

void Core::readRestrictions() {
    ia_dynamic_params_cmds_st list{};
    m_restricted.clear();
    if (ia_ioctrl(IA_CMD_DYNAMIC_PARAMS_CMDS_GET, IA_CMD_OPT_GET, &list) == 0) {
        const int count = std::clamp<int>(list.cmd_cnt, 0, IA_DYNAMIC_CMD_MAX);
        m_restricted.assign(list.cmd_list, list.cmd_list + count);
    }
    m_wideDynamicRangeShown = getshowWDRFalg();
}

/// Asks the device for every value and flag, and for the ranges too.
void Core::readDevice(bool limitsToo) {
    if (limitsToo) {
        m_rangesStale = false;
        const std::vector<int> restricted = m_restricted;
        const bool shown = m_wideDynamicRangeShown;
        readRestrictions();
        bool other = restricted != m_restricted || shown != m_wideDynamicRangeShown;
        for (std::size_t i = 0; i < m_readings.size(); ++i) {
            const Parameter& about = m_catalogue->parameters[i];
            Reading& read = m_readings[i];
            if (about.storedOnly()) {
                continue;
            }
            const bool isRestricted =
                std::find(m_restricted.begin(), m_restricted.end(),
                          static_cast<int>(about.command)) != m_restricted.end();
            std::optional<Limits> limits = readLimits(about.command);
            other = other ||
                    (isRestricted && limits && read.limits && limits->items != read.limits->items);
            if (limits) {
                read.limits = std::move(limits);
            }
            read.restricted = isRestricted;
        }
        if (other) {
            makeCatalogueNow(); // the user interface leaves out what the sensor does not take
        }
    }
    for (std::size_t i = 0; i < m_readings.size(); ++i) {
        const Parameter& about = m_catalogue->parameters[i];
        if (!about.storedOnly()) {
            Reading& read = m_readings[i];
            int code = 0;
            read.value = readValue(about.command, &code);
            read.unsupported = code == IA_ERR_UNSUPPORTED || code == IA_ERR_UNKNOWN_CMD;
            seeState(about.key);
        }
    }
    m_changed = true;
}

/// Asks the layer what holds a key or keeps it without effect.
void Core::seeState(u32 key) {
    const Parameter* about = parameter(key);
    if (about != nullptr && !about->storedOnly()) {
        reading(key).state =
            std::make_shared<const image_adjust::CommandState>(m_layer->about(about->command));
    }
}

/// What the device is to have; none where the host knows nothing better than the device.
std::optional<int> Core::expected(const Parameter& about) const {
    const auto overlay = m_overlays.find(about.key);
    std::optional<int> value =
        overlay != m_overlays.end() ? overlay->second.value : m_memory.stored(m_scheme, about.key);
    if (value && about.key == KEY_MIRROR) {
        const int turnedAway = m_memory.stored(m_scheme, KEY_BEAWAY).value_or(0);
        value = static_cast<int>(
            effectiveMirror(static_cast<u32>(*value), static_cast<u32>(turnedAway)));
    }
    if (value && about.key == KEY_DN_MODE && overlay == m_overlays.end() && lightDecides()) {
        value = SENSOR_DN_MODE_BY_LIGHT;
    }
    return value;
}

/// Whether the device is held to the value of a key. Positions of the lens are not:
/// they move by themselves.
bool Core::isCompared(const Parameter& about) const {
    const bool position = about.key == KEY_MF_POSITION || about.key == KEY_MZ_POSITION;
    return m_memory.holds(about.key) && !about.storedOnly() && !position &&
           about.kind != Parameter::Kind::Button;
}

void Core::settleSoon(std::chrono::milliseconds after) {
    const Clock::time_point at = Clock::now() + after;
    if (!m_settleAt || at < *m_settleAt) {
        m_settleAt = at;
    }
    m_settled = false;
}

/// Something has changed that may have been in the way.
void Core::tryAllAgain() {
    m_differences.clear();
    settleSoon(std::chrono::milliseconds(0));
}

/// Sends what a key is to have. @return 0, or what the library gave
int Core::bring(const Parameter& about) {
    const auto overlay = m_overlays.find(about.key);
    if (overlay != m_overlays.end()) {
        return sendOverlay(about, overlay->second.value);
    }
    if (about.key == KEY_DN_MODE && lightDecides()) {
        return m_controller->setParameter(KEY_DN_MODE, SENSOR_DN_MODE_BY_LIGHT, false);
    }
    return m_controller->restore(static_cast<int>(about.key));
}

/// @param again  values that were given up are tried once more
void Core::settle(bool again) {
    m_settleAt.reset();
    m_lastSettle = Clock::now();
    m_lastSettleCamera = linux_framework::deviceMicroseconds();
    m_changed = true;
    if (deviceGone()) {
        m_gone = true;
        m_settled = false;
        return; // its return is told, and everything is sent then
    }
    m_memory.refresh(*m_controller, m_scheme);
    readDevice(again || m_rangesStale);
    readNight();
    std::vector<const Parameter*> wrong;
    for (const u32 key : m_memory.keys()) {
        const Parameter& about = *parameter(key);
        const Reading& read = reading(key);
        if (!isCompared(about) || !read.state->supported || read.unsupported) {
            m_differences.erase(key);
            continue;
        }
        const bool known = read.state->readable;
        const bool same = known ? read.value == expected(about) : m_mustSend.count(key) == 0;
        if (same) {
            m_differences.erase(key);
        } else {
            wrong.push_back(&about);
        }
    }
    m_mustSend.clear();
    m_settled = wrong.empty();
    if (wrong.empty()) {
        return;
    }
    const int before = m_scheme;
    const ScheduleHold hold(*this);
    if (m_scheme != before) {
        settleSoon(std::chrono::milliseconds(0));
        return;
    }
    // Masters first: what they set free is refused or forgotten before.
    std::stable_partition(wrong.begin(), wrong.end(), [](const Parameter* about) {
        return !about->enables.empty() || about->kind == Parameter::Kind::Switch ||
               about->kind == Parameter::Kind::Choice;
    });
    JournalEntry entry;
    entry.origin.cause = Cause::Restore;
    entry.cameraTime = cameraTime();
    bool more = false;
    for (const Parameter* about : wrong) {
        more = bringBack(*about, again, entry) || more;
    }
    if (!entry.changes.empty()) {
        journal.add(std::move(entry));
    }
    m_settled = !more;
    if (more) {
        settleSoon(kBetweenTries);
    }
}

/// Tries to give the device a value that it lacks.
/// @return whether it is to be tried again
bool Core::bringBack(const Parameter& about, bool again, JournalEntry& entry) {
    Difference& difference = m_differences[about.key];
    Reading& read = reading(about.key);
    const std::optional<int> due = expected(about);
    difference.key = about.key;
    difference.wanted = due.value_or(0);
    difference.readBack = read.value;
    if (read.state->held && read.state->wanted == difference.wanted) {
        difference.refusal = blockOf(about, read);
        difference.givenUp = true;
        return false; // the layer has it and sends it when it can
    }
    if (difference.tries >= kMostTries && !again) {
        return false;
    }
    const std::optional<int> before = read.value;
    ++difference.tries;
    const int result = bring(about);
    difference.refusal = result == 0 ? Refusal() : refusalOf(about, difference.wanted);
    if (result == 0 && !read.state->readable) {
        m_differences.erase(about.key);
        return false;
    }
    int code = 0;
    read.value = readValue(about.command, &code);
    difference.readBack = read.value;
    if (read.value == due) {
        if (before && before != due) {
            entry.changes.push_back({about.key, -1, before, due});
        }
        m_differences.erase(about.key);
        return false;
    }
    if (result == 0) {
        difference.refusal = blockOf(about, read);
        if (difference.refusal.reason == Reason::None) {
            difference.refusal.reason = Reason::LayerFault;
            difference.refusal.code = code;
            difference.refusal.detail = read.value
                                            ? "the device keeps " + std::to_string(*read.value)
                                            : "the device does not tell what it has";
        }
    }
    difference.givenUp = difference.tries >= kMostTries;
    return !difference.givenUp;
}

/// The whole scheme in force, to a device that may have lost all of it.
void Core::applyWhole() {
    const image_adjust::OperationScope scope(++m_operation);
    const ScheduleHold hold(*this);
    if (lightDecides()) {
        m_controller->LPR_switch_to(m_scheme);
    } else {
        m_controller->switch_to(m_scheme, true);
    }
    m_version.clear();
    m_controller->getCameraVerInf(m_version);
    for (const u32 key : m_memory.keys()) {
        if (m_overlays.count(key) != 0) {
            bring(*parameter(key));
        }
        m_mustSend.insert(key); // the walk ends at the first refusal
    }
    readDevice(true);
    tryAllAgain();
}

/// A value that the device or another program on it changed.
void Core::noteOutsideChange(const image_adjust::LayerEvent& event, JournalEntry& entry) {
    for (const Parameter& about : m_catalogue->parameters) {
        if (about.command != event.command || about.storedOnly()) {
            continue;
        }
        const std::optional<int> due = expected(about);
        Reading& read = reading(about.key);
        entry.note = "changed by another program";
        entry.changes.push_back({about.key, -1, read.value, event.value});
        read.value = event.value;
        if (isCompared(about) && due != event.value && !m_options.schemeWinsBack) {
            m_overlays[about.key] = {event.value, false};
        }
        journal.add(entry);
        m_differences.erase(about.key);
        settleSoon(std::chrono::milliseconds(0));
        return;
    }
}

/// The failure of the last set of a command in this operation, or in the dry run of it.
std::optional<int> Core::failureOf(u32 command) const {
    const image_adjust::Recording* recording = image_adjust::Recording::current();
    if (recording == nullptr) {
        return m_watch.failure(command, m_operation);
    }
    const auto& sets = recording->sets();
    const auto last = std::find_if(sets.rbegin(), sets.rend(),
                                   [command](const auto& set) { return set.cmd == command; });
    return last == sets.rend() || last->result == 0 ? std::nullopt
                                                    : std::optional<int>(last->result);
}

Refusal Core::refusalOf(const Parameter& about, int value) const {
    Refusal refusal;
    const std::optional<int> code = failureOf(about.command);
    const image_adjust::CommandState state = m_layer->about(about.command);
    refusal.code = code.value_or(0);
    refusal.detail = state.lastFailure;
    refusal.reason = Reason::LayerFault;
    if (m_layer->state() == image_adjust::DeviceState::Gone) {
        refusal.reason = Reason::Gone;
    } else if (!code) {
        refusal.detail = "the video module refused";
    } else if (!state.supported || *code == IA_ERR_UNSUPPORTED || *code == IA_ERR_UNKNOWN_CMD) {
        refusal.reason = state.blocker.empty() ? Reason::Unsupported : Reason::Blocked;
    } else if (*code == IA_ERR_BUSY) {
        refusal.reason = Reason::Busy;
    } else if (*code == IA_ERR_RANGE) {
        refusal.allowed = readLimits(about.command);
        // The range is not blamed for what it allows.
        if (refusal.allowed && !refusal.allowed->allows(value)) {
            refusal.reason = refusal.allowed->items.empty() ? Reason::Range : Reason::Choices;
        } else {
            refusal.allowed.reset();
        }
    }
    if (refusal.reason == Reason::Blocked) {
        refusal.detail = state.blocker;
        refusal.blocker = state.blockerCommand;
    }
    return refusal;
}

void Core::handle(const Refresh& /*operation*/, Work& /*work*/) {
    readDevice(true);
    readNight();
}

void Core::handle(const Settle& /*operation*/, Work& work) {
    settle(true);
    for (const auto& [key, difference] : m_differences) {
        KeyOutcome outcome;
        outcome.key = key;
        outcome.wanted = difference.wanted;
        outcome.taken = difference.readBack;
        outcome.refusal = difference.refusal;
        outcome.result = KeyResult::Refused;
        work.outcome.keys.push_back(outcome);
    }
    if (deviceGone()) {
        refuse(work, Reason::Gone);
    } else {
        summarize(work);
    }
}

} // namespace host
