#include "host/LayerName.h"

namespace host {
namespace {

std::string behind(const std::string& beginning, const std::string& name) {
    return name.compare(0, beginning.size(), beginning) == 0 ? name.substr(beginning.size())
                                                             : std::string();
}

} // namespace

std::string libraryOfLayer(const std::string& name) {
    return behind("so:", name);
}

std::string deviceOfLayer(const std::string& name) {
    return behind("v4l2:", name);
}

} // namespace host
