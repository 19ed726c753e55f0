#pragma once

/// The image parameters, one row each: symbol, key, image-adjust command, handler, kind, meaning.
/// Everything else that lists keys is made from this table or checked against it; docs/keys.md is
/// the same for reading. The order is that of the key-command map, whose row numbers are part of
/// the interface: a new key goes to the end.
///
/// Symbol: the name in every text form; at most 26 characters.
/// Command: the number that ia_ioctrl is called with, most often the key's own; 0 for the scheme
/// keys, which are only stored. Mind the iris keys, whose commands cross over, and the frame rate.
/// Handler: the member of ISensorController that applies it; "stored" where there is none.
/// Kind: what a value is, one of KeyKind in SensorKeyTable.h.
/// Meaning: one line for people, in small letters, without a full stop.
// clang-format off
#define SENSOR_KEYS(KEY) \
    KEY(KEY_BRIGHTNESS, 34, 34, doIaCmd, LEVEL, "how bright the picture is") \
    KEY(KEY_SATURATION, 2337, 2337, doIaCmd, LEVEL, "how strong colours are; the least is grey") \
    KEY(KEY_CONTRAST, 2353, 2353, doIaCmd, LEVEL, \
        "how far dark and bright parts of the picture are apart") \
    KEY(KEY_SHARPNESS, 2321, 2321, doIaCmd, LEVEL, \
        "how much edges in the picture are brought out") \
    KEY(KEY_METER_AREA, 96, 96, doIaCmd, CHOICE, \
        "which part of the picture the exposure is measured in") \
    KEY(KEY_EXPOSE_MODE, 16, 16, doIaCmd, CHOICE, \
        "who chooses shutter, gain and iris: the camera or the user") \
    KEY(KEY_MAX_SHUTTER, 49, 49, doIaCmd, CHOICE, \
        "the longest time that automatic exposure may expose a picture") \
    KEY(KEY_FIX_SHUTTER, 50, 50, doIaCmd, CHOICE, "the exposure time while the user chooses it") \
    KEY(KEY_MAX_GAIN, 65, 65, doIaCmd, LEVEL, \
        "the most that automatic exposure may amplify the picture") \
    KEY(KEY_FIX_GAIN, 66, 66, doIaCmd, LEVEL, "the amplification while the user chooses it") \
    KEY(KEY_IRIS_SWITCH, 80, 80, doIaCmd, SWITCH, "whether the iris follows the light by itself") \
    KEY(KEY_IRIS_SPEED, 81, 81, doIaCmd, LEVEL, "how fast the iris moves; how far a step goes") \
    KEY(KEY_IRIS_POSITION, 82, 82, doIaCmd, POSITION, "how far the iris is open") \
    KEY(KEY_IRIS_SIZE, 83, 85, doIaCmd, LEVEL, "the opening that the iris keeps to") \
    KEY(KEY_IRIS_UP, 17, 83, doIaCmd_User, STEP, "opens the iris by a step") \
    KEY(KEY_IRIS_DOWN, 18, 84, doIaCmd_User, STEP, "closes the iris by a step") \
    KEY(KEY_WB_MODE, 768, 768, doIaCmd, CHOICE, \
        "which light white is taken from, or that the user sets the gains") \
    KEY(KEY_R_GAIN, 770, 770, doIaCmd, LEVEL, "the gain of red while white balance is manual") \
    KEY(KEY_B_GAIN, 771, 771, doIaCmd, LEVEL, "the gain of blue while white balance is manual") \
    KEY(KEY_DN_MODE, 144, 144, doIaCmd, CHOICE, \
        "what decides between day (colour) and night (grey, infrared)") \
    KEY(KEY_DELAY, 147, 147, doIaCmd, SECOND, \
        "how long the light must have changed before day turns to night, or back") \
    KEY(KEY_IR_SWITCH, 160, 160, doIaCmd, SWITCH, \
        "whether the infrared lamp may be lit by night") \
    KEY(KEY_IR_MODE, 161, 161, doIaCmd, CHOICE, "who chooses the strength of the infrared lamps") \
    KEY(KEY_IR_AUTO_STRG_NEAR, 162, 162, doIaCmd, LEVEL, \
        "the most of the near lamp, while strengths are automatic") \
    KEY(KEY_IR_MANUAL_STRG_NEAR, 163, 163, doIaCmd, LEVEL, \
        "the strength of the near lamp, while strengths are manual") \
    KEY(KEY_IR_AUTO_STRG_MEDIUM, 164, 164, doIaCmd, LEVEL, \
        "the most of the medium lamp, while strengths are automatic") \
    KEY(KEY_IR_MANUAL_STRG_MEDIUM, 165, 165, doIaCmd, LEVEL, \
        "the strength of the medium lamp, while strengths are manual") \
    KEY(KEY_IR_AUTO_STRG_FAR, 166, 166, doIaCmd, LEVEL, \
        "the most of the far lamp, while strengths are automatic") \
    KEY(KEY_IR_MANUAL_STRG_FAR, 167, 167, doIaCmd, LEVEL, \
        "the strength of the far lamp, while strengths are manual") \
    KEY(KEY_2D_NR_SWITCH, 2304, 2304, doIaCmd, SWITCH, \
        "whether noise is smoothed within each picture") \
    KEY(KEY_2D_NR_MODE, 2305, 2305, doIaCmd, CHOICE, \
        "who chooses how strongly noise is smoothed within each picture") \
    KEY(KEY_2D_NR_STRG_A, 2306, 2306, doIaCmd, LEVEL, \
        "the most that noise is smoothed within each picture, while that is automatic") \
    KEY(KEY_2D_NR_STRG_M, 2307, 2307, doIaCmd, LEVEL, \
        "how strongly noise is smoothed within each picture, while that is manual") \
    KEY(KEY_3D_NR_SWITCH, 2308, 2308, doIaCmd, SWITCH, \
        "whether noise is smoothed from picture to picture; what moves smears") \
    KEY(KEY_3D_NR_MODE, 2309, 2309, doIaCmd, CHOICE, \
        "who chooses how strongly noise is smoothed from picture to picture") \
    KEY(KEY_3D_NR_STRG_A, 2312, 2312, doIaCmd, LEVEL, \
        "the most that noise is smoothed from picture to picture, while automatic") \
    KEY(KEY_3D_NR_STRG_M, 2313, 2313, doIaCmd, LEVEL, \
        "how strongly noise is smoothed from picture to picture, while manual") \
    KEY(KEY_WDR_MODE, 2368, 2368, doHwdr, CHOICE, \
        "whether dark and bright parts are both shown; not at 50 or 60 pictures a second") \
    KEY(KEY_WDR_STRG, 2369, 2369, doIaCmd, LEVEL, \
        "how far dark and bright parts are drawn together to show both") \
    KEY(KEY_HLC_SWITCH, 112, 112, doIaCmd, SWITCH, "whether glaring lights are masked") \
    KEY(KEY_HLC_STRG, 113, 113, doIaCmd, LEVEL, "how strongly glaring lights are masked") \
    KEY(KEY_BLC_SWITCH, 128, 128, doIaCmd, SWITCH, \
        "whether a subject before a bright background is brightened") \
    KEY(KEY_BLC_MODE, 129, 129, doIaCmd, CHOICE, \
        "where in the picture the subject before a bright background is") \
    KEY(KEY_BLC_STRG, 130, 130, doIaCmd, LEVEL, \
        "how strongly a subject before a bright background is brightened") \
    KEY(KEY_ANTI_SHAKE_SWITCH, 2416, 2416, doDIS, SWITCH, \
        "whether the picture is held still while the camera shakes") \
    KEY(KEY_ANTI_SHAKE_STRG, 2417, 2417, doIaCmd, LEVEL, \
        "how strongly the picture is held still while the camera shakes") \
    KEY(KEY_DEFLG_SWITCH, 2400, 2400, doIaCmd, SWITCH, "whether the picture is cleared of fog") \
    KEY(KEY_DEFLG_STRG, 2401, 2401, doIaCmd, LEVEL, "how strongly the picture is cleared of fog") \
    KEY(KEY_IN_OUT_SIDE, 176, 176, doIaCmd, CHOICE, \
        "whether the camera looks at a room, with flickering lamps, or outdoors") \
    KEY(KEY_MIRROR, 2384, 2384, doMirror, CHOICE, "how the picture is mirrored") \
    KEY(KEY_BEAWAY, 2385, 2385, doBeaway, SWITCH, \
        "whether the camera hangs turned away from its scene; swaps the two mirrorings") \
    KEY(KEY_DTN_THR, 145, 145, doDNThr, THRESHOLD, "the light below which day turns to night") \
    KEY(KEY_NTD_THR, 146, 146, doDNThr, THRESHOLD, "the light above which night turns to day") \
    KEY(KEY_DTN_H, 149, 149, doDNTime, HOUR, "the hour in which night begins by the clock") \
    KEY(KEY_DTN_M, 150, 150, doDNTime, MINUTE, \
        "the minute of it in which night begins by the clock") \
    KEY(KEY_NTD_H, 151, 151, doDNTime, HOUR, "the hour in which night ends by the clock") \
    KEY(KEY_NTD_M, 152, 152, doDNTime, MINUTE, \
        "the minute of it in which night ends by the clock") \
    KEY(KEY_AUTO_FOCUS_MODE, 1536, 1536, doIaCmd, CHOICE, "who focuses: the camera or the user") \
    KEY(KEY_AUTO_FOCUS_NEAR_LIMIT, 1537, 1537, doIaCmd, LEVEL, \
        "how near automatic focus searches at most") \
    KEY(KEY_AUTO_FOCUS_SENSITIVITY, 1538, 1538, doIaCmd, CHOICE, \
        "how small a change makes automatic focus search") \
    KEY(KEY_AUTO_FOCUS_ONCE, 1539, 1539, doIaCmd_User, ACTION, "searches for focus once") \
    KEY(KEY_LENS_RESET, 1616, 1616, doIaCmd_User, ACTION, \
        "drives the lens to its ends and back to where it starts") \
    KEY(KEY_ZOOM_OUT, 1570, 1570, doIaCmd_User, STEP, "zooms out by a step") \
    KEY(KEY_ZOOM_IN, 1569, 1569, doIaCmd_User, STEP, "zooms in by a step") \
    KEY(KEY_FOCUS_NEAR, 1553, 1553, doIaCmd_User, STEP, "focuses nearer by a step") \
    KEY(KEY_FOCUS_FAR, 1554, 1554, doIaCmd_User, STEP, "focuses farther by a step") \
    KEY(KEY_DIGITAL_ZOOM, 1584, 1584, doIaCmd, SWITCH, \
        "whether zooming goes on in the picture where the lens ends") \
    KEY(KEY_MZOOM_SPEED, 1571, 1571, doIaCmd, LEVEL, "how fast zoom and focus move") \
    KEY(KEY_SCHEME_ENABLE, 8000, 0, stored, SWITCH, \
        "whether the scheme is in force within its hours") \
    KEY(KEY_SCHEME_START_HOUR, 8001, 0, stored, HOUR, \
        "the hour in which the scheme comes into force") \
    KEY(KEY_SCHEME_START_MIN, 8002, 0, stored, MINUTE, \
        "the minute of it in which the scheme comes into force") \
    KEY(KEY_SCHEME_END_HOUR, 8003, 0, stored, HOUR, \
        "the hour in which the scheme ends; 24 with minute 0 is the end of the day") \
    KEY(KEY_SCHEME_END_MIN, 8004, 0, stored, MINUTE, "the minute of it in which the scheme ends") \
    KEY(KEY_MF_POSITION, 1552, 1552, doIaCmd, POSITION, "where the focus motor stands") \
    KEY(KEY_MZ_POSITION, 1568, 1568, doIaCmd, POSITION, "where the zoom motor stands") \
    KEY(KEY_CAP_OFF_ADJ_DIRECTION, 2432, 2432, doImageAdjust, CHOICE, \
        "in which direction the picture is moved on the sensor") \
    KEY(KEY_CAP_OFF_ADJ_STEP, 2433, 2433, doIaCmd, LEVEL, \
        "how far one step moves the picture on the sensor") \
    KEY(KEY_CAP_OFF_ADJ_H_MIN, 2434, 2434, doIaCmd, OFFSET, \
        "how far left the picture can be moved on the sensor") \
    KEY(KEY_CAP_OFF_ADJ_H_MAX, 2435, 2435, doIaCmd, OFFSET, \
        "how far right the picture can be moved on the sensor") \
    KEY(KEY_CAP_OFF_ADJ_H_CUR, 2436, 2436, doImageAdjust, OFFSET, \
        "where from left to right the picture stands on the sensor") \
    KEY(KEY_CAP_OFF_ADJ_V_MIN, 2437, 2437, doIaCmd, OFFSET, \
        "how far up the picture can be moved on the sensor") \
    KEY(KEY_CAP_OFF_ADJ_V_MAX, 2438, 2438, doIaCmd, OFFSET, \
        "how far down the picture can be moved on the sensor") \
    KEY(KEY_CAP_OFF_ADJ_V_CUR, 2439, 2439, doImageAdjust, OFFSET, \
        "where from top to bottom the picture stands on the sensor") \
    KEY(KEY_SENSOR_FPS, 2497, 2464, doIaCmd_User, RATE, \
        "how many pictures the sensor takes in a second") \
    KEY(KEY_FREEZE, 2512, 2512, doIaCmd, SWITCH, "whether the picture stands still") \
    KEY(KEY_GAMMA, 2528, 2528, doIaCmd, CHOICE, "which curve brightness follows") \
    KEY(KEY_DN_AF_MODE, 2560, 2560, doIaCmd, SWITCH, \
        "whether focus is searched anew when day turns to night, or back")
// clang-format on

enum SensorKey : unsigned int {
#define KEY(symbol, key, ...) symbol = (key),
    SENSOR_KEYS(KEY)
#undef KEY
};

/// The image-adjust command of a key; 0 for one that is only stored, and for an unknown one.
constexpr unsigned int commandOfKey(unsigned int wanted) {
    switch (wanted) {
#define KEY(symbol, key, command, ...) \
    case symbol:                       \
        return command;
        SENSOR_KEYS(KEY) // NOLINT(bugprone-branch-clone): several keys have no command
#undef KEY
        default:
            return 0;
    }
}
