#pragma once

#include <string>

namespace linux_framework {

/// The new content of a file while it is written: a temporary file beside the target, put in the
/// target's place as a whole. A process that dies on the way leaves the target as it was, and the
/// temporary to removeLeftovers().
class Replacement {
public:
    /// @param hostPath  where the target is, or will be, on this machine
    /// @return the descriptor to write to, owned by this object; -1 when the target may not be
    /// written
    ///         or is no regular file
    int begin(const char* hostPath);

    /// Puts the written content in place. A target that holds the same content already is left
    /// alone: flash wears. When the content cannot be brought to the disk, the target stays as it
    /// was.
    /// @return true when the target holds what was written
    bool finish();

    /// Gives up what was written; the target stays as it was.
    void abandon();

private:
    bool createTemporary(const std::string& folder, const std::string& name, unsigned int mode);
    bool targetHoldsTheSame() const;

    int m_nFd = -1;
    std::string m_strTarget;
    std::string m_strTemporary;
};

} // namespace linux_framework
