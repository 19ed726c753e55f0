#include <algorithm>

#include "CommandFunctions.h"
#include "Output.h"
#include "Shown.h"
#include "host/Plan.h"
#include "host/Text.h"

namespace imgctl {
namespace {

constexpr int kMinutesOfDay = 1440;
constexpr int kBarMinutes = 20;

/// What to type for an advice; "" where no command does it.
std::string commandOf(const Call& call, const Json& action, const Json& document) {
    const std::string path = textOf(action, "path");
    const Json body = action.value("body", Json::object());
    const auto below = [&path](const char* beginning) {
        return path.compare(0, std::char_traits<char>::length(beginning), beginning) == 0
                   ? path.substr(std::char_traits<char>::length(beginning))
                   : std::string();
    };
    const std::string key = below("/parameters/");
    if (!key.empty()) {
        const std::string name = key == numberOf(document, "key") ? textOf(document, "name") : key;
        return "set " + name + "=" + numberOf(body, "value");
    }
    if (!below("/explain/").empty()) {
        const Answer other = call.ask("GET", "/parameters/" + below("/explain/"));
        return "explain " + (other.good() ? textOf(other.document, "name") : below("/explain/"));
    }
    if (path == "/restore") {
        return "restore " + textOf(document, "name");
    }
    if (path == "/mode") {
        return "mode " + textOf(body, "mode");
    }
    if (path == "/save") {
        return "save" + (body.contains("scheme") ? " " + numberOf(body, "scheme") : "");
    }
    if (path == "/undo") {
        return "undo --entry " + numberOf(body, "entry");
    }
    return path == "/trial/keep" ? "keep" : "";
}

std::string advice(const Call& call, const Json& line, const Json& document, const char* indent) {
    if (!line.contains("action") || !line["action"].is_object()) {
        return "";
    }
    const std::string command = commandOf(call, line["action"], document);
    return command.empty() ? "" : indent + textOf(line["action"], "text") + ": " + command + "\n";
}

std::string causesText(const Call& call, const Json& document) {
    std::string lines;
    std::string family;
    for (const Json& cause : document["causes"]) {
        const std::string now = textOf(cause, "family");
        if (now != family && !now.empty()) {
            lines += "  " + now + "\n";
        }
        family = now;
        lines += "    " + column(textOf(cause, "name"), 24) + textOf(cause, "text") + "\n" +
                 advice(call, cause, cause, "        ");
    }
    return lines;
}

/// A day as one character for each twenty minutes: the scheme's number, '.' for the default one.
std::string bar(const Json& day, const std::string& defaultNumber) {
    std::string text(kMinutesOfDay / kBarMinutes, '?');
    for (const Json& stretch : day) {
        const std::string number = numberOf(stretch, "scheme", "?");
        const char mark = number == defaultNumber ? '.' : number.back();
        const int from = std::clamp(stretch.value("from_minute", 0), 0, kMinutesOfDay);
        const int to = std::clamp(stretch.value("to_minute", 0), from, kMinutesOfDay);
        for (int minute = from; minute < to; ++minute) {
            text[static_cast<std::size_t>(minute / kBarMinutes)] = mark;
        }
    }
    return "  00    03       06       09       12       15       18       21      24\n  |" + text +
           "|\n";
}

std::string switchText(const Json& one) {
    std::string lines = "  " + column(textOf(one, "time_of_day"), 6) + textOf(one, "from_title") +
                        " -> " + textOf(one, "to_title") + "\n";
    for (const Json& row : one["keys"]) {
        lines += "          " + column(textOf(row, "name"), 24) + valueOf(row, "old", "old_text") +
                 " -> " + valueOf(row, "new", "new_text") + "\n";
    }
    return lines;
}

} // namespace

Status runExplain(const Call& call) {
    const Answer answer = call.ask("GET", "/explain/" + call.arguments[0]);
    Status status = Status::done;
    if (call.told(answer, status)) {
        return status;
    }
    const Json& document = answer.document;
    if (document.contains("causes")) {
        call.answer(textOf(document, "word"));
        printLine(host::printableLines("  " + textOf(document, "text") + "\n" +
                                       causesText(call, document)));
        return status;
    }
    call.answer(textOf(document, "name") + " " + valueOf(document["facts"], "value", "value_text"));
    std::string lines;
    for (const Json& line : document["lines"]) {
        lines += "  " + column(textOf(line, "topic"), 10) + textOf(line, "text") + "\n" +
                 advice(call, line, document, "              ");
    }
    printLine(host::printableLines(lines));
    return status;
}

Status runPlan(const Call& call) {
    const std::string hours = call.arguments.empty() ? "24" : call.arguments[0];
    int wanted = 0;
    if (!host::readIntWithin(hours, 1, host::kMostPlanHours, wanted)) {
        return call.refuse(Status::usage, host::quoted(hours) +
                                              " is no number of hours; allowed: 1 .. " +
                                              std::to_string(host::kMostPlanHours));
    }
    const Answer answer = call.ask("GET", "/plan", Query{{"hours", hours}});
    Status status = Status::done;
    if (call.told(answer, status)) {
        return status;
    }
    const Answer schemes = call.ask("GET", "/schemes");
    const std::size_t count =
        schemes.good() ? schemes.document["schemes"].size() : static_cast<std::size_t>(1);
    const Json& document = answer.document;
    call.answer("hours=" + numberOf(document, "hours") + " from=" + textOf(document, "now") +
                " switches=" + std::to_string(document["switches"].size()) +
                " warnings=" + std::to_string(document["warnings"].size()));
    const std::string text = textOf(document, "text");
    std::string lines = text.empty() ? "" : "  " + text + "\n";
    lines += bar(document["day"], std::to_string(count - 1));
    for (const Json& one : document["switches"]) {
        lines += switchText(one);
    }
    for (const Json& warning : document["warnings"]) {
        lines += "  Warning: " + textOf(warning, "text") + "\n";
    }
    printLine(host::printableLines(lines));
    return status;
}

} // namespace imgctl
