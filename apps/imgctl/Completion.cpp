#include "Completion.h"

#include <algorithm>

#include "Command.h"
#include "KeyNames.h"
#include "StringHandler.h"
#include "Text.h"

namespace host {
namespace {

bool startsWith(const std::string& text, const std::string& beginning) {
    return text.compare(0, beginning.size(), beginning) == 0;
}

/// The words that a synopsis lists in small letters, such as "focus-far|focus-near".
std::vector<std::string> fixedWords(const std::string& synopsis) {
    std::string list = synopsis;
    list.erase(
        std::remove_if(list.begin(), list.end(), [](char c) { return c == '[' || c == ']'; }),
        list.end());
    std::vector<std::string> pieces;
    StringHandler::split(list, pieces, "|");
    pieces.erase(std::remove_if(pieces.begin(), pieces.end(),
                                [](const std::string& piece) {
                                    return piece.find_first_of("abcdefghijklmnopqrstuvwxyz") ==
                                           std::string::npos;
                                }),
                 pieces.end());
    return pieces;
}

std::vector<std::string> candidatesFor(const std::string& line) {
    const std::vector<std::string> parts = words(line, 2);
    std::vector<std::string> names;
    const bool firstWord = parts.empty() || (parts.size() == 1 && line.back() != ' ');
    for (const Command& command : commands()) {
        if (firstWord) {
            names.emplace_back(command.name);
        } else if (parts[0] == command.name) {
            names = fixedWords(command.synopsis);
        }
    }
    return firstWord || !names.empty() ? names : shortKeyNames();
}

} // namespace

std::vector<std::string> completions(const std::string& line, std::size_t& start) {
    const std::size_t separator = line.find_last_of(" \t(,");
    start = separator == std::string::npos ? 0 : separator + 1;
    std::string word = lowered(line.substr(start));
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

} // namespace host
