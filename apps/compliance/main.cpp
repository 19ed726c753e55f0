// Tries the image-adjust layer that this program is linked with: ia-compliance [KEY].
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>

#include "host/compliance/Compliance.h"
#include "host/compliance/LinkedLayer.h"

namespace {

enum Status { done = 0, failed = 1, usage = 2 };

volatile std::sig_atomic_t interrupted = 0;

void remember(int /*signal*/) {
    interrupted = 1;
}

void print(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

int runChecks(const char* wanted) {
    const std::vector<compliance::Command> commands = compliance::commandsOfLinkedLayer();
    const auto found = std::find_if(
        commands.begin(), commands.end(), [wanted](const compliance::Command& command) {
            return wanted != nullptr &&
                   (command.name == wanted || std::to_string(command.key) == wanted);
        });
    if (wanted != nullptr && found == commands.end()) {
        std::fprintf(stderr, "ia-compliance: no command of the layer has the key '%s'\n", wanted);
        return usage;
    }
    std::signal(SIGINT, remember);
    compliance::Settings settings;
    settings.print = print;
    settings.interrupted = [] { return interrupted != 0; };
    const compliance::Totals totals =
        compliance::run(commands, wanted == nullptr ? nullptr : &*found, settings);
    return totals.failed > 0 ? failed : done;
}

} // namespace

int main(int argc, char** argv) {
    const bool help = argc == 2 && std::string(argv[1]) == "--help";
    if (help || argc > 2) {
        std::fputs(
            "Usage: ia-compliance [KEY]\n"
            "Tries the image-adjust layer against its contract, key by key or one KEY (a number,\n"
            "or a name such as KEY_BRIGHTNESS), and puts every value back.\n"
            "Exit status: 0 nothing failed, 1 failed, 2 not understood.\n",
            help ? stdout : stderr);
        return help ? done : usage;
    }
    try {
        return runChecks(argc == 2 ? argv[1] : nullptr);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "ia-compliance: %s\n", error.what());
        return failed;
    }
}
