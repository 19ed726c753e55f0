#include "KeyNames.h"

#include <algorithm>
#include <climits>

#include "ISensorController.h"
#include "SensorKeyVal.h"
#include "Text.h"

namespace host {
namespace {

const char kPrefix[] = "key-";

std::string shortName(const std::string& name) {
    const std::string low = lowered(name);
    return low.compare(0, sizeof kPrefix - 1, kPrefix) == 0 ? low.substr(sizeof kPrefix - 1) : low;
}

bool onlyNumbers(const std::string& text) {
    return text.find_first_not_of("0123456789-,()") == std::string::npos;
}

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
        problem = quoted(text.substr(position, end + 1 - position)) +
                  " is no parameter; allowed: (KEY,VALUE) or KEY=VALUE";
        return false;
    }
    key = trim(inside.substr(0, split));
    value = trim(inside.substr(split + 1));
    position = end + (bracketed ? 1 : 0);
    return true;
}

} // namespace

const keycmd* keyRow(u32 key) {
    const keycmd* end = g_pKeyCmdMap + g_nKeyCmdNum;
    const keycmd* row =
        std::find_if(static_cast<const keycmd*>(g_pKeyCmdMap), end,
                     [key](const keycmd& candidate) { return candidate.key == key; });
    return row == end ? nullptr : row;
}

std::string keyName(u32 key) {
    const keycmd* row = keyRow(key);
    return row == nullptr ? std::to_string(static_cast<int>(key)) : row->name;
}

std::vector<std::string> shortKeyNames() {
    std::vector<std::string> names;
    names.reserve(static_cast<std::size_t>(g_nKeyCmdNum));
    for (int i = 0; i < g_nKeyCmdNum; ++i) {
        names.push_back(shortName(g_pKeyCmdMap[i].name));
    }
    return names;
}

bool readKey(const std::string& text, u32& key, std::string& problem) {
    int number = 0;
    if (readInt(text, number)) {
        key = static_cast<u32>(number);
        return true;
    }
    const std::string name = shortName(text);
    for (int i = 0; i < g_nKeyCmdNum; ++i) {
        if (shortName(g_pKeyCmdMap[i].name) == name) {
            key = g_pKeyCmdMap[i].key;
            return true;
        }
    }
    problem = "no key " + quoted(text) + didYouMean(name, shortKeyNames()) +
              " (a key is a number or a name; 'keys' lists them)";
    return false;
}

bool readLayerCommand(const std::string& text, u32& command, std::string& problem) {
    if (!readKey(text, command, problem)) {
        return false;
    }
    int number = 0;
    if (readInt(text, number)) {
        return true;
    }
    const keycmd* row = keyRow(command);
    if (row == nullptr || row->ia_cmd == 0) {
        problem = quoted(text) + " is only stored; no command of the layer carries it";
        return false;
    }
    command = row->ia_cmd;
    return true;
}

bool readQuery(const std::string& text, std::string& query, std::string& problem) {
    if (text[0] == '(' && onlyNumbers(text)) {
        query = text;
        return true;
    }
    std::string list = text;
    if (list.size() > 1 && list.front() == '(' && list.back() == ')') {
        list = list.substr(1, list.size() - 2);
    }
    std::replace(list.begin(), list.end(), ',', ' ');
    query.clear();
    for (const std::string& word : words(list, text.size())) {
        u32 key = 0;
        if (!readKey(word, key, problem)) {
            return false;
        }
        query += (query.empty() ? "(" : ",") + std::to_string(static_cast<int>(key));
    }
    query += ')';
    return true;
}

PairResult readPairs(const std::string& argument, std::vector<KeyVal>& pairs, std::string& text,
                     std::string& problem) {
    for (std::size_t position = 0;
         (position = argument.find_first_not_of(" \t", position)) != std::string::npos;) {
        std::string key;
        std::string value;
        if (!nextPair(argument, position, key, value, problem)) {
            return PairResult::malformed;
        }
        long long keyNumber = 0;
        long long number = 0;
        if (!readNumber(value, number)) {
            problem = "value " + quoted(value) + " of " + quoted(key) + " is no number";
            return PairResult::malformed;
        }
        KeyVal pair{};
        // Numbers beyond 32 bits become the nearest that fits, as everywhere in pair text.
        if (readNumber(key, keyNumber)) {
            keyNumber = std::clamp<long long>(keyNumber, INT_MIN, INT_MAX);
            pair.key = static_cast<u32>(static_cast<int>(keyNumber));
        } else if (!readKey(key, pair.key, problem)) {
            return PairResult::unknownKey;
        }
        number = std::clamp<long long>(number, INT_MIN, INT_MAX);
        pair.value = static_cast<u32>(static_cast<int>(number));
        pairs.push_back(pair);
    }
    text.clear();
    if (onlyNumbers(argument)) {
        text = argument;
    } else {
        keyval_st2str(text, pairs.data(), static_cast<u32>(pairs.size()));
    }
    return PairResult::good;
}

} // namespace host
