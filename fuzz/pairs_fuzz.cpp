#include <algorithm>
#include <climits>
#include <cstdio>

#include "FuzzCamera.h"

namespace {

std::string held(long number) { // to 32 bits
    return std::to_string(std::clamp<long>(number, INT_MIN, INT_MAX));
}

/// The first pairs of a text, read literally by the rules, on sscanf, and written again.
std::string oracle(const std::string& text, size_t room) {
    std::string pairs;
    long key = 0;
    long value = 0;
    for (size_t at = 0; at < text.size() && room > 0; --room) {
        const size_t open = text.find('(', at);
        const size_t close = text.find(')', at);
        if (open == std::string::npos || open == text.size() - 1 || close == std::string::npos)
            break;
        const size_t length = close > open ? close - open + 1 : std::string::npos;
        if (close + 1 != open)
            sscanf(text.substr(open, length).c_str(), "(%ld,%ld)", &key, &value);
        pairs += '(' + held(key) + ',' + held(value) + ')';
        at = close + 1;
    }
    return pairs;
}

std::string library(const std::string& text, size_t room) {
    std::vector<KeyVal> records(room);
    u32 count = 0;
    keyval_str2st(text, records.data(), &count, static_cast<u32>(room));
    std::string pairs;
    keyval_st2str(pairs, records.data(), count);
    return pairs;
}

} // namespace

/// Pair text, against sscanf, and there and back.
void tryInput(const std::string& input) {
    const std::string pairs = oracle(input, input.size());
    require(library(input, input.size()) == pairs, "pairs are read as sscanf reads them");
    require(library(pairs, pairs.size()) == pairs, "what was written is read again");
    require(library(input, 2) == oracle(input, 2), "with less room the first pairs are read");
}
