#pragma once

#include "SimulatedWorld.h"

namespace simulated_ia {

/// Everything about the camera that its picture depends on. Each field holds the value of one
/// command in that command's own range; a new one holds the sensor's defaults.
struct PictureSettings {
    PictureSettings();
    explicit PictureSettings(const SensorState& state);

    /// Takes the value of a command, brought into the command's range.
    /// @return false for a command that the picture does not show: limits, thresholds, hours,
    ///         speeds, and what starts a movement of the lens
    bool set(unsigned int command, int value);

    /// Whether the camera works by night: the filter that keeps infrared out is open and the
    /// picture is grey. No command sets it; mode, light, thresholds and clock decide it.
    bool night = false;

    int brightness, contrast, saturation, sharpness, gamma, freeze;
    int exposureMode; ///< 0 automatic, 1 manual, 2 shutter priority, 3 manual iris
    int meteringArea;
    int longestShutter, fixedShutter; ///< steps of the shutter scale, see Exposure.h
    int highestGain, fixedGain;       ///< 0 .. 100: 0 .. 36 dB
    int frameRate;
    int irisDriven; ///< 0: it stays as wide as its size
    int irisPosition, irisSize;
    int whiteBalance, redGain, blueGain;
    int infrared, infraredMode;
    int infraredAutomatic[3], infraredManual[3]; ///< the near, medium and far lamp
    int spatial, spatialMode, spatialAutomatic, spatialManual;
    int temporal, temporalMode, temporalAutomatic, temporalManual;
    int wideRange, wideRangeStrength;
    int highlight, highlightStrength;
    int backlight, backlightArea, backlightStrength;
    int defog, defogStrength;
    int antiShake, antiShakeStrength;
    int mirror, hanging, offsetAcross, offsetDown;
    int digitalZoom, zoom, focus;
};

} // namespace simulated_ia
