#include "CommandFunctions.h"

#include <algorithm>
#include <climits>

#include "Words.h"
#include "host/Simulator.h"
#include "host/Text.h"

namespace imgctl {
namespace {

Status noNumber(const Call& call, const char* what, const std::string& text, const char* allowed) {
    return call.refuse(Status::usage, std::string(what) + " " + host::quoted(text) +
                                          " is not allowed; allowed: " + allowed);
}

} // namespace

Status runFail(const Call& call) {
    u32 command = 0;
    int code = 0;
    int count = 0;
    std::string problem;
    if (!readLayerCommand(*call.camera().snapshot(), call.arguments[0], command, problem)) {
        return call.refuse(Status::rejected, problem);
    }
    if (!host::readInt(call.arguments[1], code)) {
        return noNumber(call, "CODE", call.arguments[1], "a number; 0 ends the failures");
    }
    if (call.arguments.size() > 2 && !host::readIntWithin(call.arguments[2], 0, INT_MAX, count)) {
        return noNumber(call, "COUNT", call.arguments[2], "0 (without end) or a number of calls");
    }
    host::simulator::fail(command, code, static_cast<unsigned int>(count));
    call.answer(std::to_string(static_cast<int>(command)) + " " + std::to_string(code) + " " +
                std::to_string(count));
    return Status::done;
}

Status runLight(const Call& call) {
    int level = 0;
    if (!host::readIntWithin(call.arguments[0], 0, 100, level)) {
        return noNumber(call, "LEVEL", call.arguments[0], "0 (dark) .. 100 (bright)");
    }
    const Answer answer = call.ask("PUT", "/simulator", Json{{"light", level}});
    Status status = Status::done;
    if (!call.told(answer, status)) {
        call.answer(std::to_string(level));
    }
    return status;
}

Status runLimit(const Call& call) {
    u32 command = 0;
    int defaultValue = 0;
    std::string problem;
    if (!readLayerCommand(*call.camera().snapshot(), call.arguments[0], command, problem)) {
        return call.refuse(Status::rejected, problem);
    }
    if (!host::readInt(call.arguments[1], defaultValue)) {
        return noNumber(call, "DEFAULT", call.arguments[1], "a number");
    }
    std::string list = call.arguments[2];
    std::vector<int> items;
    std::replace(list.begin(), list.end(), ',', ' ');
    for (const std::string& piece : host::words(list, list.size())) {
        int item = 0;
        if (!host::readInt(piece, item)) {
            return noNumber(call, "ITEM", piece, "numbers with commas between them");
        }
        items.push_back(item);
    }
    if (!host::simulator::limit(command, defaultValue, items)) {
        return call.refuse(
            Status::failed,
            "the layer has no such command, or too many commands or items are limited "
            "(at most 16 commands, 64 items)");
    }
    call.answer(std::to_string(command) + " " + std::to_string(defaultValue) + " " +
                call.arguments[2]);
    return Status::done;
}

Status runUnlimit(const Call& call) {
    u32 command = 0;
    std::string problem;
    if (!readLayerCommand(*call.camera().snapshot(), call.arguments[0], command, problem)) {
        return call.refuse(Status::rejected, problem);
    }
    if (!host::simulator::unlimit(command)) {
        return call.refuse(Status::failed,
                           "command " + std::to_string(command) + " is not limited");
    }
    call.answer(std::to_string(command));
    return Status::done;
}

} // namespace imgctl
