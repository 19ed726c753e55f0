#pragma once

#include <vector>

/// What the sensor and its second face tell each other.
namespace simulated_ia {

/// A command whose values are restricted: it takes exactly the items.
struct Restriction {
    unsigned int cmd;
    int defaultValue;
    std::vector<int> items;
};

/// What the layer tells that is not so.
struct Lie {
    bool active = false;  ///< the two counts are told in place of the true ones
    int cmdCount = 0;     ///< cmd_cnt of the list of restricted commands
    int itemCount = 0;    ///< items_cnt of every range record
    bool endless = false; ///< the version text fills its 50 bytes, whether active or not
};

} // namespace simulated_ia
