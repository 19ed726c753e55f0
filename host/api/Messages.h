#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

/// What goes in and out of the API.
namespace host::api {

/// One request.
struct Request {
    std::string method;
    std::string path; ///< below /api/v1: "/parameters/34"; a key in it may be escaped
    std::vector<std::pair<std::string, std::string>> query;
    std::string body;
    std::string who;    ///< for the journal: the person, may be empty
    std::string client; ///< the program or session

    /// The first argument of a name, or null.
    const std::string* argument(const char* name) const;
};

struct Response {
    unsigned int status = 200;
    std::string type = "application/json";
    std::shared_ptr<const std::string> body;
    int retryAfter = 0; ///< seconds; 0: none
};

} // namespace host::api
