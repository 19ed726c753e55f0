#include "SySystem.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
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
#include "Removal.h"

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

/// The part of startShell in the child: only what is allowed between fork and exec.
[[noreturn]] void becomeShell(char* const* arguments, pid_t parent, const sigset_t& none) {
    // A command must not go on when the process that wanted it is dead.
    if (prctl(PR_SET_PDEATHSIG, SIGKILL) != 0 || getppid() != parent) {
        _exit(127);
    }
    setpgid(0, 0);
    // What the host handles, ignores or blocks for itself is no business of the command.
    for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGPIPE, SIGTERM, SIGCHLD}) {
        ::signal(signal, SIG_DFL);
    }
    sigprocmask(SIG_SETMASK, &none, nullptr);
    const int nothing = open("/dev/null", O_RDWR);
    if (nothing >= 0) {
        dup2(nothing, STDIN_FILENO);
        // Those that the host has closed would otherwise go to the first files of the command.
        for (const int out : {STDOUT_FILENO, STDERR_FILENO}) {
            if (fcntl(out, F_GETFD) == -1) {
                dup2(nothing, out);
            }
        }
        if (nothing > STDERR_FILENO) {
            close(nothing);
        }
        execv("/bin/sh", arguments);
    }
    _exit(127);
}

/// Starts the shell in a process group of its own.
/// @return its process id, or -1
pid_t startShell(const char* command) {
    char shell[] = "sh";
    char option[] = "-c";
    std::string text = command;
    char* const arguments[] = {shell, option, text.data(), nullptr};
    // No handler of the host's may run in the child.
    sigset_t all;
    sigset_t none;
    sigset_t before;
    sigfillset(&all);
    sigemptyset(&none);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0) {
        becomeShell(arguments, parent, none);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (child > 0) {
        setpgid(child, child); // whoever of the two comes first
    }
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
    std::string pattern;
    if (linux_framework::isPlainRemoval(command, pattern)) {
        return linux_framework::removeMatching(pattern, deadline);
    }
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
