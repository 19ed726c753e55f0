#pragma once

/// A local time of the device's clock. May be read by any thread at any time.
class DKDeviceTime {
public:
    /// @return the device's local time now
    static DKDeviceTime getCurrentTime();

    unsigned short year = 1970; ///< for example 2026
    unsigned short month = 1;   ///< 1 .. 12
    unsigned short day = 1;     ///< 1 .. 31
    unsigned short hour = 0;    ///< 0 .. 23
    unsigned short minute = 0;  ///< 0 .. 59
    unsigned short second = 0;  ///< 0 .. 60
};
