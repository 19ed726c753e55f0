#include <fcntl.h>
#include <limits.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "Accounts.h"
#include "LinuxFramework.h"

// The file is text, one account a line, words separated by single blanks, so that an administrator
// can read it and a broken line has a number:
//
//     imgctl-users 1
//     user NAME ROLE HASH
//     token NAME ROLE MAKER|- EXPIRES DIGEST
//     onvif NAME ROLE PASSWORD
namespace access_control {
namespace {

constexpr char kFirstLine[] = "imgctl-users ";
constexpr int kVersion = 1;
constexpr std::size_t kMostBytes = 1 << 20;

/// Reads one line. @return what is wrong with it; empty: nothing
std::string takeLine(const std::string& line, Accounts& accounts) {
    std::istringstream words(line);
    std::string kind;
    std::string name;
    std::string role;
    words >> kind >> name >> role;
    const std::optional<Role> known = roleOf(role);
    if (!isName(name) || !known) {
        return "no name or no role";
    }
    std::string last;
    if (kind == "user" && words >> last) {
        if (accounts.user(name) != nullptr) {
            return "a second user of that name";
        }
        accounts.users.push_back({name, *known, last});
    } else if (kind == "onvif" && words >> last) {
        accounts.onvif.push_back({name, *known, last});
    } else if (kind == "token") {
        Token token{name, *known, std::string(), 0, std::string()};
        if (!(words >> token.maker >> token.expires >> token.digest) || token.digest.size() != 64) {
            return "no maker, expiry or digest";
        }
        if (token.maker == "-") {
            token.maker.clear();
        }
        accounts.tokens.push_back(token);
    } else {
        return "no account";
    }
    return words >> last ? "too many words" : "";
}

bool readWhole(int fd, std::string& text) {
    char part[4096];
    for (;;) {
        const ssize_t count = read(fd, part, sizeof part);
        if (count > 0 && text.size() < kMostBytes) {
            text.append(part, static_cast<std::size_t>(count));
        } else if (count == 0) {
            return true;
        } else if (count > 0 || errno != EINTR) {
            return false;
        }
    }
}

/// Where a link leads: whoever changes the file by another name takes the same lock.
std::string targetOf(const std::string& path) {
    char real[PATH_MAX];
    return realpath(path.c_str(), real) != nullptr ? real : path;
}

bool failed(const std::string& path, std::string& problem) {
    problem = path + ": " + std::strerror(errno);
    return false;
}

std::string textOf(const Accounts& accounts) {
    std::ostringstream text;
    text << kFirstLine << kVersion << '\n';
    for (const User& user : accounts.users) {
        text << "user " << user.name << ' ' << nameOf(user.role) << ' ' << user.hash << '\n';
    }
    for (const Token& token : accounts.tokens) {
        text << "token " << token.name << ' ' << nameOf(token.role) << ' '
             << (token.maker.empty() ? "-" : token.maker) << ' ' << token.expires << ' '
             << token.digest << '\n';
    }
    for (const OnvifUser& user : accounts.onvif) {
        text << "onvif " << user.name << ' ' << nameOf(user.role) << ' ' << user.password << '\n';
    }
    return text.str();
}

} // namespace

bool readAccounts(const std::string& path, Accounts& accounts, std::string& problem) {
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    struct stat status {};
    if (fd < 0) {
        const bool missing = errno == ENOENT;
        if (missing && lstat(path.c_str(), &status) == 0) {
            problem = path + " is a link to nothing"; // yet: that is not "nobody"
            return false;
        }
        errno = missing ? ENOENT : errno;
        return missing || failed(path, problem);
    }
    std::string text;
    const bool read = fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && readWhole(fd, text);
    close(fd);
    if (!read) {
        problem = path + " cannot be read, or is no file";
        return false;
    }
    if (status.st_uid != geteuid() && status.st_uid != 0) {
        problem = path + " belongs to another user: run this as that user, or chown it";
        return false;
    }
    if ((status.st_mode & 077U) != 0) {
        problem = path + " can be read by others; chmod 600 it";
        return false;
    }
    std::istringstream lines(text);
    std::string line;
    std::getline(lines, line);
    const bool ours = line.compare(0, std::strlen(kFirstLine), kFirstLine) == 0;
    const int version = ours ? std::atoi(line.c_str() + std::strlen(kFirstLine)) : 0;
    if (version != kVersion) {
        problem = path + (version > kVersion ? " was written by a newer program"
                                             : ", line 1: no list of users");
        return false;
    }
    Accounts found;
    for (unsigned int number = 2; std::getline(lines, line); ++number) {
        const std::string wrong =
            line.empty() || line[0] == '#' ? std::string() : takeLine(line, found);
        if (!wrong.empty()) {
            problem = path;
            problem.append(", line ").append(std::to_string(number)).append(": ").append(wrong);
            return false;
        }
    }
    accounts = std::move(found);
    return true;
}

namespace detail {

FileLock::FileLock(const std::string& path)
    : m_fd(open((targetOf(path) + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW,
                0600)) {
    while (m_fd >= 0 && flock(m_fd, LOCK_EX) != 0 && errno == EINTR) {
    }
}

FileLock::~FileLock() {
    if (m_fd >= 0) {
        close(m_fd);
    }
}

bool writeAccounts(const std::string& path, const Accounts& accounts, std::string& problem) {
    return linux_framework::replaceHostFile(path, textOf(accounts), 0600) || failed(path, problem);
}

} // namespace detail
} // namespace access_control
