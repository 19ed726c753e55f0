#include "DKLogger.h"

#include <fcntl.h>
#include <limits.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>
#include <string>

#include "DKDeviceTime.h"
#include "Descriptors.h"
#include "HostPath.h"

struct DKLogger::State {
    std::string path; // on this machine; empty before init
    unsigned int size = 0;
    unsigned int files = 1;
};

namespace {

std::mutex s_lock; // one entry at a time, in the whole process

int openLog(const std::string& path, struct stat& status) {
    const int fd = descriptors::open(
        path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK, 0644);
    if (fd >= 0 && (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode))) {
        descriptors::close(fd);
        return -1;
    }
    return fd;
}

std::string numbered(const std::string& path, unsigned int number) {
    return path + "." + std::to_string(number);
}

/// Moves every kept file on by one, the last one out.
/// @param fd  the open log; its lock keeps other processes from rotating it a second time
void rotate(const std::string& path, unsigned int files, int fd) {
    struct stat opened {};
    struct stat named {};
    if (flock(fd, LOCK_EX | LOCK_NB) != 0 || fstat(fd, &opened) != 0 ||
        stat(path.c_str(), &named) != 0 || opened.st_ino != named.st_ino) {
        return;
    }
    if (files <= 1) {
        unlink(path.c_str());
        return;
    }
    // Only up to the first gap: the number of files may be set far beyond those there are.
    unsigned int last = 1;
    while (last < files - 1 && access(numbered(path, last).c_str(), F_OK) == 0) {
        ++last;
    }
    for (; last > 1; --last) {
        std::rename(numbered(path, last - 1).c_str(), numbered(path, last).c_str());
    }
    std::rename(path.c_str(), numbered(path, 1).c_str());
}

std::string makeEntry(const char* tag, const char* text) {
    const DKDeviceTime now = DKDeviceTime::getCurrentTime();
    char time[40];
    snprintf(time, sizeof time, " %04u-%02u-%02u %02u:%02u:%02u ", now.year, now.month, now.day,
             now.hour, now.minute, now.second);
    std::string entry = tag == nullptr ? "" : tag;
    entry += time;
    entry += text == nullptr ? "" : text;
    entry.erase(entry.find_last_not_of("\r\n") + 1);
    return entry + '\n';
}

bool append(int fd, const std::string& entry, off_t before) {
    ssize_t written = 0;
    do {
        written = write(fd, entry.data(), entry.size());
    } while (written < 0 && errno == EINTR);
    if (written == static_cast<ssize_t>(entry.size())) {
        return true;
    }
    struct stat status {};
    // The disk is full: half an entry would spoil the next one. What others appended since stays.
    if (written > 0 && fstat(fd, &status) == 0 && status.st_size == before + written) {
        while (ftruncate(fd, before) != 0 && errno == EINTR) {
        }
    }
    return false;
}

} // namespace

DKLogger::DKLogger() : m_pState(new (std::nothrow) State) {}

DKLogger::~DKLogger() {
    delete m_pState;
}

bool DKLogger::init(char const* path, unsigned int size, unsigned int files) try {
    constexpr std::size_t kLongestNumber = sizeof ".4294967295";
    const linux_framework::HostPath host(path);
    if (m_pState == nullptr || !host.valid ||
        std::strlen(host.text) + kLongestNumber > sizeof host.text) {
        return false;
    }
    m_pState->path = host.text;
    m_pState->size = size;
    m_pState->files = std::max(files, 1U);
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

bool DKLogger::writeLog(char const* tag, char const* text) try {
    if (m_pState == nullptr || m_pState->path.empty()) {
        return false;
    }
    const std::lock_guard<std::mutex> guard(s_lock);
    const std::string entry = makeEntry(tag, text);
    std::string path; // found anew each time: the folder may be made, or become a link, at any time
    if (!linux_framework::resolveForWriting(m_pState->path.c_str(), path)) {
        return false;
    }
    struct stat status {};
    int fd = openLog(path, status);
    if (fd >= 0 && status.st_size > 0 && status.st_size >= static_cast<off_t>(m_pState->size)) {
        rotate(path, m_pState->files, fd);
        descriptors::close(fd);
        fd = openLog(path, status);
    }
    if (fd < 0) {
        return false;
    }
    const bool whole = append(fd, entry, status.st_size);
    descriptors::close(fd);
    return whole;
} catch (const std::bad_alloc&) {
    return false;
}
