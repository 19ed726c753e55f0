#include <cstdlib>

#include "CommandFunctions.h"
#include "Interrupt.h"
#include "Output.h"
#include "Shown.h"
#include "Words.h"
#include "host/Text.h"

namespace imgctl {
namespace {

constexpr double kLongestWait = 1e7;

/// The fitting member of a list of schemes; null when there is none of that number.
Json schemeIn(const Json& schemes, const std::string& number) {
    for (const Json& scheme : schemes.value("schemes", Json::array())) {
        if (numberOf(scheme, "number") == number) {
            return scheme;
        }
    }
    return nullptr;
}

std::string windowText(const Json& scheme) {
    return scheme.value("default", false) ? "-"
                                          : textOf(scheme, "start") + "-" + textOf(scheme, "end");
}

std::string schemeLine(const Json& scheme) {
    const bool isDefault = scheme.value("default", false);
    const std::string unsaved = numberOf(scheme, "unsaved", "0");
    const std::string fault = textOf(scheme, "window_fault");
    return std::string(scheme.value("in_force", false) ? "* " : "  ") +
           rightColumn(numberOf(scheme, "number"), 2) +
           column(isDefault                        ? "-"
                  : scheme.value("enabled", false) ? "enabled"
                                                   : "off",
                  7) +
           column(windowText(scheme), 11) +
           column(unsaved == "0" ? "-" : unsaved + " unsaved", 11) +
           host::printable(isDefault ? "factory values" : numberOf(scheme, "name")) +
           (fault.empty() ? "" : "  (its window is out of order: it cannot be saved)") + "\n";
}

std::string changeLine(const Json& row, const char* before, const char* beforeText,
                       const char* after, const char* afterText) {
    return "  " + column(textOf(row, "name"), 24) +
           host::printable(valueOf(row, before, beforeText) + " -> " +
                           valueOf(row, after, afterText)) +
           "\n";
}

bool isMinuteOfDay(const std::string& text, int& minute) {
    const std::size_t colon = text.find(':');
    int hour = 0;
    if (colon == std::string::npos || !host::readIntWithin(text.substr(0, colon), 0, 24, hour) ||
        !host::readIntWithin(text.substr(colon + 1), 0, hour == 24 ? 0 : 59, minute) ||
        text.size() != colon + 3) {
        return false;
    }
    minute += hour * 60;
    return true;
}

bool isNumber(const std::string& text) {
    int number = 0;
    return host::readInt(text, number);
}

/// What is no number is no scheme either: the same fault as a number of none.
Status noScheme(const Call& call, const std::string& text) {
    return call.refuse(Status::rejected, "there is no scheme " + host::quoted(text));
}

Status answerWindow(const Call& call, const std::string& number) {
    const Answer answer = call.ask("GET", "/schemes/" + number);
    Status status = Status::done;
    if (!call.told(answer, status)) {
        call.answer(number + " " + windowText(answer.document) +
                    (answer.document.value("enabled", false) ? "" : " off"));
    }
    return status;
}

} // namespace

Status runScheme(const Call& call) {
    Status status = Status::done;
    if (call.arguments.empty()) {
        const Answer answer = call.ask("GET", "/camera");
        if (!call.told(answer, status)) {
            call.answer(numberOf(answer.document["scheme"], "number"));
        }
        return status;
    }
    if (!isNumber(call.arguments[0])) {
        return noScheme(call, call.arguments[0]);
    }
    const Answer answer = call.ask("POST", "/schemes/" + call.arguments[0] + "/activate");
    if (!call.told(answer, status)) {
        call.answer(numberOf(answer.document, "scheme"));
    }
    return status;
}

Status runSchemes(const Call& call) {
    const Answer answer = call.ask("GET", "/schemes");
    Status status = Status::done;
    if (call.told(answer, status)) {
        return status;
    }
    std::string lines;
    for (const Json& scheme : answer.document["schemes"]) {
        lines += schemeLine(scheme);
    }
    call.answer(std::to_string(answer.document["schemes"].size()) +
                " mode=" + (textOf(answer.document, "mode") == "schedule" ? "1" : "0"));
    printLine(lines);
    return status;
}

Status runMode(const Call& call) {
    Status status = Status::done;
    if (!call.arguments.empty()) {
        const std::string& wanted = call.arguments[0];
        const bool schedule = wanted == "1" || wanted == "schedule";
        if (!schedule && wanted != "0" && wanted != "manual") {
            return call.refuse(Status::usage, "no mode " + host::quoted(wanted) +
                                                  "; allowed: 0 or manual, 1 or schedule");
        }
        const Answer answer =
            call.ask("PUT", "/mode", Json{{"mode", schedule ? "schedule" : "manual"}});
        if (!answer.good() && call.told(answer, status)) {
            return status;
        }
    }
    const Answer answer = call.ask("GET", "/camera");
    if (!call.told(answer, status)) {
        call.answer(textOf(answer.document, "mode") == "schedule" ? "1" : "0");
    }
    return status;
}

Status runWindow(const Call& call) {
    const std::string text = call.arguments.size() > 1 ? call.arguments[1] : "";
    const std::string* const morning = call.option("--with");
    const std::string& number = call.arguments[0];
    int with = 0;
    if (!isNumber(number)) {
        return noScheme(call, number);
    }
    if (morning != nullptr && !host::readInt(*morning, with)) {
        return noScheme(call, *morning);
    }
    if (text.empty()) {
        return answerWindow(call, number);
    }
    Json body = Json::object();
    if (text == "on" || text == "off") {
        body["enabled"] = text == "on";
    } else {
        const std::size_t dash = text.find('-');
        const std::string start = text.substr(0, dash);
        const std::string end = dash == std::string::npos ? "" : text.substr(dash + 1);
        int from = 0;
        int to = 0;
        if (!isMinuteOfDay(start, from) || !isMinuteOfDay(end, to)) {
            return call.refuse(Status::usage, host::quoted(text) +
                                                  " is no window; allowed: HH:MM-HH:MM, on or off");
        }
        if (from > to && to > 0 && morning == nullptr) {
            return call.refuse(Status::rejected,
                               "a window across midnight needs two schemes: 'window " + number +
                                   " " + text +
                                   " --with M' gives scheme M the same values and the "
                                   "time after midnight; nothing is changed");
        }
        body = {{"enabled", true}, {"start", start}, {"end", to == 0 ? "24:00" : end}};
    }
    if (morning != nullptr) {
        body["with"] = with;
    }
    const Answer answer = call.ask("PUT", "/schemes/" + number, body);
    Status status = Status::done;
    if (call.told(answer, status)) {
        return status;
    }
    status = answerWindow(call, number);
    if (morning != nullptr && status == Status::done) {
        printLine("  Scheme " + std::to_string(with) + " has the same values now, from 00:00 to " +
                  textOf(body, "end") + ". 'save' saves both, 'undo' takes both back.");
    }
    return status;
}

Status runName(const Call& call) {
    const std::string& number = call.arguments[0];
    const std::string given = call.arguments.size() > 1 ? call.arguments[1] : "";
    if (!isNumber(number)) {
        return noScheme(call, number);
    }
    const Answer answer = given.empty()
                              ? call.ask("GET", "/schemes/" + number)
                              : call.ask("PUT", "/schemes/" + number,
                                         Json{{"name", given == "-" ? std::string() : given}});
    Status status = Status::done;
    if (!call.told(answer, status)) {
        call.answer(number + " " + (given.empty() ? numberOf(answer.document, "name") : given));
    }
    return status;
}

Status runCopy(const Call& call) {
    int to = 0;
    if (!isNumber(call.arguments[0]) || !host::readInt(call.arguments[1], to)) {
        return noScheme(call, call.arguments[isNumber(call.arguments[0]) ? 1 : 0]);
    }
    const Answer answer =
        call.ask("POST", "/schemes/" + call.arguments[0] + "/copy", Json{{"to", to}});
    Status status = Status::done;
    if (!call.told(answer, status)) {
        std::size_t changed = 0;
        for (const Json& result : answer.document.value("results", Json::array())) {
            changed += textOf(result, "outcome") == "in_force" ? 0 : 1;
        }
        call.answer(call.arguments[0] + " " + call.arguments[1] +
                    " changed=" + std::to_string(changed));
    }
    return status;
}

Status runCompare(const Call& call) {
    const Answer answer =
        call.ask("GET", "/compare", Query{{"a", call.arguments[0]}, {"b", call.arguments[1]}});
    Status status = Status::done;
    if (call.told(answer, status)) {
        return status;
    }
    const Json& differences = answer.document["differences"];
    std::string lines;
    for (const Json& row : differences) {
        lines += changeLine(row, "a", "a_text", "b", "b_text");
    }
    call.answer(call.arguments[0] + " " + call.arguments[1] + " " +
                std::to_string(differences.size()));
    if (call.name == std::string("compare")) {
        const std::string from =
            "  A switch from " + call.arguments[0] + " to " + call.arguments[1];
        lines += from + (answer.document["commands"].empty() ? " sends nothing.\n" : " sends:\n");
        for (const Json& command : answer.document["commands"]) {
            lines += "    command " + numberOf(command, "command") + " (" +
                     textOf(command, "name") + ") = " + numberOf(command, "value") + "\n";
        }
    }
    if (!lines.empty()) {
        printLine(lines);
    }
    return status;
}

Status runDiff(const Call& call) {
    if (call.arguments.size() == 2) {
        return runCompare(call);
    }
    Status status = Status::done;
    const std::string against = call.arguments.empty() ? "" : call.arguments[0];
    if (!against.empty() && against != "saved" && against != "factory") {
        return call.refuse(
            Status::usage,
            host::quoted(against) + " is not allowed; allowed: saved, factory, or two schemes");
    }
    if (call.json || !against.empty()) {
        const Answer answer =
            call.ask("GET", "/diff", Query{{"against", against.empty() ? "saved" : against}});
        if (call.told(answer, status)) {
            return status;
        }
        std::string lines;
        for (const Json& row : answer.document["differences"]) {
            lines += changeLine(row, "before", "before_text", "now", "now_text");
        }
        call.answer("scheme=" + numberOf(answer.document, "scheme") + " " + against + "=" +
                    std::to_string(answer.document["differences"].size()));
        if (!lines.empty()) {
            printLine(lines);
        }
        return status;
    }
    const Answer camera = call.ask("GET", "/camera");
    if (!camera.good() && call.told(camera, status)) {
        return status;
    }
    const Answer answer =
        call.ask("GET", "/schemes/" + numberOf(camera.document["scheme"], "number"));
    if (call.told(answer, status)) {
        return status;
    }
    const bool timed = !answer.document.value("default", false);
    int fromFile = 0;
    int fromFactory = 0;
    bool fileKnown = false;
    std::string lines;
    for (const Json& row : answer.document["values"]) {
        const bool file = timed && row["saved"] != row["value"];
        const bool factory = row["factory"] != row["value"];
        fileKnown = fileKnown || (timed && !row["saved"].is_null());
        fromFile += file ? 1 : 0;
        fromFactory += factory ? 1 : 0;
        if (file || factory) {
            lines += "  " + column(textOf(row, "name"), 24) + "now=" + numberOf(row, "value") +
                     " saved=" + numberOf(row, "saved") + " factory=" + numberOf(row, "factory") +
                     "\n";
        }
    }
    call.answer("scheme=" + numberOf(answer.document, "number") +
                " file=" + (fileKnown ? std::to_string(fromFile) : "-") +
                " factory=" + std::to_string(fromFactory));
    if (!lines.empty()) {
        printLine(lines);
    }
    return status;
}

Status runFlush(const Call& call) {
    Status status = Status::done;
    const bool all = call.name == std::string("save") && call.arguments.empty();
    Json body = Json::object();
    if (!all) {
        const Answer schemes = call.ask("GET", "/schemes");
        if (!schemes.good() && call.told(schemes, status)) {
            return status;
        }
        for (const Json& scheme : schemes.document["schemes"]) {
            if (call.arguments.empty() && scheme.value("in_force", false)) {
                body["scheme"] = scheme["number"];
            }
        }
        int scheme = 0;
        if (!call.arguments.empty() && !host::readInt(call.arguments[0], scheme)) {
            return noScheme(call, call.arguments[0]);
        }
        if (!call.arguments.empty()) {
            body["scheme"] = scheme;
        }
    }
    const Answer answer = call.ask("POST", "/save", body);
    if (call.json) {
        call.told(answer, status);
        return status;
    }
    for (const Json& failed : answer.document.value("failed", Json::array())) {
        call.note(textOf(failed, "text"));
    }
    const bool tells = answer.document.is_object() && answer.document.contains("failed");
    if (!answer.good() && !tells) {
        call.told(answer, status);
        return status;
    }
    if (!textOf(answer.document, "text").empty()) {
        call.note(textOf(answer.document, "text"));
    }
    if (all) {
        const std::string saved = listOf(answer.document.value("saved", Json::array()));
        call.answer(saved.empty() ? "nothing" : saved);
    } else {
        call.answer(word(statusOf(answer)));
    }
    return statusOf(answer);
}

Status runWait(const Call& call) {
    const std::string& text = call.arguments[0];
    char* end = nullptr;
    const double seconds = std::strtod(text.c_str(), &end);
    if (end == text.c_str() || *end != '\0' || !(seconds >= 0 && seconds <= kLongestWait)) {
        return call.refuse(Status::usage, host::quoted(text) +
                                              " is no number of seconds; allowed: 0 .. " +
                                              std::to_string(static_cast<long>(kLongestWait)));
    }
    if (!call.camera().wait(seconds, takeInterrupt)) {
        return call.refuse(Status::failed, "interrupted");
    }
    call.answer(text);
    return Status::done;
}

Status runStatus(const Call& call) {
    const Answer camera = call.ask("GET", "/camera");
    Status status = Status::done;
    if (call.told(camera, status)) {
        return status;
    }
    const Answer schemes = call.ask("GET", "/schemes");
    if (!schemes.good() && call.told(schemes, status)) {
        return status;
    }
    const Json& now = camera.document;
    const Json& scheme = now["scheme"];
    const std::size_t timed = schemes.document["schemes"].size() - 1;
    const Json inForce = schemeIn(schemes.document, numberOf(scheme, "number"));
    const std::string due = numberOf(now, "due");
    const std::string night = textOf(now, "day_night");
    call.answer("scheme=" + numberOf(scheme, "number") +
                " mode=" + (textOf(now, "mode") == "schedule" ? "1" : "0") +
                " schemes=" + std::to_string(timed) + " parameters=" + numberOf(now, "parameters") +
                " time=" + textOf(now, "time_of_day") + " due=" + due +
                " in-window=" + (due == std::to_string(timed) ? "0" : "1") + " day-night=" +
                (night.empty()      ? "-"
                 : night == "night" ? "1"
                                    : "0") +
                " device-type=" + numberOf(now, "device_type") +
                " module=" + numberOf(now, "module") + " started=1 window-check=" +
                (inForce.value("default", false) ? "-" : numberOf(inForce, "window_fault", "0")) +
                " fps=" + numberOf(now, "fps") +
                " detail=" + host::jsonString(textOf(now, "detail")) +
                " version=" + host::jsonString(textOf(now["layer"], "version")));
    std::string lines = "  In force: " + host::printable(textOf(scheme, "title")) + ", " +
                        textOf(scheme, "reason_text") + "\n";
    if (now["next"].is_object()) {
        lines += "  Next: " + host::printable(textOf(now["next"], "title")) + " at " +
                 textOf(now["next"], "time") + "\n";
    }
    for (const Json& unsaved : now["unsaved"]["schemes"]) {
        const std::string count = numberOf(unsaved, "count");
        lines += "  Not saved: " + count + (count == "1" ? " value of " : " values of ") +
                 host::printable(textOf(unsaved, "title")) + "\n";
    }
    for (const Json& difference : now["differences"]) {
        lines += "  Differs: " + textOf(difference, "name") + " should be " +
                 numberOf(difference, "wanted") + ", the camera has " +
                 numberOf(difference, "hardware") + " (" +
                 host::printable(textOf(difference, "reason")) + ")\n";
    }
    if (now["trial"].is_object()) {
        const std::size_t count = now["trial"]["values"].size();
        lines += "  On trial: " + std::to_string(count) + (count == 1 ? " value" : " values") +
                 ", for " + numberOf(now["trial"], "seconds_left") + " seconds more\n";
    }
    if (textOf(now["layer"], "state") == "gone") {
        lines +=
            "  The camera is gone for " + numberOf(now["layer"], "gone_seconds") + " seconds\n";
    }
    printLine(lines);
    return status;
}

} // namespace imgctl
