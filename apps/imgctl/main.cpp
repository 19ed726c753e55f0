#include <unistd.h>
#include <algorithm>
#include <clocale>
#include <cstdio>
#include <exception>
#include <string>

#include "Camera.h"
#include "Command.h"
#include "Options.h"
#include "Output.h"
#include "Prompt.h"
#include "Text.h"

namespace {

using host::Status;

std::string helpText() {
    return "Usage: imgctl [OPTION]... [-c COMMAND]...\n"
           "A whole camera on this machine, driven by commands from -c or from standard input.\n"
           "\nOptions:\n" +
           host::optionHelp() + "\nCommands:\n" + host::commandHelp() +
           "\nA KEY is a number or a name: 34, KEY_BRIGHTNESS, brightness. A CMD is a number of "
           "the\n"
           "image-adjust layer, or the name of the key that it carries.\n"
           "Answers go to standard output, errors to standard error. Exit status: 0 done, 1 "
           "failed,\n"
           "2 not understood, 3 a parameter was rejected; of several commands the highest "
           "counts.\n";
}

Status runCommands(host::Camera& camera, const host::Options& options, FILE* terminal) {
    Status worst = Status::done;
    bool quit = false;
    const auto run = [&](const std::string& line) {
        worst = std::max(worst, host::runLine(camera, line, quit));
    };
    std::string line;
    if (!options.commands.empty()) {
        for (std::size_t i = 0; i < options.commands.size() && !quit; ++i) {
            run(options.commands[i]);
        }
    } else if (isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0) {
        host::Prompt prompt(terminal);
        while (!quit && prompt.read(line)) {
            run(line);
        }
    } else {
        while (!quit && host::readLine(stdin, line)) {
            run(line);
        }
    }
    return worst;
}

Status runCamera(const host::Options& options, FILE* terminal) {
    host::Camera camera;
    std::string problem;
    if (!camera.start(options, problem)) {
        host::startLine();
        std::fprintf(stderr, "imgctl: %s\n", problem.c_str());
        return Status::failed;
    }
    const Status worst = runCommands(camera, options, terminal);
    if (camera.stop(problem)) {
        return worst;
    }
    host::startLine();
    std::fprintf(stderr, "imgctl: %s\n", problem.c_str());
    return std::max(worst, Status::failed);
}

Status runHost(int argc, char** argv) {
    FILE* terminal = host::watchOutput();
    host::Options options;
    std::string problem;
    if (!host::readOptions(argc, argv, options, problem)) {
        std::fprintf(stderr, "imgctl: %s\n", problem.c_str());
        return Status::usage;
    }
    if (options.help || options.version) {
        host::printLine(options.help ? helpText() : "imgctl " IMGCTL_VERSION);
        return Status::done;
    }
    const Status worst = runCamera(options, terminal);
    host::startLine();
    // Answers that nobody can read are none.
    return std::ferror(stdout) == 0 ? worst : std::max(worst, Status::failed);
}

} // namespace

int main(int argc, char** argv) {
    try {
        std::setlocale(LC_CTYPE, "");
        return static_cast<int>(runHost(argc, argv));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "imgctl: %s\n", host::printable(error.what()).c_str());
        return static_cast<int>(Status::failed);
    }
}
