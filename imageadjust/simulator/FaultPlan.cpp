#include "FaultPlan.h"

namespace simulated_ia {

void FaultPlan::clear() {
    *this = FaultPlan();
}

void FaultPlan::failCommand(unsigned int cmd, int code, unsigned int count) {
    if (code == 0) {
        m_commands.erase(cmd);
    } else {
        m_commands[cmd] = Fault{code, count};
    }
}

void FaultPlan::failNth(unsigned long n, int code) {
    m_nth = n;
    m_nthCode = code;
}

int FaultPlan::next(unsigned int cmd) {
    if (m_nth != 0 && --m_nth == 0 && m_nthCode != 0) {
        return m_nthCode;
    }
    const auto found = m_commands.find(cmd);
    if (found == m_commands.end()) {
        return 0;
    }
    const int code = found->second.code;
    if (found->second.left != 0 && --found->second.left == 0) {
        m_commands.erase(found);
    }
    return code;
}

} // namespace simulated_ia
