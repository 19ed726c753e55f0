#pragma once

#include <string>
#include <vector>

#include "host/Operation.h"
#include "host/Snapshot.h"
#include "host/api/Answers.h"
#include "host/api/Json.h"
#include "host/api/Messages.h"
#include "host/api/Routes.h"

/// How a request becomes an operation or a document. For the API alone.
namespace host {
class Camera;
}

namespace host::api {

/// Why a request is not understood or names nothing.
struct Problem {
    unsigned int status = 0;
    std::string code;
    std::string detail;

    explicit operator bool() const { return status != 0; }
    Response response() const { return problem(status, code, detail); }
    /// @return false, for the caller to give back
    bool set(unsigned int newStatus, const char* newCode, std::string newDetail) {
        status = newStatus;
        code = newCode;
        detail = std::move(newDetail);
        return false;
    }
    bool badRequest(std::string newDetail) { return set(400, "bad_request", std::move(newDetail)); }
};

/// What stood in the place of the braces of a pattern.
using Match = std::vector<std::string>;

struct Context {
    const Request& request;
    const Match& match;
    const Snapshot& snapshot;
    Camera& camera;
    int language;
};

struct Handler {
    Route route;
    /// Answers from the snapshot; a problem set counts more than the response.
    Response (*read)(const Context& context, Problem& fault);
    /// Makes an operation of the request. @return false with the problem
    bool (*change)(const Context& context, host::Request& operation, Problem& fault);
    bool allParameters = false; ///< answered from a copy that is kept
};

const std::vector<Handler>& handlers();
const Handler* findHandler(const std::string& method, const std::string& path, Match& match,
                           std::string& methods);

bool readLanguage(const Request& request, int& language, Problem& fault);

/// The members of a request's body. Each reader gives false, with the problem, for a member of
/// another type, or one that must be there and is not; unknown members are refused by end().
class Body {
public:
    Body(const Context& context, Problem& fault);

    bool number(const char* name, std::optional<int>& value);
    bool number(const char* name, int least, int most, int& value);
    bool flag(const char* name, bool& value);
    bool text(const char* name, std::string& value);
    bool texts(const char* name, std::optional<std::string>& value);
    const Json* member(const char* name);
    bool has(const char* name) const;
    bool valid() const { return !m_fault; }
    /// @return false when the body holds a member that nobody asked for
    bool end();

private:
    Json m_json;
    std::vector<std::string> m_asked;
    Problem& m_fault;
};

bool readKeyOf(const Context& context, const std::string& text, u32& key, Problem& fault);
/// A value: a number, a choice's name, true or false.
bool readValueOf(const Context& context, u32 key, const Json& json, int& value, Problem& fault);
bool readSchemeOf(const Context& context, const std::string& text, int& scheme, Problem& fault);
/// "08:00" .. "24:00"
bool readTime(const std::string& text, int& hour, int& minute, Problem& fault);

} // namespace host::api
