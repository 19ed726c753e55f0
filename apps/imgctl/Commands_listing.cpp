#include <algorithm>

#include "CommandFunctions.h"
#include "Output.h"
#include "Shown.h"
#include "host/Text.h"

namespace imgctl {
namespace {

/// The group and tab of each key, as the camera's user interface has them.
std::string placeOf(const Json& document, const Json& key) {
    for (const Json& group : document["groups"]) {
        for (const Json& tab : group["tabs"]) {
            const Json& keys = tab["parameters"];
            if (std::find(keys.begin(), keys.end(), key) != keys.end()) {
                const std::string label = textOf(group, "label");
                return (label.empty() ? "" : label + ": ") + textOf(tab, "label");
            }
        }
    }
    return "Not in the camera's user interface";
}

std::string choicesOf(const Json& parameter) {
    std::string text;
    for (const Json& choice : parameter["choices"]) {
        if (choice.value("available", true)) {
            text += (text.empty() ? "" : ", ") + textOf(choice, "name") + "=" +
                    numberOf(choice, "value");
        }
    }
    return text;
}

std::string allowedOf(const Json& parameter) {
    const std::string choices = choicesOf(parameter);
    return choices.empty() ? rangeOf(parameter["range"]) : choices;
}

std::string tableLine(const Json& parameter) {
    const std::string flags = listOf(parameter["flags"]);
    return rightColumn(numberOf(parameter, "key"), 5) + column(textOf(parameter, "name"), 26) +
           column(textOf(parameter, "control"), 6) + rightColumn(numberOf(parameter, "value"), 6) +
           rightColumn(numberOf(parameter, "saved"), 6) +
           rightColumn(numberOf(parameter, "factory"), 7) + allowedOf(parameter) +
           (flags.empty() ? "" : "  [" + flags + "]") + "\n";
}

std::string details(const Json& parameter) {
    const std::string why = textOf(parameter, "why");
    const std::string unit = textOf(parameter, "unit");
    return "        " + textOf(parameter, "label") + ": " +
           valueOf(parameter, "value", "value_text") + (unit.empty() ? "" : " " + unit) +
           (why.empty() ? "" : "; " + why) + "\n        " + textOf(parameter, "help") + "\n";
}

/// Whether a key has to do with a word: its names, its label, its group, or one of its choices.
bool concerns(const Json& parameter, const std::string& place, const std::string& word) {
    std::string all = textOf(parameter, "symbol") + "\n" + textOf(parameter, "name") + "\n" +
                      textOf(parameter, "style_name") + "\n" + textOf(parameter, "label") + "\n" +
                      numberOf(parameter, "key") + "\n" + textOf(parameter, "help") + "\n" + place;
    for (const Json& choice : parameter["choices"]) {
        all += "\n" + textOf(choice, "name") + "\n" + textOf(choice, "label");
    }
    return host::lowered(all).find(host::lowered(word)) != std::string::npos;
}

Status answerText(const Call& call, const std::string& head, const std::string& text) {
    call.answer(head + std::to_string(text.size()));
    if (text.empty()) {
        return call.refuse(Status::failed, "the device tree holds no such text");
    }
    printLine(host::printableLines(text));
    return Status::done;
}

/// A language's text, else that of the first language.
Status answerUiText(const Call& call, const char* member) {
    int id = 0;
    if (!host::readInt(call.arguments[0], id)) {
        return call.refuse(Status::usage,
                           "language " + host::quoted(call.arguments[0]) +
                               " is not allowed; allowed: a number, such as 0 (English)");
    }
    const Answer all = call.ask("GET", "/languages");
    Status status = Status::done;
    if (!all.good() && call.told(all, status)) {
        return status;
    }
    const Json& languages = all.document["languages"];
    const bool known = std::any_of(languages.begin(), languages.end(),
                                   [id](const Json& one) { return one["id"] == id; });
    if (languages.empty()) {
        return answerText(call, std::to_string(id) + " ", "");
    }
    const Answer answer = call.ask(
        "GET", "/languages/" + (known ? std::to_string(id) : numberOf(languages[0], "id")));
    return call.told(answer, status)
               ? status
               : answerText(call, std::to_string(id) + " ", textOf(answer.document, member));
}

} // namespace

Status runKeys(const Call& call) {
    const Answer answer = call.ask("GET", "/parameters");
    Status status = Status::done;
    if ((call.json && call.arguments.empty()) || !answer.good()) {
        call.told(answer, status);
        return status;
    }
    const std::string word = call.arguments.empty() ? "" : call.arguments[0];
    Json found = Json::array();
    std::string lines;
    std::string place;
    std::vector<std::string> names;
    for (const Json& parameter : answer.document["parameters"]) {
        const std::string here = placeOf(answer.document, parameter["key"]);
        names.push_back(textOf(parameter, "name"));
        if (!word.empty() && !concerns(parameter, here, word)) {
            continue;
        }
        found.push_back(parameter);
        lines += here == place ? "" : here + "\n";
        lines += tableLine(parameter) + (word.empty() ? "" : details(parameter));
        place = here;
    }
    if (call.json) {
        printLine(host::api::text(found));
        return status;
    }
    if (found.empty()) {
        return call.refuse(Status::rejected, "nothing has to do with " + host::quoted(word) +
                                                 host::didYouMean(host::lowered(word), names));
    }
    call.answer(std::to_string(found.size()));
    printLine("  Key  " + column("name", 26) + column("kind", 6) + rightColumn("value", 6) +
              rightColumn("saved", 6) + rightColumn("factory", 7) + "allowed  [flags]");
    printLine(host::printableLines(lines));
    return status;
}

Status runStyle(const Call& call) {
    const Answer answer = call.ask("GET", "/style");
    Status status = Status::done;
    return answer.good() ? answerText(call, "", answer.body) : (call.told(answer, status), status);
}

Status runLanguage(const Call& call) {
    return answerUiText(call, "texts");
}

Status runCommon(const Call& call) {
    return answerUiText(call, "common");
}

} // namespace imgctl
