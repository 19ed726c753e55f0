#include "SystemInfoParser.h"

#include <strings.h>

#include <new>
#include <vector>

#include "StringHandler.h"
#include "TextFile.h"

namespace {

constexpr std::size_t kLongestFile = 64UL * 1024;

} // namespace

bool SystemInfoParser::parseMachineInfo(const std::string& path, MachineInfo& info) try {
    using linux_framework::trimmed;
    std::string text;
    if (!linux_framework::readTextFile(path, kLongestFile, text)) {
        return false;
    }
    std::vector<std::string> lines;
    StringHandler::split(text, lines, "\n");
    bool typed = false;
    for (const std::string& line : lines) {
        // Which section a key stands in differs between products. A comment is an unknown key.
        const std::string::size_type equals = line.find('=');
        if (equals == std::string::npos) {
            continue;
        }
        const std::string key = trimmed(line.substr(0, equals));
        const std::string value = trimmed(line.substr(equals + 1));
        int type = 0;
        if (strcasecmp(key.c_str(), "modelName") == 0) {
            info.setModelName(value);
        } else if (strcasecmp(key.c_str(), "deviceType") == 0 &&
                   linux_framework::parseDecimal(value, type)) {
            info.setDeviceType(type);
            typed = true;
        }
    }
    return typed;
} catch (const std::bad_alloc&) {
    return false;
}
