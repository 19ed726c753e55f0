#pragma once

namespace simulated_ia {

/// The settings that lens movements depend on.
struct LensSettings {
    int speed;      ///< 1 .. 8
    bool automatic; ///< focus follows the zoom by itself
    bool panning;   ///< the pan-tilt head runs: automatic focus waits
};

/// A motor zoom lens with a motor focus. Movements take time; every question and every order
/// carries the time at which it is put, in microseconds of one clock. Not thread-safe.
class LensModel {
public:
    /// The focus at which the picture is sharp: the tele end focuses farther than the wide end.
    static int sharpFocus(int zoom);

    /// At the wide end, in focus, at rest.
    void reset();

    /// Carries out a lens command that was set to a value: positions are gone to; of the commands
    /// that start something 1 starts and 0 stops. A movement begins where the lens stands at that
    /// moment, also in the middle of another. Other commands do nothing.
    void order(unsigned int cmd, int value, const LensSettings& settings, long long now);

    int zoom(long long now);
    int focus(long long now);

    /// Whether the movement that a command starts is under way.
    bool busy(unsigned int cmd, long long now);

    /// The picture's sharpness; highest, and only there, where the focus fits the zoom.
    unsigned int sharpness(long long now);

private:
    struct Axis {
        int from = 0;
        int to = 0;
        long long begin = 0;    // in the future while one movement waits for another
        long long duration = 0; // microseconds

        int at(long long now) const;
        bool moving(long long now) const { return from != to && now < begin + duration; }
        void go(int target, int unitsPerSecond, long long now, long long beginAt);
    };

    void seeTime(long long now);
    void goZoom(int target, const LensSettings& settings, long long now);
    void goFocus(int target, const LensSettings& settings, long long now);
    void autoFocus(const LensSettings& settings, long long now);

    Axis m_zoom;
    Axis m_focus;
    long long m_now = 0;
};

} // namespace simulated_ia
