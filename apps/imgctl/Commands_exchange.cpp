#include "CommandFunctions.h"

#include "host/Exchange.h"
#include "host/Files.h"
#include "host/Sentences.h"

namespace imgctl {
namespace {

constexpr std::size_t kLongestImport = 1UL << 20;

} // namespace

Status runExport(const Call& call) {
    std::size_t count = 0;
    std::string problem;
    const std::string text = host::exportText(*call.camera.snapshot(), count);
    if (!host::replaceFile(call.arguments[0], text, problem)) {
        return call.refuse(Status::failed, problem);
    }
    call.answer(std::to_string(count));
    return Status::done;
}

Status runImport(const Call& call) {
    host::Import import;
    std::string problem;
    if (!host::readFile(call.arguments[0], kLongestImport, import.text, problem)) {
        return call.refuse(Status::failed, problem);
    }
    const host::Outcome outcome = call.perform(import);
    for (const std::string& line : outcome.lines) {
        call.note(line);
    }
    if (!outcome.lines.empty()) {
        return call.refuse(Status::rejected, "nothing is changed");
    }
    for (const host::KeyOutcome& key : outcome.keys) {
        if (key.result == host::KeyResult::Refused) {
            return call.refuse(Status::rejected,
                               host::sentence(*call.camera.snapshot(), key) +
                                   " Nothing is saved; the values before it are in force.");
        }
    }
    Status status = Status::done;
    for (const host::SchemeOutcome& scheme : outcome.schemes) {
        if (!scheme.saved) {
            status = call.refuse(Status::rejected, host::sentence(scheme) + "; it is set");
        }
    }
    if (!outcome.done() && status == Status::done) {
        return call.refuse(outcome);
    }
    call.answer(std::to_string(outcome.count) + " changed=" + std::to_string(outcome.changed));
    return status;
}

} // namespace imgctl
