#include "DKFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>

#include "FileCalls.h"
#include "HostPath.h"
#include "Replacement.h"

struct DKFile::State {
    int fd = -1;
    bool writing = false;
    FILE* stream = nullptr; // once made, it owns fd and knows the position
    linux_framework::Replacement replacement;

    bool reads() const { return fd >= 0 && !writing; }
};

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

DKFile::DKFile() : m_pState(new State) {}

DKFile::~DKFile() {
    close();
    delete m_pState;
}

int DKFile::open(const char* path, unsigned char mode) {
    close();
    const linux_framework::HostPath host(path);
    if (!host.valid) {
        return 0;
    }
    if (mode == modeRead) {
        m_pState->fd = openRegular(host.text);
    } else if (mode == (modeWrite | modeTruncate)) {
        m_pState->fd = m_pState->replacement.begin(host.text);
        m_pState->writing = true;
    }
    return m_pState->fd >= 0 ? 1 : 0;
}

int DKFile::read(void* buffer, unsigned int count) {
    if (!m_pState->reads() || buffer == nullptr) {
        return 0;
    }
    if (m_pState->stream != nullptr) {
        return static_cast<int>(fread(buffer, 1, bounded(count), m_pState->stream));
    }
    return static_cast<int>(file_calls::readAll(m_pState->fd, buffer, bounded(count)));
}

int DKFile::write(const void* data, unsigned int count) {
    if (m_pState->fd < 0 || !m_pState->writing || data == nullptr) {
        return 0;
    }
    return static_cast<int>(file_calls::writeAll(m_pState->fd, data, bounded(count)));
}

long long DKFile::getLength() const {
    struct stat status {};
    return m_pState->fd >= 0 && fstat(m_pState->fd, &status) == 0 ? status.st_size : 0;
}

void DKFile::close() {
    if (m_pState->fd >= 0) {
        if (m_pState->writing) {
            m_pState->replacement.finish();
        } else if (m_pState->stream != nullptr) {
            fclose(m_pState->stream);
        } else {
            ::close(m_pState->fd);
        }
    }
    m_pState->fd = -1;
    m_pState->writing = false;
    m_pState->stream = nullptr;
}

FILE* DKFile::getFileHandle() {
    if (m_pState->reads() && m_pState->stream == nullptr) {
        m_pState->stream = fdopen(m_pState->fd, "r");
    }
    return m_pState->stream;
}

std::string DKFile::ReadOneLine(FILE* stream) {
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
}
