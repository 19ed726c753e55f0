#include "host/CommandLine.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <initializer_list>

#include "SensorConfig.h"
#include "host/Text.h"

namespace host {
namespace {

#define TYPE(symbol, number, name) (number),
constexpr std::initializer_list<int> kTypes = {SENSOR_DEVICE_TYPES(TYPE)};
#undef TYPE
// "1 camera, 4 dome", behind what separates the first from nothing.
#define TYPE(symbol, number, name) ", " #number " " name
constexpr char kTypeNames[] = SENSOR_DEVICE_TYPES(TYPE);
#undef TYPE

bool readClock(const std::string& value, CameraOptions::Clock& clock) {
    const std::size_t colon = value.find(':');
    if (colon == std::string::npos) {
        return false;
    }
    const std::size_t second = value.find(':', colon + 1);
    const std::string minutes = value.substr(colon + 1, second - colon - 1);
    const std::string seconds = second == std::string::npos ? "0" : value.substr(second + 1);
    return readIntWithin(value.substr(0, colon), 0, 23, clock.hour) &&
           readIntWithin(minutes, 0, 59, clock.minute) &&
           readIntWithin(seconds, 0, 59, clock.second);
}

bool readSpeed(const std::string& value, double& speed) {
    char* end = nullptr;
    speed = std::strtod(value.c_str(), &end);
    return end != value.c_str() && *end == '\0' && std::isfinite(speed) && speed > 0 &&
           speed <= 1e6;
}

bool readPicture(const std::string& value, CameraOptions& options) {
    constexpr int kMost = 16384;
    const std::size_t times = value.find('x');
    const std::size_t colon = value.find(':');
    if (times == std::string::npos || colon < times) {
        return false;
    }
    options.pictureFormat = colon == std::string::npos ? "" : value.substr(colon + 1);
    const bool known = colon == std::string::npos || options.pictureFormat == "mjpeg" ||
                       options.pictureFormat == "yuyv" || options.pictureFormat == "grey";
    return known && readIntWithin(value.substr(0, times), 16, kMost, options.pictureWidth) &&
           readIntWithin(value.substr(times + 1, colon - times - 1), 16, kMost,
                         options.pictureHeight);
}

const CommandLineOption* findOption(const std::vector<CommandLineOption>& options,
                                    const std::string& name) {
    for (const CommandLineOption& option : options) {
        if (name == option.name) {
            return &option;
        }
    }
    return nullptr;
}

std::string unknownOption(const std::vector<CommandLineOption>& options, const std::string& name) {
    std::vector<std::string> names;
    names.reserve(options.size());
    for (const CommandLineOption& option : options) {
        names.emplace_back(option.name);
    }
    return "no option " + quoted(name) + didYouMean(name, names) + " (--help lists the options)";
}

} // namespace

TakeValue takeText(std::string& target) {
    return [&target](const std::string& value) {
        target = value;
        return !value.empty();
    };
}

TakeValue takeTexts(std::vector<std::string>& target) {
    return [&target](const std::string& value) {
        target.push_back(value);
        return !value.empty();
    };
}

TakeValue takeNumber(int least, int most, int& target) {
    return [least, most, &target](const std::string& value) {
        return readIntWithin(value, least, most, target);
    };
}

TakeValue takeFlag(bool& target) {
    return [&target](const std::string&) { return target = true; };
}

bool readCommandLine(int argc, char* const* argv, const std::vector<CommandLineOption>& options,
                     std::vector<std::string>* words, std::string& problem) {
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        const bool isOption = word.size() > 1 && word[0] == '-';
        if (!isOption && words != nullptr) {
            words->assign(argv + i, argv + argc);
            return true;
        }
        const std::size_t equals =
            word.compare(0, 2, "--") == 0 ? word.find('=') : std::string::npos;
        const std::string name = word.substr(0, equals);
        const CommandLineOption* const option = findOption(options, name);
        if (option == nullptr) {
            problem = isOption ? unknownOption(options, name)
                               : "no argument " + quoted(word) + " is expected";
            return false;
        }
        const bool takesValue = option->argument[0] != '\0';
        if (!takesValue && equals != std::string::npos) {
            problem = name + " takes no value";
            return false;
        }
        std::string value;
        if (takesValue && equals != std::string::npos) {
            value = word.substr(equals + 1);
        } else if (takesValue && i + 1 < argc) {
            value = argv[++i];
        } else if (takesValue) {
            problem = name + " needs " + option->argument + " (" + option->allowed + ")";
            return false;
        }
        if (!option->take(value)) {
            problem = name + ": " + quoted(value) + " is not allowed; allowed: " + option->allowed;
            return false;
        }
    }
    return true;
}

std::string commandLineHelp(const std::vector<CommandLineOption>& options) {
    std::string text;
    for (const CommandLineOption& option : options) {
        text += helpLine(std::string(option.name) + " " + option.argument, option.help);
    }
    return text;
}

std::vector<CommandLineOption> cameraCommandLine(CameraArguments& arguments) {
    CameraArguments* const to = &arguments;
    return {
        {"--device", "DIR", "a folder",
         "device tree (default: $IMGCTL_DEVICE, else device-root beside me, else one that is made "
         "in the user's state folder; a Linux camera has one of its own there)",
         takeText(to->camera.device)},
        {"--make-device", "", "", "where DIR is no device tree, make one for the layer",
         takeFlag(to->camera.makeDevice)},
        {"--layer", "LAYER", "simulator, v4l2:/dev/videoN or so:FILE",
         "the image-adjust layer (default: simulator); 'imgctl cameras' lists those of this "
         "machine",
         takeText(to->camera.layer)},
        {"--device-type", "N", kTypeNames + 2, "kind of camera, by number; kept in the device tree",
         [to](const std::string& value) {
             int given = 0;
             if (!readInt(value, given)) {
                 return false;
             }
             to->camera.deviceType = given;
             return std::find(kTypes.begin(), kTypes.end(), given) != kTypes.end();
         }},
        {"--detail", "TEXT", "a text", "module detail, such as '(max_scheme=4)(isInfrared=1)'",
         [to](const std::string& value) {
             to->camera.detail = value;
             return true;
         }},
        {"--fps", "N", "1 .. 1000", "frame rate of the video stream (default 25)",
         takeNumber(1, 1000, to->camera.framesPerSecond)},
        {"--clock", "HH:MM[:SS]", "00:00 .. 23:59:59", "time of day at the start",
         [to](const std::string& value) {
             CameraOptions::Clock clock;
             const bool good = readClock(value, clock);
             to->camera.clock = clock;
             return good;
         }},
        {"--speed", "N", "above 0, at most 1000000", "the clock runs N times as fast",
         [to](const std::string& value) { return readSpeed(value, to->camera.speed); }},
        {"--others", "WHAT", "undo, keep",
         "changes by other programs: the scheme wins back (undo, default), or they hold until the "
         "next switch",
         [to](const std::string& value) {
             to->camera.schemeWinsBack = value == "undo";
             return value == "undo" || value == "keep";
         }},
        {"--picture", "WxH[:FORMAT]", "such as 1280x720, and one of mjpeg, yuyv, grey",
         "size and format of a Linux camera's pictures (default: as the viewer wants)",
         [to](const std::string& value) { return readPicture(value, to->camera); }},
        {"--no-day-night", "", "", "a Linux camera's picture does not decide between day and night",
         [to](const std::string&) { return !(to->camera.dayNightByPicture = false); }},
        {"--trace", "FILE", "a file",
         "write a line for every call of the layer and the video module", takeText(to->trace)},
        {"--debug-level", "N", "a number", "how much is reported (1 when absent), in this run",
         [to](const std::string& value) {
             int level = 0;
             const bool good = readInt(value, level);
             to->camera.debugLevel = level;
             return good;
         }},
        {"--abort", "", "", "end the process at a failed assertion of this run",
         takeFlag(to->camera.abort)},
        {"--keep", "", "", "--debug-level and --abort hold for later runs too",
         takeFlag(to->camera.keepReports)},
        {"--convert", "", "", "carry over by key what was saved for another kind of camera",
         takeFlag(to->camera.convert)},
    };
}

} // namespace host
