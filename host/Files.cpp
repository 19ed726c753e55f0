#include "host/Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <system_error>
#include <vector>

#include "LinuxFramework.h"
#include "host/Text.h"

namespace host {
namespace {

bool failedWith(const std::string& path, int error, std::string& problem) {
    problem = quoted(path) + ": " + std::strerror(error);
    return false;
}

/// @return 0 when the text is on the disk, else errno
int writeAndClose(int descriptor, const std::string& text) {
    int failure = 0;
    std::size_t done = 0;
    while (failure == 0 && done < text.size()) {
        const ssize_t count = write(descriptor, text.data() + done, text.size() - done);
        if (count > 0) {
            done += static_cast<std::size_t>(count);
        } else if (count == 0 || errno != EINTR) {
            failure = count == 0 ? ENOSPC : errno;
        }
    }
    // EINVAL: the file system has nothing to bring anywhere.
    if (failure == 0 && fsync(descriptor) != 0 && errno != EINVAL) {
        failure = errno;
    }
    close(descriptor);
    return failure;
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
    struct stat old {};
    const bool exists = stat(path.c_str(), &old) == 0;
    if (exists && !S_ISREG(old.st_mode)) {
        problem = quoted(path) + " is no regular file";
        return false;
    }
    if (exists ? access(path.c_str(), W_OK) != 0 : errno != ENOENT) {
        return failedWith(path, errno, problem);
    }
    std::error_code error;
    std::filesystem::path target = path;
    struct stat name {};
    if (lstat(path.c_str(), &name) == 0 && S_ISLNK(name.st_mode)) {
        target = std::filesystem::canonical(path, error); // one that leads nowhere stays
    }
    std::string temporary = (target.parent_path() / ".imgctl.XXXXXX").string();
    const int descriptor = error ? -1 : mkostemp(temporary.data(), O_CLOEXEC);
    if (descriptor < 0) {
        return failedWith(path, error ? error.value() : errno, problem);
    }
    const mode_t mode = exists ? old.st_mode & 07777u : 0644u;
    fchmod(descriptor, mode); // some file systems keep no modes, and refuse
    int failure = writeAndClose(descriptor, text);
    if (failure == 0 && std::rename(temporary.c_str(), target.c_str()) != 0) {
        failure = errno;
    }
    if (failure != 0) {
        unlink(temporary.c_str());
        return failedWith(path, failure, problem);
    }
    return true;
}

} // namespace host
