#include "host/Core.h"

#include <algorithm>

#include "ImageAdjustRecords.h"
#include "Recording.h"
#include "SensorWdrFlag.h"
#include "host/Sentences.h"

namespace host {
namespace {

constexpr int kNotInScheme = -1; ///< the library's answer to a restore
constexpr char kNotApplied[] = "a time window is not applied";

bool isRefused(const KeyOutcome& outcome) {
    return outcome.result == KeyResult::Refused;
}

/// What this is, without the layer: for stored-only keys the style's range, else their own.
Limits limitsOfStored(const Parameter& about) {
    if (about.style) {
        return *about.style;
    }
    const bool hour = about.key == KEY_SCHEME_START_HOUR || about.key == KEY_SCHEME_END_HOUR;
    return {0, about.key == KEY_SCHEME_ENABLE ? 1 : hour ? 24 : 59, 1, {}};
}

Refusal outside(const Limits& limits) {
    Refusal refusal;
    refusal.reason = limits.items.empty() ? Reason::Range : Reason::Choices;
    refusal.allowed = limits;
    return refusal;
}

Refusal withReason(Reason reason, std::string detail = {}) {
    Refusal refusal;
    refusal.reason = reason;
    refusal.detail = std::move(detail);
    return refusal;
}

} // namespace

void refuse(Work& work, Reason reason, std::string detail) {
    work.outcome.result = reason == Reason::Conflict ? Result::Conflict : Result::Refused;
    work.outcome.refusal = withReason(reason, std::move(detail));
}

void addChange(Work& work, const Change& change) {
    if (!work.dryRun && change.before != change.after) {
        work.entry.changes.push_back(change);
    }
}

std::optional<int> Core::storedNow(u32 key) {
    u32 value = 0;
    return m_controller->getKeyValFromCache(static_cast<u32>(m_scheme), key, value) < 0
               ? std::nullopt
               : std::optional<int>(static_cast<int>(value));
}

std::optional<int> Core::inForce(const Parameter& about) const {
    const auto overlay = m_overlays.find(about.key);
    if (overlay != m_overlays.end()) {
        return overlay->second.value;
    }
    const std::optional<int> stored = m_memory.stored(m_scheme, about.key);
    return stored ? stored : m_readings[m_catalogue->indexOf(about.key)].value;
}

bool Core::knownKeys(const std::vector<Pair>& pairs, Work& work) const {
    for (const Pair& pair : pairs) {
        if (parameter(pair.key) == nullptr) {
            refuse(work, Reason::UnknownKey);
            KeyOutcome outcome;
            outcome.key = pair.key;
            outcome.wanted = pair.value;
            outcome.result = KeyResult::Refused;
            outcome.refusal = work.outcome.refusal;
            work.outcome.keys.push_back(outcome);
            return false;
        }
    }
    return true;
}

/// Refuses values of which none can be applied, and of a trial, which is all or nothing, those of
/// which one cannot.
bool Core::canApply(const std::vector<Pair>& pairs, Manner manner, Work& work) const {
    const auto stored = static_cast<std::size_t>(
        std::count_if(pairs.begin(), pairs.end(),
                      [this](const Pair& pair) { return parameter(pair.key)->storedOnly(); }));
    if (stored == 0 || (manner == Manner::Apply && stored < pairs.size())) {
        return true;
    }
    refuse(work, Reason::Window, kNotApplied);
    for (const Pair& pair : pairs) {
        KeyOutcome outcome;
        outcome.key = pair.key;
        outcome.wanted = pair.value;
        if (parameter(pair.key)->storedOnly()) {
            outcome.result = KeyResult::Refused;
            outcome.refusal = work.outcome.refusal;
        }
        work.outcome.keys.push_back(outcome);
    }
    return false;
}

/// The result of the whole, from what became of each key.
void Core::summarize(Work& work) {
    Outcome& outcome = work.outcome;
    const auto refused = std::find_if(outcome.keys.begin(), outcome.keys.end(), isRefused);
    const bool differently = std::any_of(
        outcome.keys.begin(), outcome.keys.end(),
        [](const KeyOutcome& key) { return key.result == KeyResult::TakenDifferently; });
    if (refused != outcome.keys.end()) {
        outcome.refusal = refused->refusal;
    }
    if (refused == outcome.keys.end()) {
        outcome.result = differently ? Result::Partly : Result::Done;
    } else {
        outcome.result = refused == outcome.keys.begin() ? Result::Refused : Result::Partly;
    }
}

void Core::handle(const SetValues& operation, Work& work) {
    if (!knownKeys(operation.values, work)) {
        return;
    }
    const ScheduleHold hold(*this);
    const int target = operation.scheme.value_or(m_scheme);
    work.outcome.scheme = m_scheme;
    if (!m_memory.exists(target)) {
        refuse(work, Reason::NoScheme);
        return;
    }
    if (target != m_scheme && operation.otherwise == WhenNotInForce::Conflict) {
        refuse(work, Reason::Conflict, "scheme " + std::to_string(m_scheme) + " is in force");
        return;
    }
    work.outcome.scheme = target;
    if (operation.dryRun) {
        dryRun(operation, target, work);
    } else if (target == m_scheme) {
        applyAll(operation.values, Manner::Record, work);
    } else {
        recordAll(target, operation.values, work);
    }
}

/// The request as it would run, with this thread's calls of the layer kept from it, and everything
/// that it changed in memory put back.
void Core::dryRun(const SetValues& operation, int target, Work& work) {
    work.dryRun = true;
    const auto overlays = m_overlays;
    const auto trial = m_trial;
    const auto differences = m_differences;
    const auto readings = m_readings;
    const auto settleAt = m_settleAt;
    const std::vector<KeyVal> before = m_memory.records(target);
    {
        const image_adjust::Recording recording;
        if (target == m_scheme) {
            applyAll(operation.values, Manner::Record, work);
        } else {
            recordAll(target, operation.values, work);
        }
        for (const auto& set : recording.sets()) {
            work.outcome.commands.push_back(
                {set.cmd, std::vector<int>(set.words.begin(), set.words.end()), set.result});
        }
    }
    for (KeyOutcome& outcome : work.outcome.keys) {
        outcome.dryRun = true;
    }
    for (const KeyVal& pair : before) {
        m_controller->setKeyValToCache(static_cast<u32>(target), pair.key, pair.value, false);
    }
    m_overlays = overlays;
    m_trial = trial;
    m_differences = differences;
    m_readings = readings;
    m_settleAt = settleAt;
}

void Core::handle(const ApplyValues& operation, Work& work) {
    if (!knownKeys(operation.values, work)) {
        return;
    }
    if (!canApply(operation.values, Manner::Apply, work)) {
        return;
    }
    const ScheduleHold hold(*this);
    work.outcome.scheme = m_scheme;
    applyAll(operation.values, Manner::Apply, work);
}

void Core::applyAll(const std::vector<Pair>& pairs, Manner manner, Work& work) {
    bool refused = false;
    for (const Pair& pair : pairs) {
        KeyOutcome outcome;
        outcome.key = pair.key;
        outcome.wanted = pair.value;
        work.outcome.keys.push_back(refused ? outcome : applyOne(pair, manner, work));
        refused = refused || isRefused(work.outcome.keys.back());
    }
    work.written.insert(m_scheme);
    summarize(work);
    settleSoon(std::chrono::milliseconds(200));
}

void Core::recordAll(int number, const std::vector<Pair>& pairs, Work& work) {
    bool refused = false;
    for (const Pair& pair : pairs) {
        KeyOutcome outcome;
        outcome.key = pair.key;
        outcome.wanted = pair.value;
        work.outcome.keys.push_back(refused ? outcome : recordOne(number, pair, work));
        refused = refused || isRefused(work.outcome.keys.back());
    }
    summarize(work);
}

/// What a key takes now; of a device that does not tell, what it told last.
std::optional<Limits> Core::limitsNow(const Parameter& about) {
    std::optional<Limits> limits = readLimits(about.command);
    if (limits) {
        return limits;
    }
    const Reading& read = reading(about.key);
    return read.limits ? read.limits : about.style;
}

/// Records a value without applying it: in a scheme that is not in force, or of a key that no
/// command carries.
KeyOutcome Core::recordOne(int number, const Pair& pair, Work& work) {
    const Parameter& about = *parameter(pair.key);
    KeyOutcome outcome;
    outcome.key = pair.key;
    outcome.wanted = pair.value;
    outcome.result = KeyResult::Refused;
    if (!m_memory.isTimed(number)) {
        outcome.refusal = withReason(Reason::NoScheme,
                                     "nothing can be recorded in the default "
                                     "scheme");
        return outcome;
    }
    if (!m_memory.holds(pair.key)) {
        outcome.refusal = withReason(Reason::NotInScheme);
        return outcome;
    }
    const std::optional<Limits> limits =
        about.storedOnly() ? std::optional<Limits>(limitsOfStored(about)) : limitsNow(about);
    if (limits && !limits->allows(pair.value)) {
        outcome.refusal = outside(*limits);
        return outcome;
    }
    outcome.scheme = number == m_scheme ? -1 : number;
    u32 before = 0;
    m_controller->getKeyValFromCache(static_cast<u32>(number), pair.key, before);
    outcome.before = static_cast<int>(before);
    outcome.taken = pair.value;
    if (outcome.before == pair.value) {
        outcome.result = KeyResult::AlreadyInForce;
        return outcome;
    }
    m_controller->setKeyValToCache(static_cast<u32>(number), pair.key, static_cast<u32>(pair.value),
                                   false);
    outcome.result = KeyResult::Changed;
    work.written.insert(number);
    addChange(work, {pair.key, number, outcome.before, pair.value});
    m_nextFor = about.storedOnly() ? -1 : m_nextFor;
    return outcome;
}

/// Sends a value that is not to be recorded. Where commands share a record, the other fields go
/// along as they are in force, not as they are recorded.
int Core::sendOverlay(const Parameter& about, int value) {
    const image_adjust::Record record = image_adjust::recordOf(about.command);
    if (record.words == 1) {
        return m_controller->setParameter(static_cast<int>(about.key), value, false);
    }
    int words[image_adjust::RECORD_WORDS_MAX] = {};
    for (u32 field = 0; field < record.words; ++field) {
        const u32 key = record.first + field; // these commands carry the numbers of their keys
        const Parameter* other = parameter(key);
        words[field] = key == about.key   ? value
                       : other == nullptr ? 0
                                          : inForce(*other).value_or(0);
    }
    return m_controller->doIaCmd(about.command, IA_CMD_OPT_SET, words);
}

KeyOutcome Core::applyOne(const Pair& pair, Manner manner, Work& work) {
    const Parameter& about = *parameter(pair.key);
    const bool record = manner == Manner::Record && m_memory.isTimed(m_scheme);
    if (about.storedOnly() && manner == Manner::Record) {
        return recordOne(m_scheme, pair, work);
    }
    KeyOutcome outcome;
    outcome.key = pair.key;
    outcome.wanted = pair.value;
    outcome.before = inForce(about);
    if (about.storedOnly()) {
        outcome.refusal = withReason(Reason::Window, kNotApplied);
        return outcome; // and what comes behind it is applied
    }
    const std::optional<int> stored = storedNow(pair.key);
    const auto overlay = m_overlays.find(pair.key);
    const bool covered = overlay != m_overlays.end();
    const bool differs = m_differences.count(pair.key) != 0;
    if (pair.key == KEY_WDR_MODE && !getshowWDRFalg() && pair.value != 0) {
        outcome.result = KeyResult::Refused;
        outcome.refusal = blockOf(about, reading(pair.key));
        return outcome;
    }
    const bool again = record && stored == pair.value;
    if ((again && !covered && !differs) || (manner == Manner::Record && !record && !differs &&
                                            outcome.before == pair.value && about.inScheme())) {
        outcome.result = KeyResult::AlreadyInForce;
        outcome.taken = pair.value;
        return outcome;
    }
    // A value that is recorded already is passed over by the library, whatever the device has.
    const int result =
        again    ? m_controller->restore(static_cast<int>(pair.key))
        : record ? m_controller->setParameter(static_cast<int>(pair.key), pair.value, true)
                 : sendOverlay(about, pair.value);
    // Some of the library's handlers pass over a refusal of the layer.
    const bool passedOver = result == 0 && failureOf(about.command);
    if (result != 0 || passedOver) {
        outcome.result = KeyResult::Refused;
        outcome.refusal = refusalOf(about, pair.value);
        if (passedOver && record && stored) {
            m_controller->setKeyValToCache(static_cast<u32>(m_scheme), pair.key,
                                           static_cast<u32>(*stored), false);
            m_controller->restore(static_cast<int>(pair.key)); // the video module was told, too
        }
        return outcome;
    }
    m_mustSend.erase(pair.key);
    if (record) {
        endTrialOf(pair.key, work);
        m_overlays.erase(pair.key);
    } else if (about.inScheme()) {
        if (manner != Manner::Try) {
            endTrialOf(pair.key, work);
        }
        m_overlays[pair.key] = {pair.value, manner == Manner::Try};
    }
    seeWhatItTook(about, manner, work, outcome);
    return outcome;
}

/// Looks what the scheme and the device have after a value was sent.
void Core::seeWhatItTook(const Parameter& about, Manner manner, Work& work, KeyOutcome& outcome) {
    const bool record = manner == Manner::Record && m_memory.isTimed(m_scheme);
    Reading& read = reading(about.key);
    read.value = readValue(about.command);
    const std::optional<int> storedBefore = m_memory.stored(m_scheme, about.key);
    const std::optional<int> stored = storedNow(about.key);
    outcome.taken = record && stored ? *stored : outcome.wanted;
    m_differences.erase(about.key);
    outcome.result = !about.inScheme() ? KeyResult::NotPartOfScheme
                     : record          ? KeyResult::Changed
                                       : KeyResult::NotRecorded;
    const image_adjust::CommandState state = m_layer->about(about.command);
    m_memory.refresh(*m_controller, m_scheme);
    const std::optional<int> due = expected(about);
    if (isCompared(about) && state.readable && read.value && due && read.value != due &&
        !(state.held && state.wanted == *due)) {
        int corrected = outcome.wanted;
        const bool known = ia_ioctrl(about.command, IA_CMD_OPT_CORRECT_PARAM, &corrected) == 0 &&
                           corrected == *read.value;
        if (known && record && due == outcome.wanted) {
            // The device says that this is what it makes of such a value: so it is recorded.
            m_controller->setKeyValToCache(static_cast<u32>(m_scheme), about.key,
                                           static_cast<u32>(*read.value), false);
        } else if (known && !record && about.inScheme()) {
            m_overlays[about.key].value = *read.value;
        }
        outcome.taken = read.value;
        m_memory.refresh(*m_controller, m_scheme);
    }
    if (outcome.taken != outcome.wanted) {
        outcome.result = KeyResult::TakenDifferently;
    }
    if (record && about.inScheme()) {
        addChange(work, {about.key, m_scheme, storedBefore, m_memory.stored(m_scheme, about.key)});
    } else {
        addChange(work, {about.key, -1, outcome.before, outcome.taken});
    }
}

void Core::handle(const Restore& operation, Work& work) {
    const ScheduleHold hold(*this);
    work.outcome.scheme = m_scheme;
    const std::vector<u32>& keys = operation.keys.empty() ? m_memory.keys() : operation.keys;
    for (const u32 key : keys) {
        KeyOutcome outcome;
        outcome.key = key;
        const Parameter* about = parameter(key);
        const std::optional<int> stored = storedNow(key);
        if (about == nullptr || !stored) {
            outcome.result = KeyResult::Refused;
            outcome.refusal =
                withReason(about == nullptr ? Reason::UnknownKey : Reason::NotInScheme);
            work.outcome.keys.push_back(outcome);
            continue;
        }
        outcome.wanted = *stored;
        outcome.before = inForce(*about);
        if (!about->storedOnly()) {
            endTrialOf(key, work);
            m_overlays.erase(key);
            const int result = m_controller->restore(static_cast<int>(key));
            if (result != 0) {
                outcome.result = KeyResult::Refused;
                outcome.refusal = result == kNotInScheme ? withReason(Reason::NotInScheme)
                                                         : refusalOf(*about, *stored);
                work.outcome.keys.push_back(outcome);
                continue;
            }
            seeWhatItTook(*about, Manner::Apply, work, outcome);
        }
        outcome.result =
            outcome.result == KeyResult::TakenDifferently ? outcome.result : KeyResult::Changed;
        work.outcome.keys.push_back(outcome);
    }
    summarize(work);
    settleSoon(std::chrono::milliseconds(200));
}

void Core::handle(const Undo& operation, Work& work) {
    const Journal::Entry entry = journal.find(operation.entry);
    if (entry == nullptr || entry->kind != JournalEntry::Kind::Values) {
        refuse(work, Reason::Nothing, "there is no such change");
        return;
    }
    std::map<int, std::vector<Pair>> wanted;
    for (const Change& change : entry->changes) {
        if (!m_memory.isTimed(change.scheme) || !change.before) {
            continue;
        }
        m_memory.refresh(*m_controller, change.scheme);
        const Journal::Entry newer = journal.newerChangeOf(change.key, change.scheme, *entry);
        // What no entry tells of, the value does.
        if (!operation.force &&
            (newer != nullptr || m_memory.stored(change.scheme, change.key) != change.after)) {
            const Parameter* about = parameter(change.key);
            const bool undone = newer != nullptr && newer->undoes == entry->id;
            const bool reset = newer != nullptr && newer->origin.cause == Cause::Reset;
            const bool known = newer != nullptr && !newer->origin.who.empty();
            refuse(work, Reason::Newer,
                   (about == nullptr ? std::string() : about->label(0)) +
                       (undone  ? " was taken back already"
                        : reset ? " by a reset"
                        : known ? " by " + newer->origin.who
                                : ""));
            return;
        }
        wanted[change.scheme].push_back({change.key, *change.before});
    }
    if (wanted.empty()) {
        refuse(work, Reason::Nothing, "nothing in it was recorded");
        return;
    }
    const ScheduleHold hold(*this);
    work.entry.joins = false; // a change of its own
    work.entry.undoes = entry->id;
    recordWhole(wanted, work);
}

void Core::handle(const ReadKeys& operation, Work& work) {
    for (const u32 key : operation.keys) {
        const Parameter* about = parameter(key);
        int value = 0;
        if (operation.device) {
            const std::optional<int> read = readValue(about == nullptr ? key : about->command);
            if (read) {
                work.outcome.values[key] = *read;
            }
        } else if (m_controller->getParameter(static_cast<int>(key), value)) {
            work.outcome.values[key] = value;
        }
    }
}

void Core::handle(const CorrectScheme& /*operation*/, Work& work) {
    const ScheduleHold hold(*this);
    work.outcome.scheme = m_scheme;
    m_memory.refresh(*m_controller, m_scheme);
    const SchemeMemory::Values before = m_memory.values(m_scheme);
    m_controller->getAllParameters(work.outcome.text);
    m_memory.refresh(*m_controller, m_scheme);
    const SchemeMemory::Values after = m_memory.values(m_scheme);
    for (std::size_t i = 0; i < before->size(); ++i) {
        addChange(work, {m_memory.keys()[i], m_scheme, (*before)[i], (*after)[i]});
    }
    settleSoon(std::chrono::milliseconds(20));
}

} // namespace host
