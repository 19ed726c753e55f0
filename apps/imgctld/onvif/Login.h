#pragma once

#include <chrono>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "Soap.h"
#include "host/access/Accounts.h"

namespace onvif {

/// Holds logins against the users: a digest of the password, of a random number (the nonce) that
/// may be used once, and of the time it was made at. Any thread.
class Login {
public:
    using Monotonic = std::chrono::steady_clock::time_point;

    /// How far a client's clock may be off the one that GetSystemDateAndTime tells.
    static constexpr long long kWindow = 300;
    /// About sixteen requests a second, for as long as a nonce must be remembered.
    static constexpr std::size_t kMostNonces = 10000;

    /// @param accounts   the users there are
    /// @param encrypted  whether it came over TLS, so that a password may stand in it as it is
    /// @param time       seconds since 1970
    /// @param user       receives who it is
    /// @return why it is refused; none: it is right
    std::optional<Fault> check(const UsernameToken& token, const access_control::Accounts& accounts,
                               bool encrypted, long long time, Monotonic now,
                               access_control::OnvifUser& user);

private:
    std::optional<Fault> remember(const std::string& nonce, Monotonic now);

    std::mutex m_lock;
    std::map<std::string, Monotonic> m_nonces; ///< used ones, until when they are remembered
};

/// Reads a time of the schema, "2026-11-23T05:11:07.25Z". One without a zone is UTC.
/// @return seconds since 1970
std::optional<long long> readTime(const std::string& text);

/// What an address must carry to show a user the picture: addresses go to players that cannot log
/// in. It is valid for as long as the user has this password.
std::string ticketOf(const access_control::OnvifUser& user);

/// The user of a ticket, or null. Takes the same time for every wrong one.
const access_control::OnvifUser* userOfTicket(const access_control::Accounts& accounts,
                                              const std::string& ticket);

} // namespace onvif
