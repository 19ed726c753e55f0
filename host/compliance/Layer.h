#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "ImageAdjustRecords.h"
#include "host/compliance/Findings.h"

namespace compliance {

/// The words that options 0 and 1 of a command carry.
typedef std::vector<int> Words;

constexpr unsigned int wordBytes(std::size_t words) {
    return static_cast<unsigned int>(words * sizeof(int));
}

/// "20,40"
std::string textOf(const Words& words);

/// Where a parameter stands among the words of its command.
struct Place {
    unsigned int first; ///< command of the record's first field
    unsigned int field; ///< the parameter's own
    unsigned int count;
};
Place placeOf(unsigned int cmd);

using image_adjust::isReadOnly;

/// One command of the layer. Every call stands in memory that is guarded behind the record; writing
/// there, and a result above 0, go into the findings by themselves. Used by one thread.
class Layer {
public:
    Layer(unsigned int cmd, Findings& findings, std::chrono::milliseconds patience)
        : m_cmd(cmd), m_findings(findings), m_patience(patience) {}

    /// One call with a record of so many bytes, at most 276, which is replaced by what the layer
    /// makes of it.
    /// @param offset  how far the record is moved off its natural alignment, 0 .. 3
    /// @return the layer's result
    int call(unsigned int opt, void* record, unsigned int bytes, unsigned int offset = 0);

    /// @param words  receives placeOf(cmd).count words when the result is 0
    int get(Words& words);

    /// Sets; where the layer is busy, again until patience ends, once in the life of this object.
    int set(const Words& words);

    int range(ia_dynamic_params_attr_st& range);
    int correct(int& value);

    /// Whether the layer itself writes a record, also where the memory held something else.
    /// @param bytes   of the record
    /// @param needed  those from its start on that are to be written
    bool writesWhole(unsigned int opt, unsigned int bytes, unsigned int needed);

    /// Waits while the status says that the command is under way.
    /// @return false when patience ended first; true also where there is no status
    bool waitUntilDone();

private:
    unsigned int m_cmd;
    Findings& m_findings;
    std::chrono::milliseconds m_patience;
    bool m_patient = true;
};

} // namespace compliance
