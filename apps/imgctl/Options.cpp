#include "Options.h"

#include "host/Text.h"

namespace imgctl {
namespace {

std::vector<host::CommandLineOption> commandLine(Options& options) {
    std::vector<host::CommandLineOption> list = host::cameraCommandLine(options.device);
    list.push_back({"--connect", "URL", "http://NAME[:PORT] or https://NAME[:PORT]",
                    "ask a camera elsewhere", host::takeText(options.connect)});
    list.push_back({"--token-file", "FILE", "a file of mode 0600",
                    "the token for it (default: $IMGCTL_TOKEN)",
                    host::takeText(options.tokenFile)});
    list.push_back({"--certificate", "SHA256", "64 hexadecimal digits",
                    "believe its certificate of this fingerprint, and no other",
                    [&options](const std::string& value) {
                        options.fingerprint = value;
                        return value.find_first_not_of("0123456789abcdefABCDEF:") ==
                                   std::string::npos &&
                               value.size() >= 64;
                    }});
    list.push_back({"--language", "N", "0 .. 1000", "the language of labels (default 0, English)",
                    host::takeNumber(0, 1000, options.language)});
    list.push_back({"--json", "", "", "print the documents that the camera answers with",
                    host::takeFlag(options.json)});
    list.push_back({"-c", "COMMAND", "a command",
                    "run this command; repeatable (default: standard input)",
                    [&options](const std::string& value) {
                        options.commands.push_back(value);
                        return true;
                    }});
    list.push_back({"--help", "", "", "show this help; -h too", host::takeFlag(options.help)});
    list.push_back({"--version", "", "", "show the version", host::takeFlag(options.version)});
    return list;
}

} // namespace

bool readOptions(int argc, char* const* argv, Options& options, std::string& problem) {
    // What stands behind the first word belongs to the command, options too.
    std::vector<host::CommandLineOption> list = commandLine(options);
    list.push_back({"-h", "", "", "", host::takeFlag(options.help)});
    list.push_back({"--complete", "LINE", "a line", "", [&options](const std::string& value) {
                        options.completeLine = value;
                        return options.complete = true;
                    }});
    if (!host::readCommandLine(argc, argv, list, &options.words, problem)) {
        return false;
    }
    if (!options.words.empty() && !options.commands.empty()) {
        problem = "a command is given with -c or as words, not both";
        return false;
    }
    if (options.connect.empty() && (!options.tokenFile.empty() || !options.fingerprint.empty())) {
        problem = "--token-file and --certificate go with --connect URL";
        return false;
    }
    return true;
}

std::string optionHelp() {
    Options options;
    return host::commandLineHelp(commandLine(options));
}

} // namespace imgctl
