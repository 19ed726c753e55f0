#include "Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "Text.h"

namespace host {
namespace {

bool failedWith(const std::string& path, int error, std::string& problem) {
    problem = quoted(path) + ": " + std::strerror(error);
    return false;
}

bool writeAll(int file, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = write(file, text.data() + done, text.size() - done);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        done += static_cast<std::size_t>(count);
    }
    return true;
}

mode_t modeForNewFiles() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

} // namespace

bool readFile(const std::string& path, std::size_t most, std::string& text, std::string& problem) {
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
    if (file == nullptr) {
        return failedWith(path, errno, problem);
    }
    text.clear();
    std::vector<char> block(16384);
    std::size_t count = 0;
    while ((count = std::fread(block.data(), 1, block.size(), file.get())) > 0) {
        text.append(block.data(), count);
        if (text.size() > most) {
            problem = quoted(path) + " has more than " + std::to_string(most) + " bytes";
            return false;
        }
    }
    return std::ferror(file.get()) == 0 || failedWith(path, errno, problem);
}

bool replaceFile(const std::string& path, const std::string& text, std::string& problem) {
    std::string target = path;
    struct stat state {};
    mode_t mode = modeForNewFiles();
    if (stat(path.c_str(), &state) == 0) {
        if (!S_ISREG(state.st_mode)) {
            problem = quoted(path) + " is no regular file";
            return false;
        }
        mode = state.st_mode & 07777;
        const std::unique_ptr<char, void (*)(void*)> real(realpath(path.c_str(), nullptr),
                                                          std::free);
        if (real != nullptr) {
            target = real.get();
        }
    }
    const std::string pattern = target + ".XXXXXX";
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    const int file = mkostemp(name.data(), O_CLOEXEC);
    if (file < 0) {
        return failedWith(path, errno, problem);
    }
    bool good = writeAll(file, text) && fchmod(file, mode) == 0 && fsync(file) == 0;
    int error = errno;
    good = close(file) == 0 && good;
    if (good && std::rename(name.data(), target.c_str()) != 0) {
        error = errno;
        good = false;
    }
    if (!good) {
        unlink(name.data());
        return failedWith(path, error, problem);
    }
    return true;
}

} // namespace host
