#include "Recording.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace image_adjust {
namespace {

thread_local Recording* t_recording = nullptr;

} // namespace

Recording::Recording() : m_outer(std::exchange(t_recording, this)) {}

Recording::~Recording() {
    t_recording = m_outer;
}

Recording* Recording::current() {
    return t_recording;
}

const Recording::Set* Recording::latest(unsigned int cmd) const {
    const unsigned int first = recordOf(cmd).first;
    const auto found = std::find_if(m_sets.rbegin(), m_sets.rend(), [first](const Set& set) {
        return set.result == 0 && recordOf(set.cmd).first == first;
    });
    return found == m_sets.rend() ? nullptr : &*found;
}

int Recording::call(unsigned int cmd, unsigned int opt, void* data, Send send) {
    if (opt == IA_CMD_OPT_SET) {
        return set(cmd, data, send);
    }
    const int result = send(cmd, opt, data);
    const Set* recorded = result == 0 && data != nullptr ? latest(cmd) : nullptr;
    if (recorded != nullptr && opt == IA_CMD_OPT_GET) {
        std::memcpy(data, recorded->words.word, recorded->words.size() * sizeof(int));
    }
    if (recorded != nullptr && opt == IA_CMD_OPT_GET_PARAM_RNAGE) {
        const int value = recorded->words[cmd - recordOf(cmd).first];
        std::memcpy(static_cast<char*>(data) + offsetof(ia_dynamic_params_attr_st, cur_value),
                    &value, sizeof value);
    }
    return result;
}

int Recording::set(unsigned int cmd, const void* data, Send send) {
    Set set{cmd, {}, isReadOnly(cmd) || data == nullptr ? static_cast<int>(IA_ERR_ARGUMENT) : 0};
    const Record record = recordOf(cmd);
    if (data != nullptr) {
        set.words.count = static_cast<int>(record.words);
        std::memcpy(set.words.word, data, record.words * sizeof(int));
    }
    for (unsigned int i = 0; i < record.words && set.result == 0; ++i) {
        int value = set.words[i];
        const int result = send(record.first + i, IA_CMD_OPT_CORRECT_PARAM, &value);
        if (result != 0 && result != IA_ERR_ARGUMENT) {
            set.result = result;
        } else if (result == 0 && value != set.words[i]) {
            set.result = IA_ERR_RANGE;
        }
    }
    try {
        m_sets.push_back(set);
    } catch (const std::bad_alloc&) { // the library behind the caller knows no exceptions
        return IA_ERR_FAILED;
    }
    return set.result;
}

} // namespace image_adjust
