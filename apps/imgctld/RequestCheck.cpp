#include "RequestCheck.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>

namespace imgctld {
namespace {

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char c) {
        return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
    });
    return text;
}

/// A host and its port, as headers and URLs write them.
struct HostPort {
    std::string host; ///< in lower case, an IPv6 address without brackets
    std::string port; ///< empty: the scheme's own
    bool bracketed = false;
    bool valid = false;
};

HostPort splitHost(const std::string& text) {
    HostPort result;
    std::string::size_type end = 0;
    if (!text.empty() && text[0] == '[') {
        end = text.find(']');
        if (end == std::string::npos) {
            return result;
        }
        result.host = lowered(text.substr(1, end - 1));
        result.bracketed = true;
        ++end;
    } else {
        end = std::min(text.find(':'), text.size());
        result.host = lowered(text.substr(0, end));
    }
    if (end < text.size()) {
        result.port = text.substr(end + 1);
        if (text[end] != ':' || result.port.empty() || result.port.size() > 5 ||
            result.port.find_first_not_of("0123456789") != std::string::npos) {
            return result;
        }
    }
    result.valid =
        !result.host.empty() && result.host.find_first_of("/\\@?# \t%") == std::string::npos;
    return result;
}

bool isAddress(const HostPort& host) {
    in6_addr bytes{};
    return inet_pton(host.bracketed ? AF_INET6 : AF_INET, host.host.c_str(), &bytes) == 1;
}

bool contains(const std::vector<std::string>& list, const std::string& text) {
    return std::find(list.begin(), list.end(), text) != list.end();
}

bool isOurs(const HostPort& host, const OwnNames& names) {
    return host.valid &&
           (isAddress(host) || host.host == "localhost" || contains(names.hosts, host.host));
}

/// "https", "cam.example:8443" of a URL's beginning.
bool splitOrigin(const std::string& url, std::string& scheme, std::string& authority) {
    const std::string::size_type colon = url.find("://");
    if (colon == std::string::npos) {
        return false;
    }
    scheme = lowered(url.substr(0, colon));
    const std::string::size_type end = url.find('/', colon + 3);
    authority = lowered(url.substr(colon + 3, end == std::string::npos ? end : end - colon - 3));
    return true;
}

/// A page of ours came from where this request goes to: its scheme, host and port.
bool originIsOurs(const http::Request& request, const OwnNames& names, const std::string& origin) {
    std::string scheme;
    std::string authority;
    if (!splitOrigin(origin, scheme, authority)) {
        return false; // "null" too: a sandboxed frame
    }
    std::string ownScheme;
    std::string ownAuthority;
    if (!names.publicUrl.empty() && splitOrigin(names.publicUrl, ownScheme, ownAuthority) &&
        scheme == ownScheme && authority == ownAuthority) {
        return true;
    }
    const std::string* const host = request.header("host");
    return host != nullptr && scheme == (request.encrypted ? "https" : "http") &&
           authority == lowered(*host);
}

bool changes(const std::string& method) {
    return method != "GET" && method != "HEAD" && method != "OPTIONS";
}

/// The type alone, without parameters.
std::string mediaType(const std::string& text) {
    std::string type = lowered(text.substr(0, text.find(';')));
    while (!type.empty() && (type.back() == ' ' || type.back() == '\t')) {
        type.pop_back();
    }
    return type;
}

} // namespace

std::vector<std::string> machineNames() {
    char name[HOST_NAME_MAX + 1] = "";
    if (gethostname(name, sizeof name - 1) != 0 || name[0] == '\0') {
        return {};
    }
    const std::string whole = lowered(name);
    const std::string first = whole.substr(0, whole.find('.'));
    std::vector<std::string> names = {whole, first + ".local"};
    if (first != whole) {
        names.push_back(first);
    }
    return names;
}

HeadProblem checkHead(const http::Request& request, const OwnNames& names, const char* importType) {
    for (const char* single : {"host", "content-length", "authorization", "origin", "cookie",
                               "content-type", "transfer-encoding"}) {
        if (request.headerCount(single) > 1) {
            return {400, std::string("The header '") + single + "' is there twice."};
        }
    }
    if (request.header("content-length") != nullptr &&
        request.header("transfer-encoding") != nullptr) {
        return {400, "The body's length is given in two ways."};
    }
    if (!request.queryIsSound) {
        return {400, "The query holds a broken escape."};
    }
    const std::string* const host = request.header("host");
    if (!request.local && (host == nullptr || !isOurs(splitHost(*host), names))) {
        return {421, "This service is not reached by that name; start it with --name NAME."};
    }
    const std::string* const origin = request.header("origin");
    const std::string* const site = request.header("sec-fetch-site");
    if (!request.local && ((origin != nullptr && !originIsOurs(request, names, *origin)) ||
                           (site != nullptr && *site == "cross-site"))) {
        return {403, "Pages of other sites may not use this camera."};
    }
    if (names.openToAll && !request.local &&
        std::any_of(request.headers.begin(), request.headers.end(), [](const http::Header& h) {
            return h.name == "forwarded" || h.name.compare(0, 12, "x-forwarded-") == 0;
        })) {
        return {403, "Without users this service is for this machine alone, not for a proxy."};
    }
    if (changes(request.method)) {
        const std::string* const type = request.header("content-type");
        const char* const wanted = importType != nullptr ? importType : "application/json";
        if (type == nullptr || mediaType(*type) != wanted) {
            return {415, std::string("A changing request has Content-Type: ") + wanted + "."};
        }
    }
    return {};
}

bool showsAPerson(const http::Request& request) {
    const std::string* const active = request.argument("active");
    return (request.method != "GET" && request.method != "HEAD") || request.path == "/" ||
           (request.path == "/api/v1/session" && active != nullptr && *active == "1");
}

std::string clientAddress(const http::Request& request, const OwnNames& names) {
    // Some proxies add a line of their own below the client's.
    const auto last =
        std::find_if(request.headers.rbegin(), request.headers.rend(),
                     [](const http::Header& header) { return header.name == "x-forwarded-for"; });
    if (request.local || last == request.headers.rend() || !contains(names.proxies, request.peer)) {
        return request.peer;
    }
    const std::string* const forwarded = &last->value;
    // The last one is what the proxy saw itself; what stands before it anybody may have written.
    const std::string::size_type comma = forwarded->rfind(',');
    std::string address = comma == std::string::npos ? *forwarded : forwarded->substr(comma + 1);
    address.erase(0, address.find_first_not_of(" \t"));
    address.erase(address.find_last_not_of(" \t") + 1);
    return isAddress(address) ? address : request.peer;
}

bool isAddress(const std::string& text) {
    in6_addr bytes{};
    return inet_pton(AF_INET, text.c_str(), &bytes) == 1 ||
           inet_pton(AF_INET6, text.c_str(), &bytes) == 1;
}

bool isLoopback(const std::string& address) {
    in_addr v4{};
    return address == "::1" ||
           (inet_pton(AF_INET, address.c_str(), &v4) == 1 && (ntohl(v4.s_addr) >> 24U) == 127);
}

std::string cookieValue(const std::string& cookies, const std::string& name) {
    std::string::size_type at = 0;
    while (at < cookies.size()) {
        const std::string::size_type end = std::min(cookies.find(';', at), cookies.size());
        at = std::min(cookies.find_first_not_of(' ', at), end);
        const std::string::size_type value = at + name.size() + 1;
        if (value <= end && cookies.compare(at, name.size(), name) == 0 &&
            cookies[value - 1] == '=') {
            return cookies.substr(value, end - value);
        }
        at = end + 1;
    }
    return std::string();
}

std::string escaped(const std::string& text, std::size_t most) {
    std::string result;
    for (const char c : text) {
        if (result.size() >= most) {
            return result + "...";
        }
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x20 && byte < 0x7F && c != '\\') {
            result += c;
        } else {
            // Beyond ASCII too: what a terminal makes of it depends on the terminal.
            char code[5];
            std::snprintf(code, sizeof code, "\\x%02x", static_cast<unsigned int>(byte));
            result += code;
        }
    }
    return result;
}

} // namespace imgctld
