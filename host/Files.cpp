#include "host/Files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "LinuxFramework.h"
#include "host/Text.h"

namespace host {
namespace {

bool failedWith(const std::string& path, int error, std::string& problem) {
    problem = quoted(path) + ": " + std::strerror(error);
    return false;
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
    if (linux_framework::replaceHostFile(path, text)) {
        return true;
    }
    if (errno == EINVAL) {
        problem = quoted(path) + " is no regular file";
        return false;
    }
    return failedWith(path, errno, problem);
}

} // namespace host
