#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "Command.h"
#include "Completion.h"
#include "Options.h"
#include "Output.h"
#include "Prompt.h"
#include "host/Camera.h"
#include "host/Names.h"
#include "host/Text.h"

namespace {

using imgctl::Status;

std::string helpText() {
    return "Usage: imgctl [OPTION]... [-c COMMAND]...\n"
           "A whole camera on this machine, driven by commands from -c or from standard input.\n"
           "\nOptions:\n" +
           imgctl::optionHelp() + "\nCommands:\n" + imgctl::commandHelp() +
           "\nA KEY is a number or a name: 34, KEY_BRIGHTNESS, brightness. A CMD is a number of "
           "the\n"
           "image-adjust layer, or the name of the key that it carries.\n"
           "Answers go to standard output, errors to standard error. Exit status: 0 done, 1 "
           "failed,\n"
           "2 not understood, 3 a parameter was rejected; of several commands the highest "
           "counts.\n";
}

Status fail(const std::string& problem) {
    imgctl::startLine();
    std::fprintf(stderr, "imgctl: %s\n", host::printable(problem).c_str());
    return Status::failed;
}

Status runCommands(host::Camera& camera, const imgctl::Options& options, FILE* terminal) {
    Status worst = Status::done;
    bool quit = false;
    const auto run = [&](const std::string& line) {
        worst = std::max(worst, imgctl::runLine(camera, line, quit));
    };
    std::string line;
    if (!options.commands.empty()) {
        for (std::size_t i = 0; i < options.commands.size() && !quit; ++i) {
            run(options.commands[i]);
        }
    } else if (isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0) {
        imgctl::Prompt prompt(terminal);
        while (!quit && prompt.read(line)) {
            run(line);
        }
    } else {
        while (!quit && imgctl::readLine(stdin, line)) {
            run(line);
        }
    }
    return worst;
}

Status runCamera(const imgctl::Options& options, FILE* trace, FILE* terminal) {
    host::CameraOptions asked = options.device.camera;
    asked.trace = trace;
    host::Camera camera;
    const host::StartProblem problem = camera.start(asked);
    if (problem) {
        return fail(problem.text);
    }
    imgctl::completeKeys(host::keyNames(*camera.snapshot()->catalogue));
    return runCommands(camera, options, terminal);
}

/// Runs the camera with its trace, which it needs to the end.
Status runTraced(const imgctl::Options& options, FILE* terminal) {
    if (options.device.trace.empty()) {
        return runCamera(options, nullptr, terminal);
    }
    const std::string name = "trace file " + host::quoted(options.device.trace);
    FILE* trace = std::fopen(options.device.trace.c_str(), "we");
    if (trace == nullptr) {
        return fail(name + ": " + std::strerror(errno));
    }
    const Status worst = runCamera(options, trace, terminal);
    const bool written = std::ferror(trace) == 0;
    const bool closed = std::fclose(trace) == 0;
    return written && closed ? worst : std::max(worst, fail(name + " could not be written"));
}

Status runHost(int argc, char** argv) {
    FILE* terminal = imgctl::watchOutput();
    imgctl::Options options;
    std::string problem;
    if (!imgctl::readOptions(argc, argv, options, problem)) {
        std::fprintf(stderr, "imgctl: %s\n", problem.c_str());
        return Status::usage;
    }
    if (options.help || options.version) {
        imgctl::printLine(options.help ? helpText() : "imgctl " IMGCTL_VERSION);
        return Status::done;
    }
    const Status worst = runTraced(options, terminal);
    imgctl::startLine();
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
