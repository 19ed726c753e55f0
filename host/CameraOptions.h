#pragma once

#include <cstdio>
#include <optional>
#include <string>

#include "host/Operation.h"

namespace host {

/// How a camera is switched on.
struct CameraOptions {
    std::string device;      ///< the device tree; empty: see deviceTreeFor()
    bool makeDevice = false; ///< where there is no tree, one is made from what the layer tells
    std::string program = "imgctl";  ///< who owns it, for the second that asks
    std::string layer = "simulator"; ///< "simulator", "v4l2:/dev/video0", "so:PATH"

    std::optional<int> deviceType;     ///< 1, 4, 8 or 9; kept in the device tree
    std::optional<std::string> detail; ///< in place of the module list's
    int framesPerSecond = 25;          ///< of the video stream

    struct Clock {
        int hour = 0;
        int minute = 0;
        int second = 0;
    };
    std::optional<Clock> clock; ///< the time of day at the start; none: the machine's
    double speed = 1;           ///< camera seconds per second, above 0, at most 1e6

    std::optional<int> debugLevel; ///< how much the library reports
    bool abort = false;            ///< end the process at a failed assertion
    bool keepReports = false;      ///< both hold for later runs too, not for this one alone

    bool convert = false; ///< carry schemes over that were saved for another kind of camera

    FILE* trace = nullptr; ///< a line for each call of layer and video module; the caller's

    std::size_t queue = 256;    ///< requests that may wait
    bool schemeWinsBack = true; ///< changes by other programs are taken back; else they stay until
                                ///< the next switch
    bool dayNightByPicture = true; ///< where the device has no day/night state of its own
    std::string pictureFormat;     ///< of a Linux camera: "mjpeg", "yuyv", "grey"; empty: the best
    int pictureWidth = 0;          ///< of its pictures, for every viewer; 0: as each wants
    int pictureHeight = 0;
    bool waitForCamera = false; ///< one that is not there yet is a state, and no problem
};

/// Why a camera was not switched on.
struct StartProblem {
    enum class Kind {
        None,
        Tree,   ///< no device tree, or a part of it is missing or broken
        Owned,  ///< another program has it
        Layer,  ///< no such layer or device
        Option, ///< an option that cannot be
        File,   ///< a file of the tree cannot be written
    };
    Kind kind = Kind::None;
    std::string text;         ///< a sentence's part with what is wrong and what to do
    std::string ownerProgram; ///< of Owned
    long ownerProcess = 0;

    explicit operator bool() const { return kind != Kind::None; }
};

} // namespace host
