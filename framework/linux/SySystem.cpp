#include "SySystem.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <new>
#include <string>

#include "LinuxFramework.h"

namespace {

using SteadyTime = std::chrono::steady_clock::time_point;

constexpr char kBetweenWords[] = " \t\n;|&()<>`";

/// Whether a command has a ".." that may lead out of the device root. A shell's expansions make the
/// exact answer unknowable, so every ".." component counts.
bool mayClimbOut(const std::string& command) {
    for (std::string::size_type at = command.find("/.."); at != std::string::npos;
         at = command.find("/..", at + 1)) {
        const char next = at + 3 < command.size() ? command[at + 3] : '/';
        const bool partOfName = (next >= 'a' && next <= 'z') || (next >= 'A' && next <= 'Z') ||
                                (next >= '0' && next <= '9') || std::strchr("._-", next) != nullptr;
        if (!partOfName) {
            return true;
        }
    }
    return false;
}

std::string inQuotes(const std::string& text) {
    std::string quoted = "'";
    for (const char c : text) {
        if (c == '\'') {
            quoted += "'\\''";
        } else {
            quoted += c;
        }
    }
    return quoted + "'";
}

/// Puts the root before every word that starts with "/" or with a quote and "/". The rest of the
/// word stays as it is, so that its quotes and patterns still work.
std::string underRoot(const char* command, const std::string& root) {
    const std::string quotedRoot = inQuotes(root);
    std::string result;
    bool wordStarts = true;
    char quote = '\0';
    for (const char* p = command; *p != '\0'; ++p) {
        const bool opensQuote = quote == '\0' && (*p == '\'' || *p == '"');
        if (wordStarts && (*p == '/' || (opensQuote && p[1] == '/'))) {
            result += quotedRoot;
        }
        wordStarts = false;
        if (*p == '\\' && p[1] != '\0' && quote != '\'') {
            result += *p++;
        } else if (opensQuote) {
            quote = *p;
        } else if (*p == quote) {
            quote = '\0';
        } else {
            wordStarts = quote == '\0' && std::strchr(kBetweenWords, *p) != nullptr;
        }
        result += *p;
    }
    return result;
}

/// Starts the shell in a process group of its own.
/// @return its process id, or -1
pid_t startShell(const char* command) {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    if (posix_spawn_file_actions_init(&actions) != 0) {
        return -1;
    }
    if (posix_spawnattr_init(&attributes) != 0) {
        posix_spawn_file_actions_destroy(&actions);
        return -1;
    }
    // What the host blocks or ignores for itself is no business of the command.
    sigset_t none;
    sigset_t usual;
    sigemptyset(&none);
    sigemptyset(&usual);
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGCHLD}) {
        sigaddset(&usual, signal);
    }
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setsigdefault(&attributes, &usual);
    posix_spawnattr_setpgroup(&attributes, 0);
    posix_spawnattr_setflags(
        &attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    char shell[] = "sh";
    char option[] = "-c";
    std::string text = command;
    char* const arguments[] = {shell, option, text.data(), nullptr};
    pid_t child = -1;
    if (posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0) != 0 ||
        posix_spawn(&child, "/bin/sh", &actions, &attributes, arguments, environ) != 0) {
        child = -1;
    }
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return child;
}

enum class Child { Running, Ended, NotOurs };

/// Looks without collecting the child, so that its id, and that of its group, stay taken.
Child look(pid_t child) {
    siginfo_t info{};
    if (waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) == 0) {
        return info.si_pid == child ? Child::Ended : Child::Running;
    }
    return errno == EINTR ? Child::Running : Child::NotOurs;
}

void awaitEnd(pid_t child, SteadyTime deadline) {
    int handle = -1;
#ifdef SYS_pidfd_open
    handle = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
#endif
    while (look(child) == Child::Running) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (left.count() <= 0) {
            break;
        }
        if (handle >= 0) {
            pollfd ended = {handle, POLLIN, 0};
            poll(&ended, 1, static_cast<int>(std::min<long long>(left.count(), 3600000)));
        } else {
            const timespec step = {0, 2000000};
            nanosleep(&step, nullptr);
        }
    }
    if (handle >= 0) {
        close(handle);
    }
}

} // namespace

int sy_system(char const* command, int seconds) try {
    if (command == nullptr) {
        return -1;
    }
    const std::string root = linux_framework::deviceRoot();
    if (!root.empty() && mayClimbOut(command)) {
        return -1;
    }
    const SteadyTime deadline =
        std::chrono::steady_clock::now() + std::chrono::seconds(std::max(seconds, 1));
    const pid_t shell = startShell(root.empty() ? command : underRoot(command, root).c_str());
    if (shell < 0) {
        return -1;
    }
    awaitEnd(shell, deadline);
    // A host that ignores SIGCHLD has its children collected by the system; the group's id may then
    // be another's.
    if (look(shell) != Child::NotOurs) {
        kill(-shell, SIGKILL);
    }
    int status = 0;
    pid_t collected = 0;
    do {
        collected = waitpid(shell, &status, 0);
    } while (collected < 0 && errno == EINTR);
    return collected == shell && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
} catch (const std::bad_alloc&) {
    return -1;
}
