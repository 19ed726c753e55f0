#include "Completion.h"

#include <algorithm>
#include <utility>

#include "Command.h"
#include "host/Text.h"

namespace imgctl {
namespace {

std::vector<std::string>& keys() {
    static std::vector<std::string> names;
    return names;
}

bool startsWith(const std::string& text, const std::string& beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

/// The words that a synopsis lists in small letters, such as "focus-far|focus-near".
std::vector<std::string> fixedWords(const std::string& synopsis) {
    std::string list = synopsis;
    for (char& c : list) {
        c = c == '[' || c == ']' || c == '|' ? ' ' : c;
    }
    std::vector<std::string> pieces = host::words(list, list.size());
    pieces.erase(std::remove_if(pieces.begin(), pieces.end(),
                                [](const std::string& piece) {
                                    return piece.find_first_of("abcdefghijklmnopqrstuvwxyz") ==
                                           std::string::npos;
                                }),
                 pieces.end());
    return pieces;
}

std::vector<std::string> candidatesFor(const std::string& line) {
    const std::vector<std::string> parts = host::words(line, 2);
    std::vector<std::string> names;
    const bool firstWord = parts.empty() || (parts.size() == 1 && line.back() != ' ');
    for (const Command& command : commands()) {
        if (firstWord) {
            names.emplace_back(command.name);
        } else if (parts[0] == command.name) {
            names = fixedWords(command.synopsis);
        }
    }
    return firstWord || !names.empty() ? names : keys();
}

} // namespace

void completeKeys(std::vector<std::string> names) {
    keys() = std::move(names);
}

std::vector<std::string> completions(const std::string& line, std::size_t& start) {
    const std::size_t separator = line.find_last_of(" \t(,");
    start = separator == std::string::npos ? 0 : separator + 1;
    std::string word = host::lowered(line.substr(start));
    if (startsWith(word, "key-")) {
        start += 4;
        word.erase(0, 4);
    }
    std::vector<std::string> found;
    for (const std::string& name : candidatesFor(line)) {
        if (startsWith(name, word)) {
            found.push_back(name);
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

std::string commonBeginning(const std::vector<std::string>& texts) {
    std::string common = texts.empty() ? std::string() : texts.front();
    for (const std::string& text : texts) {
        const auto end = std::mismatch(common.begin(), common.end(), text.begin(), text.end());
        common.erase(end.first, common.end());
    }
    return common;
}

} // namespace imgctl
