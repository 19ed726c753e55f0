#pragma once

#include <chrono>
#include <functional>
#include <string>

namespace compliance {

/// How the layer is tried.
struct Settings {
    /// Takes each line, without line end, as soon as it is known.
    std::function<void(const std::string& line)> print = {};
    /// Asked before each command; true ends the run, with everything put back. Empty: never.
    std::function<bool()> interrupted = {};
    /// How long, in real time, a movement or a busy layer is waited for.
    std::chrono::milliseconds patience{5000};
    /// How often each of four threads calls a command beside the others,
    /// within a tenth of a second.
    int rounds = 1000;
};

} // namespace compliance
