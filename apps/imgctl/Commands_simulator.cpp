#include "CommandFunctions.h"

#include <climits>

#include "KeyNames.h"
#include "SimulatedImageAdjust.h"
#include "StringHandler.h"
#include "Text.h"

namespace host {
namespace {

Status noNumber(const Call& call, const char* what, const std::string& text, const char* allowed) {
    return call.refuse(Status::usage, std::string(what) + " " + quoted(text) +
                                          " is not allowed; allowed: " + allowed);
}

} // namespace

Status runFail(const Call& call) {
    u32 command = 0;
    int code = 0;
    int count = 0;
    std::string problem;
    if (!readLayerCommand(call.arguments[0], command, problem)) {
        return call.refuse(Status::usage, problem);
    }
    if (!readInt(call.arguments[1], code)) {
        return noNumber(call, "CODE", call.arguments[1], "a number; 0 ends the failures");
    }
    if (call.arguments.size() > 2 && !readIntWithin(call.arguments[2], 0, INT_MAX, count)) {
        return noNumber(call, "COUNT", call.arguments[2], "0 (without end) or a number of calls");
    }
    simulated_ia::fail(command, code, static_cast<unsigned int>(count));
    call.answer(std::to_string(static_cast<int>(command)) + " " + std::to_string(code) + " " +
                std::to_string(count));
    return Status::done;
}

Status runLight(const Call& call) {
    int level = 0;
    if (!readIntWithin(call.arguments[0], 0, 100, level)) {
        return noNumber(call, "LEVEL", call.arguments[0], "0 (dark) .. 100 (bright)");
    }
    simulated_ia::setLight(static_cast<unsigned int>(level));
    call.answer(std::to_string(level));
    return Status::done;
}

Status runLimit(const Call& call) {
    u32 command = 0;
    int defaultValue = 0;
    std::string problem;
    if (!readLayerCommand(call.arguments[0], command, problem)) {
        return call.refuse(Status::usage, problem);
    }
    if (!readInt(call.arguments[1], defaultValue)) {
        return noNumber(call, "DEFAULT", call.arguments[1], "a number");
    }
    std::vector<std::string> pieces;
    std::vector<int> items;
    StringHandler::split(call.arguments[2], pieces, ",");
    for (const std::string& piece : pieces) {
        int item = 0;
        if (!readInt(trim(piece), item)) {
            return noNumber(call, "ITEM", piece, "numbers with commas between them");
        }
        items.push_back(item);
    }
    if (!simulated_ia::limit(command, defaultValue, items)) {
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
    if (!readLayerCommand(call.arguments[0], command, problem)) {
        return call.refuse(Status::usage, problem);
    }
    if (!simulated_ia::unlimit(command)) {
        return call.refuse(Status::failed,
                           "command " + std::to_string(command) + " is not limited");
    }
    call.answer(std::to_string(command));
    return Status::done;
}

} // namespace host
