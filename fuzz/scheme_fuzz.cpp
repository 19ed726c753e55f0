#include <algorithm>
#include <cstring>

#include "FuzzCamera.h"

/// A scheme file, through start, switches, answers, saving and restoring.
void tryInput(const std::string& input) {
    // A style that takes little time to read, of values that differ in how they are applied.
    std::vector<KeyVal> expected;
    std::string style = "<style>";
    for (const u32 key :
         {8000U, 8001U, 8002U, 8003U, 8004U, 34U,   16U,   49U,   66U,   80U,   82U,  144U,
          145U,  150U,  161U,  768U,  2368U, 2384U, 2385U, 2416U, 2433U, 2497U, 9999U}) {
        expected.push_back(KeyVal{key, 0});
        style += "<control id=\"" + std::to_string(key) + "\" value=\"0\"/>";
    }
    writeFile(std::string(sensor_paths::kStyles) + "/Style.xml", style + "</style>");
    writeFile(sensor_paths::SchemeFile(0).text, input);
    const auto controller = startCamera("(max_scheme=1)");
    controller->setParamScheme(1);
    controller->setParamScheme(0);
    std::string text;
    controller->getAllParameters(text);

    u32 count = 0;
    KeyVal records[SENSOR_KEYVAL_MAX];
    keyval_str2st(text, records, &count, SENSOR_KEYVAL_MAX);
    require(count == expected.size(), "a scheme has as many values as the style");
    memcpy(expected.data(), input.data(), std::min(input.size(), count * sizeof(KeyVal)));
    for (u32 i = 0; i < count; ++i)
        require(records[i].key == expected[i].key, "keys stand where they stand in the file");
    controller->flush();
    controller->resetToLastParameters();
    controller->switch_to(0, true);
}
