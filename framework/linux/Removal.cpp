#include "Removal.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "FileCalls.h"
#include "HostPath.h"
#include "StringHandler.h"

namespace {

constexpr char kCommand[] = "rm -rf ";
constexpr int kDeepestFolder = 64;

/// Whether an error says that a pattern matches nothing here.
bool isNothing(int error) {
    return error == ENOENT || error == ENOTDIR || error == ELOOP;
}

class Removal {
public:
    explicit Removal(std::chrono::steady_clock::time_point deadline) : m_deadline(deadline) {}

    /// @param folder  without links, inside the device root
    /// @param names   the patterns of the names below it; those from `at` on are to do
    void expand(const std::string& folder, const std::vector<std::string>& names, std::size_t at) {
        for (const std::string& name : matching(folder, names[at])) {
            const std::string path = file_calls::joined(folder, name);
            char resolved[PATH_MAX];
            if (late()) {
                return;
            }
            if (at + 1 == names.size()) {
                remove(path, 0);
            } else if (realpath(path.c_str(), resolved) == nullptr) {
                m_bLeft = m_bLeft || !isNothing(errno);
            } else if (linux_framework::insideRoot(resolved)) {
                expand(resolved, names, at + 1);
            }
        }
    }

    int result() const { return m_bLate ? -1 : m_bLeft ? 1 : 0; }

private:
    bool late() {
        m_bLate = m_bLate || std::chrono::steady_clock::now() >= m_deadline;
        return m_bLate;
    }

    std::vector<std::string> matching(const std::string& folder, const std::string& pattern) {
        if (pattern.find('*') == std::string::npos) {
            return {pattern};
        }
        std::vector<std::string> names;
        std::vector<std::string> matches;
        if (!file_calls::list(folder.empty() ? "/" : folder.c_str(), 0, names)) {
            m_bLeft = m_bLeft || !isNothing(errno);
        }
        for (std::string& name : names) {
            if (fnmatch(pattern.c_str(), name.c_str(), FNM_PERIOD) == 0) {
                matches.push_back(std::move(name));
            }
        }
        return matches;
    }

    void remove(const std::string& path, int depth) {
        struct stat status {};
        if (lstat(path.c_str(), &status) != 0) {
            m_bLeft = m_bLeft || !isNothing(errno);
            return;
        }
        if (!S_ISDIR(status.st_mode)) {
            m_bLeft = file_calls::unlink(path.c_str()) != 0 || m_bLeft;
            return;
        }
        std::vector<std::string> names;
        if (depth < kDeepestFolder) {
            file_calls::list(path.c_str(), O_NOFOLLOW, names);
        }
        for (const std::string& name : names) {
            if (late()) {
                return;
            }
            remove(file_calls::joined(path, name), depth + 1);
        }
        m_bLeft = rmdir(path.c_str()) != 0 || m_bLeft;
    }

    std::chrono::steady_clock::time_point m_deadline;
    bool m_bLeft = false;
    bool m_bLate = false;
};

} // namespace

namespace linux_framework {

bool isPlainRemoval(const char* command, std::string& pattern) {
    const std::size_t length = std::strlen(kCommand);
    if (std::strncmp(command, kCommand, length) != 0) {
        return false;
    }
    pattern = command + length;
    constexpr char kPlain[] =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-+*";
    if (pattern.find_first_not_of(kPlain) != std::string::npos || pattern[0] != '/' ||
        pattern.back() == '/' || pattern.find("//") != std::string::npos) {
        return false;
    }
    // "." and ".." as names, and whatever a pattern could make of them, are left to the shell.
    return pattern.find("/.") == std::string::npos;
}

int removeMatching(const std::string& pattern, std::chrono::steady_clock::time_point deadline) {
    std::vector<std::string> names;
    StringHandler::split(pattern.substr(1), names, "/");
    Removal removal(deadline);
    removal.expand(deviceRoot(), names, 0);
    return removal.result();
}

} // namespace linux_framework
