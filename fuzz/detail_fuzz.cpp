#include "FuzzCamera.h"
#include "SensorConfig.h"

/// Machine information and module detail, through the configuration and a start.
void tryInput(const std::string& input) {
    const std::vector<std::string> text = texts(input, 2);
    writeFile(sensor_paths::kMachineInfo, text[0]);
    const auto controller = startCamera(text[1]);
    const std::string kept = g_stSysConf.moduleConfig.szDetail;
    require(
        kept == text[1].substr(0, text[1].find('\0')).substr(0, sizeof(ModuleConfig::szDetail) - 1),
        "the detail is kept as far as it fits");
    require(g_stSysConf.nSchemeSum <= SENSOR_SCHEME_MAX, "there are not too many schemes");
    controller->setParamScheme(static_cast<int>(g_stSysConf.nSchemeSum));
    controller->setParamScheme(0);
    controller->flush();
    require(!controller->getUIStyleFile().empty(), "the sample's style stays one");
}
