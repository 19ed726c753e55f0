#include "CommandTable.h"

#include <algorithm>
#include <iterator>

#include "ImageAdjust.h"

namespace simulated_ia {
namespace {

// Ascending by command, for the search; the fields of a record lie side by side.
constexpr CommandRow rows[] = {
    {16, "exposure mode", 0, 3, 0}, // 0 automatic, 1 manual, 2 shutter priority, 3 manual iris
    {34, "brightness", 0, 255, 128},
    {49, "longest shutter", 0, 100,
     3}, // steps of the shutter scale; 100: what the frame rate allows
    {50, "fixed shutter", 0, 100, 5},
    {65, "highest gain", 0, 100, 60},
    {66, "fixed gain", 0, 100, 30},
    {80, "automatic iris", 0, 1, 1},
    {CMD_IRIS_SPEED, "iris speed", 1, 10, 5},
    {CMD_IRIS_POSITION, "iris position", 0, 100, 50},
    {CMD_IRIS_UP, "iris up", 0, 1, 0},
    {CMD_IRIS_DOWN, "iris down", 0, 1, 0},
    {85, "iris size", 0, 10, 5},
    {96, "metering area", 0, 4, 0},
    {112, "highlight compensation", 0, 1, 0},
    {113, "highlight compensation strength", 0, 100, 50},
    {128, "backlight compensation", 0, 1, 0},
    {129, "backlight area", 0, 4, 0},
    {130, "backlight compensation strength", 0, 100, 50},
    {CMD_DN_MODE, "day/night mode", 0, 3, 0}, // 0 by light, 1 day, 2 night, 3 by the clock
    {CMD_DTN_THR, "day-to-night threshold", 0, 100, 20},
    {CMD_NTD_THR, "night-to-day threshold", 0, 100, 40},
    {147, "day/night delay", 1, 120, 5},
    {CMD_DTN_HOUR, "day-to-night hour", 0, 23, 18},
    {CMD_DTN_MIN, "day-to-night minute", 0, 59, 0},
    {CMD_NTD_HOUR, "night-to-day hour", 0, 23, 6},
    {CMD_NTD_MIN, "night-to-day minute", 0, 59, 0},
    {CMD_IR_SWITCH, "infrared lamp", 0, 1, 1},
    {CMD_IR_MODE, "infrared lamp mode", 0, 2, 0}, // 0 automatic, 1 by zoom, 2 manual
    {CMD_IR_AUTO_NEAR, "automatic strength, near lamp", 0, 100, 100},
    {163, "manual strength, near lamp", 0, 100, 50},
    {164, "automatic strength, medium lamp", 0, 100, 100},
    {165, "manual strength, medium lamp", 0, 100, 50},
    {166, "automatic strength, far lamp", 0, 100, 100},
    {CMD_IR_MANUAL_FAR, "manual strength, far lamp", 0, 100, 50},
    {176, "indoors or outdoors", 0, 1, 0},
    {768, "white balance mode", 0, 5, 0},
    {770, "red gain", 0, 255, 128},
    {771, "blue gain", 0, 255, 128},
    {CMD_FOCUS_MODE, "focus mode", 0, 1, 0}, // 0 automatic, 1 manual
    {1537, "near limit of focus", 0, 10, 1},
    {1538, "focus sensitivity", 0, 2, 1},
    {CMD_FOCUS_ONCE, "focus once", 0, 1, 0},
    {CMD_FOCUS_POSITION, "focus position", 0, 1000, 200},
    {CMD_FOCUS_NEAR, "focus near", 0, 1, 0},
    {CMD_FOCUS_FAR, "focus far", 0, 1, 0},
    {CMD_ZOOM_POSITION, "zoom position", 16384, 32000, 16384},
    {CMD_ZOOM_IN, "zoom in", 0, 1, 0},
    {CMD_ZOOM_OUT, "zoom out", 0, 1, 0},
    {CMD_ZOOM_SPEED, "lens speed", 1, 8, 4},
    {1584, "digital zoom", 0, 1, 0},
    {CMD_LENS_RESET, "lens reset", 0, 1, 0},
    {IA_CMD_PTZ_RUN_STATE, "pan-tilt head runs", 0, 1, 0},
    {2304, "spatial noise reduction", 0, 1, 1},
    {2305, "spatial noise reduction mode", 0, 1, 0},
    {2306, "spatial noise reduction, automatic", 0, 100, 50},
    {2307, "spatial noise reduction, manual", 0, 100, 50},
    {2308, "temporal noise reduction", 0, 1, 1},
    {2309, "temporal noise reduction mode", 0, 1, 0},
    {2312, "temporal noise reduction, automatic", 0, 100, 50},
    {2313, "temporal noise reduction, manual", 0, 100, 50},
    {2321, "sharpness", 0, 255, 128},
    {2337, "saturation", 0, 255, 128},
    {2353, "contrast", 0, 255, 128},
    {2368, "wide dynamic range", 0, 2, 0},
    {2369, "wide dynamic range strength", 0, 100, 50},
    {2384, "mirror", 0, 3, 0},
    {2385, "hanging", 0, 1, 0},
    {2400, "defog", 0, 1, 0},
    {2401, "defog strength", 0, 100, 50},
    {2416, "anti-shake", 0, 1, 0},
    {2417, "anti-shake strength", 0, 100, 50},
    {2432, "image offset direction", 0, 1, 0},
    {2433, "image offset step", 1, 32, 8},
    {2434, "least horizontal offset", 0, 128, 0},
    {2435, "greatest horizontal offset", 0, 128, 128},
    {2436, "horizontal offset", 0, 128, 64},
    {2437, "least vertical offset", 0, 128, 0},
    {2438, "greatest vertical offset", 0, 128, 128},
    {2439, "vertical offset", 0, 128, 64},
    {2464, "frame rate", 1, 60, 25},
    {2512, "freeze", 0, 1, 0},
    {2528, "gamma", 0, 3, 0},
    {2560, "refocus at day/night change", 0, 1, 0},
};
static_assert(std::size(rows) == COMMAND_COUNT, "the header tells the number of rows");

} // namespace

const CommandRow& commandRow(int row) {
    return rows[row];
}

int findCommand(unsigned int cmd) {
    const CommandRow* found = std::lower_bound(
        std::begin(rows), std::end(rows), cmd,
        [](const CommandRow& row, unsigned int wanted) { return row.cmd < wanted; });
    return found != std::end(rows) && found->cmd == cmd ? static_cast<int>(found - rows) : -1;
}

Fields fieldsOf(int row) {
    const unsigned int cmd = rows[row].cmd;
    if (cmd == CMD_DTN_THR || cmd == CMD_NTD_THR) {
        return {row - static_cast<int>(cmd - CMD_DTN_THR), 2};
    }
    if (cmd >= CMD_DTN_HOUR && cmd <= CMD_NTD_MIN) {
        return {row - static_cast<int>(cmd - CMD_DTN_HOUR), 4};
    }
    return {row, 1};
}

} // namespace simulated_ia
