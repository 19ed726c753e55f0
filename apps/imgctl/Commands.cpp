#include "Command.h"

#include <algorithm>
#include <utility>

#include "CommandFunctions.h"
#include "Output.h"
#include "Words.h"
#include "host/Text.h"

namespace imgctl {
namespace {

Status runQuit(const Call& call) {
    call.quit = true;
    printLine(call.name);
    return Status::done;
}

const Command* findCommand(const std::string& name) {
    const auto& all = commands();
    const auto found = std::find_if(
        all.begin(), all.end(), [&name](const Command& command) { return name == command.name; });
    return found == all.end() ? nullptr : &*found;
}

std::string unknownCommand(const std::string& name) {
    std::vector<std::string> names;
    for (const Command& command : commands()) {
        names.emplace_back(command.name);
    }
    return "no command " + host::quoted(name) + host::didYouMean(host::lowered(name), names) +
           " ('help' lists the commands)";
}

std::string usageOf(const Command& command) {
    return std::string("usage: ") + command.name +
           (command.synopsis.empty() ? "" : " " + command.synopsis) + " - " + command.help;
}

/// Takes a word out of a line. @return whether it was there
bool takeWord(std::string& line, const std::string& word) {
    const std::vector<std::string> all = host::words(line, line.size());
    if (std::find(all.begin(), all.end(), word) == all.end()) {
        return false;
    }
    line.clear();
    for (const std::string& one : all) {
        line += one == word ? "" : (line.empty() ? "" : " ") + one;
    }
    return true;
}

Status runHelp(const Call& call) {
    if (call.arguments.empty()) {
        call.answer("commands; KEY is a number or a name (34, KEY_BRIGHTNESS, brightness)");
        printLine(commandHelp());
        return Status::done;
    }
    const Command* command = findCommand(call.arguments[0]);
    if (command == nullptr) {
        return call.refuse(Status::usage, unknownCommand(call.arguments[0]));
    }
    call.answer(usageOf(*command));
    return Status::done;
}

} // namespace

const std::string* Call::option(const std::string& wanted) const {
    const auto found = std::find_if(options.begin(), options.end(),
                                    [&wanted](const auto& one) { return one.first == wanted; });
    return found == options.end() ? nullptr : &found->second;
}

void Call::answer(const std::string& text) const {
    printLine(std::string(name) + " " + host::printable(text));
}

void Call::note(const std::string& what) const {
    printError(std::string(name) + ": " + what);
}

Status Call::refuse(Status status, const std::string& what) const {
    note(what);
    return status;
}

Answer Call::ask(const std::string& method, const std::string& path, const Query& query) const {
    return target.client.ask(method, path, query);
}

Answer Call::ask(const std::string& method, const std::string& path, const Json& body) const {
    return target.client.ask(method, path, {}, host::api::text(body));
}

bool Call::told(const Answer& answer, Status& status) const {
    status = statusOf(answer);
    if (json && answer.status != 0) {
        printLine(answer.body);
        return true;
    }
    if (!answer.good()) {
        note(answer.problem.empty() ? "it failed" : answer.problem);
        return true;
    }
    return false;
}

const char* word(Status status) {
    static const char* const words[] = {"done", "failed", "not understood", "rejected"};
    return words[static_cast<int>(status)];
}

Status statusOf(const Answer& answer) {
    switch (answer.status) {
        case 400: // not understood
        case 405:
        case 413:
        case 415:
            return Status::usage;
        case 404: // no such key or scheme
        case 409: // blocked, or another scheme is in force
        case 422: // the value
        case 401:
        case 403:
            return Status::rejected;
        default:
            return answer.good() ? Status::done : Status::failed;
    }
}

const std::vector<Command>& commands() {
    static const std::vector<Command> table = {
        {"set",
         "PAIRS",
         "apply and record: brightness=60 expose_mode=manual, or (34,60)(2337,55); --save too, "
         "--dry-run only looks, --scheme N records in another one",
         runSet,
         false,
         {"--save", "--dry-run", "--scheme="}},
        {"apply", "PAIRS", "the same without recording; the keys of the time window are left out",
         runApply},
        {"try", "SECONDS PAIRS", "apply for a time, after which the scheme's values come back",
         runTry},
        {"keep", "", "record what is on trial", runKeep},
        {"drop", "", "end the trial at once", runDrop},
        {"get", "KEYS", "read one key, several, or a query such as (34,2337)", runGet},
        {"all", "", "every parameter of the current scheme, corrected by the layer", runAll},
        {"keys", "[WORD]",
         "table of keys: value, saved and factory value, what is allowed, what holds it; with WORD "
         "those that have to do with it",
         runKeys},
        {"explain", "KEY|dark|bright|grey|blurred|noisy",
         "why a value is as it is, or what most likely makes the picture so", runExplain},
        {"plan", "[HOURS]", "what the schedule will do, and what is wrong with it", runPlan},
        {"history", "[N]", "the last N changes (20), newest last", runHistory},
        {"undo",
         "[N]",
         "take the last N changes back (1); --entry ID that one, --force whatever changed since",
         runUndo,
         false,
         {"--entry=", "--force"}},
        {"watch", "[SECONDS]", "print every change as it happens, until Ctrl-C", runWatch},
        {"status", "", "scheme, mode, time and state of the camera", runStatus},
        {"schemes", "", "every scheme: its window, what is not saved, its name", runSchemes},
        {"scheme", "[N]",
         "the current scheme, or switch to N (in mode 1 the clock may switch back)", runScheme},
        {"mode", "[0|1]", "whether schemes switch by themselves (1) or not (0)", runMode},
        {"window",
         "N [HH:MM-HH:MM|on|off]",
         "the time of scheme N; across midnight with '--with M' for the morning",
         runWindow,
         false,
         {"--with="}},
        {"name", "N [TEXT]", "the name of scheme N, or call it so; '-' takes its name away",
         runName},
        {"copy", "A B", "scheme B gets the values of A, not its window", runCopy},
        {"compare", "A B", "where two schemes differ, and what a switch would send", runCompare},
        {"diff", "[A] [B]",
         "where the current scheme differs from its file and the factory values; 'saved', "
         "'factory', or two schemes",
         runDiff},
        {"flush", "[N]", "save the current scheme to its file, or scheme N", runFlush},
        {"save", "[N]", "save every scheme with changes, or scheme N", runFlush},
        {"restore", "KEY", "apply one value of the current scheme again", runRestore},
        {"restore-ae", "", "apply exposure mode and focus mode again", runRestoreAe},
        {"reload", "", "apply what was last saved for the current scheme", runReload},
        {"reset", "", "throw saved schemes away and start with the factory values", runReset},
        {"wait", "SECONDS", "let camera time pass", runWait, true},
        {"export", "FILE", "write the timed schemes to a text file of this machine", runExport},
        {"import",
         "FILE",
         "check such a file; then set and save its schemes, whichever is current; --dry-run only "
         "checks",
         runImport,
         false,
         {"--dry-run"}},
        {"snapshot", "FILE", "write what the camera sees to a JPEG file of this machine",
         runSnapshot},
        {"style", "", "the controls of the user interface (XML), after a line with their size",
         runStyle},
        {"language", "ID", "the texts of a language, after a line with their size", runLanguage},
        {"common", "ID", "the common texts of a language, after a line with their size", runCommon},
        {"version", "", "the version text of the image-adjust layer", runVersion},
        {"lens", lensSynopsis(), "one step of the lens", runLens},
        {"zoom", "[POSITION]", "position and ratio in thousandths, or move to a position", runZoom},
        {"focus", "[POSITION]", "the focus position, or move to one", runFocus},
        {"focus-mode", "[N]", "the focus mode, or set it", runFocusMode},
        {"ptz", "N", "tell the layer that the pan-tilt head moves (1) or stands (0)", runPtz},
        {"af", "", "the sharpness figure of the picture", runAf},
        {"wdr", "[0|1]", "wide dynamic range; with 0 or 1, whether its mode may be set", runWdr},
        {"day-night", "", "0 by day, 1 by night", runDayNight},
        {"mirror", "", "the mirror setting", runMirror},
        {"compliance", "[KEY]", "try the layer against its contract, key by key, and restore it",
         runCompliance, true},
        {"fail", "CMD CODE [COUNT]",
         "let a command of the layer fail COUNT times, or until CODE is 0", runFail, true},
        {"light", "LEVEL", "light on the sensor, 0 (dark) to 100", runLight},
        {"limit", "CMD DEFAULT ITEM[,ITEM...]", "allow only these values of a command", runLimit,
         true},
        {"unlimit", "CMD", "allow all values of a command again", runUnlimit, true},
        {"help", "[COMMAND]", "this list, or one command", runHelp},
        {"quit", "", "end", runQuit},
    };
    return table;
}

std::string commandHelp() {
    std::string text;
    for (const Command& command : commands()) {
        text += host::helpLine(std::string(command.name) + " " + command.synopsis, command.help);
    }
    return text;
}

bool readLine(const std::string& text, Line& line, std::string& problem) {
    const std::vector<std::string> parts = host::words(text, 2);
    if (parts.empty() || parts[0][0] == '#') {
        return true;
    }
    if (text.find('\0') != std::string::npos) {
        problem = host::quoted(text) + " holds a zero byte";
        return false;
    }
    const Command* const command = findCommand(parts[0]);
    if (command == nullptr) {
        problem = unknownCommand(parts[0]);
        return false;
    }
    const std::vector<std::string> expected =
        host::words(command->synopsis, command->synopsis.size());
    const auto needed = std::count_if(expected.begin(), expected.end(),
                                      [](const std::string& word) { return word[0] != '['; });
    std::string rest = parts.size() > 1 ? parts[1] : std::string();
    line.json = takeWord(rest, "--json");
    const bool known = takeOptions(rest, command->options, line.options, problem);
    line.arguments = host::words(rest, expected.size());
    if (known && line.arguments.size() > expected.size()) {
        problem = host::quoted(rest) + " is too much";
    } else if (known && line.arguments.size() < static_cast<std::size_t>(needed)) {
        problem = expected[line.arguments.size()] + " is missing";
    }
    if (!problem.empty()) {
        problem = command->name + (": " + problem + "; ") + usageOf(*command);
        return false;
    }
    line.command = command;
    return true;
}

Status runLine(const Target& target, const std::string& text, bool& quit) {
    Line line;
    std::string problem;
    if (!readLine(text, line, problem)) {
        printError(problem);
        return Status::usage;
    }
    if (line.command == nullptr) {
        return Status::done;
    }
    const Call call{
        target, line.command->name,     std::move(line.arguments), line.json || target.json,
        quit,   std::move(line.options)};
    if (line.command->ownCamera && target.camera == nullptr) {
        return call.refuse(Status::rejected,
                           "another program runs this camera; this works only where none does");
    }
    return line.command->run(call);
}

} // namespace imgctl
