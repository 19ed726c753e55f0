#include "Options.h"

#include <cmath>
#include <cstdlib>

#include "host/Text.h"

namespace imgctl {
namespace {

bool takeDevice(Options& options, const std::string& value) {
    options.camera.device = value;
    return !value.empty();
}

bool takeDeviceType(Options& options, const std::string& value) {
    int type = 0;
    if (!host::readInt(value, type) || (type != 1 && type != 4 && type != 8 && type != 9)) {
        return false;
    }
    options.camera.deviceType = type;
    return true;
}

bool takeDetail(Options& options, const std::string& value) {
    options.camera.detail = value;
    return true;
}

bool takeLayer(Options& options, const std::string& value) {
    options.camera.layer = value;
    return !value.empty();
}

bool takeFps(Options& options, const std::string& value) {
    return host::readIntWithin(value, 1, 1000, options.camera.framesPerSecond);
}

bool takeClock(Options& options, const std::string& value) {
    const std::size_t colon = value.find(':');
    if (colon == std::string::npos) {
        return false;
    }
    const std::size_t second = value.find(':', colon + 1);
    const std::string minutes = value.substr(colon + 1, second - colon - 1);
    const std::string seconds = second == std::string::npos ? "0" : value.substr(second + 1);
    host::CameraOptions::Clock& clock = options.camera.clock.emplace();
    return host::readIntWithin(value.substr(0, colon), 0, 23, clock.hour) &&
           host::readIntWithin(minutes, 0, 59, clock.minute) &&
           host::readIntWithin(seconds, 0, 59, clock.second);
}

bool takeSpeed(Options& options, const std::string& value) {
    char* end = nullptr;
    double& speed = options.camera.speed;
    speed = std::strtod(value.c_str(), &end);
    return end != value.c_str() && *end == '\0' && std::isfinite(speed) && speed > 0 &&
           speed <= 1e6;
}

bool takeTrace(Options& options, const std::string& value) {
    options.trace = value;
    return !value.empty();
}

bool takeDebugLevel(Options& options, const std::string& value) {
    int level = 0;
    const bool good = host::readInt(value, level);
    options.camera.debugLevel = level;
    return good;
}

bool takeAbort(Options& options, const std::string& /*value*/) {
    options.camera.abort = true;
    return true;
}

bool takeCommand(Options& options, const std::string& value) {
    options.commands.push_back(value);
    return true;
}

bool takeHelp(Options& options, const std::string& /*value*/) {
    options.help = true;
    return true;
}

bool takeVersion(Options& options, const std::string& /*value*/) {
    options.version = true;
    return true;
}

struct Option {
    const char* name;
    const char* argument; ///< empty: takes none
    const char* allowed;  ///< what the argument may be
    const char* help;
    bool (*take)(Options& options, const std::string& value);
};

const Option kOptions[] = {
    {"--device", "DIR", "a folder",
     "device tree (default: $IMGCTL_DEVICE, else device-root beside me)", takeDevice},
    {"--device-type", "N", "1 camera, 4 dome, 8 plate recognition, 9 fisheye",
     "kind of camera: 1, 4, 8 or 9; kept in the device tree", takeDeviceType},
    {"--detail", "TEXT", "a text", "module detail, such as '(max_scheme=4)(isInfrared=1)'",
     takeDetail},
    {"--layer", "NAME", "simulator, so:PATH",
     "image-adjust layer: simulator (default), or a vendor's shared library", takeLayer},
    {"--fps", "N", "1 .. 1000", "frame rate of the video stream (default 25)", takeFps},
    {"--clock", "HH:MM[:SS]", "00:00 .. 23:59:59", "time of day at the start", takeClock},
    {"--speed", "N", "above 0, at most 1000000", "the clock runs N times as fast", takeSpeed},
    {"--trace", "FILE", "a file", "write a line for every call of the layer and the video module",
     takeTrace},
    {"--debug-level", "N", "a number",
     "how much is reported (1 when absent); kept in the device tree", takeDebugLevel},
    {"--abort", "", "", "end the process at a failed assertion; kept in the device tree",
     takeAbort},
    {"-c", "COMMAND", "a command", "run this command; repeatable (default: standard input)",
     takeCommand},
    {"--help", "", "", "show this help", takeHelp},
    {"--version", "", "", "show the version", takeVersion},
};

const Option* findOption(const std::string& name) {
    for (const Option& option : kOptions) {
        if (name == option.name) {
            return &option;
        }
    }
    return nullptr;
}

std::string unknownOption(const std::string& name) {
    std::vector<std::string> names;
    for (const Option& option : kOptions) {
        names.emplace_back(option.name);
    }
    return "no option " + host::quoted(name) + host::didYouMean(name, names) +
           " (--help lists the options)";
}

} // namespace

bool readOptions(int argc, char* const* argv, Options& options, std::string& problem) {
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const std::size_t equals =
            word.compare(0, 2, "--") == 0 ? word.find('=') : std::string::npos;
        const std::string name = word.substr(0, equals);
        const Option* option = findOption(name);
        if (option == nullptr) {
            problem = word.compare(0, 1, "-") == 0 ? unknownOption(name)
                                                   : "no argument " + host::quoted(word) +
                                                         " is expected; a command follows -c";
            return false;
        }
        const bool takesValue = option->argument[0] != '\0';
        if (!takesValue && equals != std::string::npos) {
            problem = name + " takes no value";
            return false;
        }
        std::string value;
        if (takesValue) {
            if (equals != std::string::npos) {
                value = word.substr(equals + 1);
            } else if (i + 1 < argc) {
                value = argv[++i];
            } else {
                problem = name + " needs " + option->argument + " (" + option->allowed + ")";
                return false;
            }
        }
        if (!option->take(options, value)) {
            problem =
                name + ": " + host::quoted(value) + " is not allowed; allowed: " + option->allowed;
            return false;
        }
    }
    return true;
}

std::string optionHelp() {
    std::string text;
    for (const Option& option : kOptions) {
        text += host::helpLine(std::string(option.name) + " " + option.argument, option.help);
    }
    return text;
}

} // namespace imgctl
