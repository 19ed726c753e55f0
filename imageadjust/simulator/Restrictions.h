#pragma once

#include <vector>

#include "CommandTable.h"
#include "ImageAdjust.h"
#include "SimulatedTypes.h"

namespace simulated_ia {

/// The commands whose values are restricted on this sensor, in the order in which they became so.
/// Not thread-safe; allocates nothing.
class Restrictions {
public:
    void clear() { m_count = 0; }
    bool limit(unsigned int cmd, int defaultValue, const std::vector<int>& items);
    bool unlimit(unsigned int cmd);

    /// Every restriction, in that order.
    std::vector<Restriction> all() const;

    /// Whether a set of the row's command takes the value.
    bool accepts(const CommandRow& row, int value) const;

    /// The nearest value that accepts() is true for; of two equally near ones the lower.
    int nearest(const CommandRow& row, int value) const;

    /// The range record of the row's command, whose value in force is given.
    ia_dynamic_params_attr_st range(const CommandRow& row, int current) const;

    /// The list of restricted commands.
    ia_dynamic_params_cmds_st list() const;

private:
    struct Limit {
        unsigned int cmd;
        int defaultValue;
        int count;
        int item[IA_DYNAMIC_ITEM_MAX];
    };

    const Limit* find(unsigned int cmd) const;

    int m_count = 0;
    Limit m_limits[IA_DYNAMIC_CMD_MAX] = {};
};

} // namespace simulated_ia
