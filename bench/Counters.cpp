#include "Counters.h"

#include <malloc.h>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace {

std::atomic<bool> s_counting{false};
std::atomic<unsigned long> s_calls{0};
std::atomic<long> s_live{0};
std::atomic<long> s_peak{0};

void* taken(void* memory) {
    if (s_counting.load(std::memory_order_relaxed) && memory != nullptr) {
        ++s_calls;
        s_live += static_cast<long>(malloc_usable_size(memory));
        s_peak = std::max(s_peak.load(), s_live.load());
    }
    return memory;
}

void given(void* memory) {
    if (s_counting.load(std::memory_order_relaxed) && memory != nullptr)
        s_live -= static_cast<long>(malloc_usable_size(memory));
}

} // namespace

// The C library's own entries, behind the names that everybody calls.
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void __libc_free(void* memory);

void* malloc(size_t size) {
    return taken(__libc_malloc(size));
}
void* calloc(size_t count, size_t size) {
    return taken(__libc_calloc(count, size));
}
void* realloc(void* memory, size_t size) {
    given(memory);
    return taken(__libc_realloc(memory, size));
}
void free(void* memory) {
    given(memory);
    __libc_free(memory);
}
}

HeapCount::HeapCount() {
    s_calls = 0;
    s_live = 0;
    s_peak = 0;
    s_counting = true;
}

HeapCount::~HeapCount() {
    s_counting = false;
}

unsigned long HeapCount::calls() {
    return s_calls;
}

long HeapCount::live() {
    return s_live;
}

long HeapCount::peak() {
    return s_peak;
}

std::map<long, unsigned long> systemCalls(const std::function<void()>& work) {
    fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        raise(SIGSTOP);
        // Marks where counting begins and ends.
        syscall(SYS_getppid);
        work();
        syscall(SYS_getppid);
        _exit(0);
    }
    std::map<long, unsigned long> counts;
    int status = 0;
    waitpid(child, &status, 0);
    ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
    bool counting = false;
    while (ptrace(PTRACE_SYSCALL, child, nullptr, nullptr) == 0) {
        if (waitpid(child, &status, 0) != child || !WIFSTOPPED(status))
            break;
        __ptrace_syscall_info info = {};
        if (WSTOPSIG(status) != (SIGTRAP | 0x80) ||
            ptrace(PTRACE_GET_SYSCALL_INFO, child, sizeof info, &info) <= 0 ||
            info.op != PTRACE_SYSCALL_INFO_ENTRY)
            continue;
        const long number = static_cast<long>(info.entry.nr);
        if (number == SYS_getppid)
            counting = !counting;
        else if (counting)
            ++counts[number];
    }
    return counts;
}

extern "C" [[gnu::noinline]] void measuredWork(const std::function<void()>& work) {
    work();
}

double instructions(const std::string& name) {
    char self[4096] = {};
    if (readlink("/proc/self/exe", self, sizeof self - 1) < 0)
        return 0;
    const std::string report = "/tmp/callgrind." + std::to_string(getpid()) + ".out";
    const std::string command =
        "valgrind --tool=callgrind --toggle-collect=measuredWork --callgrind-out-file=" + report +
        " '" + self + "' --work " + name + " >/dev/null 2>&1";
    fflush(stdout);
    double total = 0;
    if (system(command.c_str()) == 0) {
        std::ifstream file(report);
        for (std::string line; std::getline(file, line);) {
            if (line.rfind("totals: ", 0) == 0)
                total = std::stod(line.substr(8));
        }
    }
    unlink(report.c_str());
    return total;
}

Times interleaved(int rounds, const std::function<void()>& subject,
                  const std::function<void()>& floor) {
    const auto time = [](const std::function<void()>& work) {
        const auto before = std::chrono::steady_clock::now();
        work();
        return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - before)
            .count();
    };
    Times best = {time(subject), time(floor)};
    for (int i = 0; i < rounds; ++i) {
        best.subject = std::min(best.subject, time(subject));
        best.floor = std::min(best.floor, time(floor));
    }
    return best;
}
