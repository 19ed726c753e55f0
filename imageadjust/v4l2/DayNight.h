#pragma once

#include <atomic>

namespace image_adjust::v4l2 {

/// What decides between day and night: the values of commands 144 to 152. Any thread.
struct DayNightSettings {
    std::atomic<int> mode{1};        ///< 0 by light, 1 day, 2 night, 3 by the clock
    std::atomic<int> dayToNight{20}; ///< light below which day turns to night, 0 .. 100
    std::atomic<int> nightToDay{40}; ///< light above which night turns to day
    std::atomic<int> delay{5};       ///< seconds for which the light must ask for the other state
    std::atomic<int> nightHour{18};
    std::atomic<int> nightMinute{0};
    std::atomic<int> dayHour{6};
    std::atomic<int> dayMinute{0};
};

/// The state of day and night. Not thread-safe.
class DayNight {
public:
    explicit DayNight(const DayNightSettings& settings) : m_settings(settings) {}

    /// Takes the state that the settings ask for now.
    /// @param light    of the picture, 0 (black) .. 100 (white); below 0: not known
    /// @param minute   of the day
    /// @param seconds  of a clock that only goes forward
    /// @return true by night
    bool update(int light, int minute, double seconds);

    bool isNight() const { return m_night; }

    /// Whether the light asks for the other state, and the delay goes on.
    bool isUndecided() const { return m_since >= 0; }

private:
    const DayNightSettings& m_settings;
    bool m_night = false;
    double m_since = -1;
};

} // namespace image_adjust::v4l2
