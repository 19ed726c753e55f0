// An image-adjust layer that remembers what it is told, correct for every option. Where the values
// are remembered, a layer of your own calls your sensor.
#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <mutex>

#include "ImageAdjust.h"

namespace {

struct Control {
    unsigned int cmd;
    int least, most, usual; // the last one is the default
};

// Every command that can be set, ascending. Commands that share a record lie side by side, in the
// order of its fields.
constexpr Control controls[] = {
    {16, 0, 3, 0},       {34, 0, 255, 128},
    {49, 0, 100, 3},     {50, 0, 100, 5},
    {65, 0, 100, 60},    {66, 0, 100, 30},
    {80, 0, 1, 1},       {81, 1, 10, 5},
    {82, 0, 100, 50},    {83, 0, 1, 0},
    {84, 0, 1, 0},       {85, 0, 10, 5},
    {96, 0, 4, 0},       {112, 0, 1, 0},
    {113, 0, 100, 50},   {128, 0, 1, 0},
    {129, 0, 4, 0},      {130, 0, 100, 50},
    {144, 0, 3, 0},      {145, 0, 100, 20},
    {146, 0, 100, 40},   {147, 1, 120, 5},
    {149, 0, 23, 18},    {150, 0, 59, 0},
    {151, 0, 23, 6},     {152, 0, 59, 0},
    {160, 0, 1, 1},      {161, 0, 2, 0},
    {162, 0, 100, 100},  {163, 0, 100, 50},
    {164, 0, 100, 100},  {165, 0, 100, 50},
    {166, 0, 100, 100},  {167, 0, 100, 50},
    {176, 0, 1, 0},      {768, 0, 5, 0},
    {770, 0, 255, 128},  {771, 0, 255, 128},
    {1536, 0, 1, 0},     {1537, 0, 10, 1},
    {1538, 0, 2, 1},     {1539, 0, 1, 0},
    {1552, 0, 1000, 0},  {1553, 0, 1, 0},
    {1554, 0, 1, 0},     {1568, 16384, 32000, 16384},
    {1569, 0, 1, 0},     {1570, 0, 1, 0},
    {1571, 1, 8, 4},     {1584, 0, 1, 0},
    {1616, 0, 1, 0},     {1632, 0, 1, 0},
    {2304, 0, 1, 1},     {2305, 0, 1, 0},
    {2306, 0, 100, 50},  {2307, 0, 100, 50},
    {2308, 0, 1, 1},     {2309, 0, 1, 0},
    {2312, 0, 100, 50},  {2313, 0, 100, 50},
    {2321, 0, 255, 128}, {2337, 0, 255, 128},
    {2353, 0, 255, 128}, {2368, 0, 2, 0},
    {2369, 0, 100, 50},  {2384, 0, 3, 0},
    {2385, 0, 1, 0},     {2400, 0, 1, 0},
    {2401, 0, 100, 50},  {2416, 0, 1, 0},
    {2417, 0, 100, 50},  {2432, 0, 1, 0},
    {2433, 1, 32, 8},    {2434, 0, 128, 0},
    {2435, 0, 128, 128}, {2436, 0, 128, 64},
    {2437, 0, 128, 0},   {2438, 0, 128, 128},
    {2439, 0, 128, 64},  {2464, 1, 60, 25},
    {2512, 0, 1, 0},     {2528, 0, 3, 0},
    {2560, 0, 1, 0},
};
constexpr std::size_t controlCount = std::size(controls);

std::mutex mutex; // several threads call
std::array<int, controlCount> values = [] {
    std::array<int, controlCount> usual{};
    std::transform(std::begin(controls), std::end(controls), usual.begin(),
                   [](const Control& control) { return control.usual; });
    return usual;
}();

/// What one call of option 0 or 1 carries.
struct Record {
    std::size_t first; // of its controls
    std::size_t words;
};

Record recordOf(std::size_t index) {
    const unsigned int cmd = controls[index].cmd;
    if (cmd == 145 || cmd == 146) {
        return {index - (cmd - 145), sizeof(dn_thr_st) / sizeof(int)};
    }
    if (cmd >= 149 && cmd <= 152) {
        return {index - (cmd - 149), sizeof(dn_time_st) / sizeof(int)};
    }
    return {index, 1};
}

int set(const Record& record, const void* data) {
    int wanted[4];
    memcpy(wanted, data, record.words * sizeof(int));
    for (std::size_t i = 0; i < record.words; ++i) {
        const Control& control = controls[record.first + i];
        if (wanted[i] < control.least || wanted[i] > control.most) {
            return IA_ERR_RANGE; // nothing has changed yet
        }
    }
    memcpy(&values[record.first], wanted, record.words * sizeof(int));
    return 0;
}

int useControl(std::size_t index, unsigned int opt, void* data) {
    const Control& control = controls[index];
    const Record record = recordOf(index);
    switch (opt) {
        case IA_CMD_OPT_SET:
            return set(record, data);
        case IA_CMD_OPT_GET:
            memcpy(data, &values[record.first], record.words * sizeof(int));
            return 0;
        case IA_CMD_OPT_GET_PARAM_RNAGE: {
            const ia_dynamic_params_attr_st range = {
                values[index], control.usual, control.least, control.most, 0, {}};
            memcpy(data, &range, sizeof range);
            return 0;
        }
        case IA_CMD_OPT_CORRECT_PARAM: {
            int value = 0;
            memcpy(&value, data, sizeof value);
            value = std::clamp(value, control.least, control.most);
            memcpy(data, &value, sizeof value);
            return 0;
        }
        case IA_CMD_OPT_GET_EXEC_STATUS:
            memset(data, 0, sizeof(int)); // nothing takes time here
            return 0;
        default:
            return IA_ERR_ARGUMENT;
    }
}

std::size_t bytesTold(unsigned int cmd) {
    switch (cmd) {
        case IA_CMD_DN_STATE:
        case IA_CMD_AF_STATISTIC:
            return sizeof(int);
        case IA_CMD_CAMERA_VERSION:
            return IA_VERSION_SIZE;
        case IA_CMD_DYNAMIC_PARAMS_CMDS_GET:
            return sizeof(ia_dynamic_params_cmds_st);
        default:
            return 0;
    }
}

/// The commands that only tell something; they have no other option than get.
int tell(unsigned int cmd, unsigned int opt, void* data) {
    const std::size_t size = bytesTold(cmd);
    if (size == 0) {
        return IA_ERR_UNKNOWN_CMD;
    }
    if (opt != IA_CMD_OPT_GET) {
        return IA_ERR_ARGUMENT;
    }
    memset(data, 0, size); // by day, not sharp, nothing restricted
    if (cmd == IA_CMD_CAMERA_VERSION) {
        strncpy(static_cast<char*>(data), "example 1.0", size);
    }
    return 0;
}

} // namespace

extern "C" int ia_ioctrl(unsigned int cmd, unsigned int opt, void* data) {
    if (data == nullptr) {
        return IA_ERR_ARGUMENT;
    }
    const std::lock_guard<std::mutex> lock(mutex);
    const Control* found = std::lower_bound(
        std::begin(controls), std::end(controls), cmd,
        [](const Control& control, unsigned int wanted) { return control.cmd < wanted; });
    const auto index = static_cast<std::size_t>(found - controls);
    return index < controlCount && found->cmd == cmd ? useControl(index, opt, data)
                                                     : tell(cmd, opt, data);
}
