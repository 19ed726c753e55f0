#include <cmath>
#include <cstdio>

#include "Overlay.h"

namespace simulated_ia {
namespace {

const char* chosen(int value, std::initializer_list<const char*> words) {
    return value >= 0 && value < static_cast<int>(words.size()) ? words.begin()[value] : "";
}

std::string exposureLine(const SensorState& state, const Exposure& exposure) {
    char text[120];
    std::snprintf(
        text, sizeof text, "%s  1/%.0f S  %.0f DB  IRIS %.0f%%  WB %s  %s",
        chosen(state.value(16), {"AUTO", "MANUAL", "SHUTTER PRIORITY", "MANUAL IRIS"}),
        1 / exposure.shutter, 20 * std::log10(exposure.gain), 100 * std::min(exposure.iris, 1.0),
        chosen(state.value(768), {"AUTO", "MANUAL", "DAYLIGHT", "CLOUDY", "FLUORESCENT", "LAMP"}),
        state.night ? "NIGHT" : "DAY");
    return text;
}

std::string settingsLine(const SensorState& state) {
    char text[160];
    std::snprintf(text, sizeof text,
                  "NIGHT <%d >%d %d S  %02d:%02d-%02d:%02d  IRIS SPEED %d  LENS SPEED %d  AF %s",
                  state.value(CMD_DTN_THR), state.value(CMD_NTD_THR), state.value(147),
                  state.value(CMD_DTN_HOUR), state.value(CMD_DTN_MIN), state.value(CMD_NTD_HOUR),
                  state.value(CMD_NTD_MIN), state.value(CMD_IRIS_SPEED),
                  state.value(CMD_ZOOM_SPEED),
                  chosen(state.value(CMD_FOCUS_MODE), {"AUTO", "MANUAL"}));
    return text;
}

} // namespace

void writeOverlay(Frame& frame, const std::string& time, const SensorState& state,
                  const Exposure& exposure) {
    const int size = frame.width >= 1280 ? 2 : 1;
    const int edge = frame.width / 53;
    writeText(frame, edge, edge, frame.width < 400 ? 1 : 2 * size, time);
    // In a small picture they would hide more than they tell.
    if (frame.width >= 480) {
        writeText(frame, edge, -edge - 11 * size, size, exposureLine(state, exposure));
        writeText(frame, edge, -edge, size, settingsLine(state));
    }
}

} // namespace simulated_ia
