#include "Command.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "CommandFunctions.h"
#include "Output.h"
#include "host/Sentences.h"
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

void Call::answer(const std::string& text) const {
    printLine(std::string(name) + " " + host::printable(text));
}

void Call::note(const std::string& what) const {
    startLine();
    std::fprintf(stderr, "imgctl: %s: %s\n", name, host::printable(what).c_str());
}

Status Call::refuse(Status status, const std::string& what) const {
    note(what);
    return status;
}

Status Call::refuse(const host::Outcome& outcome) const {
    const std::string what = host::reasonText(outcome.refusal);
    return refuse(Status::failed, what.empty() ? "it failed" : what);
}

host::Outcome Call::perform(host::Operation operation) const {
    host::Origin origin;
    origin.client = "imgctl";
    return camera.perform(std::move(operation), std::move(origin));
}

const std::vector<Command>& commands() {
    static const std::vector<Command> table = {
        {"set", "PAIRS", "apply and record: (34,60)(2337,55) or brightness=60 saturation=55",
         runSet},
        {"apply", "PAIRS", "the same without recording; the keys of the time window are left out",
         runApply},
        {"get", "KEYS", "read one key, several, or a query such as (34,2337)", runGet},
        {"all", "", "every parameter of the current scheme, corrected by the layer", runAll},
        {"scheme", "[N]",
         "the current scheme, or switch to N (in mode 1 the clock may switch back)", runScheme},
        {"mode", "[0|1]", "whether schemes switch by themselves (1) or not (0)", runMode},
        {"flush", "", "save the current scheme to its file", runFlush},
        {"restore", "KEY", "apply one value of the current scheme again", runRestore},
        {"restore-ae", "", "apply exposure mode and focus mode again", runRestoreAe},
        {"reload", "", "apply what was last saved for the current scheme", runReload},
        {"reset", "", "throw saved schemes away and start with the factory values", runReset},
        {"wait", "SECONDS", "let camera time pass", runWait},
        {"status", "", "scheme, mode, time and state of the camera", runStatus},
        {"keys", "[--json]", "table of keys: command, handler, value, factory value, range",
         runKeys},
        {"diff", "", "where the current scheme differs from its file and the factory values",
         runDiff},
        {"export", "FILE", "write the timed schemes to a text file of this machine", runExport},
        {"import", "FILE", "check such a file; then set and save its schemes, whichever is current",
         runImport},
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
         runCompliance},
        {"fail", "CMD CODE [COUNT]",
         "let a command of the layer fail COUNT times, or until CODE is 0", runFail},
        {"light", "LEVEL", "light on the sensor, 0 (dark) to 100", runLight},
        {"limit", "CMD DEFAULT ITEM[,ITEM...]", "allow only these values of a command", runLimit},
        {"unlimit", "CMD", "allow all values of a command again", runUnlimit},
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

Status runLine(host::Camera& camera, const std::string& line, bool& quit) {
    const std::vector<std::string> parts = host::words(line, 2);
    if (parts.empty() || parts[0][0] == '#') {
        return Status::done;
    }
    if (line.find('\0') != std::string::npos) {
        std::fprintf(stderr, "imgctl: %s holds a zero byte\n", host::quoted(line).c_str());
        return Status::usage;
    }
    const Command* command = findCommand(parts[0]);
    if (command == nullptr) {
        std::fprintf(stderr, "imgctl: %s\n", unknownCommand(parts[0]).c_str());
        return Status::usage;
    }
    const std::vector<std::string> expected =
        host::words(command->synopsis, command->synopsis.size());
    const auto needed = std::count_if(expected.begin(), expected.end(),
                                      [](const std::string& word) { return word[0] != '['; });
    const std::string rest = parts.size() > 1 ? parts[1] : std::string();
    const Call call{camera, command->name, host::words(rest, expected.size()), quit};
    if (call.arguments.size() > expected.size()) {
        return call.refuse(Status::usage,
                           host::quoted(rest) + " is too much; " + usageOf(*command));
    }
    if (call.arguments.size() < static_cast<std::size_t>(needed)) {
        return call.refuse(Status::usage,
                           expected[call.arguments.size()] + " is missing; " + usageOf(*command));
    }
    return command->run(call);
}

} // namespace imgctl
