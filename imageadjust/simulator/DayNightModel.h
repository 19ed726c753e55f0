#pragma once

namespace simulated_ia {

/// What decides between day and night.
struct DayNightSettings {
    int mode;         ///< 0 by light, 1 day, 2 night, 3 by the clock
    int dayToNight;   ///< light level below which day turns to night
    int nightToDay;   ///< light level above which night turns to day
    int nightBegins;  ///< minute of the day
    int nightEnds;    ///< minute of the day
    int (*minutes)(); ///< the minute of the day now; asked in mode 3 only
};

/// The day/night state of the camera. Not thread-safe.
class DayNightModel {
public:
    /// By day, in bright light.
    void reset();

    /// @param level  0 (dark) .. 100 (bright), more counts as 100
    void setLight(unsigned int level);

    /// Takes the state that the settings ask for now. Between the thresholds the state stays, so it
    /// is to be called whenever the light or a setting has changed.
    /// @return true by night
    bool update(const DayNightSettings& settings);

private:
    int m_light = 100;
    bool m_night = false;
};

} // namespace simulated_ia
