#include "SimulatedSensor.h"

#include <algorithm>
#include <cstring>

#include "ImageAdjust.h"

namespace simulated_ia {
namespace {

constexpr char version[] = "SimIA 1.0 simulated motor zoom camera";
static_assert(sizeof version <= IA_VERSION_SIZE, "the version text ends with a zero byte");

bool isReadOnly(unsigned int cmd) {
    return cmd == IA_CMD_DN_STATE || cmd == IA_CMD_AF_STATISTIC || cmd == IA_CMD_CAMERA_VERSION ||
           cmd == IA_CMD_DYNAMIC_PARAMS_CMDS_GET;
}

// Callers hand over packed buffers too, so the memory is only ever copied. A record may end within
// its last word.
int reply(void* data, const void* record, unsigned int bytes, Words& out) {
    std::memcpy(data, record, bytes);
    out.count = static_cast<int>((bytes + sizeof(int) - 1) / sizeof(int));
    std::memcpy(out.word, record, bytes);
    return 0;
}

int reply(void* data, int word, Words& out) {
    return reply(data, &word, sizeof word, out);
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
    for (int row = 0; row < COMMAND_COUNT; ++row) {
        m_values[row] = commandRow(row).defaultValue;
    }
    m_lens.reset();
    m_dayNight.reset();
}

int SimulatedSensor::call(unsigned int cmd, unsigned int opt, void* data, Words& in, Words& out) {
    const int row = findCommand(cmd);
    if (data != nullptr && (opt == IA_CMD_OPT_SET || opt == IA_CMD_OPT_CORRECT_PARAM)) {
        in.count = opt == IA_CMD_OPT_SET && row >= 0 ? fieldsOf(row).count : 1;
        std::memcpy(in.word, data, static_cast<unsigned>(in.count) * sizeof(int));
        out = in;
    }
    if (const int fault = faults.next(cmd)) {
        return fault;
    }
    if (row < 0 && !isReadOnly(cmd)) {
        return IA_ERR_UNKNOWN_CMD;
    }
    if (data == nullptr) {
        return IA_ERR_ARGUMENT;
    }
    switch (opt) {
        case IA_CMD_OPT_SET:
            return row >= 0 ? set(row, in) : IA_ERR_ARGUMENT;
        case IA_CMD_OPT_GET:
            return get(cmd, row, data, out);
        case IA_CMD_OPT_GET_PARAM_RNAGE:
            return row >= 0 ? range(row, data, out) : IA_ERR_ARGUMENT;
        case IA_CMD_OPT_CORRECT_PARAM:
            return row >= 0 ? reply(data, restrictions.nearest(commandRow(row), in.word[0]), out)
                            : IA_ERR_ARGUMENT;
        case IA_CMD_OPT_GET_EXEC_STATUS:
            return reply(data, m_lens.busy(cmd, microseconds()) ? 1 : 0, out);
        default:
            return IA_ERR_ARGUMENT;
    }
}

int SimulatedSensor::set(int row, const Words& in) {
    const unsigned int cmd = commandRow(row).cmd;
    const Fields fields = fieldsOf(row);
    for (int i = 0; i < fields.count; ++i) {
        if (!restrictions.accepts(commandRow(fields.first + i), in.word[i])) {
            return IA_ERR_RANGE;
        }
    }
    // The picture changes too fast to search for sharpness in it.
    if (cmd == CMD_FOCUS_ONCE && in.word[0] != 0 && value(IA_CMD_PTZ_RUN_STATE) != 0) {
        return IA_ERR_BUSY;
    }
    std::copy(in.word, in.word + fields.count, m_values + fields.first);
    takeEffect(cmd, in.word[0]);
    return 0;
}

int SimulatedSensor::get(unsigned int cmd, int row, void* data, Words& out) {
    switch (cmd) {
        case IA_CMD_DN_STATE:
            return reply(data, night() ? 1 : 0, out);
        case IA_CMD_AF_STATISTIC:
            return reply(data, static_cast<int>(m_lens.sharpness(microseconds())), out);
        case IA_CMD_CAMERA_VERSION: {
            char text[IA_VERSION_SIZE] = {};
            if (lie.endless) {
                std::memset(text, 'S', sizeof text);
            } else {
                std::memcpy(text, version, sizeof version);
            }
            return reply(data, text, sizeof text, out);
        }
        case IA_CMD_DYNAMIC_PARAMS_CMDS_GET: {
            ia_dynamic_params_cmds_st list = restrictions.list();
            if (lie.active) {
                list.cmd_cnt = lie.cmdCount;
            }
            return reply(data, &list, sizeof list, out);
        }
        default:
            break;
    }
    const Fields fields = fieldsOf(row);
    int record[4] = {};
    for (int i = 0; i < fields.count; ++i) {
        record[i] = current(fields.first + i);
    }
    return reply(data, record, static_cast<unsigned>(fields.count) * sizeof(int), out);
}

int SimulatedSensor::range(int row, void* data, Words& out) {
    ia_dynamic_params_attr_st record = restrictions.range(commandRow(row), current(row));
    if (lie.active) {
        record.items_cnt = lie.itemCount;
    }
    reply(data, &record, sizeof record, out);
    out.count = 5 + std::clamp(record.items_cnt, 0, static_cast<int>(IA_DYNAMIC_ITEM_MAX));
    return 0;
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
