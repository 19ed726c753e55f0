#include <dlfcn.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "Away.h"
#include "Client.h"
#include "host/Files.h"
#include "host/Text.h"

namespace imgctl {

const Away* away(std::string& problem) {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error || !program.is_absolute()) { // else the caller's own folder would be looked in
        problem = "where this program is cannot be told, nor what it loads for encryption";
        return nullptr;
    }
    const std::string module = (program.parent_path() / IMGCTL_AWAY).lexically_normal().string();
    void* const loaded = dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL); // for the rest of the run
    void* const found = loaded != nullptr ? dlsym(loaded, kAway) : nullptr;
    if (found == nullptr) {
        const char* const why = dlerror();
        problem = "what needs encryption cannot be loaded: " +
                  (why != nullptr ? std::string(why) : module);
    }
    return static_cast<const Away*>(found);
}

std::unique_ptr<Client> clientOf(const Remote& remote, std::string& problem, bool& understood) {
    understood = false;
    Remote to = remote;
    while (!to.url.empty() && to.url.back() == '/') {
        to.url.pop_back();
    }
    const std::size_t name = to.url.find("://");
    const std::string scheme = to.url.substr(0, name == std::string::npos ? 0 : name);
    if (scheme != "http" && scheme != "https") {
        problem = "--connect: " + host::quoted(to.url) +
                  " is no address; allowed: http://NAME[:PORT] or https://NAME[:PORT]";
        return nullptr;
    }
    if (to.url.find_first_of("@?#", name) != std::string::npos) {
        problem =
            "--connect: an address holds no name, no password and no question; give a token "
            "with --token-file FILE or in IMGCTL_TOKEN";
        return nullptr;
    }
    if (!to.fingerprint.empty() && scheme != "https") {
        problem = "--certificate: only https shows a certificate";
        return nullptr;
    }
    understood = true;
    const Away* const module = away(problem);
    return module != nullptr ? module->clientOf(to) : nullptr;
}

bool readToken(const std::string& file, std::string& token, std::string& problem) {
    if (file.empty()) {
        const char* const given = std::getenv("IMGCTL_TOKEN");
        token = given != nullptr ? given : "";
    } else {
        struct stat about {};
        if (stat(file.c_str(), &about) == 0 && (about.st_mode & 077) != 0) {
            problem =
                "--token-file: others may read " + host::quoted(file) + "; chmod 600 it first";
            return false;
        }
        if (!host::readFile(file, 4096, token, problem)) {
            return false;
        }
        token = host::trim(token);
        while (!token.empty() && (token.back() == '\n' || token.back() == '\r')) {
            token.pop_back();
        }
    }
    if (token.find_first_of("\r\n") != std::string::npos) {
        problem = "a token is one line";
        return false;
    }
    return true;
}

} // namespace imgctl
