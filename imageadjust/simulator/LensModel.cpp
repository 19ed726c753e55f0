#include "LensModel.h"

#include <algorithm>
#include <cstdlib>

#include "CommandTable.h"
#include "ImageAdjust.h"

namespace simulated_ia {
namespace {

// The ends of both axes; the last zoom positions lie beyond the lens's highest rated ratio.
constexpr int zoomWide = 16384;
constexpr int zoomTele = 32000;
constexpr int focusEnd = 1000;

constexpr int zoomStep = 256;
constexpr int focusStep = 10;
constexpr int zoomUnitsPerSecond = 1000; // at speed 1
constexpr int focusUnitsPerSecond = 100;

} // namespace

int LensModel::sharpFocus(int zoom) {
    return 200 + (zoom - zoomWide) * 600 / (zoomTele - zoomWide);
}

int LensModel::Axis::at(long long now) const {
    if (now <= begin && from != to) {
        return from;
    }
    if (!moving(now)) {
        return to;
    }
    return from + static_cast<int>((to - from) * (now - begin) / duration);
}

void LensModel::Axis::go(int target, int unitsPerSecond, long long now, long long beginAt) {
    from = at(now);
    to = target;
    begin = beginAt;
    duration = std::abs(to - from) * 1000000LL / unitsPerSecond;
}

void LensModel::reset() {
    m_zoom = Axis{zoomWide, zoomWide, 0, 0};
    m_focus = Axis{sharpFocus(zoomWide), sharpFocus(zoomWide), 0, 0};
}

// A clock that is put back would hold a movement until it had caught up; the movement goes with it.
void LensModel::seeTime(long long now) {
    if (now < m_now) {
        m_zoom.begin -= m_now - now;
        m_focus.begin -= m_now - now;
    }
    m_now = now;
}

void LensModel::goZoom(int target, const LensSettings& settings, long long now) {
    m_zoom.go(std::clamp(target, zoomWide, zoomTele), zoomUnitsPerSecond * settings.speed, now,
              now);
    if (settings.automatic) {
        autoFocus(settings, now);
    }
}

void LensModel::goFocus(int target, const LensSettings& settings, long long now) {
    m_focus.go(std::clamp(target, 0, focusEnd), focusUnitsPerSecond * settings.speed, now, now);
}

// Searches for sharpness once the zoom stands still. While the head pans it stands where it is: the
// search begins anew when the head has stopped.
void LensModel::autoFocus(const LensSettings& settings, long long now) {
    if (settings.panning) {
        goFocus(m_focus.at(now), settings, now);
        return;
    }
    m_focus.go(sharpFocus(m_zoom.to), focusUnitsPerSecond * settings.speed, now,
               std::max(now, m_zoom.begin + m_zoom.duration));
}

void LensModel::order(unsigned int cmd, int value, const LensSettings& settings, long long now) {
    seeTime(now);
    const int zoomNow = m_zoom.at(now);
    const int focusNow = m_focus.at(now);
    switch (cmd) {
        case CMD_ZOOM_POSITION:
            goZoom(value, settings, now);
            break;
        case CMD_ZOOM_IN:
            goZoom(zoomNow + value * zoomStep, settings, now);
            break;
        case CMD_ZOOM_OUT:
            goZoom(zoomNow - value * zoomStep, settings, now);
            break;
        case CMD_FOCUS_POSITION:
            goFocus(value, settings, now);
            break;
        case CMD_FOCUS_NEAR:
            goFocus(focusNow - value * focusStep, settings, now);
            break;
        case CMD_FOCUS_FAR:
            goFocus(focusNow + value * focusStep, settings, now);
            break;
        case CMD_FOCUS_ONCE:
            if (value == 0) {
                goFocus(focusNow, settings, now);
            } else {
                autoFocus(settings, now);
            }
            break;
        case CMD_LENS_RESET:
            goZoom(value == 0 ? zoomNow : zoomWide, settings, now);
            goFocus(value == 0 ? focusNow : sharpFocus(zoomWide), settings, now);
            break;
        case CMD_FOCUS_MODE:
        case IA_CMD_PTZ_RUN_STATE:
            if (settings.automatic) {
                autoFocus(settings, now);
            }
            break;
        default:
            break;
    }
}

int LensModel::zoom(long long now) {
    seeTime(now);
    return m_zoom.at(now);
}

int LensModel::focus(long long now) {
    seeTime(now);
    return m_focus.at(now);
}

bool LensModel::busy(unsigned int cmd, long long now) {
    seeTime(now);
    switch (cmd) {
        case CMD_ZOOM_POSITION:
        case CMD_ZOOM_IN:
        case CMD_ZOOM_OUT:
            return m_zoom.moving(now);
        case CMD_FOCUS_ONCE:
        case CMD_FOCUS_POSITION:
        case CMD_FOCUS_NEAR:
        case CMD_FOCUS_FAR:
            return m_focus.moving(now);
        case CMD_LENS_RESET:
            return m_zoom.moving(now) || m_focus.moving(now);
        default:
            return false;
    }
}

unsigned int LensModel::sharpness(long long now) {
    seeTime(now);
    // High enough that the figure still falls from unit to unit at the far end of the focus.
    constexpr long long peak = 4000000;
    constexpr long long width = 20;
    const long long off = m_focus.at(now) - sharpFocus(m_zoom.at(now));
    return static_cast<unsigned int>(peak * width * width / (width * width + off * off));
}

} // namespace simulated_ia
