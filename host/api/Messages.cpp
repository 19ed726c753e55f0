#include "host/api/Messages.h"

#include <algorithm>

namespace host::api {

const std::string* Request::argument(const char* name) const {
    const auto found = std::find_if(query.begin(), query.end(),
                                    [name](const auto& entry) { return entry.first == name; });
    return found != query.end() ? &found->second : nullptr;
}

} // namespace host::api
