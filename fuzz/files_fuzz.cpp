#include "FuzzCamera.h"
#include "ModuleConfigureParser.h"
#include "SystemInfoParser.h"

/// Machine information and module list, through the framework.
void tryInput(const std::string& input) {
    const std::vector<std::string> text = texts(input, 2);
    writeFile("/info.ini", text[0]);
    writeFile("/modules.xml", text[1]);
    MachineInfo info;
    info.setDeviceType(-1);
    const bool typed = SystemInfoParser::parseMachineInfo("/info.ini", info);
    require(typed == (info.getDeviceType() >= 0), "a type is told exactly when there is one");

    std::vector<ModuleConfigure> modules;
    const bool read = ModuleConfigureParser::parse(
        "/modules.xml", std::to_string(info.getDeviceType()), info.getModelName(), modules);
    require(read || modules.empty(), "a list that cannot be read adds nothing");
}
