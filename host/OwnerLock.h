#pragma once

#include <string>

namespace host {

/// Ownership of a device tree or a camera by this process: a file that is locked for as long as the
/// object lives and that names the owner. A process that dies gives it up by dying.
class OwnerLock {
public:
    OwnerLock() = default;
    ~OwnerLock();
    OwnerLock(const OwnerLock&) = delete;
    OwnerLock& operator=(const OwnerLock&) = delete;

    enum class Result {
        Taken,
        Owned,  ///< by another process, or by another object of this one
        Failed, ///< the file cannot be made
    };

    /// @param path     the lock file, on this machine; it is made and stays
    /// @param program  the name to show to others
    Result take(const std::string& path, const std::string& program);
    void release();

    // After Result::Owned: who it is; empty and 0 where it cannot be told.
    const std::string& ownerProgram() const { return m_ownerProgram; }
    long ownerProcess() const { return m_ownerProcess; }

    /// The same for people: "imgctld (process 417)", "another program".
    std::string owner() const;

private:
    int m_descriptor = -1;
    std::string m_ownerProgram;
    long m_ownerProcess = 0;
};

/// The lock file of a device tree.
std::string treeLockPath(const std::string& tree);

/// The lock file of a camera, by its identity, which it keeps wherever it is plugged in: in a
/// folder that this user may write to.
std::string cameraLockPath(const std::string& identity);

} // namespace host
