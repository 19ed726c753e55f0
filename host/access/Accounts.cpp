#include "Accounts.h"

#include <algorithm>
#include <ctime>
#include <limits>

#include "Secrets.h"

namespace access_control {
namespace {

constexpr std::size_t kMostName = 32;
constexpr std::size_t kMostUsers = 100;
constexpr std::size_t kMostTokens = 100;
constexpr long kMostDays = 36500;

template <typename List>
auto named(List& list, const std::string& name) -> decltype(list.begin()) {
    return std::find_if(list.begin(), list.end(),
                        [&name](const auto& entry) { return entry.name == name; });
}

/// What a new name must be.
template <typename List>
bool mayBeAdded(const List& list, std::size_t most, const std::string& name, std::string& problem) {
    if (!isName(name)) {
        problem = "a name is 1 to 32 letters, digits, dots, lines and underlines";
    } else if (named(list, name) != list.end()) {
        problem = "there is a '" + name + "' already";
    } else if (list.size() >= most) {
        problem = "there are " + std::to_string(most) + " already; remove one first";
    } else {
        return true;
    }
    return false;
}

template <typename List>
bool removeNamed(List& list, const std::string& name, const char* kind, std::string& problem) {
    const auto found = named(list, name);
    if (found == list.end()) {
        problem = std::string("there is no ") + kind + " of that name";
        return false;
    }
    list.erase(found);
    return true;
}

/// One whose hash matches no password can do nothing.
bool canAdministrate(const User& user) {
    return user.role == Role::Administrator && secrets::canMatch(user.hash);
}

/// A camera with users but without an administrator could not be helped from outside.
bool isLastAdministrator(const Accounts& accounts, const User& user) {
    return canAdministrate(user) &&
           std::count_if(accounts.users.begin(), accounts.users.end(), canAdministrate) == 1;
}

User* findUser(Accounts& accounts, const std::string& name, std::string& problem) {
    const auto found = named(accounts.users, name);
    if (found == accounts.users.end()) {
        problem = "there is no user of that name";
        return nullptr;
    }
    return &*found;
}

} // namespace

const char* nameOf(Role role) {
    static constexpr const char* names[] = {"monitor", "viewer", "operator", "administrator"};
    return names[static_cast<int>(role)];
}

std::optional<Role> roleOf(const std::string& name) {
    for (const Role role : {Role::Monitor, Role::Viewer, Role::Operator, Role::Administrator}) {
        if (name == nameOf(role)) {
            return role;
        }
    }
    return std::nullopt;
}

const User* Accounts::user(const std::string& name) const {
    const auto found = named(users, name);
    return found != users.end() ? &*found : nullptr;
}

const Token* Accounts::token(const std::string& name) const {
    const auto found = named(tokens, name);
    return found != tokens.end() ? &*found : nullptr;
}

bool Accounts::hasAdministrator() const {
    return std::any_of(users.begin(), users.end(), canAdministrate);
}

bool isName(const std::string& text) {
    return !text.empty() && text.size() <= kMostName &&
           text.find_first_not_of(
               "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
               "0123456789._-") == std::string::npos;
}

std::string passwordProblem(const std::string& password) {
    // Characters are counted, not bytes; what is cut off a long text would be no secret.
    const auto characters = std::count_if(password.begin(), password.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
    });
    if (characters < 10) {
        return "a password has 10 characters at least";
    }
    if (password.size() > 128) {
        return "a password has 128 bytes at most";
    }
    if (password.find_first_of(std::string("\0\r\n", 3)) != std::string::npos) {
        return "a password is one line";
    }
    return std::string();
}

bool addUser(Accounts& accounts, const std::string& name, Role role, const std::string& password,
             std::string& problem) {
    if (!mayBeAdded(accounts.users, kMostUsers, name, problem)) {
        return false;
    }
    if (accounts.users.empty() && role != Role::Administrator) {
        problem = "the first user must be an administrator, or nobody could add another";
        return false;
    }
    problem = passwordProblem(password);
    User user{name, role, std::string()};
    if (!problem.empty() || !secrets::hashPassword(password, user.hash, problem)) {
        return false;
    }
    accounts.users.push_back(std::move(user));
    return true;
}

bool removeUser(Accounts& accounts, const std::string& name, std::string& problem) {
    const User* const user = findUser(accounts, name, problem);
    if (user != nullptr && isLastAdministrator(accounts, *user)) {
        problem = "'" + name + "' is the last administrator";
        return false;
    }
    if (user == nullptr || !removeNamed(accounts.users, name, "user", problem)) {
        return false;
    }
    // What somebody made goes with him.
    auto& tokens = accounts.tokens;
    tokens.erase(std::remove_if(tokens.begin(), tokens.end(),
                                [&name](const Token& token) { return token.maker == name; }),
                 tokens.end());
    return true;
}

bool setRole(Accounts& accounts, const std::string& name, Role role, std::string& problem) {
    User* const user = findUser(accounts, name, problem);
    if (user == nullptr) {
        return false;
    }
    if (role != Role::Administrator && isLastAdministrator(accounts, *user)) {
        problem = "'" + name + "' is the last administrator";
        return false;
    }
    user->role = role;
    for (Token& token : accounts.tokens) {
        if (token.maker == name && token.role > role) {
            token.role = role;
        }
    }
    return true;
}

bool setPassword(Accounts& accounts, const std::string& name, const std::string& password,
                 std::string& problem) {
    User* const user = findUser(accounts, name, problem);
    if (user == nullptr) {
        return false;
    }
    problem = passwordProblem(password);
    return problem.empty() && secrets::hashPassword(password, user->hash, problem);
}

bool addToken(Accounts& accounts, const std::string& name, Role role, const std::string& maker,
              long days, std::string& secret, std::string& problem) {
    if (!mayBeAdded(accounts.tokens, kMostTokens, name, problem)) {
        return false;
    }
    const User* const by = accounts.user(maker);
    if (!maker.empty() && (by == nullptr || by->role < role)) {
        problem = "a token's role is at most that of the user who makes it";
        return false;
    }
    if (days < 0 || days > kMostDays) {
        problem = "a token is valid for 1 to 36500 days, or for ever (0)";
        return false;
    }
    secret = randomHex(32);
    const long long expires = days == 0 ? 0 : std::time(nullptr) + days * 86400LL;
    accounts.tokens.push_back({name, role, maker, expires, secrets::sha256(secret)});
    return true;
}

bool revokeToken(Accounts& accounts, const std::string& name, std::string& problem) {
    return removeNamed(accounts.tokens, name, "token", problem);
}

bool addOnvifUser(Accounts& accounts, const std::string& name, Role role, std::string& password,
                  std::string& problem) {
    if (role != Role::Viewer && role != Role::Operator) {
        problem = "an ONVIF user is a viewer or an operator";
        return false;
    }
    if (!mayBeAdded(accounts.onvif, kMostUsers, name, problem)) {
        return false;
    }
    password = randomHex(10);
    accounts.onvif.push_back({name, role, password});
    return true;
}

bool removeOnvifUser(Accounts& accounts, const std::string& name, std::string& problem) {
    return removeNamed(accounts.onvif, name, "ONVIF user", problem);
}

std::time_t clockTime(long long seconds) {
    constexpr long long last = std::numeric_limits<std::time_t>::max();
    return static_cast<std::time_t>(std::min(seconds, last));
}

const Token* tokenOf(const Accounts& accounts, const std::string& secret, long long now) {
    const std::string digest = secrets::sha256(secret);
    const Token* found = nullptr;
    for (const Token& token : accounts.tokens) {
        if (secrets::equal(token.digest, digest)) {
            found = &token;
        }
    }
    return found != nullptr && (found->expires == 0 || now < found->expires) ? found : nullptr;
}

bool passwordFits(const User* user, const std::string& password) {
    // What stands behind a zero byte is not hashed.
    if (user == nullptr || !secrets::canMatch(user->hash) ||
        password.find('\0') != std::string::npos) {
        secrets::spendHash(password);
        return false;
    }
    return secrets::passwordMatches(password, user->hash);
}

std::string randomHex(std::size_t bytes) {
    return secrets::randomHex(bytes);
}

} // namespace access_control
