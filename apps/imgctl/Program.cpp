#include "Program.h"

#include <unistd.h>
#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <thread>

#include "Access.h"
#include "Command.h"
#include "Completion.h"
#include "Interrupt.h"
#include "Options.h"
#include "Output.h"
#include "Prompt.h"
#include "Shown.h"
#include "Tools.h"
#include "host/Camera.h"
#include "host/CameraTree.h"
#include "host/DeviceTree.h"
#include "host/Text.h"

namespace {

using imgctl::Status;

std::string helpText() {
    return "Usage: imgctl [OPTION]... [COMMAND [ARGUMENT]...]\n"
           "       imgctl [OPTION]... [-c COMMAND]...\n"
           "A whole camera, driven by a command, by several from -c, or by those from standard "
           "input.\n"
           "\nOptions:\n" +
           imgctl::optionHelp() + "\nWithout a camera that is switched on:\n" + imgctl::toolHelp() +
           "\nCommands:\n" + imgctl::commandHelp() +
           "\nA KEY is a number or a name: 34, KEY_BRIGHTNESS, brightness. A CMD is a number of "
           "the\n"
           "image-adjust layer, or the name of the key that it carries. With --json a command "
           "prints\n"
           "the document that the camera answers with; compliance, export, fail, help, limit, "
           "quit,\n"
           "snapshot, style, unlimit and wait have none. What imgctl itself refuses stays a line "
           "on\n"
           "standard error.\n"
           "Answers go to standard output, errors and reports to standard error. Exit status: 0 "
           "done,\n"
           "1 failed, 2 not understood, 3 rejected; of several commands the highest counts.\n"
           "Who may use the camera over the network: imgctl user, token, onvif and tls, each with "
           "--help.\n";
}

Status fail(const std::string& problem) {
    imgctl::printError(problem);
    return Status::failed;
}

std::string lineOf(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words) {
        line += (line.empty() ? "" : " ") + word;
    }
    return line;
}

/// A trial lasts as long as the program that runs the camera: so it waits for its end.
void waitForTrial(const imgctl::Target& target) {
    imgctl::catchInterrupts();
    for (bool told = false; !imgctl::takeInterrupt(); told = true) {
        const imgctl::Answer answer = target.client.ask("GET", "/trial");
        if (!answer.good() || !answer.document.is_object()) {
            return;
        }
        if (!told) {
            imgctl::printError("the trial ends in " +
                               imgctl::numberOf(answer.document, "seconds_left") +
                               " seconds, or with Ctrl-C");
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
}

Status runCommands(const imgctl::Target& target, const imgctl::Options& options, FILE* terminal) {
    Status worst = Status::done;
    bool quit = false;
    const auto run = [&](const std::string& line) {
        worst = std::max(worst, imgctl::runLine(target, line, quit));
    };
    std::string line;
    if (!options.words.empty()) {
        run(lineOf(options.words));
        if (worst == Status::done && target.camera != nullptr && options.words[0] == "try") {
            waitForTrial(target);
        }
    } else if (!options.commands.empty()) {
        for (std::size_t i = 0; i < options.commands.size() && !quit; ++i) {
            run(options.commands[i]);
        }
    } else if (isatty(STDIN_FILENO) != 0 && isatty(STDOUT_FILENO) != 0) {
        imgctl::completeFrom(target.client);
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

Status runElsewhere(const imgctl::Options& options, imgctl::Client& client, FILE* terminal) {
    client.useLanguage(options.language);
    return runCommands({client, nullptr, options.json}, options, terminal);
}

Status runCamera(const imgctl::Options& options, FILE* trace, FILE* terminal) {
    host::CameraOptions asked = options.device.camera;
    asked.trace = trace;
    host::CameraTree tree;
    std::string missing;
    if (!host::deviceTreeFor(asked, tree, missing)) {
        return fail(missing);
    }
    asked.device = tree.path;
    if (!tree.madeFor.empty()) {
        std::fprintf(stderr, "imgctl: made a device tree for %s: %s\n",
                     host::printable(tree.madeFor).c_str(), host::printable(tree.path).c_str());
    }
    if (const auto daemon = imgctl::daemonOf(tree.path + "/imgctld.sock")) {
        return runElsewhere(options, *daemon, terminal);
    }
    host::Camera camera;
    const host::StartProblem problem = camera.start(asked);
    if (problem) {
        return fail(problem.text);
    }
    const std::shared_ptr<const host::Snapshot> first = camera.snapshot();
    for (const std::string& found : first->problems) {
        imgctl::printError(found);
    }
    const std::unique_ptr<imgctl::Client> client = imgctl::clientOf(camera);
    client->useLanguage(options.language);
    const Status worst = runCommands({*client, &camera, options.json}, options, terminal);
    const int unsaved = camera.snapshot()->unsaved;
    if (unsaved != 0) {
        imgctl::printError(
            (unsaved == 1 ? "a value is not saved and ends"
                          : std::to_string(unsaved) + " values are not saved and end") +
            std::string(" with this program ('save' or 'set --save' keeps what is set)"));
    }
    return worst;
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

/// For what is asked of no camera.
class Nobody : public imgctl::Client {
protected:
    bool send(const host::api::Request& /*request*/, host::api::Response& /*response*/,
              std::string& problem) override {
        problem = "no camera is asked";
        return false;
    }
};

Status runAsked(const imgctl::Options& options) {
    FILE* const terminal = imgctl::answers();
    imgctl::Line line;
    std::string wrong;
    if (!imgctl::readLine(lineOf(options.words), line, wrong)) { // before a camera is switched on
        imgctl::printError(wrong);
        return Status::usage;
    }
    if (line.command != nullptr && line.command->name == std::string("help")) {
        Nobody nobody;
        return runElsewhere(options, nobody, terminal);
    }
    if (options.connect.empty()) {
        return runTraced(options, terminal);
    }
    imgctl::Remote remote;
    remote.url = options.connect;
    remote.fingerprint = options.fingerprint;
    std::string problem;
    if (!imgctl::readToken(options.tokenFile, remote.token, problem)) {
        return fail(problem);
    }
    bool understood = false;
    const std::unique_ptr<imgctl::Client> client = imgctl::clientOf(remote, problem, understood);
    if (client == nullptr) {
        imgctl::printError(problem);
        return understood ? Status::failed : Status::usage;
    }
    return runElsewhere(options, *client, terminal);
}

Status runHost(int argc, char** argv) {
    if (const std::optional<Status> tool = imgctl::runTool(argc, argv)) {
        return *tool;
    }
    imgctl::separateReports();
    imgctl::Options options;
    std::string problem;
    if (!imgctl::readOptions(argc, argv, options, problem)) {
        imgctl::printError(problem);
        return Status::usage;
    }
    if (options.help || options.version) {
        imgctl::printLine(options.help ? helpText() : "imgctl " IMGCTL_VERSION);
        return Status::done;
    }
    if (options.complete) { // for the shell, which must not start a camera
        std::size_t start = 0;
        imgctl::completeFromTable();
        for (const std::string& word : imgctl::completions(options.completeLine, start)) {
            imgctl::printLine(word);
        }
        return Status::done;
    }
    const Status worst = runAsked(options);
    imgctl::startLine();
    // Answers that nobody can read are none.
    return std::ferror(imgctl::answers()) == 0 ? worst : std::max(worst, Status::failed);
}

} // namespace

int imgctl::runProgram(int argc, char** argv) {
    try {
        std::setlocale(LC_CTYPE, "");
#ifdef IMGCTL_ACCESS
        if (argc > 1 && imgctl::isAccessCommand(argv[1])) {
            return imgctl::runAccess(argc, argv);
        }
#endif
        return static_cast<int>(runHost(argc, argv));
    } catch (const std::exception& error) {
        imgctl::printError(error.what());
        return static_cast<int>(Status::failed);
    }
}
