#pragma once

#include <map>

namespace simulated_ia {

/// Which calls are to fail. Not thread-safe; asking allocates nothing.
class FaultPlan {
public:
    void clear();

    /// @param code   0 ends the command's fault
    /// @param count  0: for good
    void failCommand(unsigned int cmd, int code, unsigned int count);

    /// @param n  1: the next call; 0, like the code 0, drops the plan. A new plan replaces the old.
    void failNth(unsigned long n, int code);

    /// To be asked once for every call.
    /// @return the code the call is to fail with, 0 for none
    int next(unsigned int cmd);

    struct Fault {
        int code;
        unsigned int left; // 0: for good
    };
    const std::map<unsigned int, Fault>& commands() const { return m_commands; }

private:
    std::map<unsigned int, Fault> m_commands;
    unsigned long m_nth = 0;
    int m_nthCode = 0;
};

} // namespace simulated_ia
