#include "DayNightModel.h"

#include <algorithm>

namespace simulated_ia {
namespace {

bool within(int minute, int begin, int end) {
    return begin <= end ? minute >= begin && minute < end : minute >= begin || minute < end;
}

} // namespace

void DayNightModel::reset() {
    *this = DayNightModel();
}

void DayNightModel::setLight(unsigned int level) {
    m_light = static_cast<int>(std::min(level, 100U));
}

bool DayNightModel::update(const DayNightSettings& settings) {
    switch (settings.mode) {
        case 0:
            // The light cell sits behind a filter that keeps infrared out, so the camera's own lamp
            // adds nothing to the level; else the lamp would turn night to day and itself off, and
            // night again at once.
            // The thresholds come one by one and may pass through an inverted pair; then the higher
            // one ends the night, so that the state does not swing at one and the same light.
            m_night = m_night ? m_light <= std::max(settings.dayToNight, settings.nightToDay)
                              : m_light < settings.dayToNight;
            break;
        case 3:
            m_night = within(settings.minutes(), settings.nightBegins, settings.nightEnds);
            break;
        default:
            m_night = settings.mode == 2;
            break;
    }
    return m_night;
}

} // namespace simulated_ia
