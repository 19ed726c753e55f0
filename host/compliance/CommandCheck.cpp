#include "host/compliance/CommandCheck.h"

#include <algorithm>
#include <cstring>

#include "host/compliance/ValueCheck.h"
#include "host/compliance/ValueRange.h"

namespace compliance {
namespace {

constexpr unsigned int lastOption = IA_CMD_OPT_GET_EXEC_STATUS;

void checkWord(Layer& layer, Findings& findings) {
    if (!layer.writesWhole(IA_CMD_OPT_GET, sizeof(int), sizeof(int))) {
        findings.fail("get leaves some of its word unwritten");
    }
}

void checkDayNight(Layer& layer, Findings& findings) {
    checkWord(layer, findings);
    Words state;
    if (layer.get(state) == 0 && state[0] != 0 && state[0] != 1) {
        findings.fail("is neither 0 nor 1 but " + textOf(state));
    }
}

void checkVersion(Layer& layer, Findings& findings) {
    std::string texts[2];
    for (unsigned int i = 0; i < 2; ++i) {
        // The second one off alignment and over other remains.
        char text[IA_VERSION_SIZE];
        std::memset(text, i == 0 ? '\x5A' : '\xA5', sizeof text);
        if (layer.call(IA_CMD_OPT_GET, text, sizeof text, i) != 0) {
            return;
        }
        texts[i].assign(text, std::find(text, text + sizeof text, '\0'));
    }
    if (texts[0] != texts[1]) {
        findings.fail("the text is no whole " + std::to_string(IA_VERSION_SIZE) +
                      " bytes, and does not end before");
    } else if (texts[0].empty()) {
        findings.warn("the text is empty");
    }
}

void checkRestrictedCommands(Layer& layer, Findings& findings) {
    ia_dynamic_params_cmds_st list = {};
    if (layer.call(IA_CMD_OPT_GET, &list, sizeof list) != 0) {
        return;
    }
    if (list.cmd_cnt < 0 || list.cmd_cnt > IA_DYNAMIC_CMD_MAX) {
        findings.fail("lists " + std::to_string(list.cmd_cnt) + " commands, not 0.." +
                      std::to_string(IA_DYNAMIC_CMD_MAX));
        return;
    }
    if (!layer.writesWhole(IA_CMD_OPT_GET, sizeof list,
                           wordBytes(1 + static_cast<unsigned int>(list.cmd_cnt)))) {
        findings.fail("leaves some of its list unwritten");
    }
    for (int i = 0; i < list.cmd_cnt; ++i) {
        Layer listed(static_cast<unsigned int>(list.cmd_list[i]), findings,
                     std::chrono::milliseconds(0));
        ia_dynamic_params_attr_st range = {};
        const int result = listed.range(range);
        if (result != 0) {
            findings.fail("lists " + std::to_string(list.cmd_list[i]) +
                          ", whose range record gives " + std::to_string(result));
        }
    }
}

void checkReadOnly(unsigned int cmd, Findings& findings, std::chrono::milliseconds patience) {
    Layer layer(cmd, findings, patience);
    // Room for any of their records.
    ia_dynamic_params_cmds_st record = {};
    const int result = layer.call(IA_CMD_OPT_GET, &record, sizeof record);
    if (result == IA_ERR_UNSUPPORTED || result == IA_ERR_UNKNOWN_CMD) {
        findings.warn("this layer does not have it: get gives " + std::to_string(result));
        return;
    }
    if (result != 0) {
        findings.fail("get gives " + std::to_string(result));
        return;
    }
    switch (cmd) {
        case IA_CMD_DN_STATE:
            checkDayNight(layer, findings);
            break;
        case IA_CMD_CAMERA_VERSION:
            checkVersion(layer, findings);
            break;
        case IA_CMD_DYNAMIC_PARAMS_CMDS_GET:
            checkRestrictedCommands(layer, findings);
            break;
        default:
            checkWord(layer, findings);
            break;
    }
    // It need not have a range, but if it tells one, the controller believes it.
    ia_dynamic_params_attr_st range = {};
    const std::string problem = layer.range(range) == 0 ? rangeProblem(range) : "";
    if (!problem.empty()) {
        findings.fail(problem);
    }
}

void checkStatus(Layer& layer, bool needed, Findings& findings) {
    int status = 0;
    const int result = layer.call(IA_CMD_OPT_GET_EXEC_STATUS, &status, sizeof status);
    if (result == 0 && status != 0 && status != 1) {
        findings.fail("status is neither 0 nor 1 but " + std::to_string(status));
    } else if (result == 0 &&
               !layer.writesWhole(IA_CMD_OPT_GET_EXEC_STATUS, sizeof status, sizeof status)) {
        findings.fail("status leaves some of its word unwritten");
    } else if (result == IA_ERR_UNSUPPORTED) {
        findings.warn("status gives " + std::to_string(result));
    } else if (result != 0 && needed) {
        findings.fail("status gives " + std::to_string(result));
    }
}

/// What must fail whatever the command is.
void checkArguments(unsigned int cmd, Layer& layer, Findings& findings) {
    for (const unsigned int opt : {lastOption + 1, 0x7FFFFFFFU, 0xFFFFFFFFU}) {
        Words words(placeOf(cmd).count);
        if (layer.call(opt, words.data(), wordBytes(placeOf(cmd).count)) >= 0) {
            findings.fail("unknown option " + std::to_string(opt) + " does not fail");
        }
    }
    for (unsigned int opt = 0; opt <= lastOption; ++opt) {
        if (ia_ioctrl(cmd, opt, nullptr) >= 0) {
            findings.fail("option " + std::to_string(opt) + " without data does not fail");
        }
    }
}

} // namespace

Findings checkCommand(unsigned int cmd, const Settings& settings) {
    Findings findings;
    if (isReadOnly(cmd)) {
        checkReadOnly(cmd, findings, settings.patience);
    } else if (!ValueCheck(cmd, findings, settings).run()) {
        return findings;
    }
    Layer layer(cmd, findings, settings.patience);
    checkStatus(layer, !isReadOnly(cmd), findings);
    checkArguments(cmd, layer, findings);
    return findings;
}

Findings checkUnknownCommands() {
    Findings findings;
    for (const unsigned int cmd : {0x7FFFFFFFU, 0xFFFFFFFFU}) {
        Layer layer(cmd, findings, std::chrono::milliseconds(0));
        for (unsigned int opt = 0; opt <= lastOption; ++opt) {
            ia_dynamic_params_attr_st record = {};
            if (layer.call(opt, &record, sizeof record) >= 0) {
                findings.fail("command " + std::to_string(cmd) + " does not fail with option " +
                              std::to_string(opt));
            }
        }
    }
    return findings;
}

} // namespace compliance
