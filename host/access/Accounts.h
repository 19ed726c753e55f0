#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <vector>

/// Who may do what with a camera over the network: users with passwords, and tokens for programs,
/// kept in one file.
namespace access_control {

/// Each may do what those before it may.
enum class Role {
    Monitor,       ///< metrics, health and state; no picture
    Viewer,        ///< the picture and the values
    Operator,      ///< sets, tries, saves, switches, moves the lens, undoes what it may do itself
    Administrator, ///< resets, reloads, imports, sets the mode, users and tokens
};

const char* nameOf(Role role); ///< "monitor", "viewer", "operator", "administrator"
std::optional<Role> roleOf(const std::string& name);

struct User {
    std::string name; ///< [A-Za-z0-9._-], 1 .. 32
    Role role = Role::Viewer;
    std::string hash; ///< of the password, as crypt(5) writes it
};

struct Token {
    std::string name; ///< as a user's
    Role role = Role::Viewer;
    std::string maker;     ///< the user who made it; empty: made at the machine itself
    long long expires = 0; ///< seconds since 1970; 0 never
    std::string digest;    ///< SHA-256 of the secret, in hexadecimal
};

/// A user of the ONVIF services. Their logins are digests of the password itself, so it is kept as
/// it is; it is made by us, so that nobody's own is lost with the file.
struct OnvifUser {
    std::string name;
    Role role = Role::Viewer;
    std::string password;
};

struct Accounts {
    std::vector<User> users;
    std::vector<Token> tokens;
    std::vector<OnvifUser> onvif;

    const User* user(const std::string& name) const;
    const Token* token(const std::string& name) const;
    bool hasAdministrator() const;
};

/// Whether a name is one that a user or token may have.
bool isName(const std::string& text);

/// What is wrong with a new password, as a sentence; empty: nothing.
std::string passwordProblem(const std::string& password);

/// Reads the file. One that is missing holds nobody.
/// @param problem  receives what is wrong with it: unreadable, readable by others, written by a
///                 newer program, or broken, with the line
/// @return false then; the accounts are untouched, and must not be taken for "nobody"
bool readAccounts(const std::string& path, Accounts& accounts, std::string& problem);

/// Changes the file: reads it, has it changed, and replaces it as a whole, with mode 0600, while
/// nobody else changes it.
/// @param change   called once with what the file holds; false: leave the file, with the problem
/// @return true when the file holds what the change left
template <typename Change>
bool changeAccounts(const std::string& path, Change change, std::string& problem);

/// The changes that there are. Each gives false and a sentence's part when it cannot be.
/// A user whose role or password changes, or who goes, loses the sessions there are.
bool addUser(Accounts& accounts, const std::string& name, Role role, const std::string& password,
             std::string& problem);
bool removeUser(Accounts& accounts, const std::string& name, std::string& problem);
bool setRole(Accounts& accounts, const std::string& name, Role role, std::string& problem);
bool setPassword(Accounts& accounts, const std::string& name, const std::string& password,
                 std::string& problem);

/// @param maker    the user who makes it; empty at the machine itself
/// @param days     from now, 0: for ever
/// @param secret   receives it: it is not kept and cannot be shown again
bool addToken(Accounts& accounts, const std::string& name, Role role, const std::string& maker,
              long days, std::string& secret, std::string& problem);
bool revokeToken(Accounts& accounts, const std::string& name, std::string& problem);

/// @param password  receives it, 20 characters
bool addOnvifUser(Accounts& accounts, const std::string& name, Role role, std::string& password,
                  std::string& problem);
bool removeOnvifUser(Accounts& accounts, const std::string& name, std::string& problem);

/// A time of a token, as the C library takes it: on boards that count to 2038, at most that.
std::time_t clockTime(long long seconds);

/// The token of a secret that is valid at a time, or null. Takes the same time for every secret.
const Token* tokenOf(const Accounts& accounts, const std::string& secret, long long now);

/// Whether a password is a user's. An unknown name, and a hash that can match nothing, take the
/// time of a hash too. Takes about 20 ms and 16 MB; any thread.
bool passwordFits(const User* user, const std::string& password);

/// Random bytes as hexadecimal digits.
std::string randomHex(std::size_t bytes);

namespace detail {
/// Holds the lock beside the file for as long as it lives.
class FileLock {
public:
    explicit FileLock(const std::string& path);
    ~FileLock();
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;

private:
    int m_fd;
};
bool writeAccounts(const std::string& path, const Accounts& accounts, std::string& problem);
} // namespace detail

template <typename Change>
bool changeAccounts(const std::string& path, Change change, std::string& problem) {
    const detail::FileLock lock(path);
    Accounts accounts;
    return readAccounts(path, accounts, problem) && change(accounts, problem) &&
           detail::writeAccounts(path, accounts, problem);
}

} // namespace access_control
