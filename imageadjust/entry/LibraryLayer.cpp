#include "LibraryLayer.h"

#include <dlfcn.h>
#include <unistd.h>

#include <utility>

namespace image_adjust {
namespace {

thread_local LibraryCall t_underWay = nullptr;

// Where the library calls its own ia_ioctrl, by that name, it means itself; without this the linker
// would take the process's. Sanitizers do not stand it.
#if defined RTLD_DEEPBIND && !defined __SANITIZE_ADDRESS__ && !defined __SANITIZE_THREAD__
constexpr int ownNamesFirst = RTLD_DEEPBIND;
#else
constexpr int ownNamesFirst = 0;
#endif

class LibraryLayer : public Layer {
public:
    LibraryLayer(std::string path, LibraryCall call) : m_path(std::move(path)), m_call(call) {}

    int ioctl(unsigned int cmd, unsigned int opt, void* data) override {
        const LibraryCall outer = std::exchange(t_underWay, m_call);
        const int result = m_call(cmd, opt, data);
        t_underWay = outer;
        return result;
    }
    std::string name() const override { return "so:" + m_path; }
    CommandState about(unsigned int /*cmd*/) const override { return CommandState(); }

private:
    std::string m_path;
    LibraryCall m_call;
};

} // namespace

LibraryCall libraryUnderWay() {
    return t_underWay;
}

std::shared_ptr<Layer> openLibraryLayer(const std::string& path, std::string& problem) {
    if (path.empty()) {
        problem = "no library is named";
        return nullptr;
    }
    const bool inThisFolder =
        path.find('/') == std::string::npos && access(path.c_str(), F_OK) == 0;
    const std::string file = inThisFolder ? "./" + path : path;
    void* library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | ownNamesFirst);
    if (library == nullptr) {
        const char* text = dlerror();
        problem = text != nullptr ? text : "it cannot be opened";
        if (problem.find(path) == std::string::npos) {
            problem = path + ": " + problem;
        }
        return nullptr;
    }
    const auto call = reinterpret_cast<LibraryCall>(dlsym(library, "ia_ioctrl"));
    if (call == nullptr) {
        problem = path + " has no ia_ioctrl, so it is no image-adjust layer";
        dlclose(library);
        return nullptr;
    }
    return std::make_shared<LibraryLayer>(path, call);
}

} // namespace image_adjust
