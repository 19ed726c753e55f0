#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>

namespace linux_framework {

/// The new content of a file while it is written: a temporary file beside the target, put in the
/// target's place as a whole. A process that dies on the way leaves the target as it was, and the
/// temporary to removeLeftovers().
///
/// One append is one replacement: when it returns its bytes, all that was written is in place and
/// on the disk. What failed changes nothing, and is the last that this object does.
class Replacement {
public:
    Replacement() = default;
    ~Replacement() { finish(); }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    /// Begins to replace a file of the device, where resolveForWriting() finds it, and removes what
    /// dead writers left in its folder.
    /// @param hostPath  where the file is, or will be, on this machine
    /// @return false when it may not be written or is no regular file
    bool begin(const char* hostPath);

    /// The same for any file of this machine, among files that are none of ours.
    /// @param mode  the permissions of a file that is new
    bool beginOnHost(const char* hostPath, mode_t mode);

    /// Adds to the content and puts it in place. A target that holds the same already is left
    /// alone: flash wears.
    /// @return count; fewer bytes, errno set, when the content is not in place, or when nobody can
    ///         say whether it will outlast a power cut
    std::size_t append(const void* data, std::size_t count);

    /// @return the bytes of the content so far
    off_t length() const;

    /// Ends the use. Content that nothing was added to is put in place now: an empty file.
    /// @return true when the target holds the content
    bool finish();

private:
    bool beginTarget();
    int createTemporary();
    bool copyContent();
    bool targetHoldsTheSame() const;
    bool putInPlace();

    int m_nFd = -1;
    bool m_bInPlace = false;
    bool m_bFailed = false;
    mode_t m_nMode = 0; // of the old file; 0: there is none
    mode_t m_nNewMode = 0644;
    std::string m_strTarget; // folder, "/", name
    std::string m_strFolder;
    std::string m_strName;
    std::string m_strTemporary; // empty: its file has become the target
};

} // namespace linux_framework
