#include "host/compliance/Layer.h"

#include <algorithm>
#include <cstring>
#include <thread>

namespace compliance {
namespace {

typedef std::chrono::steady_clock Clock;

constexpr unsigned char guard = 0xC3;
constexpr std::chrono::milliseconds pause(5);

} // namespace

std::string textOf(const Words& words) {
    std::string text;
    for (const int word : words) {
        text += (text.empty() ? "" : ",") + std::to_string(word);
    }
    return text;
}

Place placeOf(unsigned int cmd) {
    const image_adjust::Record record = image_adjust::recordOf(cmd);
    return {record.first, cmd - record.first, record.words};
}

int Layer::call(unsigned int opt, void* record, unsigned int bytes, unsigned int offset) {
    // More than any record, so that a layer that takes the command for another spoils nothing.
    alignas(int) unsigned char room[sizeof(ia_dynamic_params_attr_st) * 2];
    unsigned char* data = room + offset;
    std::memset(room, guard, sizeof room);
    std::memcpy(data, record, bytes);
    const int result = ia_ioctrl(m_cmd, opt, data);
    std::memcpy(record, data, bytes);
    const auto untouched = [](unsigned char byte) { return byte == guard; };
    if (!std::all_of(room, data, untouched) ||
        !std::all_of(data + bytes, room + sizeof room, untouched)) {
        m_findings.fail("option " + std::to_string(opt) + " writes beside its " +
                        std::to_string(bytes) + " bytes");
    }
    if (result > 0) {
        m_findings.fail("option " + std::to_string(opt) + " gives " + std::to_string(result) +
                        ", neither 0 nor negative");
    }
    return result;
}

int Layer::get(Words& words) {
    words.assign(placeOf(m_cmd).count, 0);
    return call(IA_CMD_OPT_GET, words.data(), wordBytes(placeOf(m_cmd).count));
}

int Layer::set(const Words& words) {
    const Clock::time_point end = Clock::now() + m_patience;
    for (;;) {
        Words record = words;
        const int result = call(IA_CMD_OPT_SET, record.data(), wordBytes(words.size()));
        if (result != IA_ERR_BUSY || !m_patient) {
            return result;
        }
        m_patient = Clock::now() < end;
        std::this_thread::sleep_for(pause);
    }
}

int Layer::range(ia_dynamic_params_attr_st& range) {
    range = {};
    return call(IA_CMD_OPT_GET_PARAM_RNAGE, &range, sizeof range);
}

int Layer::correct(int& value) {
    return call(IA_CMD_OPT_CORRECT_PARAM, &value, sizeof value);
}

bool Layer::writesWhole(unsigned int opt, unsigned int bytes, unsigned int needed) {
    // A byte that shows both fillings is the caller's; one that changes by itself shows neither.
    constexpr unsigned char fillings[] = {0xA5, 0x5A};
    std::vector<unsigned char> first(bytes, fillings[0]);
    std::vector<unsigned char> second(bytes, fillings[1]);
    if (call(opt, first.data(), bytes) != 0 || call(opt, second.data(), bytes) != 0) {
        return true; // what fails need not write
    }
    for (unsigned int i = 0; i < needed; ++i) {
        if (first[i] == fillings[0] && second[i] == fillings[1]) {
            return false;
        }
    }
    return true;
}

bool Layer::waitUntilDone() {
    const Clock::time_point end = Clock::now() + m_patience;
    for (;;) {
        int status = 0;
        if (call(IA_CMD_OPT_GET_EXEC_STATUS, &status, sizeof status) != 0 || status == 0) {
            return true;
        }
        if (Clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(pause);
    }
}

} // namespace compliance
