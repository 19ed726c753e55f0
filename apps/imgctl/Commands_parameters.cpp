#include <algorithm>
#include <chrono>
#include <climits>

#include "CommandFunctions.h"
#include "Output.h"
#include "SensorKeys.h"
#include "Shown.h"
#include "Words.h"
#include "host/Text.h"
#include "host/api/Answers.h"

namespace imgctl {
namespace {

bool isWrong(const Json& result) {
    const std::string outcome = textOf(result, "outcome");
    return outcome == "refused" || outcome == "taken_differently" || outcome == "not_tried";
}

/// Says what became of each key: what went well as an answer, what did not as an error.
void tellResults(const Call& call, const Json& document) {
    std::string lines;
    for (const Json& result : document.value("results", Json::array())) {
        if (!isWrong(result)) {
            lines += "  " + host::printable(textOf(result, "text")) + "\n";
        }
    }
    if (!lines.empty()) {
        printLine(lines);
    }
    for (const Json& result : document.value("results", Json::array())) {
        if (isWrong(result)) {
            call.note(textOf(result, "text"));
        }
    }
}

void tellCommands(const Json& document) {
    std::string lines = "  It would send:\n";
    const Json commands = document.value("commands", Json::array());
    for (const Json& command : commands) {
        const std::string name = textOf(command, "name");
        lines += "    command " + numberOf(command, "command") +
                 (name.empty() ? "" : " (" + name + ")") + " = " +
                 listOf(command.value("words", Json::array())) + "\n";
    }
    printLine(commands.empty() ? "  It would send nothing.\n" : lines);
}

/// Tells what a request that sets values came to. @return its status
Status tell(const Call& call, const Answer& answer) {
    const bool hasResults = answer.document.is_object() && answer.document.contains("results");
    Status status = Status::done;
    if ((call.json || !hasResults) && call.told(answer, status)) {
        return status;
    }
    call.answer(word(statusOf(answer)));
    tellResults(call, answer.document);
    return statusOf(answer);
}

/// The changes that people asked for and that nobody has taken back, newest first.
Json undoable(const Json& history, std::size_t most) {
    Json wanted = Json::array();
    Json undone = Json::array();
    for (const Json& entry : history.value("entries", Json::array())) {
        if (!textOf(entry, "undoes").empty()) {
            undone.push_back(entry["undoes"]);
        } else if (entry.value("undoable", false) && wanted.size() < most &&
                   std::find(undone.begin(), undone.end(), entry["id"]) == undone.end()) {
            wanted.push_back(entry["id"]);
        }
    }
    return wanted;
}

/// A number that no command before has, of this run or another.
int nextGesture() {
    static int number = static_cast<int>(std::chrono::steady_clock::now().time_since_epoch() /
                                         std::chrono::milliseconds(1) % 1000000000) +
                        1;
    return number++;
}

Status readFailed(const Call& call, const std::string& problem) {
    return call.refuse(Status::usage, problem);
}

} // namespace

Status runSet(const Call& call) {
    std::string problem;
    Json body = Json::object();
    if (!readPairs(call.arguments[0], body["values"], problem)) {
        return readFailed(call, problem);
    }
    const bool save = call.option("--save") != nullptr;
    const bool dryRun = call.option("--dry-run") != nullptr;
    if (const std::string* const number = call.option("--scheme")) {
        int scheme = 0;
        if (!host::readInt(*number, scheme)) {
            return call.refuse(Status::rejected, "there is no scheme " + host::quoted(*number));
        }
        body["scheme"] = scheme;
        body["record"] = true;
    }
    body["gesture"] = nextGesture(); // or history would take two commands for one movement
    if (save && dryRun) {
        return readFailed(call, "--dry-run changes nothing that --save could save");
    }
    const Answer answer = call.target.client.ask(
        "PATCH", "/parameters", dryRun ? Query{{"dry-run", "1"}} : Query(), host::api::text(body));
    if (dryRun && !call.json) {
        printLine("  What would come of it, with nothing sent and nothing kept:\n");
    }
    const Status status = tell(call, answer);
    if (dryRun && !call.json && answer.document.contains("results")) {
        tellCommands(answer.document);
    }
    if (!save || status != Status::done) {
        return status;
    }
    const Answer saved =
        call.ask("POST", "/save", Json{{"scheme", answer.document.value("scheme", 0)}});
    Status after = Status::done;
    if (!call.told(saved, after)) {
        printLine("  Scheme " + numberOf(answer.document, "scheme") + " is saved.");
    }
    return after;
}

Status runApply(const Call& call) {
    std::string problem;
    Json body = Json::object();
    if (!readPairs(call.arguments[0], body["values"], problem)) {
        return readFailed(call, problem);
    }
    return tell(call, call.ask("POST", "/apply", body));
}

Status runGet(const Call& call) {
    std::vector<std::string> keys;
    std::string problem;
    const std::string& text = call.arguments[0];
    if (!readQuery(text, keys, problem)) {
        return call.refuse(Status::usage, problem);
    }
    // A name may have blanks, as several keys have between them.
    if (keys.size() > 1 && text.find_first_of("(,") == std::string::npos &&
        call.ask("GET", "/parameters/" + text).good()) {
        keys = {text};
    }
    Json documents = Json::array();
    std::string values;
    std::string missing;
    for (const std::string& key : keys) {
        const Answer answer = call.ask("GET", "/parameters/" + key);
        Status status = Status::done;
        if (!answer.good() && call.told(answer, status)) {
            return status;
        }
        const Json& document = answer.document;
        const std::string value = numberOf(document, "value", "");
        if (value.empty()) {
            missing += (missing.empty() ? "" : ", ") + textOf(document, "symbol");
        } else {
            values += "(" + numberOf(document, "key") + "," + value + ")";
        }
        documents.push_back(document);
    }
    if (call.json) {
        printLine(host::api::text(documents.size() == 1 ? documents[0] : documents));
    } else if (!values.empty()) {
        call.answer(values);
    }
    return missing.empty() ? Status::done
                           : call.refuse(Status::failed, "the camera does not tell " + missing);
}

Status runAll(const Call& call) {
    const Answer answer = call.ask("POST", "/correct");
    Status status = Status::done;
    if (!call.told(answer, status)) {
        call.answer(textOf(answer.document, "text"));
    }
    return status;
}

Status runRestore(const Call& call) {
    Json key = typedValue(call.arguments[0]);
    return tell(call, call.ask("POST", "/restore", Json{{"keys", Json::array({key})}}));
}

Status runRestoreAe(const Call& call) {
    const Answer answer = call.ask(
        "POST", "/restore", Json{{"keys", Json::array({KEY_EXPOSE_MODE, KEY_AUTO_FOCUS_MODE})}});
    if (!call.json) {
        call.answer(word(statusOf(answer)));
    }
    Status status = Status::done;
    call.told(answer, status);
    return status;
}

Status runReload(const Call& call) {
    const Answer answer = call.ask("POST", "/reload");
    if (!call.json) {
        call.answer(word(statusOf(answer)));
    }
    Status status = Status::done;
    call.told(answer, status);
    return status;
}

Status runReset(const Call& call) {
    const Answer answer = call.ask("POST", "/reset");
    if (!call.json) {
        call.answer(word(statusOf(answer)));
    }
    Status status = Status::done;
    call.told(answer, status);
    return status;
}

Status runTry(const Call& call) {
    int seconds = 0;
    if (!host::readIntWithin(call.arguments[0], 1, 3600, seconds)) {
        return readFailed(
            call, host::quoted(call.arguments[0]) + " is no number of seconds; allowed: 1 .. 3600");
    }
    std::string problem;
    Json body = {{"seconds", seconds}};
    if (!readPairs(call.arguments[1], body["values"], problem)) {
        return readFailed(call, problem);
    }
    const Status status = tell(call, call.ask("POST", "/trial", body));
    if (status == Status::done && !call.json) {
        printLine("  On trial for " + std::to_string(seconds) +
                  " seconds; 'keep' records it, 'drop' ends it at once.");
    }
    return status;
}

Status runKeep(const Call& call) {
    return tell(call, call.ask("POST", "/trial/keep"));
}

Status runDrop(const Call& call) {
    const Answer answer = call.ask("DELETE", "/trial");
    Status status = Status::done;
    if (!call.told(answer, status)) {
        call.answer(word(status));
    }
    return status;
}

Status runUndo(const Call& call) {
    const std::string text = call.arguments.empty() ? "1" : call.arguments[0];
    const bool force = call.option("--force") != nullptr;
    int count = 1;
    if (!host::readIntWithin(text, 1, 1000, count)) {
        return readFailed(call,
                          host::quoted(text) + " is no number of changes; allowed: 1 .. 1000");
    }
    Json entries = Json::array();
    for (const auto& [name, value] : call.options) {
        int entry = 0;
        if (name == "--entry" && !host::readIntWithin(value, 1, INT_MAX, entry)) {
            return readFailed(
                call, host::quoted(value) + " is the number of no change; 'history' shows them");
        }
        if (name == "--entry") {
            entries.push_back(entry);
        }
    }
    if (entries.empty()) {
        const Answer history = call.ask("GET", "/history", Query{{"count", "1000"}});
        Status status = Status::done;
        if (!history.good() && call.told(history, status)) {
            return status;
        }
        entries = undoable(history.document, static_cast<std::size_t>(count));
    }
    if (entries.empty()) {
        const std::string nothing = "nothing that was asked for is left to take back";
        if (call.json) {
            printLine(*host::api::problem(404, "nothing", nothing).body);
            return Status::rejected;
        }
        return call.refuse(Status::rejected, nothing);
    }
    Json documents = Json::array();
    Status status = Status::done;
    for (std::size_t i = 0; i < entries.size() && status == Status::done; ++i) {
        const Answer answer =
            call.ask("POST", "/undo", Json{{"entry", entries[i]}, {"force", force}});
        const bool hasDocument = call.json && answer.status != 0;
        status = hasDocument ? statusOf(answer) : tell(call, answer);
        if (hasDocument) {
            documents.push_back(answer.document);
        }
    }
    if (!documents.empty()) {
        printLine(host::api::text(documents.size() == 1 ? documents[0] : documents));
    }
    return status;
}

} // namespace imgctl
