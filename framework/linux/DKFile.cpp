#include "DKFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <memory>
#include <new>

#include "FileCalls.h"
#include "HostPath.h"
#include "Replacement.h"

namespace {

int openRegular(const char* hostPath) {
    const int fd = file_calls::open(hostPath, O_RDONLY);
    struct stat status {};
    if (fd >= 0 && (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode))) {
        close(fd);
        return -1;
    }
    return fd;
}

// What an int can count.
std::size_t bounded(unsigned int count) {
    return std::min<unsigned int>(count, INT_MAX);
}

/// The next character, or EOF. An interruption is not the end of the file.
int nextCharacter(FILE* stream) {
    for (;;) {
        const int c = getc_unlocked(stream);
        if (c != EOF || ferror(stream) == 0 || errno != EINTR) {
            return c;
        }
        clearerr(stream);
    }
}

/// Callers read to the end of the file and know no errors: a file that cannot be read on has ended.
void endStream(FILE* stream) {
    clearerr(stream);
    if (fseek(stream, 0, SEEK_END) == 0) {
        getc_unlocked(stream);
    }
}

} // namespace

DKFile::DKFile() = default;

DKFile::~DKFile() {
    close();
}

int DKFile::open(const char* path, unsigned char mode) try {
    close();
    const linux_framework::HostPath host(path);
    if (!host.valid) {
        return 0;
    }
    if (mode == modeRead) {
        m_nFd = openRegular(host.text);
    } else if (mode == (modeWrite | modeTruncate)) {
        auto replacement = std::make_unique<linux_framework::Replacement>();
        m_nFd = replacement->begin(host.text);
        m_pReplacement = m_nFd >= 0 ? replacement.release() : nullptr;
    }
    return m_nFd >= 0 ? 1 : 0;
} catch (const std::bad_alloc&) {
    return 0;
}

int DKFile::read(void* buffer, unsigned int count) {
    if (m_nFd < 0 || m_pReplacement != nullptr || buffer == nullptr) {
        return 0;
    }
    if (m_pStream != nullptr) {
        return static_cast<int>(fread(buffer, 1, bounded(count), m_pStream));
    }
    return static_cast<int>(file_calls::readAll(m_nFd, buffer, bounded(count)));
}

int DKFile::write(const void* data, unsigned int count) {
    if (m_pReplacement == nullptr || data == nullptr) {
        return 0;
    }
    return static_cast<int>(file_calls::writeAll(m_nFd, data, bounded(count)));
}

long long DKFile::getLength() const {
    struct stat status {};
    return m_nFd >= 0 && fstat(m_nFd, &status) == 0 ? status.st_size : 0;
}

void DKFile::close() {
    if (m_pReplacement != nullptr) {
        m_pReplacement->finish();
        delete m_pReplacement;
    } else if (m_pStream != nullptr) {
        fclose(m_pStream);
    } else if (m_nFd >= 0) {
        ::close(m_nFd);
    }
    m_nFd = -1;
    m_pStream = nullptr;
    m_pReplacement = nullptr;
}

FILE* DKFile::getFileHandle() {
    if (m_nFd >= 0 && m_pReplacement == nullptr && m_pStream == nullptr) {
        m_pStream = fdopen(m_nFd, "r");
    }
    return m_pStream;
}

std::string DKFile::ReadOneLine(FILE* stream) try {
    constexpr std::size_t kLongest = 1023;
    char line[kLongest];
    std::size_t length = 0; // of the whole line, also beyond what is kept
    if (stream == nullptr) {
        return std::string();
    }
    if (file_calls::lineReadFails()) {
        endStream(stream);
        return std::string();
    }
    int c = nextCharacter(stream);
    for (; c != EOF && c != '\n'; c = nextCharacter(stream)) {
        if (length < kLongest) {
            line[length] = static_cast<char>(c);
        }
        ++length;
    }
    if (c == EOF && ferror(stream) != 0) {
        endStream(stream);
    }
    if (c == '\n' && length > 0 && length <= kLongest && line[length - 1] == '\r') {
        --length;
    }
    return std::string(line, std::min(length, kLongest));
} catch (const std::bad_alloc&) {
    return std::string();
}
