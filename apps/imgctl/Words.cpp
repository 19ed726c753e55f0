#include "Words.h"

#include <algorithm>
#include <cctype>

#include "Shown.h"
#include "host/Text.h"

namespace imgctl {
namespace {

constexpr int kEnglish = 0;

/// Where "key=value" ends that begins at a position. Names may hold blanks, of keys and of choices:
/// a blank ends it behind a number, and before a word with "=" of its own.
std::size_t endOfPair(const std::string& text, std::size_t begin) {
    const std::size_t end = std::min(text.find_first_of("(,", begin), text.size());
    const std::size_t value = text.find('=', begin);
    if (value >= end) {
        return end;
    }
    std::size_t blank = text.find_first_of(" \t", text.find_first_not_of(" \t", value + 1));
    for (; blank < end; blank = text.find_first_of(" \t", blank + 1)) {
        long long number = 0;
        const std::string next = text.substr(blank + 1, end - blank - 1);
        if (host::readNumber(host::trim(text.substr(value + 1, blank - value - 1)), number) ||
            next.find('=') < next.find_first_of(" \t")) {
            return blank;
        }
    }
    return end;
}

/// "--save", "-x"; a number, and "-" and "--" alone, are none.
bool isOption(const std::string& word) {
    const std::size_t letter = word.find_first_not_of('-');
    return (letter == 1 || letter == 2) &&
           std::isalpha(static_cast<unsigned char>(word[letter])) != 0;
}

/// Reads the parameter that begins at a position, "(key,value)" or
/// "key=value", and goes on behind it.
bool nextPair(const std::string& text, std::size_t& position, std::string& key, std::string& value,
              std::string& problem) {
    const bool bracketed = text[position] == '(';
    const std::size_t end =
        bracketed ? std::min(text.find(')', position), text.size()) : endOfPair(text, position);
    const bool closed = !bracketed || end < text.size();
    const std::size_t begin = position + (bracketed ? 1 : 0);
    const std::string inside = text.substr(begin, end - begin);
    const std::size_t split = inside.find(bracketed ? ',' : '=');
    if (!closed || split == std::string::npos) {
        problem = host::quoted(text.substr(position, end + 1 - position)) +
                  " gives no key a value; allowed: (KEY,VALUE) or KEY=VALUE";
        return false;
    }
    key = host::trim(inside.substr(0, split));
    value = host::trim(inside.substr(split + 1));
    position = end + (bracketed ? 1 : 0);
    return !key.empty();
}

} // namespace

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

bool readQuery(const std::string& text, std::vector<std::string>& keys, std::string& problem) {
    std::string list = text;
    if (list.size() > 1 && list.front() == '(' && list.back() == ')') {
        list = list.substr(1, list.size() - 2);
    }
    std::replace(list.begin(), list.end(), ',', ' ');
    keys = host::words(list, list.size());
    problem = host::quoted(text) + " is no query; allowed: KEY or (KEY,KEY,...)";
    return !keys.empty();
}

bool readPairs(const std::string& argument, Json& pairs, std::string& problem) {
    pairs = Json::array();
    for (std::size_t position = 0;
         (position = argument.find_first_not_of(" \t,", position)) != std::string::npos;) {
        std::string key;
        std::string value;
        if (!nextPair(argument, position, key, value, problem)) {
            return false;
        }
        pairs.push_back({{"key", key}, {"value", typedValue(value)}});
    }
    problem = "no parameter is given; allowed: (KEY,VALUE) or KEY=VALUE";
    return !pairs.empty();
}

bool takeOptions(std::string& text, const std::vector<std::string>& names,
                 std::vector<std::pair<std::string, std::string>>& options, std::string& problem) {
    const std::vector<std::string> all = host::words(text, text.size());
    if (std::none_of(all.begin(), all.end(), isOption)) {
        return true; // with every blank of it
    }
    std::string rest;
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (!isOption(all[i])) {
            rest += (rest.empty() ? "" : " ") + all[i];
            continue;
        }
        if (std::find(names.begin(), names.end(), all[i]) != names.end()) {
            options.emplace_back(all[i], "");
        } else if (std::find(names.begin(), names.end(), all[i] + "=") == names.end()) {
            std::vector<std::string> known = {"--json"};
            for (const std::string& name : names) {
                known.push_back(name.substr(0, name.find('=')));
            }
            problem = "no option " + host::quoted(all[i]) + host::didYouMean(all[i], known);
            return false;
        } else if (i + 1 == all.size()) {
            problem = all[i] + " needs a value";
            return false;
        } else {
            options.emplace_back(all[i], all[i + 1]);
            ++i;
        }
    }
    text = rest;
    return true;
}

} // namespace imgctl
