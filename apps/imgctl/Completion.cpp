#include "Completion.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <utility>

#include "Command.h"
#include "SensorKeyTable.h"
#include "Shown.h"
#include "host/Text.h"

namespace imgctl {
namespace {

/// The names of the keys, each with those of its choices.
std::map<std::string, std::vector<std::string>>& keys() {
    static std::map<std::string, std::vector<std::string>> names;
    return names;
}

std::vector<std::string> keyNames() {
    std::vector<std::string> names;
    for (const auto& key : keys()) {
        names.push_back(key.first);
    }
    return names;
}

/// The files that a beginning may stand for; folders end with '/'.
std::vector<std::string> files(const std::string& beginning) {
    namespace fs = std::filesystem;
    const std::size_t slash = beginning.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : beginning.substr(0, slash + 1);
    std::vector<std::string> names;
    std::error_code error;
    for (fs::directory_iterator entry(folder.empty() ? "." : folder, error), end;
         !error && entry != end; entry.increment(error)) {
        std::error_code ignored;
        names.push_back(folder + entry->path().filename().string() +
                        (entry->is_directory(ignored) ? "/" : ""));
    }
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
    return firstWord || !names.empty() ? names : keyNames();
}

bool takesFile(const std::string& line) {
    const std::vector<std::string> parts = host::words(line, 2);
    return !parts.empty() &&
           (parts[0] == "export" || parts[0] == "import" || parts[0] == "snapshot") &&
           (parts.size() > 1 || line.back() == ' ');
}

} // namespace

void completeFromTable() {
    for (const SensorKeyRow& row : SENSOR_KEY_TABLE) {
        keys()[host::lowered(row.symbol).substr(sizeof "key-" - 1)];
    }
}

void completeFrom(Client& client) {
    const Answer answer = client.ask("GET", "/parameters");
    if (!answer.good() || !answer.document.is_object()) {
        return; // then commands alone are completed
    }
    for (const Json& parameter : answer.document["parameters"]) {
        std::vector<std::string>& choices = keys()[textOf(parameter, "name")];
        for (const Json& choice : parameter["choices"]) {
            choices.push_back(textOf(choice, "name"));
        }
    }
}

std::vector<std::string> completions(const std::string& line, std::size_t& start) {
    const bool file = takesFile(line);
    const std::size_t separator = line.find_last_of(file ? " \t" : " \t(,=");
    start = separator == std::string::npos ? 0 : separator + 1;
    std::string word = file ? line.substr(start) : host::lowered(line.substr(start));
    std::vector<std::string> candidates;
    if (file) {
        candidates = files(word);
    } else if (separator != std::string::npos && line[separator] == '=') {
        const std::size_t begin = line.find_last_of(" \t(,", separator);
        const auto key = keys().find(host::lowered(
            line.substr(begin == std::string::npos ? 0 : begin + 1, separator - begin - 1)));
        candidates = key != keys().end() ? key->second : candidates;
        word = line.substr(start);
    } else {
        if (startsWith(word, "key-")) {
            start += 4;
            word.erase(0, 4);
        }
        candidates = candidatesFor(line);
    }
    std::vector<std::string> found;
    for (const std::string& name : candidates) {
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
