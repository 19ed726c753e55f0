#include <sys/stat.h>

#include <algorithm>
#include <ctime>

#include "Service.h"
#include "host/api/Json.h"

// Who may use the service: logging in and out, users and tokens.
namespace imgctld {

using access_control::Accounts;
using access_control::Token;
using access_control::User;
using host::api::Json;

namespace {

http::Response document(const Json& json, unsigned int status = 200) {
    http::Response response;
    response.status = status;
    response.headers.push_back({"Content-Type", "application/json"});
    response.body = std::make_shared<const std::string>(host::api::text(json));
    return response;
}

/// Reads a body whose members are texts and numbers.
/// @return false with the problem
bool readBody(const http::Request& request, std::initializer_list<const char*> names, Json& body,
              std::string& problem) {
    body = host::api::parse(request.body.empty() ? "{}" : request.body, problem);
    if (body.is_discarded()) {
        return false;
    }
    problem = "The body is a JSON object.";
    if (!body.is_object()) {
        return false;
    }
    for (const auto& [name, value] : body.items()) {
        bool known = false;
        for (const char* one : names) {
            known = known || name == one;
        }
        if (!known || !(value.is_string() || value.is_number_integer())) {
            problem = "The body holds '" + escaped(name) + "', which means nothing here.";
            return false;
        }
    }
    problem.clear();
    return true;
}

std::string textOf(const Json& body, const char* name) {
    const auto found = body.find(name);
    return found != body.end() && found->is_string() ? found->get<std::string>() : std::string();
}

std::string day(long long seconds) {
    const std::time_t time = access_control::clockTime(seconds);
    std::tm parts{};
    gmtime_r(&time, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}

const char* nameOf(SessionEnd end) {
    switch (end) {
        case SessionEnd::Unused:
            return "unused";
        case SessionEnd::Age:
            return "age";
        case SessionEnd::Account:
            break;
    }
    return "account";
}

std::string sentenceOf(std::string part) {
    if (!part.empty() && part[0] >= 'a' && part[0] <= 'z') {
        part[0] = static_cast<char>(part[0] - 'a' + 'A');
    }
    return part + ".";
}

} // namespace

bool Service::readUsers(std::string& wrong) {
    if (m_options.usersFile.empty()) {
        return true;
    }
    struct stat status {};
    FileStamp stamp;
    if (stat(m_options.usersFile.c_str(), &status) == 0) {
        stamp = {status.st_mtim.tv_sec * 1000000000LL + status.st_mtim.tv_nsec,
                 static_cast<long long>(status.st_ino), static_cast<long long>(status.st_size)};
    }
    auto fresh = std::make_shared<Accounts>();
    if (!access_control::readAccounts(m_options.usersFile, *fresh, wrong)) {
        return false;
    }
    const auto before = accounts();
    if (fresh->users.empty() && !before->users.empty()) {
        // Whoever removes the file does not make everybody an administrator.
        wrong = m_options.usersFile + " holds nobody any more";
        return false;
    }
    const bool firstUser = before->users.empty() && !fresh->users.empty();
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_accounts = fresh;
        m_usersStamp = stamp;
    }
    for (const Token& token : before->tokens) {
        const Token* const now = fresh->token(token.name);
        if (now == nullptr || now->digest != token.digest || now->role != token.role) {
            m_streams.endOf("token:" + token.name);
        }
    }
    for (const access_control::OnvifUser& user : before->onvif) {
        const bool stays =
            std::any_of(fresh->onvif.begin(), fresh->onvif.end(), [&user](const auto& now) {
                return now.name == user.name && now.password == user.password;
            });
        if (!stays) {
            m_streams.endOf("onvif:" + user.name);
        }
    }
    if (firstUser) {
        m_streams.endOfAll();
    }
    for (const std::string& ended : m_sessions.revise(*fresh, std::chrono::steady_clock::now())) {
        m_streams.endOf(ended);
    }
    return true;
}

void Service::changeUsers(const Shared& exchange, const AccountsChange& change,
                          const std::function<http::Response()>& done) {
    const bool taken = m_slow.add([this, exchange, change, done] {
        std::string wrong;
        const bool good =
            access_control::changeAccounts(m_options.usersFile, change, wrong) && readUsers(wrong);
        answer(exchange, good ? done() : refuse(422, "accounts", sentenceOf(wrong)));
    });
    if (!taken) {
        answer(exchange, refuse(503, "busy", "Too much is being done just now.", 1));
    }
}

void Service::login(const Shared& exchange) {
    const http::Request& request = exchange->request();
    const std::string address = http::limitKey(clientAddress(request, m_options.names));
    const MonotonicTime at = std::chrono::steady_clock::now();
    if (!loginNeeded()) {
        return answer(exchange, refuse(409, "no_login", "Nobody needs to log in here."));
    }
    Json body;
    std::string wrong;
    if (!readBody(request, {"name", "password"}, body, wrong)) {
        return answer(exchange, refuse(400, "bad_request", wrong));
    }
    const double wait = m_guesses.attempt(address, at);
    if (wait > 0) {
        const int seconds = static_cast<int>(wait) + 1;
        return answer(exchange, refuse(429, "too_many_tries",
                                       "Too many tries. Next in " + std::to_string(seconds) + " s.",
                                       seconds));
    }
    const auto known = accounts();
    const User* const found = known->user(textOf(body, "name"));
    const std::optional<User> user = found != nullptr ? std::optional<User>(*found) : std::nullopt;
    const bool encrypted = request.encrypted;
    const std::string password = textOf(body, "password");
    const bool taken = m_slow.add([this, exchange, user, password, address, encrypted] {
        if (!access_control::passwordFits(user ? &*user : nullptr, password)) {
            {
                const std::lock_guard<std::mutex> guard(m_lock);
                ++m_wrongLogins;
            }
            log("wrong login from " + address);
            return answer(exchange, refuse(401, "wrong_login", "Name or password is wrong."));
        }
        m_guesses.right(address);
        exchange->known();
        // A new secret at each login, never one that the client brought along.
        const std::string secret = m_sessions.open(*user, std::chrono::steady_clock::now());
        const std::string name = cookieName(encrypted);
        http::Response response =
            document({{"user", user->name}, {"role", access_control::nameOf(user->role)}});
        response.headers.push_back({"Set-Cookie", name + "=" + secret +
                                                      "; Path=/; HttpOnly; SameSite=Strict" +
                                                      (name[0] == '_' ? "; Secure" : "")});
        answer(exchange, std::move(response));
    });
    if (!taken) {
        answer(exchange, refuse(503, "busy", "Too many people log in just now.", 1));
    }
}

void Service::logout(const Shared& exchange, const Identity& who) {
    const http::Request& request = exchange->request();
    const std::string name = cookieName(request.encrypted);
    const std::string* const cookies = request.header("cookie");
    if (cookies != nullptr && !who.byToken) {
        m_sessions.close(cookieValue(*cookies, name));
        if (!who.session.empty() && who.session.compare(0, 8, "session:") == 0) {
            m_streams.endOf(who.session);
        }
    }
    http::Response response = document(Json::object());
    response.headers.push_back(
        {"Set-Cookie", name + "=; Path=/; Max-Age=0; HttpOnly; SameSite=Strict" +
                           (name[0] == '_' ? std::string("; Secure") : std::string())});
    answer(exchange, std::move(response));
}

void Service::session(const Shared& exchange, const Identity& who) {
    const http::Request& request = exchange->request();
    const bool encrypted =
        request.encrypted || m_options.names.publicUrl.compare(0, 8, "https://") == 0;
    const auto can = [&who](Role role) { return who.known && who.role >= role; };
    const std::string* const cookies = request.header("cookie");
    std::optional<SessionEnd> ended;
    if (!who.known && cookies != nullptr) {
        ended = m_sessions.endOf(cookieValue(*cookies, cookieName(request.encrypted)),
                                 std::chrono::steady_clock::now());
    }
    answer(
        exchange,
        document({{"login_needed", loginNeeded()},
                  {"logged_in", who.known},
                  {"ended", ended ? Json(nameOf(*ended)) : Json(nullptr)},
                  {"user", who.name.empty() ? Json(nullptr) : Json(who.name)},
                  {"role", who.known ? Json(access_control::nameOf(who.role)) : Json(nullptr)},
                  {"encrypted", encrypted},
                  {"local", request.local || isLoopback(clientAddress(request, m_options.names))},
                  {"certificate_expires",
                   m_certificateExpires == 0 ? Json(nullptr) : Json(day(m_certificateExpires))},
                  {"can",
                   {{"watch", can(Role::Viewer)},
                    {"change", can(Role::Operator)},
                    {"administrate", can(Role::Administrator)},
                    {"users", can(Role::Administrator) && loginNeeded()}}}}));
}

void Service::users(const Shared& exchange, const Identity&, const std::string& path) {
    const http::Request& request = exchange->request();
    const std::string name = path.size() > 7 ? path.substr(7) : std::string();
    if (request.method == "GET") {
        Json list = Json::array();
        const auto known = accounts();
        for (const User& user : known->users) {
            list.push_back({{"name", user.name}, {"role", access_control::nameOf(user.role)}});
        }
        return answer(exchange, document({{"users", std::move(list)}}));
    }
    if (!loginNeeded()) {
        return answer(exchange, refuse(409, "no_users",
                                       "The first user is made at the machine: imgctl user add."));
    }
    Json body;
    std::string wrong;
    if (!readBody(request, {"name", "role", "password"}, body, wrong)) {
        return answer(exchange, refuse(400, "bad_request", wrong));
    }
    const std::optional<Role> role = access_control::roleOf(textOf(body, "role"));
    const std::string password = textOf(body, "password");
    AccountsChange change;
    if (request.method == "DELETE") {
        change = [name](Accounts& all, std::string& why) {
            return access_control::removeUser(all, name, why);
        };
    } else if (request.method == "POST") {
        if (!role) {
            return answer(exchange,
                          refuse(400, "bad_request",
                                 "'role' is monitor, viewer, operator or administrator."));
        }
        change = [added = textOf(body, "name"), role = *role, password](Accounts& all,
                                                                        std::string& why) {
            return access_control::addUser(all, added, role, password, why);
        };
    } else {
        if ((body.contains("role") && !role) || (!role && password.empty())) {
            return answer(exchange, refuse(400, "bad_request",
                                           "A user takes 'role' (monitor, viewer, operator or "
                                           "administrator) or 'password'."));
        }
        change = [name, role, password](Accounts& all, std::string& why) {
            return (!role || access_control::setRole(all, name, *role, why)) &&
                   (password.empty() || access_control::setPassword(all, name, password, why));
        };
    }
    changeUsers(exchange, change, [] { return document(Json::object()); });
}

void Service::tokens(const Shared& exchange, const Identity& who, const std::string& path) {
    const http::Request& request = exchange->request();
    if (request.method == "GET") {
        Json list = Json::array();
        const auto known = accounts();
        for (const Token& token : known->tokens) {
            const std::lock_guard<std::mutex> guard(m_lock);
            const auto used = m_tokenUse.find(token.name);
            list.push_back(
                {{"name", token.name},
                 {"role", access_control::nameOf(token.role)},
                 {"maker", token.maker.empty() ? Json(nullptr) : Json(token.maker)},
                 {"expires", token.expires == 0 ? Json(nullptr) : Json(day(token.expires))},
                 {"used", used == m_tokenUse.end() ? Json(nullptr) : Json(day(used->second))}});
        }
        return answer(exchange, document({{"tokens", std::move(list)}}));
    }
    if (!loginNeeded()) {
        return answer(exchange, refuse(409, "no_users",
                                       "The first user is made at the machine: imgctl user add."));
    }
    Json body;
    std::string wrong;
    if (!readBody(request, {"name", "role", "days"}, body, wrong)) {
        return answer(exchange, refuse(400, "bad_request", wrong));
    }
    if (request.method == "DELETE") {
        const std::string name = path.substr(8);
        return changeUsers(
            exchange,
            [name](Accounts& all, std::string& why) {
                return access_control::revokeToken(all, name, why);
            },
            [] { return document(Json::object()); });
    }
    const std::optional<Role> role = access_control::roleOf(textOf(body, "role"));
    if (!role) {
        return answer(exchange, refuse(400, "bad_request",
                                       "'role' is monitor, viewer, operator or administrator."));
    }
    const auto found = body.find("days");
    const long days = found != body.end() && found->is_number_integer() ? found->get<long>() : 0;
    const std::string name = textOf(body, "name");
    const auto secret = std::make_shared<std::string>();
    changeUsers(
        exchange,
        [name, role = *role, maker = who.byToken ? std::string() : who.name, days, secret](
            Accounts& all, std::string& why) {
            return access_control::addToken(all, name, role, maker, days, *secret, why);
        },
        [name, secret] {
            return document({{"name", name}, {"token", *secret}}, 201);
        });
}

} // namespace imgctld
