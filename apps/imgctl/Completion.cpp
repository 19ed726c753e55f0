#include "Completion.h"

#include <algorithm>
#include <cctype>
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

/// What may stand at a place of a synopsis such as "[N] [HH:MM-HH:MM|on|off]": the words in small
/// letters, and the names of what a word in capitals stands for.
std::vector<std::string> wordsFor(const std::string& place) {
    std::string list = place;
    for (char& c : list) {
        c = c == '[' || c == ']' || c == '|' ? ' ' : c;
    }
    std::vector<std::string> names;
    for (const std::string& piece : host::words(list, list.size())) {
        if (piece == "KEY" || piece == "KEYS" || piece == "PAIRS" || piece == "CMD" ||
            piece == "WORD") {
            const std::vector<std::string> all = keyNames();
            names.insert(names.end(), all.begin(), all.end());
        } else if (piece == "COMMAND") {
            for (const Command& command : commands()) {
                names.emplace_back(command.name);
            }
        } else if (std::islower(static_cast<unsigned char>(piece[0])) != 0) {
            names.push_back(piece);
        }
    }
    return names;
}

std::vector<std::string> optionsOf(const Command& command) {
    std::vector<std::string> names = {"--json"};
    for (const std::string& option : command.options) {
        names.push_back(option.substr(0, option.find('=')));
    }
    return names;
}

/// @param word  that is begun, the last one of the line, or empty
std::vector<std::string> candidatesFor(const std::string& line, const std::string& word) {
    std::vector<std::string> before = host::words(line, line.size());
    if (!before.empty() && line.back() != ' ' && line.back() != '\t') {
        before.pop_back();
    }
    std::vector<std::string> names;
    for (const Command& command : commands()) {
        if (before.empty()) {
            names.emplace_back(command.name);
        } else if (before[0] == command.name && startsWith(word, "--")) {
            names = optionsOf(command);
        } else if (before[0] == command.name) {
            const std::vector<std::string> places =
                host::words(command.synopsis, command.synopsis.size());
            // The last one takes the rest of the line.
            names = places.empty() ? names
                                   : wordsFor(places[std::min(before.size(), places.size()) - 1]);
        }
    }
    return names;
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
        candidates = candidatesFor(line, word);
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
