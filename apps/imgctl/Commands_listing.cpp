#include "CommandFunctions.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "Camera.h"
#include "ImageAdjust.h"
#include "KeyNames.h"
#include "Output.h"
#include "Schemes.h"
#include "SensorConfig.h"
#include "Text.h"

namespace host {
namespace {

/// One row of the listing; a text is empty where there is nothing to tell.
struct KeyInfo {
    keycmd row;
    std::string handler;
    std::string value;
    std::string factory;
    std::string range;
    bool rangeKnown;
    ia_dynamic_params_attr_st limits;
};

std::string signedText(u32 value) {
    return std::to_string(static_cast<int>(value));
}

std::string orDash(const std::string& text) {
    return text.empty() ? "-" : text;
}

std::string orNull(const std::string& text) {
    return text.empty() ? "null" : text;
}

/// The value in the current scheme, else the one in the layer.
std::string currentValue(ISensorController& controller, int scheme, const keycmd& row) {
    u32 value = 0;
    if (controller.getKeyValFromCache(static_cast<u32>(scheme), row.key, value) >= 0) {
        return signedText(value);
    }
    std::int32_t record[128] = {}; // some commands carry a record
    if (row.ia_cmd == 0 || controller.doIaCmd(row.ia_cmd, IA_CMD_OPT_GET, record) != 0) {
        return "";
    }
    return std::to_string(record[0]);
}

std::vector<KeyInfo> keyInfos(Camera& camera) {
    const std::vector<KeyVal> factory = factoryValues();
    const int scheme = camera.scheme();
    std::vector<KeyInfo> infos;
    for (int i = 0; i < g_nKeyCmdNum; ++i) {
        KeyInfo info{};
        camera.controller().findFromKeyCmdMap(g_pKeyCmdMap, g_pKeyCmdMap[i].key, info.row);
        const char* colon = std::strrchr(info.row.handler_name, ':');
        info.handler = info.row.handler == nullptr || colon == nullptr ? "" : colon + 1;
        info.value = currentValue(camera.controller(), scheme, info.row);
        const u32* value = valueOf(factory, info.row.key);
        info.factory = value == nullptr ? "" : signedText(*value);
        info.rangeKnown = info.row.ia_cmd != 0 && rangeOf(info.row.ia_cmd, info.limits);
        info.range = info.rangeKnown ? rangeText(info.limits) : "";
        infos.push_back(info);
    }
    return infos;
}

std::string tableLine(const KeyInfo& info) {
    char text[256];
    std::snprintf(text, sizeof text, "%5d %-26s %7d %-13s %6s %8s  %s",
                  static_cast<int>(info.row.key), info.row.name, static_cast<int>(info.row.ia_cmd),
                  orDash(info.handler).c_str(), orDash(info.value).c_str(),
                  orDash(info.factory).c_str(), orDash(info.range).c_str());
    return text;
}

std::string jsonRange(const KeyInfo& info) {
    if (!info.rangeKnown) {
        return "null";
    }
    std::string text = "{\"min\":" + std::to_string(info.limits.min_value) +
                       ",\"max\":" + std::to_string(info.limits.max_value) + ",\"items\":";
    return text + (info.limits.items_cnt > 0 ? "[" + info.range + "]}" : "null}");
}

std::string jsonObject(const KeyInfo& info) {
    return "{\"key\":" + std::to_string(info.row.key) + ",\"name\":" + jsonString(info.row.name) +
           ",\"command\":" + std::to_string(info.row.ia_cmd) +
           ",\"handler\":" + (info.handler.empty() ? "null" : jsonString(info.handler)) +
           ",\"value\":" + orNull(info.value) + ",\"default\":" + orNull(info.factory) +
           ",\"range\":" + jsonRange(info) + "}";
}

Status answerText(const Call& call, const std::string& head, const std::string& text) {
    call.answer(head + std::to_string(text.size()));
    if (text.empty()) {
        return call.refuse(Status::failed, "the device tree holds no such text");
    }
    printLine(printableLines(text));
    return Status::done;
}

Status answerUiText(const Call& call, std::string (ISensorController::*text)(int)) {
    int id = 0;
    if (!readInt(call.arguments[0], id)) {
        return call.refuse(Status::usage,
                           "language " + quoted(call.arguments[0]) +
                               " is not allowed; allowed: a number, such as 0 (English)");
    }
    return answerText(call, std::to_string(id) + " ", (call.camera.controller().*text)(id));
}

} // namespace

Status runKeys(const Call& call) {
    const bool json = !call.arguments.empty();
    if (json && call.arguments[0] != "--json") {
        return call.refuse(Status::usage, quoted(call.arguments[0]) +
                                              " is not allowed; allowed: --json, or nothing");
    }
    const std::vector<KeyInfo> infos = keyInfos(call.camera);
    if (json) {
        std::string text;
        for (const KeyInfo& info : infos) {
            text += (text.empty() ? "[" : ",\n ") + jsonObject(info);
        }
        printLine(text + "]");
        return Status::done;
    }
    call.answer(std::to_string(infos.size()));
    printLine("  key name                       command handler        value  default  range");
    for (const KeyInfo& info : infos) {
        printLine(tableLine(info));
    }
    return Status::done;
}

Status runDiff(const Call& call) {
    const int scheme = call.camera.scheme();
    const auto number = static_cast<u32>(scheme);
    const std::vector<KeyVal> factory = factoryValues();
    std::vector<KeyVal> saved;
    const bool fileKnown = number < g_stSysConf.nSchemeSum && savedValues(number, saved);
    std::string lines;
    int fromFile = 0;
    int fromFactory = 0;
    for (const KeyVal& pair : factory) {
        u32 value = 0;
        if (call.camera.controller().getKeyValFromCache(number, pair.key, value) < 0) {
            continue;
        }
        const u32* inFile = valueOf(saved, pair.key);
        const bool fileDiffers = fileKnown && (inFile == nullptr || *inFile != value);
        if (fileDiffers || pair.value != value) {
            lines += keyName(pair.key) + " memory=" + signedText(value) +
                     " file=" + (inFile == nullptr ? "-" : signedText(*inFile)) +
                     " factory=" + signedText(pair.value) + "\n";
        }
        fromFile += fileDiffers ? 1 : 0;
        fromFactory += pair.value != value ? 1 : 0;
    }
    call.answer("scheme=" + std::to_string(scheme) +
                " file=" + (fileKnown ? std::to_string(fromFile) : "-") +
                " factory=" + std::to_string(fromFactory));
    if (!lines.empty()) {
        printLine(lines);
    }
    return Status::done;
}

Status runStyle(const Call& call) {
    return answerText(call, "", call.camera.controller().getUIStyleFile());
}

Status runLanguage(const Call& call) {
    return answerUiText(call, &ISensorController::getUILanguageFile);
}

Status runCommon(const Call& call) {
    return answerUiText(call, &ISensorController::getUICommonFile);
}

} // namespace host
