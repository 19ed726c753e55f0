#include "PictureSettings.h"

#include <algorithm>

#include "CommandTable.h"

namespace simulated_ia {
namespace {

// The field of a command; null for one that the picture does not show.
int* field(PictureSettings& s, unsigned int command) {
    switch (command) {
        case 16:
            return &s.exposureMode;
        case 34:
            return &s.brightness;
        case 49:
            return &s.longestShutter;
        case 50:
            return &s.fixedShutter;
        case 65:
            return &s.highestGain;
        case 66:
            return &s.fixedGain;
        case 80:
            return &s.irisDriven;
        case CMD_IRIS_POSITION:
            return &s.irisPosition;
        case 85:
            return &s.irisSize;
        case 96:
            return &s.meteringArea;
        case 112:
            return &s.highlight;
        case 113:
            return &s.highlightStrength;
        case 128:
            return &s.backlight;
        case 129:
            return &s.backlightArea;
        case 130:
            return &s.backlightStrength;
        case CMD_IR_SWITCH:
            return &s.infrared;
        case CMD_IR_MODE:
            return &s.infraredMode;
        case 768:
            return &s.whiteBalance;
        case 770:
            return &s.redGain;
        case 771:
            return &s.blueGain;
        case CMD_FOCUS_POSITION:
            return &s.focus;
        case CMD_ZOOM_POSITION:
            return &s.zoom;
        case 1584:
            return &s.digitalZoom;
        case 2304:
            return &s.spatial;
        case 2305:
            return &s.spatialMode;
        case 2306:
            return &s.spatialAutomatic;
        case 2307:
            return &s.spatialManual;
        case 2308:
            return &s.temporal;
        case 2309:
            return &s.temporalMode;
        case 2312:
            return &s.temporalAutomatic;
        case 2313:
            return &s.temporalManual;
        case 2321:
            return &s.sharpness;
        case 2337:
            return &s.saturation;
        case 2353:
            return &s.contrast;
        case 2368:
            return &s.wideRange;
        case 2369:
            return &s.wideRangeStrength;
        case 2384:
            return &s.mirror;
        case 2385:
            return &s.hanging;
        case 2400:
            return &s.defog;
        case 2401:
            return &s.defogStrength;
        case 2416:
            return &s.antiShake;
        case 2417:
            return &s.antiShakeStrength;
        case 2436:
            return &s.offsetAcross;
        case 2439:
            return &s.offsetDown;
        case 2464:
            return &s.frameRate;
        case 2512:
            return &s.freeze;
        case 2528:
            return &s.gamma;
        default:
            break;
    }
    if (command >= CMD_IR_AUTO_NEAR && command <= CMD_IR_MANUAL_FAR) {
        const unsigned int lamp = command - CMD_IR_AUTO_NEAR;
        return lamp % 2 == 0 ? &s.infraredAutomatic[lamp / 2] : &s.infraredManual[lamp / 2];
    }
    return nullptr;
}

} // namespace

PictureSettings::PictureSettings() {
    for (int row = 0; row < COMMAND_COUNT; ++row) {
        set(commandRow(row).cmd, commandRow(row).defaultValue);
    }
}

PictureSettings::PictureSettings(const SensorState& state) : PictureSettings() {
    for (int row = 0; row < COMMAND_COUNT; ++row) {
        set(commandRow(row).cmd, state.values[row]);
    }
    night = state.night;
}

bool PictureSettings::set(unsigned int command, int value) {
    int* wanted = field(*this, command);
    if (wanted == nullptr) {
        return false;
    }
    const CommandRow& row = commandRow(findCommand(command));
    *wanted = std::clamp(value, row.min, row.max);
    return true;
}

} // namespace simulated_ia
