#include "CommandFunctions.h"

#include <algorithm>

#include "ISensorController.h"
#include "Interrupt.h"
#include "Output.h"
#include "Words.h"
#include "host/Text.h"
#include "host/compliance/Compliance.h"

namespace imgctl {
Status runCompliance(const Call& call) {
    const auto now = call.camera().snapshot();
    const std::vector<compliance::Command> commands =
        compliance::commandsOf(g_pKeyCmdMap, g_nKeyCmdNum);
    const compliance::Command* only = nullptr;
    if (!call.arguments.empty()) {
        u32 key = 0;
        std::string problem;
        if (!readKey(*now, call.arguments[0], key, problem)) {
            return call.refuse(Status::rejected, problem);
        }
        const auto found =
            std::find_if(commands.begin(), commands.end(),
                         [key](const compliance::Command& command) { return command.key == key; });
        if (found == commands.end()) {
            return call.refuse(Status::rejected, "no command of the layer carries " +
                                                     host::quoted(call.arguments[0]));
        }
        only = &*found;
    }
    compliance::Settings settings;
    settings.print = printLine;
    settings.interrupted = takeInterrupt;
    int failed = 0;
    call.camera().perform(
        host::WithLayer{[&] { failed = compliance::run(commands, only, settings).failed; }});
    return failed > 0 ? Status::failed : Status::done;
}

} // namespace imgctl
