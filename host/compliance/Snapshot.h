#pragma once

#include <chrono>
#include <vector>

#include "host/compliance/Command.h"
#include "host/compliance/Layer.h"

namespace compliance {

/// Every value of the layer at one moment. Commands that cannot be read are left out.
class Snapshot {
public:
    Snapshot(const std::vector<Command>& commands, std::chrono::milliseconds patience);
    ~Snapshot();
    Snapshot(const Snapshot&) = delete;
    Snapshot& operator=(const Snapshot&) = delete;

    /// Sets what has changed, the positions last, as other commands move them. The destructor does
    /// it for whoever did not come to it.
    /// @return what could not be put back
    Findings putBack();

private:
    struct Entry {
        Command command;
        Words words;
    };

    bool isAsBefore(const Entry& entry, Words& now, Findings& findings) const;

    std::vector<Entry> m_entries; // in the order of putting back
    std::chrono::milliseconds m_patience;
    bool m_done = false;
};

} // namespace compliance
