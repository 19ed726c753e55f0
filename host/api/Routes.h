#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/access/Accounts.h"

/// Which requests there are.
namespace host::api {

/// What a path is, before anybody looks at the body.
struct Route {
    const char* method;
    const char* pattern;        ///< "/parameters/{key}"
    access_control::Role needs; ///< the least role
    const char* bodyType;       ///< null: application/json
    std::size_t mostBody;       ///< bytes
};

constexpr char kSchemesType[] = "application/vnd.imgctl.schemes";
constexpr std::size_t kMostBody = 65536;
constexpr std::size_t kMostImport = 1 << 20;

/// Every route.
const std::vector<Route>& routes();

/// The route of a method and path; null: none. @param methods  receives those that the path has
const Route* findRoute(const std::string& method, const std::string& path, std::string& methods);

} // namespace host::api
