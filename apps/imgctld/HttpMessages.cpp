#include "HttpMessages.h"

#include <algorithm>

namespace http {

const std::string* Request::header(const char* name) const {
    const auto found = std::find_if(headers.begin(), headers.end(),
                                    [name](const Header& header) { return header.name == name; });
    return found != headers.end() ? &found->value : nullptr;
}

std::size_t Request::headerCount(const char* name) const {
    return static_cast<std::size_t>(
        std::count_if(headers.begin(), headers.end(),
                      [name](const Header& header) { return header.name == name; }));
}

const std::string* Request::argument(const char* name) const {
    const auto found = std::find_if(query.begin(), query.end(), [name](const Header& argument) {
        return argument.name == name;
    });
    return found != query.end() ? &found->value : nullptr;
}

} // namespace http
