#include "Options.h"

namespace imgctl {
namespace {

std::vector<host::CommandLineOption> commandLine(Options& options) {
    std::vector<host::CommandLineOption> list = host::cameraCommandLine(options.device);
    list.push_back({"-c", "COMMAND", "a command",
                    "run this command; repeatable (default: standard input)",
                    [&options](const std::string& value) {
                        options.commands.push_back(value);
                        return true;
                    }});
    list.push_back({"--help", "", "", "show this help",
                    [&options](const std::string&) { return options.help = true; }});
    list.push_back({"--version", "", "", "show the version",
                    [&options](const std::string&) { return options.version = true; }});
    return list;
}

} // namespace

bool readOptions(int argc, char* const* argv, Options& options, std::string& problem) {
    return host::readCommandLine(argc, argv, commandLine(options), nullptr, problem);
}

std::string optionHelp() {
    Options options;
    return host::commandLineHelp(commandLine(options));
}

} // namespace imgctl
