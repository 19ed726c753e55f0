#include "Dependencies.h"

#include <iterator>

#include "CommandTable.h"

namespace simulated_ia {
namespace {

constexpr unsigned int at(int value) {
    return 1U << value;
}

constexpr unsigned int off = at(0);
constexpr unsigned int on = ~off;
constexpr unsigned int automatic = at(0); // of modes that are automatic or manual
constexpr unsigned int manual = at(1);
constexpr unsigned int byLight = at(0); // of the day/night mode
constexpr unsigned int byClock = at(3);
constexpr unsigned int lampManual = at(2); // of the lamp mode
constexpr unsigned int shutterGiven =
    at(1) | at(2); // of the exposure mode: manual, shutter priority

constexpr Dependency rows[] = {
    {CMD_MAX_SHUTTER, CMD_EXPOSE_MODE, ~shutterGiven, "the exposure mode takes the fixed shutter"},
    {CMD_FIX_SHUTTER, CMD_EXPOSE_MODE, shutterGiven, "the exposure mode chooses the shutter"},
    {CMD_MAX_GAIN, CMD_EXPOSE_MODE, ~manual, "the exposure is manual"},
    {CMD_FIX_GAIN, CMD_EXPOSE_MODE, manual, "the exposure is not manual"},
    {CMD_HLC_STRENGTH, CMD_HLC_SWITCH, on, "highlight compensation is off"},
    {CMD_BLC_AREA, CMD_BLC_SWITCH, on, "backlight compensation is off"},
    {CMD_BLC_STRENGTH, CMD_BLC_SWITCH, on, "backlight compensation is off"},
    {CMD_DTN_THR, CMD_DN_MODE, byLight, "day and night do not follow the light"},
    {CMD_NTD_THR, CMD_DN_MODE, byLight, "day and night do not follow the light"},
    {CMD_DTN_HOUR, CMD_DN_MODE, byClock, "day and night do not follow the clock"},
    {CMD_DTN_MIN, CMD_DN_MODE, byClock, "day and night do not follow the clock"},
    {CMD_NTD_HOUR, CMD_DN_MODE, byClock, "day and night do not follow the clock"},
    {CMD_NTD_MIN, CMD_DN_MODE, byClock, "day and night do not follow the clock"},
    {CMD_IR_MODE, CMD_IR_SWITCH, on, "the infrared lamp is off"},
    {CMD_IR_AUTO_NEAR, CMD_IR_SWITCH, on, "the infrared lamp is off"},
    {CMD_IR_AUTO_NEAR, CMD_IR_MODE, ~lampManual, "the infrared lamp is set by hand"},
    {CMD_IR_MANUAL_NEAR, CMD_IR_SWITCH, on, "the infrared lamp is off"},
    {CMD_IR_MANUAL_NEAR, CMD_IR_MODE, lampManual, "the infrared lamp is automatic"},
    {CMD_IR_AUTO_MEDIUM, CMD_IR_SWITCH, on, "the infrared lamp is off"},
    {CMD_IR_AUTO_MEDIUM, CMD_IR_MODE, ~lampManual, "the infrared lamp is set by hand"},
    {CMD_IR_MANUAL_MEDIUM, CMD_IR_SWITCH, on, "the infrared lamp is off"},
    {CMD_IR_MANUAL_MEDIUM, CMD_IR_MODE, lampManual, "the infrared lamp is automatic"},
    {CMD_IR_AUTO_FAR, CMD_IR_SWITCH, on, "the infrared lamp is off"},
    {CMD_IR_AUTO_FAR, CMD_IR_MODE, ~lampManual, "the infrared lamp is set by hand"},
    {CMD_IR_MANUAL_FAR, CMD_IR_SWITCH, on, "the infrared lamp is off"},
    {CMD_IR_MANUAL_FAR, CMD_IR_MODE, lampManual, "the infrared lamp is automatic"},
    {CMD_WB_RED, CMD_WB_MODE, manual, "the white balance is not manual"},
    {CMD_WB_BLUE, CMD_WB_MODE, manual, "the white balance is not manual"},
    {CMD_FOCUS_LIMIT, CMD_FOCUS_MODE, automatic, "the focus is manual"},
    {CMD_FOCUS_SENSITIVITY, CMD_FOCUS_MODE, automatic, "the focus is manual"},
    {CMD_2D_NR_MODE, CMD_2D_NR_SWITCH, on, "spatial noise reduction is off"},
    {CMD_2D_NR_AUTO, CMD_2D_NR_SWITCH, on, "spatial noise reduction is off"},
    {CMD_2D_NR_AUTO, CMD_2D_NR_MODE, automatic, "spatial noise reduction is manual"},
    {CMD_2D_NR_MANUAL, CMD_2D_NR_SWITCH, on, "spatial noise reduction is off"},
    {CMD_2D_NR_MANUAL, CMD_2D_NR_MODE, manual, "spatial noise reduction is automatic"},
    {CMD_3D_NR_MODE, CMD_3D_NR_SWITCH, on, "temporal noise reduction is off"},
    {CMD_3D_NR_AUTO, CMD_3D_NR_SWITCH, on, "temporal noise reduction is off"},
    {CMD_3D_NR_AUTO, CMD_3D_NR_MODE, automatic, "temporal noise reduction is manual"},
    {CMD_3D_NR_MANUAL, CMD_3D_NR_SWITCH, on, "temporal noise reduction is off"},
    {CMD_3D_NR_MANUAL, CMD_3D_NR_MODE, manual, "temporal noise reduction is automatic"},
    {CMD_WDR_STRENGTH, CMD_WDR_MODE, on, "wide dynamic range is off"},
    {CMD_DEFOG_STRENGTH, CMD_DEFOG_SWITCH, on, "defog is off"},
    {CMD_SHAKE_STRENGTH, CMD_SHAKE_SWITCH, on, "anti-shake is off"},
};

} // namespace

const Dependency* dependency(int row) {
    return row < static_cast<int>(std::size(rows)) ? rows + row : nullptr;
}

} // namespace simulated_ia
