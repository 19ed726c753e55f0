#include "SimulatedSensor.h"

#include <algorithm>
#include <cstring>

#include "ImageAdjustRecords.h"

namespace simulated_ia {
namespace {

constexpr char version[] = "SimIA 1.0 simulated motor zoom camera";
static_assert(sizeof version <= IA_VERSION_SIZE, "the version text ends with a zero byte");

// Words of the longest record that is set.
constexpr unsigned int RECORD_MAX = sizeof(dn_time_st) / sizeof(int);

// Callers hand over packed buffers too, so the memory is only ever copied.
int reply(void* data, const void* record, unsigned int bytes) {
    std::memcpy(data, record, bytes);
    return 0;
}

int reply(void* data, int word) {
    return reply(data, &word, sizeof word);
}

} // namespace

SimulatedSensor::SimulatedSensor() : microseconds(nullptr), minutesOfDay(nullptr) {
    reset();
}

void SimulatedSensor::reset() {
    restrictions.clear();
    faults.clear();
    lie = Lie();
    world = World();
    m_dayNight.reset();
    powerUp();
}

void SimulatedSensor::powerUp() {
    for (int row = 0; row < COMMAND_COUNT; ++row) {
        m_values[row] = commandRow(row).defaultValue;
        m_failures[row] = nullptr;
    }
    m_lens.reset();
    night();
}

int SimulatedSensor::call(unsigned int cmd, unsigned int opt, void* data) {
    const int row = findCommand(cmd);
    const int fault = faults.next(cmd);
    const int result = fault != 0 ? fault : answer(cmd, row, opt, data);
    if (row >= 0) {
        m_failures[row] = fault != 0               ? "it was told to fail"
                          : result == IA_ERR_BUSY  ? "the pan-tilt head is moving"
                          : result == IA_ERR_RANGE ? "the value is not among those it takes"
                          : result != 0            ? "it has no such option"
                                                   : nullptr;
    }
    return result;
}

int SimulatedSensor::answer(unsigned int cmd, int row, unsigned int opt, void* data) {
    if (row < 0 && !image_adjust::isReadOnly(cmd)) {
        return IA_ERR_UNKNOWN_CMD;
    }
    if (data == nullptr) {
        return IA_ERR_ARGUMENT;
    }
    int words[RECORD_MAX];
    switch (opt) {
        case IA_CMD_OPT_SET:
            if (row < 0) {
                return IA_ERR_ARGUMENT;
            }
            std::memcpy(words, data, static_cast<unsigned>(fieldsOf(row).count) * sizeof(int));
            return set(row, words);
        case IA_CMD_OPT_GET:
            return get(cmd, row, data);
        case IA_CMD_OPT_GET_PARAM_RNAGE:
            return row >= 0 ? range(row, data) : IA_ERR_ARGUMENT;
        case IA_CMD_OPT_CORRECT_PARAM:
            std::memcpy(words, data, sizeof words[0]);
            return row >= 0 ? reply(data, restrictions.nearest(commandRow(row), words[0]))
                            : IA_ERR_ARGUMENT;
        case IA_CMD_OPT_GET_EXEC_STATUS:
            return reply(data, m_lens.busy(cmd, microseconds()) ? 1 : 0);
        default:
            return IA_ERR_ARGUMENT;
    }
}

int SimulatedSensor::set(int row, const int* words) {
    const unsigned int cmd = commandRow(row).cmd;
    const Fields fields = fieldsOf(row);
    for (int i = 0; i < fields.count; ++i) {
        if (!restrictions.accepts(commandRow(fields.first + i), words[i])) {
            return IA_ERR_RANGE;
        }
    }
    // The picture changes too fast to search for sharpness in it.
    if (cmd == CMD_FOCUS_ONCE && words[0] != 0 && value(IA_CMD_PTZ_RUN_STATE) != 0) {
        return IA_ERR_BUSY;
    }
    std::copy(words, words + fields.count, m_values + fields.first);
    takeEffect(cmd, words[0]);
    return 0;
}

int SimulatedSensor::get(unsigned int cmd, int row, void* data) {
    switch (cmd) {
        case IA_CMD_DN_STATE:
            return reply(data, night() ? 1 : 0);
        case IA_CMD_AF_STATISTIC:
            return reply(data, static_cast<int>(m_lens.sharpness(microseconds())));
        case IA_CMD_CAMERA_VERSION: {
            char text[IA_VERSION_SIZE] = {};
            if (lie.endless) {
                std::memset(text, 'S', sizeof text);
            } else {
                std::memcpy(text, version, sizeof version);
            }
            return reply(data, text, sizeof text);
        }
        case IA_CMD_DYNAMIC_PARAMS_CMDS_GET: {
            ia_dynamic_params_cmds_st list = restrictions.list();
            if (lie.active) {
                list.cmd_cnt = lie.cmdCount;
            }
            return reply(data, &list, sizeof list);
        }
        default:
            break;
    }
    const Fields fields = fieldsOf(row);
    int record[RECORD_MAX] = {};
    for (int i = 0; i < fields.count; ++i) {
        record[i] = current(fields.first + i);
    }
    return reply(data, record, static_cast<unsigned>(fields.count) * sizeof(int));
}

int SimulatedSensor::range(int row, void* data) {
    ia_dynamic_params_attr_st record = restrictions.range(commandRow(row), current(row));
    if (lie.active) {
        record.items_cnt = lie.itemCount;
    }
    return reply(data, &record, sizeof record);
}

bool SimulatedSensor::change(unsigned int cmd, int newValue) {
    const int row = findCommand(cmd);
    if (row < 0 || !restrictions.accepts(commandRow(row), newValue)) {
        return false;
    }
    m_values[row] = newValue;
    takeEffect(cmd, newValue);
    return true;
}

const Dependency* SimulatedSensor::blocker(unsigned int cmd) const {
    const Dependency* row = nullptr;
    for (int i = 0; (row = dependency(i)) != nullptr; ++i) {
        if (row->cmd == cmd && (row->values >> value(row->master) & 1U) == 0) {
            return row;
        }
    }
    return nullptr;
}

int SimulatedSensor::current(int row) {
    switch (commandRow(row).cmd) {
        case CMD_ZOOM_POSITION:
            return m_lens.zoom(microseconds());
        case CMD_FOCUS_POSITION:
            return m_lens.focus(microseconds());
        default:
            return m_values[row];
    }
}

void SimulatedSensor::takeEffect(unsigned int cmd, int newValue) {
    if (cmd == CMD_IRIS_UP || cmd == CMD_IRIS_DOWN) {
        const int way = cmd == CMD_IRIS_UP ? newValue : -newValue;
        const int row = findCommand(CMD_IRIS_POSITION);
        m_values[row] = std::clamp(m_values[row] + way * value(CMD_IRIS_SPEED), commandRow(row).min,
                                   commandRow(row).max);
    }
    if (cmd >= CMD_DN_MODE && cmd <= CMD_NTD_MIN) {
        night();
    }
    const LensSettings settings = {value(CMD_ZOOM_SPEED), value(CMD_FOCUS_MODE) == 0,
                                   value(IA_CMD_PTZ_RUN_STATE) != 0};
    m_lens.order(cmd, newValue, settings, microseconds());
}

bool SimulatedSensor::night() {
    return m_dayNight.update({value(CMD_DN_MODE), value(CMD_DTN_THR), value(CMD_NTD_THR),
                              value(CMD_DTN_HOUR) * 60 + value(CMD_DTN_MIN),
                              value(CMD_NTD_HOUR) * 60 + value(CMD_NTD_MIN), minutesOfDay});
}

void SimulatedSensor::setLight(unsigned int level) {
    world.light = static_cast<int>(std::min(level, 100U));
    m_dayNight.setLight(level);
    night();
}

void SimulatedSensor::assume(unsigned int cmd, int newValue) {
    const int row = findCommand(cmd);
    if (row >= 0) {
        m_values[row] = std::clamp(newValue, commandRow(row).min, commandRow(row).max);
        takeEffect(cmd, m_values[row]);
    }
}

SensorState SimulatedSensor::state() {
    SensorState state = {};
    for (int row = 0; row < COMMAND_COUNT; ++row) {
        state.values[row] = current(row);
    }
    state.night = night();
    state.world = world;
    return state;
}

bool SimulatedSensor::lampOn() {
    if (!night() || value(CMD_IR_SWITCH) == 0) {
        return false;
    }
    const unsigned int manual = value(CMD_IR_MODE) == 2 ? 1 : 0;
    for (unsigned int cmd = CMD_IR_AUTO_NEAR + manual; cmd <= CMD_IR_MANUAL_FAR; cmd += 2) {
        if (value(cmd) != 0) {
            return true;
        }
    }
    return false;
}

} // namespace simulated_ia
