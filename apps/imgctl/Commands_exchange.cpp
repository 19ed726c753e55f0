#include <algorithm>

#include "CommandFunctions.h"
#include "Output.h"
#include "Shown.h"
#include "host/Files.h"
#include "host/Text.h"

namespace imgctl {

Status runExport(const Call& call) {
    const Answer answer = call.ask("GET", "/export");
    Status status = Status::done;
    if (!answer.good()) {
        call.told(answer, status);
        return status;
    }
    if (call.arguments[0] == "-") {
        printLine(host::printableLines(answer.body));
        return status;
    }
    std::string problem;
    if (!host::replaceFile(call.arguments[0], answer.body, problem)) {
        return call.refuse(Status::failed, problem);
    }
    call.answer(std::to_string(std::count(answer.body.begin(), answer.body.end(), '=')));
    return status;
}

Status runImport(const Call& call) {
    const std::string& file = call.arguments[0];
    std::string problem;
    std::string text;
    if (!host::readFile(file, host::api::kMostImport, text, problem)) {
        return call.refuse(Status::failed, problem);
    }
    const bool dryRun = call.option("--dry-run") != nullptr;
    const Answer answer =
        call.target.client.ask("POST", "/import", dryRun ? Query{{"dry-run", "1"}} : Query(), text);
    Status status = Status::done;
    const Json& document = answer.document;
    const bool wrong = document.is_object() && document.contains("errors");
    if (call.json || (!answer.good() && !wrong)) {
        call.told(answer, status);
        if (!call.json && document.is_object() && !textOf(document, "key").empty()) {
            call.note("nothing is saved; the values before it are in force");
        }
        return status;
    }
    if (wrong) {
        for (const Json& line : document["errors"]) {
            call.note(line.is_string() ? line.get<std::string>() : line.dump());
        }
        return call.refuse(Status::rejected, "nothing is changed");
    }
    call.answer(numberOf(document, "count", "0") +
                " changed=" + numberOf(document, "changed", "0"));
    if (dryRun) {
        printLine("  Nothing is changed: this only looked.");
    }
    return status;
}

} // namespace imgctl
