#include "host/compliance/Compliance.h"

#include "ImageAdjust.h"
#include "host/compliance/CommandCheck.h"
#include "host/compliance/Snapshot.h"

namespace compliance {
namespace {

/// Prints the lines and counts them.
class Protocol {
public:
    explicit Protocol(const Settings& settings) : m_settings(settings) {}

    void tell(const std::string& subject, const Findings& findings) {
        ++m_totals.total;
        ++(findings.failed()   ? m_totals.failed
           : findings.warned() ? m_totals.warnings
                               : m_totals.succeeded);
        m_settings.print("compliance " + subject + " " + findings.text());
    }

    Totals finish() const {
        m_settings.print("Total " + std::to_string(m_totals.total) + ", Succeeded " +
                         std::to_string(m_totals.succeeded) + ", Failed " +
                         std::to_string(m_totals.failed) + ", Warnings " +
                         std::to_string(m_totals.warnings));
        return m_totals;
    }

private:
    const Settings& m_settings;
    Totals m_totals;
};

} // namespace

Totals run(const std::vector<Command>& commands, const Command* only, const Settings& settings) {
    Snapshot before(commands, settings.patience);
    Protocol protocol(settings);
    bool stopped = false;
    for (const Command& command : commands) {
        if (only != nullptr && command.key != only->key) {
            continue;
        }
        stopped = settings.interrupted && settings.interrupted();
        if (stopped) {
            Findings interrupted;
            interrupted.warn("stopped before " + command.name);
            protocol.tell("- interrupted", interrupted);
            break;
        }
        protocol.tell(std::to_string(command.key) + " " + command.name,
                      checkCommand(command.cmd, settings));
    }
    if (only == nullptr && !stopped) {
        protocol.tell("- unknown-commands", checkUnknownCommands());
    }
    const Findings left = before.putBack();
    if (left.failed()) {
        protocol.tell("- restore", left);
    }
    return protocol.finish();
}

} // namespace compliance
