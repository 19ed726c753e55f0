#include "host/compliance/Motion.h"

#include <algorithm>
#include <iterator>

#include "SensorKeys.h"

namespace compliance {
namespace {

constexpr int manualIris = 3;
constexpr int manualFocus = 1;
constexpr unsigned int irisUpCmd = 83;
constexpr unsigned int irisDownCmd = 84;

constexpr Motion motions[] = {
    {KEY_IRIS_POSITION, true, KEY_EXPOSE_MODE, manualIris},
    {irisUpCmd, false, KEY_EXPOSE_MODE, manualIris},
    {irisDownCmd, false, KEY_EXPOSE_MODE, manualIris},
    {KEY_AUTO_FOCUS_ONCE, false, 0, 0},
    {KEY_MF_POSITION, true, KEY_AUTO_FOCUS_MODE, manualFocus},
    {KEY_FOCUS_NEAR, false, KEY_AUTO_FOCUS_MODE, manualFocus},
    {KEY_FOCUS_FAR, false, KEY_AUTO_FOCUS_MODE, manualFocus},
    {KEY_MZ_POSITION, true, 0, 0},
    {KEY_ZOOM_IN, false, 0, 0},
    {KEY_ZOOM_OUT, false, 0, 0},
    {KEY_LENS_RESET, false, 0, 0},
};

} // namespace

const Motion* motionOf(unsigned int cmd) {
    const Motion* found = std::find_if(std::begin(motions), std::end(motions),
                                       [cmd](const Motion& motion) { return motion.cmd == cmd; });
    return found == std::end(motions) ? nullptr : found;
}

ManualMode::ManualMode(const Motion* motion, std::chrono::milliseconds patience)
    : m_layer(motion != nullptr ? motion->modeCmd : 0, m_ignored, patience) {
    Words before;
    if (motion == nullptr || motion->modeCmd == 0 || m_layer.get(before) != 0 ||
        before[0] == motion->modeValue) {
        return;
    }
    m_before = before;
    m_layer.set({motion->modeValue});
}

ManualMode::~ManualMode() {
    if (!m_before.empty()) {
        m_layer.set(m_before);
    }
}

} // namespace compliance
