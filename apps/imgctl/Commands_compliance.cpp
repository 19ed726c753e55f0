#include "CommandFunctions.h"

#include <algorithm>

#include "Camera.h"
#include "Compliance.h"
#include "Interrupt.h"
#include "KeyNames.h"
#include "Output.h"
#include "Text.h"

namespace host {
namespace {

/// Keeps the worker thread from setting schemes into the layer.
class ManualMode {
public:
    explicit ManualMode(ISensorController& controller) : m_controller(controller) {
        m_controller.getParamMode(m_before);
        m_controller.setParamMode(0);
    }
    ~ManualMode() { m_controller.setParamMode(m_before); }
    ManualMode(const ManualMode&) = delete;
    ManualMode& operator=(const ManualMode&) = delete;

private:
    ISensorController& m_controller;
    int m_before = 1;
};

} // namespace

Status runCompliance(const Call& call) {
    const std::vector<compliance::Command> commands =
        compliance::commandsOf(g_pKeyCmdMap, g_nKeyCmdNum);
    const compliance::Command* only = nullptr;
    if (!call.arguments.empty()) {
        u32 key = 0;
        std::string problem;
        if (!readKey(call.arguments[0], key, problem)) {
            return call.refuse(Status::usage, problem);
        }
        const auto found =
            std::find_if(commands.begin(), commands.end(),
                         [key](const compliance::Command& command) { return command.key == key; });
        if (found == commands.end()) {
            return call.refuse(Status::usage,
                               "no command of the layer carries " + quoted(call.arguments[0]));
        }
        only = &*found;
    }
    compliance::Settings settings;
    settings.print = printLine;
    settings.interrupted = takeInterrupt;
    const ManualMode manual(call.camera.controller());
    return compliance::run(commands, only, settings).failed > 0 ? Status::failed : Status::done;
}

} // namespace host
