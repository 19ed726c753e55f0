#include "Words.h"

#include <algorithm>
#include <climits>

#include "host/Text.h"

namespace imgctl {
namespace {

constexpr int kEnglish = 0;

/// Reads the parameter that begins at a position, "(key,value)" or "key=value", and goes on behind
/// it.
bool nextPair(const std::string& text, std::size_t& position, std::string& key, std::string& value,
              std::string& problem) {
    const bool bracketed = text[position] == '(';
    const std::size_t end = std::min(
        bracketed ? text.find(')', position) : text.find_first_of(" \t(", position), text.size());
    const bool closed = !bracketed || end < text.size();
    const std::size_t begin = position + (bracketed ? 1 : 0);
    const std::string inside = text.substr(begin, end - begin);
    const std::size_t split = inside.find(bracketed ? ',' : '=');
    if (!closed || split == std::string::npos) {
        problem = host::quoted(text.substr(position, end + 1 - position)) +
                  " is no parameter; allowed: (KEY,VALUE) or KEY=VALUE";
        return false;
    }
    key = host::trim(inside.substr(0, split));
    value = host::trim(inside.substr(split + 1));
    position = end + (bracketed ? 1 : 0);
    return true;
}

} // namespace

std::string keyName(const host::Snapshot& now, u32 key) {
    return host::keyName(*now.catalogue, key);
}

bool readKey(const host::Snapshot& now, const std::string& text, u32& key, std::string& problem) {
    return host::readKey(*now.catalogue, text, kEnglish, key, problem);
}

bool readLayerCommand(const host::Snapshot& now, const std::string& text, u32& command,
                      std::string& problem) {
    if (!readKey(now, text, command, problem)) {
        return false;
    }
    int number = 0;
    if (host::readInt(text, number)) {
        return true;
    }
    const host::Parameter* parameter = now.parameter(command);
    if (parameter == nullptr || parameter->storedOnly()) {
        problem = host::quoted(text) + " is only stored; no command of the layer carries it";
        return false;
    }
    command = parameter->command;
    return true;
}

bool readQuery(const host::Snapshot& now, const std::string& text, std::vector<u32>& keys,
               std::string& problem) {
    std::string list = text;
    if (list.size() > 1 && list.front() == '(' && list.back() == ')') {
        list = list.substr(1, list.size() - 2);
    }
    std::replace(list.begin(), list.end(), ',', ' ');
    for (const std::string& word : host::words(list, text.size())) {
        u32 key = 0;
        if (!readKey(now, word, key, problem)) {
            return false;
        }
        keys.push_back(key);
    }
    problem = host::quoted(text) + " is no query; allowed: KEY or (KEY,KEY,...)";
    return !keys.empty();
}

PairResult readPairs(const host::Snapshot& now, const std::string& argument,
                     std::vector<host::Pair>& pairs, std::string& problem) {
    for (std::size_t position = 0;
         (position = argument.find_first_not_of(" \t", position)) != std::string::npos;) {
        std::string key;
        std::string value;
        if (!nextPair(argument, position, key, value, problem)) {
            return PairResult::malformed;
        }
        host::Pair pair{};
        long long number = 0;
        if (host::readNumber(key, number)) {
            // Numbers beyond 32 bits become the nearest that fits, as everywhere in pair text.
            number = std::clamp<long long>(number, INT_MIN, INT_MAX);
            pair.key = static_cast<u32>(static_cast<int>(number));
        } else if (!readKey(now, key, pair.key, problem)) {
            return PairResult::unknownKey;
        }
        if (!host::readValue(*now.catalogue, pair.key, value, kEnglish, pair.value, problem)) {
            return PairResult::malformed;
        }
        pairs.push_back(pair);
    }
    return PairResult::good;
}

} // namespace imgctl
