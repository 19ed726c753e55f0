#include "host/compliance/Command.h"

#include "ImageAdjust.h"

namespace compliance {
namespace {

const struct {
    unsigned int cmd;
    const char* name;
} extraCommands[] = {
    {IA_CMD_DN_STATE, "IA_CMD_DN_STATE"},
    {IA_CMD_PTZ_RUN_STATE, "IA_CMD_PTZ_RUN_STATE"},
    {IA_CMD_AF_STATISTIC, "IA_CMD_AF_STATISTIC"},
    {IA_CMD_CAMERA_VERSION, "IA_CMD_CAMERA_VERSION"},
    {IA_CMD_DYNAMIC_PARAMS_CMDS_GET, "IA_CMD_DYNAMIC_PARAMS_CMDS_GET"},
};

} // namespace

std::vector<Command> commandsOf(const keycmd* rows, int count) {
    std::vector<Command> commands;
    for (int i = 0; rows != nullptr && i < count; ++i) {
        if (rows[i].ia_cmd != 0) { // others are only stored
            commands.push_back({rows[i].ia_cmd, rows[i].key, rows[i].name});
        }
    }
    for (const auto& extra : extraCommands) {
        commands.push_back({extra.cmd, extra.cmd, extra.name});
    }
    return commands;
}

} // namespace compliance
