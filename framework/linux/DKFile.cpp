#include "DKFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <memory>
#include <new>

#include "Descriptors.h"
#include "FileCalls.h"
#include "HostPath.h"
#include "Replacement.h"

namespace {

int openRegular(const char* hostPath) {
    const int fd = file_calls::open(hostPath, O_RDONLY);
    struct stat status {};
    if (fd >= 0 && (fstat(fd, &status) != 0 || !S_ISREG(status.st_mode))) {
        file_calls::close(fd);
        return -1;
    }
    return fd;
}

// What an int can count.
std::size_t bounded(unsigned int count) {
    return std::min<unsigned int>(count, INT_MAX);
}

/// The next character, or EOF. What may pass is not the end of the file.
int nextCharacter(FILE* stream, file_calls::Patience& patience) {
    for (;;) {
        const int c = getc_unlocked(stream);
        if (c != EOF || ferror(stream) == 0 || !patience.goesOn()) {
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
        m_pReplacement = replacement->begin(host.text) ? replacement.release() : nullptr;
    }
    return m_nFd >= 0 || m_pReplacement != nullptr ? 1 : 0;
} catch (const std::bad_alloc&) {
    return 0;
}

int DKFile::read(void* buffer, unsigned int count) {
    if (m_nFd < 0 || buffer == nullptr) {
        return 0;
    }
    if (m_pStream != nullptr) {
        return static_cast<int>(fread(buffer, 1, bounded(count), m_pStream));
    }
    return static_cast<int>(file_calls::readAll(m_nFd, buffer, bounded(count)));
}

int DKFile::write(const void* data, unsigned int count) try {
    return m_pReplacement == nullptr
               ? 0
               : static_cast<int>(m_pReplacement->append(data, bounded(count)));
} catch (const std::bad_alloc&) {
    return 0;
}

long long DKFile::getLength() const {
    if (m_pReplacement != nullptr) {
        return m_pReplacement->length();
    }
    struct stat status {};
    return m_nFd >= 0 && fstat(m_nFd, &status) == 0 ? status.st_size : 0;
}

void DKFile::close() {
    delete m_pReplacement; // finishes it
    if (m_pStream != nullptr) {
        fclose(m_pStream);
        descriptors::refill();
    } else if (m_nFd >= 0) {
        file_calls::close(m_nFd);
    }
    m_nFd = -1;
    m_pStream = nullptr;
    m_pReplacement = nullptr;
}

FILE* DKFile::getFileHandle() {
    if (m_nFd >= 0 && m_pStream == nullptr) {
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
    file_calls::Patience patience;
    int c = nextCharacter(stream, patience);
    for (; c != EOF && c != '\n'; c = nextCharacter(stream, patience)) {
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
