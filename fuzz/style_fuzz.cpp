#include <cstdlib>
#include <cstring>

#include "FuzzCamera.h"
#include "SensorModuleConfig.h"
#include "SensorWdrFlag.h"

/// Style, rules and detail: merged, pruned for the sensor, read as factory values.
void tryInput(const std::string& input) {
    writeFile(sensor_paths::kSignFile, "7\n0\n"); // every report is formatted
    std::vector<std::string> text = texts(input, 3);
    ModuleConfig config = {};
    strncpy(config.szDetail, text[2].c_str(), sizeof config.szDetail - 1);
    char* style = strdup(text[0].c_str());
    mergeStyle(&config, &style, text[1].data());

    setshowWDRFalg(input.size() % 2 != 0);
    std::string pruned;
    getDnaStyle(style, pruned);
    std::vector<KeyVal> all(SENSOR_KEYVAL_MAX);
    u32 count = 0;
    getFctData(style, all.data(), &count);

    const u32 room = (count + 1) / 2;
    std::vector<KeyVal> some(room);
    getFctData(style, some.data(), &count, room);
    require(count == room && (room == 0 || memcmp(&some[0], &all[0], room * sizeof(KeyVal)) == 0),
            "with less room the first values are read");
    free(style);
}
