#include "host/api/Routing.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "host/Names.h"
#include "host/Text.h"

namespace host::api {
namespace {

/// A name as it was before it became a part of an address; what is no escape stays.
std::string unescaped(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::string digits = text[i] == '%' ? text.substr(i + 1, 2) : std::string();
        const bool escape = digits.size() == 2 &&
                            digits.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos;
        result += escape ? static_cast<char>(std::stoi(digits, nullptr, 16)) : text[i];
        i += escape ? 2 : 0;
    }
    return result;
}

/// Compares a path with a pattern, part by part. A part in braces takes any text but none; a key at
/// the end takes the rest, as names of keys may hold '/'.
bool matches(const char* pattern, const std::string& path, Match& match) {
    match.clear();
    std::string::size_type at = 0;
    while (*pattern != '\0') {
        if (*pattern == '{') {
            const bool rest = std::strcmp(pattern, "{key}") == 0;
            while (*pattern != '}') {
                ++pattern;
            }
            ++pattern;
            const std::string::size_type end =
                rest ? path.size() : std::min(path.find('/', at), path.size());
            if (end == at) {
                return false;
            }
            const std::string part = path.substr(at, end - at);
            match.push_back(rest ? unescaped(part) : part);
            at = end;
        } else if (at < path.size() && path[at] == *pattern) {
            ++at;
            ++pattern;
        } else {
            return false;
        }
    }
    return at == path.size();
}

/// Documents hold numbers up to 4294967295; as an int that would be another number.
bool isInt(const Json& json) {
    return json.is_number_integer() && json.get<long long>() <= std::numeric_limits<int>::max();
}

} // namespace

const std::vector<Route>& routes() {
    static const std::vector<Route> all = [] {
        std::vector<Route> list;
        for (const Handler& handler : handlers()) {
            list.push_back(handler.route);
        }
        return list;
    }();
    return all;
}

const Handler* findHandler(const std::string& method, const std::string& path, Match& match,
                           std::string& methods) {
    methods.clear();
    for (const Handler& handler : handlers()) {
        if (!matches(handler.route.pattern, path, match)) {
            continue;
        }
        if (method == handler.route.method || (method == "HEAD" && handler.read != nullptr)) {
            return &handler;
        }
        methods += (methods.empty() ? "" : ", ") + std::string(handler.route.method);
    }
    return nullptr;
}

const Route* findRoute(const std::string& method, const std::string& path, std::string& methods) {
    Match match;
    const Handler* const handler = findHandler(method, path, match, methods);
    return handler != nullptr ? &handler->route : nullptr;
}

bool readLanguage(const Request& request, int& language, Problem& fault) {
    const std::string* const given = request.argument("lang");
    return given == nullptr || readIntWithin(*given, 0, 1000, language) ||
           fault.badRequest("'lang' is the number of a language.");
}

Body::Body(const Context& context, Problem& fault) : m_json(Json::object()), m_fault(fault) {
    if (context.request.body.empty()) {
        return;
    }
    std::string problem;
    Json json = parse(context.request.body, problem);
    if (json.is_discarded()) {
        fault.badRequest(problem);
    } else if (!json.is_object()) {
        fault.badRequest("The body is a JSON object.");
    } else {
        m_json = std::move(json);
    }
}

const Json* Body::member(const char* name) {
    m_asked.emplace_back(name);
    const auto found = m_json.find(name);
    return found != m_json.end() ? &*found : nullptr;
}

bool Body::has(const char* name) const {
    return m_json.contains(name);
}

bool Body::number(const char* name, std::optional<int>& value) {
    const Json* const json = member(name);
    if (json == nullptr || json->is_null()) {
        return true;
    }
    if (!isInt(*json)) {
        return m_fault.badRequest(std::string("'") + name + "' is a whole number.");
    }
    value = json->get<int>();
    return true;
}

bool Body::number(const char* name, int least, int most, int& value) {
    std::optional<int> given;
    if (!number(name, given)) {
        return false;
    }
    if (!given || *given < least || *given > most) {
        return m_fault.badRequest(std::string("'") + name + "' is a number from " +
                                  std::to_string(least) + " to " + std::to_string(most) + ".");
    }
    value = *given;
    return true;
}

bool Body::flag(const char* name, bool& value) {
    const Json* const json = member(name);
    if (json == nullptr) {
        return true;
    }
    if (!json->is_boolean()) {
        return m_fault.badRequest(std::string("'") + name + "' is true or false.");
    }
    value = json->get<bool>();
    return true;
}

bool Body::texts(const char* name, std::optional<std::string>& value) {
    const Json* const json = member(name);
    if (json == nullptr) {
        return true;
    }
    if (!json->is_string()) {
        return m_fault.badRequest(std::string("'") + name + "' is a text.");
    }
    value = json->get<std::string>();
    return true;
}

bool Body::text(const char* name, std::string& value) {
    std::optional<std::string> given;
    if (!texts(name, given)) {
        return false;
    }
    if (!given) {
        return m_fault.badRequest(std::string("'") + name + "' is missing.");
    }
    value = *given;
    return true;
}

bool Body::end() {
    if (m_fault) {
        return false;
    }
    for (const auto& [name, value] : m_json.items()) {
        if (std::find(m_asked.begin(), m_asked.end(), name) == m_asked.end()) {
            return m_fault.badRequest("The body holds " + quoted(name) +
                                      ", which means nothing here.");
        }
    }
    return true;
}

bool readKeyOf(const Context& context, const std::string& text, u32& key, Problem& fault) {
    std::string problem;
    if (!readKey(*context.snapshot.catalogue, text, context.language, key, problem) ||
        context.snapshot.parameter(key) == nullptr) {
        return fault.set(
            404, "unknown_key",
            problem.empty() ? quoted(text) + " is no parameter of this camera." : problem);
    }
    return true;
}

bool readValueOf(const Context& context, u32 key, const Json& json, int& value, Problem& fault) {
    if (isInt(json)) {
        value = json.get<int>();
        return true;
    }
    if (json.is_boolean()) {
        value = json.get<bool>() ? 1 : 0;
        return true;
    }
    std::string problem = "A value is a number or the name of a choice.";
    if (json.is_string() && readValue(*context.snapshot.catalogue, key, json.get<std::string>(),
                                      context.language, value, problem)) {
        return true;
    }
    return fault.set(422, "not_a_choice", problem);
}

bool readSchemeOf(const Context& context, const std::string& text, int& scheme, Problem& fault) {
    const int most = static_cast<int>(context.snapshot.schemes.size()) - 1;
    if (readIntWithin(text, 0, most, scheme)) {
        return true;
    }
    return fault.set(
        404, "no_scheme",
        "There is no scheme " + quoted(text) + "; there are 0 to " + std::to_string(most) + ".");
}

bool readTime(const std::string& text, int& hour, int& minute, Problem& fault) {
    const std::string::size_type colon = text.find(':');
    if (colon != std::string::npos && colon >= 1 && colon <= 2 && text.size() == colon + 3 &&
        readIntWithin(text.substr(0, colon), 0, 24, hour) &&
        readIntWithin(text.substr(colon + 1), 0, hour == 24 ? 0 : 59, minute)) {
        return true;
    }
    return fault.set(422, "window", "A time is HH:MM, from 00:00 to 24:00.");
}

} // namespace host::api
