#include "DayNight.h"

#include <algorithm>

namespace image_adjust::v4l2 {

bool DayNight::update(int light, int minute, double seconds) {
    const int mode = m_settings.mode;
    if (mode != 0) {
        m_since = -1;
        const int begin = m_settings.nightHour * 60 + m_settings.nightMinute;
        const int end = m_settings.dayHour * 60 + m_settings.dayMinute;
        m_night = mode == 2 || (mode == 3 && (begin <= end ? minute >= begin && minute < end
                                                           : minute >= begin || minute < end));
        return m_night;
    }
    // The thresholds come one by one and may stand the wrong way round for a moment; the state
    // must not swing at one and the same light then.
    const int dark = m_settings.dayToNight;
    const int bright = std::max<int>(dark, m_settings.nightToDay);
    const bool wanted = light < 0 ? m_night : m_night ? light <= bright : light < dark;
    if (wanted == m_night) {
        m_since = -1;
    } else if (m_since < 0) {
        m_since = seconds;
    } else if (seconds - m_since >= m_settings.delay) {
        m_night = wanted;
        m_since = -1;
    }
    return m_night;
}

} // namespace image_adjust::v4l2
