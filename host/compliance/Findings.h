#pragma once

#include <string>
#include <vector>

namespace compliance {

/// What was found wrong with one command (failures), or odd (warnings). Not thread-safe.
class Findings {
public:
    /// The same text counts once.
    void fail(const std::string& what) { add(m_failures, what); }
    void warn(const std::string& what) { add(m_warnings, what); }

    void add(const Findings& other);

    bool failed() const { return !m_failures.empty(); }
    bool warned() const { return !m_warnings.empty(); }

    /// "ok", "FAILED WHAT; WHAT" or "warning WHAT"; the warnings stand behind the failures.
    std::string text() const;

private:
    static void add(std::vector<std::string>& list, const std::string& what);

    std::vector<std::string> m_failures;
    std::vector<std::string> m_warnings;
};

} // namespace compliance
