#pragma once

/// The commands of the simulated sensor that can be set, ascending by number, so that the fields of
/// a record lie side by side: name, number, what it is about, smallest and largest value, default.
#define SIMULATED_COMMANDS(ROW)                                              \
    /* 0 automatic, 1 manual, 2 shutter priority, 3 manual iris */           \
    ROW(EXPOSE_MODE, 16, "exposure mode", 0, 3, 0)                           \
    ROW(BRIGHTNESS, 34, "brightness", 0, 255, 128)                           \
    /* steps of the shutter scale; 100: what the frame rate allows */        \
    ROW(MAX_SHUTTER, 49, "longest shutter", 0, 100, 3)                       \
    ROW(FIX_SHUTTER, 50, "fixed shutter", 0, 100, 5)                         \
    ROW(MAX_GAIN, 65, "highest gain", 0, 100, 60)                            \
    ROW(FIX_GAIN, 66, "fixed gain", 0, 100, 30)                              \
    ROW(IRIS_AUTO, 80, "automatic iris", 0, 1, 1)                            \
    ROW(IRIS_SPEED, 81, "iris speed", 1, 10, 5)                              \
    ROW(IRIS_POSITION, 82, "iris position", 0, 100, 50)                      \
    ROW(IRIS_UP, 83, "iris up", 0, 1, 0)                                     \
    ROW(IRIS_DOWN, 84, "iris down", 0, 1, 0)                                 \
    ROW(IRIS_SIZE, 85, "iris size", 0, 10, 5)                                \
    ROW(METER_AREA, 96, "metering area", 0, 4, 0)                            \
    ROW(HLC_SWITCH, 112, "highlight compensation", 0, 1, 0)                  \
    ROW(HLC_STRENGTH, 113, "highlight compensation strength", 0, 100, 50)    \
    ROW(BLC_SWITCH, 128, "backlight compensation", 0, 1, 0)                  \
    ROW(BLC_AREA, 129, "backlight area", 0, 4, 0)                            \
    ROW(BLC_STRENGTH, 130, "backlight compensation strength", 0, 100, 50)    \
    /* 0 by light, 1 day, 2 night, 3 by the clock */                         \
    ROW(DN_MODE, 144, "day/night mode", 0, 3, 0)                             \
    ROW(DTN_THR, 145, "day-to-night threshold", 0, 100, 20)                  \
    ROW(NTD_THR, 146, "night-to-day threshold", 0, 100, 40)                  \
    ROW(DN_DELAY, 147, "day/night delay", 1, 120, 5)                         \
    ROW(DTN_HOUR, 149, "day-to-night hour", 0, 23, 18)                       \
    ROW(DTN_MIN, 150, "day-to-night minute", 0, 59, 0)                       \
    ROW(NTD_HOUR, 151, "night-to-day hour", 0, 23, 6)                        \
    ROW(NTD_MIN, 152, "night-to-day minute", 0, 59, 0)                       \
    ROW(IR_SWITCH, 160, "infrared lamp", 0, 1, 1)                            \
    /* 0 automatic, 1 by zoom, 2 manual */                                   \
    ROW(IR_MODE, 161, "infrared lamp mode", 0, 2, 0)                         \
    ROW(IR_AUTO_NEAR, 162, "automatic strength, near lamp", 0, 100, 100)     \
    ROW(IR_MANUAL_NEAR, 163, "manual strength, near lamp", 0, 100, 50)       \
    ROW(IR_AUTO_MEDIUM, 164, "automatic strength, medium lamp", 0, 100, 100) \
    ROW(IR_MANUAL_MEDIUM, 165, "manual strength, medium lamp", 0, 100, 50)   \
    ROW(IR_AUTO_FAR, 166, "automatic strength, far lamp", 0, 100, 100)       \
    ROW(IR_MANUAL_FAR, 167, "manual strength, far lamp", 0, 100, 50)         \
    ROW(PLACE, 176, "indoors or outdoors", 0, 1, 0)                          \
    ROW(WB_MODE, 768, "white balance mode", 0, 5, 0)                         \
    ROW(WB_RED, 770, "red gain", 0, 255, 128)                                \
    ROW(WB_BLUE, 771, "blue gain", 0, 255, 128)                              \
    ROW(FOCUS_MODE, 1536, "focus mode", 0, 1, 0)                             \
    ROW(FOCUS_LIMIT, 1537, "near limit of focus", 0, 10, 1)                  \
    ROW(FOCUS_SENSITIVITY, 1538, "focus sensitivity", 0, 2, 1)               \
    ROW(FOCUS_ONCE, 1539, "focus once", 0, 1, 0)                             \
    ROW(FOCUS_POSITION, 1552, "focus position", 0, 1000, 200)                \
    ROW(FOCUS_NEAR, 1553, "focus near", 0, 1, 0)                             \
    ROW(FOCUS_FAR, 1554, "focus far", 0, 1, 0)                               \
    ROW(ZOOM_POSITION, 1568, "zoom position", 16384, 32000, 16384)           \
    ROW(ZOOM_IN, 1569, "zoom in", 0, 1, 0)                                   \
    ROW(ZOOM_OUT, 1570, "zoom out", 0, 1, 0)                                 \
    ROW(ZOOM_SPEED, 1571, "lens speed", 1, 8, 4)                             \
    ROW(DIGITAL_ZOOM, 1584, "digital zoom", 0, 1, 0)                         \
    ROW(LENS_RESET, 1616, "lens reset", 0, 1, 0)                             \
    ROW(PTZ_RUNS, 1632, "pan-tilt head runs", 0, 1, 0)                       \
    ROW(2D_NR_SWITCH, 2304, "spatial noise reduction", 0, 1, 1)              \
    ROW(2D_NR_MODE, 2305, "spatial noise reduction mode", 0, 1, 0)           \
    ROW(2D_NR_AUTO, 2306, "spatial noise reduction, automatic", 0, 100, 50)  \
    ROW(2D_NR_MANUAL, 2307, "spatial noise reduction, manual", 0, 100, 50)   \
    ROW(3D_NR_SWITCH, 2308, "temporal noise reduction", 0, 1, 1)             \
    ROW(3D_NR_MODE, 2309, "temporal noise reduction mode", 0, 1, 0)          \
    ROW(3D_NR_AUTO, 2312, "temporal noise reduction, automatic", 0, 100, 50) \
    ROW(3D_NR_MANUAL, 2313, "temporal noise reduction, manual", 0, 100, 50)  \
    ROW(SHARPNESS, 2321, "sharpness", 0, 255, 128)                           \
    ROW(SATURATION, 2337, "saturation", 0, 255, 128)                         \
    ROW(CONTRAST, 2353, "contrast", 0, 255, 128)                             \
    ROW(WDR_MODE, 2368, "wide dynamic range", 0, 2, 0)                       \
    ROW(WDR_STRENGTH, 2369, "wide dynamic range strength", 0, 100, 50)       \
    ROW(MIRROR, 2384, "mirror", 0, 3, 0)                                     \
    ROW(HANGING, 2385, "hanging", 0, 1, 0)                                   \
    ROW(DEFOG_SWITCH, 2400, "defog", 0, 1, 0)                                \
    ROW(DEFOG_STRENGTH, 2401, "defog strength", 0, 100, 50)                  \
    ROW(SHAKE_SWITCH, 2416, "anti-shake", 0, 1, 0)                           \
    ROW(SHAKE_STRENGTH, 2417, "anti-shake strength", 0, 100, 50)             \
    ROW(OFFSET_DIRECTION, 2432, "image offset direction", 0, 1, 0)           \
    ROW(OFFSET_STEP, 2433, "image offset step", 1, 32, 8)                    \
    ROW(OFFSET_H_MIN, 2434, "least horizontal offset", 0, 128, 0)            \
    ROW(OFFSET_H_MAX, 2435, "greatest horizontal offset", 0, 128, 128)       \
    ROW(OFFSET_H_CUR, 2436, "horizontal offset", 0, 128, 64)                 \
    ROW(OFFSET_V_MIN, 2437, "least vertical offset", 0, 128, 0)              \
    ROW(OFFSET_V_MAX, 2438, "greatest vertical offset", 0, 128, 128)         \
    ROW(OFFSET_V_CUR, 2439, "vertical offset", 0, 128, 64)                   \
    ROW(FRAME_RATE, 2464, "frame rate", 1, 60, 25)                           \
    ROW(FREEZE, 2512, "freeze", 0, 1, 0)                                     \
    ROW(GAMMA, 2528, "gamma", 0, 3, 0)                                       \
    ROW(DN_FOCUS, 2560, "refocus at day/night change", 0, 1, 0)

namespace simulated_ia {

/// Their numbers, by name. The strengths of the infrared lamps alternate: automatic, manual.
enum Command : unsigned int {
#define ROW(symbol, number, name, min, max, defaultValue) CMD_##symbol = (number),
    SIMULATED_COMMANDS(ROW)
#undef ROW
};

/// One command that can be set.
struct CommandRow {
    unsigned int cmd;
    const char* name;
    int min;
    int max;
    int defaultValue;
};

/// Rows of the table.
#define ROW(symbol, number, name, min, max, defaultValue) +1
enum { COMMAND_COUNT = 0 SIMULATED_COMMANDS(ROW) };
#undef ROW

/// @param row  0 .. COMMAND_COUNT - 1; the rows ascend by command
const CommandRow& commandRow(int row);

/// @return the row of a command that can be set, -1 for any other
int findCommand(unsigned int cmd);

/// The rows of the table that one command sets and reads together: for most commands its own, for
/// the day/night commands those of the record's fields, in the record's order.
struct Fields {
    int first;
    int count;
};

/// @param row  the command's row
Fields fieldsOf(int row);

} // namespace simulated_ia
