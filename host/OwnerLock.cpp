#include "host/OwnerLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "host/Text.h"

namespace host {
namespace {

constexpr std::size_t kLongestNote = 128;

/// A folder for lock files that every program of this user, and for devices every user, finds.
std::string lockFolder() {
    for (const char* folder : {"/run/lock", "/tmp"}) {
        if (access(folder, W_OK) == 0) {
            return folder;
        }
    }
    const char* temporary = std::getenv("TMPDIR");
    return temporary != nullptr && temporary[0] == '/' ? temporary : "/tmp";
}

int openLockFile(const std::string& path) {
    constexpr int kFlags = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    const int made = open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | kFlags, 0666);
    if (made >= 0) {
        static_cast<void>(fchmod(made, 0666)); // whatever the umask: another user may ask for it
        return made;
    }
    const int there = open(path.c_str(), O_RDWR | kFlags);
    // One that cannot be written can be locked all the same; it only gets no name.
    return there >= 0 ? there : open(path.c_str(), O_RDONLY | kFlags);
}

} // namespace

OwnerLock::~OwnerLock() {
    release();
}

OwnerLock::Result OwnerLock::take(const std::string& path, const std::string& program) {
    release();
    m_ownerProgram.clear();
    m_ownerProcess = 0;
    const int descriptor = openLockFile(path);
    if (descriptor < 0) {
        return Result::Failed;
    }
    if (flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        char note[kLongestNote] = {};
        const ssize_t length = pread(descriptor, note, sizeof note, 0);
        close(descriptor);
        const std::vector<std::string> parts =
            words(std::string(note, length > 0 ? static_cast<std::size_t>(length) : 0), 3);
        int process = 0;
        if (parts.size() >= 2 && readInt(parts[1], process)) {
            m_ownerProgram = printable(parts[0]);
            m_ownerProcess = process;
        }
        return Result::Owned;
    }
    const std::string note = program.substr(0, 64) + " " + std::to_string(getpid()) + "\n";
    // The lock is what counts; a note that cannot be written leaves the owner without a name.
    const bool noted =
        ftruncate(descriptor, 0) == 0 &&
        pwrite(descriptor, note.data(), note.size(), 0) == static_cast<ssize_t>(note.size());
    static_cast<void>(noted);
    m_descriptor = descriptor;
    return Result::Taken;
}

void OwnerLock::release() {
    if (m_descriptor >= 0) {
        // The name goes with the owner; the file stays, as another may be waiting to lock it.
        static_cast<void>(ftruncate(m_descriptor, 0) == 0);
        close(m_descriptor);
        m_descriptor = -1;
    }
}

std::string OwnerLock::owner() const {
    return m_ownerProgram.empty()
               ? "another program"
               : m_ownerProgram + " (process " + std::to_string(m_ownerProcess) + ")";
}

std::string treeLockPath(const std::string& tree) {
    struct stat about {};
    std::string inTree = tree + "/.owner";
    if (access(tree.c_str(), W_OK) == 0 || access(inTree.c_str(), R_OK) == 0 ||
        stat(tree.c_str(), &about) != 0) {
        return inTree;
    }
    // A tree that cannot be written has an owner all the same.
    return lockFolder() + "/imgctl-tree-" + std::to_string(about.st_dev) + "-" +
           std::to_string(about.st_ino) + ".lock";
}

std::string cameraLockPath(const std::string& identity) {
    return lockFolder() + "/imgctl-camera-" + identity + ".lock";
}

} // namespace host
