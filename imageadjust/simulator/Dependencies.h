#pragma once

namespace simulated_ia {

/// A command that this sensor acts on only while another one stands at certain values. It keeps
/// the value meanwhile.
struct Dependency {
    unsigned int cmd;
    unsigned int master;
    unsigned int values; ///< one bit for each value of the master at which the command acts
    const char* blocker; ///< what is the case at the others: "the exposure is automatic"
};

/// The rows of a command stand together, the master of masters first.
/// @param row  0, 1, ... until null is returned
const Dependency* dependency(int row);

} // namespace simulated_ia
