#pragma once

/// A span of time on the device's clock.
class DravikTime {
public:
    /// @param seconds       whole seconds, 0 or more
    /// @param microseconds  added to the seconds, 0 or more
    DravikTime(long seconds, long microseconds);

    /// Pauses the calling thread for the span. On a GThread that is being stopped it returns at
    /// once, also when the stop comes during the pause. May be called by any thread.
    static void wait(DravikTime const& span);

    long seconds() const { return m_nSeconds; }
    long microseconds() const { return m_nMicroseconds; }

private:
    long m_nSeconds;
    long m_nMicroseconds;
};
