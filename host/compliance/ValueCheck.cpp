#include "host/compliance/ValueCheck.h"

#include <algorithm>
#include <climits>

#include "SensorKeys.h"
#include "host/compliance/ConcurrentCheck.h"
#include "host/compliance/ValueRange.h"

namespace compliance {
namespace {

bool isMissing(int result) {
    return result == IA_ERR_UNSUPPORTED || result == IA_ERR_UNKNOWN_CMD;
}

int lowestOf(const ia_dynamic_params_attr_st& range) {
    const std::vector<int> values = settableValues(range);
    return *std::min_element(values.begin(), values.end());
}

int highestOf(const ia_dynamic_params_attr_st& range) {
    const std::vector<int> values = settableValues(range);
    return *std::max_element(values.begin(), values.end());
}

/// One step, where the command takes that, and the default: the ends of the range may be far.
std::vector<int> orderValues(const ia_dynamic_params_attr_st& range) {
    return {isSettable(range, 1) ? 1 : highestOf(range), range.default_value};
}

bool isKnown(const ia_dynamic_params_attr_st& range) {
    return range.min_value <= range.max_value;
}

} // namespace

ValueCheck::ValueCheck(unsigned int cmd, Findings& findings, const Settings& settings)
    : m_cmd(cmd),
      m_findings(findings),
      m_settings(settings),
      m_layer(cmd, findings, settings.patience),
      m_place(placeOf(cmd)),
      m_motion(motionOf(cmd)) {}

bool ValueCheck::run() {
    if (!isReadable()) {
        return false;
    }
    if (!readRanges()) {
        return true;
    }
    if (!isAllSettable(m_before)) {
        m_findings.warn("holds " + textOf(m_before) +
                        ", which it does not take itself, so nothing was set");
        return true;
    }
    const ManualMode manual(m_motion, m_settings.patience);
    try {
        trySets();
    } catch (...) {
        putBack();
        throw;
    }
    putBack();
    return true;
}

bool ValueCheck::isReadable() {
    if (m_motion != nullptr) {
        m_layer.waitUntilDone();
    }
    const int result = m_layer.get(m_before);
    if (isMissing(result)) {
        m_findings.warn("this layer does not have it: get gives " + std::to_string(result));
    } else if (result == IA_ERR_ARGUMENT && m_cmd == IA_CMD_PTZ_RUN_STATE) {
        // It need only be settable.
        m_findings.warn("cannot be read, so nothing was set");
    } else if (result != 0) {
        m_findings.fail("get gives " + std::to_string(result));
    } else if (!m_layer.writesWhole(IA_CMD_OPT_GET, wordBytes(m_place.count),
                                    wordBytes(m_place.count))) {
        m_findings.fail("get leaves some of its " + std::to_string(wordBytes(m_place.count)) +
                        " bytes unwritten");
    }
    return result == 0;
}

bool ValueCheck::readRanges() {
    const int result = m_layer.range(m_range);
    if (result != 0) {
        const std::string what = "range record gives " + std::to_string(result);
        isMissing(result) ? m_findings.warn(what) : m_findings.fail(what);
        return false;
    }
    const std::string problem = rangeProblem(m_range);
    if (!problem.empty()) {
        m_findings.fail(problem);
        return false;
    }
    const std::size_t words = 5 + static_cast<std::size_t>(m_range.items_cnt);
    if (!m_layer.writesWhole(IA_CMD_OPT_GET_PARAM_RNAGE, sizeof m_range, wordBytes(words))) {
        m_findings.fail("range record is left unwritten in places");
    }
    Words now;
    if (m_layer.get(now) == 0 && now == m_before && m_range.cur_value != now[m_place.field]) {
        m_findings.fail("range record says " + std::to_string(m_range.cur_value) + ", get says " +
                        std::to_string(now[m_place.field]));
    }
    if (m_range.items_cnt > 0 && !isListed()) {
        m_findings.warn("takes only some values, but is not in the list of restricted commands");
    }
    for (unsigned int field = 0; field < m_place.count; ++field) {
        ia_dynamic_params_attr_st range = m_range;
        Findings ignored; // its own check tells them
        Layer sibling(m_place.first + field, ignored, m_settings.patience);
        if (field != m_place.field && (sibling.range(range) != 0 || !rangeProblem(range).empty())) {
            range = {};
            range.max_value = -1;
        }
        m_ranges.push_back(range);
    }
    return true;
}

/// What is not listed, the controller does not know to be restricted.
bool ValueCheck::isListed() const {
    Findings ignored;
    ia_dynamic_params_cmds_st list = {};
    Layer(IA_CMD_DYNAMIC_PARAMS_CMDS_GET, ignored, m_settings.patience)
        .call(IA_CMD_OPT_GET, &list, sizeof list);
    const int* begin = list.cmd_list;
    const int* end = begin + std::clamp<int>(list.cmd_cnt, 0, IA_DYNAMIC_CMD_MAX);
    return std::find(begin, end, static_cast<int>(m_cmd)) != end;
}

bool ValueCheck::isAllSettable(const Words& words) const {
    for (std::size_t field = 0; field < words.size(); ++field) {
        if (isKnown(m_ranges[field]) && !isSettable(m_ranges[field], words[field])) {
            return false;
        }
    }
    return true;
}

void ValueCheck::trySets() {
    const bool isOrder = m_motion != nullptr && !m_motion->isPosition;
    bool all = true;
    for (const int value : isOrder ? orderValues(m_range) : settableValues(m_range)) {
        all = setAndRead(value) && all;
    }
    std::vector<int> asked = refusedValues(m_range);
    for (const int value : asked) {
        refuse(value);
    }
    asked.insert(
        asked.end(),
        {INT_MIN, m_range.min_value, m_range.default_value, m_range.max_value, INT_MAX,
         static_cast<int>((static_cast<long long>(m_range.min_value) + m_range.max_value) / 2)});
    for (const int wanted : asked) {
        correct(wanted);
    }
    if (m_motion == nullptr && all) {
        checkConcurrently(m_cmd, recordOf(false), recordOf(true), m_settings.rounds, m_findings);
    }
}

void ValueCheck::putBack() {
    Words now;
    if (m_layer.get(now) == 0 && now == m_before) {
        return;
    }
    const int result = m_layer.set(m_before);
    const bool done = m_layer.waitUntilDone();
    if (result != 0) {
        m_findings.fail("set back to " + textOf(m_before) + " gives " + std::to_string(result));
    } else if (done && (m_layer.get(now) != 0 || now != m_before)) {
        m_findings.fail("set back to " + textOf(m_before) + ", reads " + textOf(now));
    }
}

/// The record with the parameter's own field changed. Day must not turn to night above the light
/// at which night turns to day: the other threshold gives way.
Words ValueCheck::recordWith(int value) const {
    Words record = m_before;
    record[m_place.field] = value;
    if (m_place.first == KEY_DTN_THR && record[0] > record[1]) {
        const unsigned int other = 1 - m_place.field;
        if (isKnown(m_ranges[other])) {
            record[other] = other == 0 ? lowestOf(m_ranges[0]) : highestOf(m_ranges[1]);
        }
    }
    return record;
}

/// The record with every known field at one end, so that no two fields fit a torn one.
Words ValueCheck::recordOf(bool highest) const {
    Words record = m_before;
    for (std::size_t field = 0; field < record.size(); ++field) {
        if (isKnown(m_ranges[field])) {
            record[field] = highest ? highestOf(m_ranges[field]) : lowestOf(m_ranges[field]);
        }
    }
    return record;
}

bool ValueCheck::setAndRead(int value) {
    const Words wanted = recordWith(value);
    const std::string what = "set to " + textOf(wanted);
    const int result = m_layer.set(wanted);
    if (result != 0) {
        const std::string refused = what + " gives " + std::to_string(result);
        const bool notNow =
            result == IA_ERR_UNSUPPORTED || (result == IA_ERR_BUSY && m_motion != nullptr);
        notNow ? m_findings.warn(refused) : m_findings.fail(refused);
        return false;
    }
    if (!m_layer.waitUntilDone()) {
        m_findings.warn(what + ", still under way when patience ended");
        return true;
    }
    Words now;
    if (m_motion != nullptr && !m_motion->isPosition) {
        return true;
    }
    const int read = m_layer.get(now);
    if (read != 0) {
        m_findings.fail(what + ", get gives " + std::to_string(read));
    } else if (now != wanted) {
        m_findings.fail(what + ", reads " + textOf(now));
    }
    return true;
}

void ValueCheck::refuse(int value) {
    Words now;
    Words after;
    m_layer.waitUntilDone();
    const int read = m_layer.get(now);
    if (read != 0) {
        m_findings.fail("get gives " + std::to_string(read));
        return;
    }
    Words wrong = now;
    wrong[m_place.field] = value;
    const std::string what = "set to " + textOf(wrong);
    if (m_layer.set(wrong) >= 0) {
        m_findings.fail(what + " is taken, though the range does not allow it");
        m_layer.waitUntilDone();
        m_layer.set(now);
    } else if (m_layer.get(after) != 0 || after != now) {
        m_findings.fail(what + " is refused, but then " + textOf(now) + " has become " +
                        textOf(after));
    }
}

void ValueCheck::correct(int wanted) {
    Words before;
    Words after;
    m_layer.waitUntilDone();
    const bool readable = m_layer.get(before) == 0;
    int value = wanted;
    const int result = m_layer.correct(value);
    const std::string what = "correct of " + std::to_string(wanted) + " gives ";
    if (result == IA_ERR_UNSUPPORTED) {
        m_findings.warn("correct gives " + std::to_string(result));
    } else if (result != 0) {
        m_findings.fail(what + "result " + std::to_string(result));
    } else if (!isNearest(m_range, wanted, value)) {
        m_findings.fail(what + std::to_string(value) + ", not the nearest");
    }
    if (readable && (m_layer.get(after) != 0 || after != before)) {
        m_findings.fail("correct changes " + textOf(before) + " to " + textOf(after));
    }
}

} // namespace compliance
