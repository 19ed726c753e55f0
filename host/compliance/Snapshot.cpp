#include "host/compliance/Snapshot.h"

#include <algorithm>

#include "SensorKeys.h"
#include "host/compliance/Motion.h"

namespace compliance {
namespace {

// Values may depend on each other (a mode allows a value), so that one round need not do.
constexpr int rounds = 3;

/// Orders move positions, and the focus may follow the zoom.
int rank(unsigned int cmd) {
    const Motion* motion = motionOf(cmd);
    return motion == nullptr ? 0 : !motion->isPosition ? 1 : cmd == KEY_MF_POSITION ? 3 : 2;
}

} // namespace

Snapshot::Snapshot(const std::vector<Command>& commands, std::chrono::milliseconds patience)
    : m_patience(patience) {
    Findings ignored;
    for (const Command& command : commands) {
        Layer layer(command.cmd, ignored, patience);
        Entry entry{command, {}};
        bool known = false;
        // What is not known cannot be put back, so that a call that fails once is made again.
        for (int round = 0; round < rounds && !known && !isReadOnly(command.cmd); ++round) {
            layer.waitUntilDone();
            known = layer.get(entry.words) == 0;
        }
        if (known) {
            m_entries.push_back(entry);
        }
    }
    std::stable_sort(m_entries.begin(), m_entries.end(), [](const Entry& left, const Entry& right) {
        return rank(left.command.cmd) < rank(right.command.cmd);
    });
}

Snapshot::~Snapshot() {
    if (!m_done) {
        putBack();
    }
}

bool Snapshot::isAsBefore(const Entry& entry, Words& now, Findings& findings) const {
    Layer layer(entry.command.cmd, findings, m_patience);
    layer.waitUntilDone();
    return layer.get(now) == 0 && now == entry.words;
}

Findings Snapshot::putBack() {
    m_done = true;
    Findings problems;
    bool again = true;
    for (int round = 0; round < rounds && again; ++round) {
        again = false;
        problems = Findings();
        for (const Entry& entry : m_entries) {
            Findings ignored;
            Words now;
            if (isAsBefore(entry, now, ignored)) {
                continue;
            }
            again = true;
            Layer layer(entry.command.cmd, ignored, m_patience);
            const int result = layer.set(entry.words);
            if (!isAsBefore(entry, now, ignored)) {
                problems.fail(entry.command.name + " was " + textOf(entry.words) + " and is " +
                              textOf(now) + " (set gives " + std::to_string(result) + ")");
            }
        }
    }
    return problems;
}

} // namespace compliance
