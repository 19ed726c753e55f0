#include "Login.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "host/access/Secrets.h"

namespace onvif {

namespace secrets = access_control::secrets;

namespace {

constexpr char kWrong[] = "The user name or the password is wrong.";
constexpr std::size_t kLongestNonce = 128; ///< in base64

const access_control::OnvifUser* find(const access_control::Accounts& accounts,
                                      const std::string& name) {
    for (const access_control::OnvifUser& user : accounts.onvif) {
        if (user.name == name) {
            return &user;
        }
    }
    return nullptr;
}

bool passwordFits(const UsernameToken& token, const std::string& nonce,
                  const std::string& password) {
    return secrets::equal(
        token.password,
        token.digest ? secrets::sha1Base64(nonce + token.created + password) : password);
}

} // namespace

std::optional<Fault> Login::check(const UsernameToken& token,
                                  const access_control::Accounts& accounts, bool encrypted,
                                  long long time, Monotonic now, access_control::OnvifUser& user) {
    if (!token.digest && !encrypted) {
        return notAuthorized("Without encryption only a digest of the password is taken.");
    }
    std::string nonce;
    if (token.digest && (token.nonce.size() > kLongestNonce ||
                         !secrets::fromBase64(token.nonce, nonce) || nonce.empty())) {
        return notAuthorized("A digest needs a nonce of at most 96 bytes.");
    }
    const access_control::OnvifUser* const known = find(accounts, token.user);
    static const std::string nobody = access_control::randomHex(10);
    if (!passwordFits(token, nonce, known != nullptr ? known->password : nobody) ||
        known == nullptr) {
        return notAuthorized(kWrong);
    }
    // From here on it is somebody who knows the password, or who has overheard it in use.
    if (token.digest) {
        const std::optional<long long> created = readTime(token.created);
        if (!created || std::llabs(*created - time) > kWindow) {
            return notAuthorized(
                "The login was not made within 5 minutes of this camera's clock "
                "(GetSystemDateAndTime).");
        }
        std::optional<Fault> fault = remember(token.user + '\n' + nonce, now);
        if (fault) {
            return fault;
        }
    }
    user = *known;
    return std::nullopt;
}

std::optional<Fault> Login::remember(const std::string& nonce, Monotonic now) {
    // Made up to a window ahead of the clock, a login is in time for two. The clock may be set
    // meanwhile, so another one is what counts.
    constexpr std::chrono::seconds kept(2 * kWindow);
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_nonces.size() >= kMostNonces) {
        for (auto i = m_nonces.begin(); i != m_nonces.end();) {
            i = now > i->second ? m_nonces.erase(i) : std::next(i);
        }
    }
    // One that is forgotten could be used again.
    if (m_nonces.size() >= kMostNonces) {
        return Fault{Fault::Code::Receiver,
                     "OutofMemory",
                     "",
                     "Too many logins in the last ten minutes.",
                     503,
                     10};
    }
    if (!m_nonces.emplace(nonce, now + kept).second) {
        return notAuthorized("This login has been used before.");
    }
    return std::nullopt;
}

std::optional<long long> readTime(const std::string& text) {
    std::tm parts{};
    int length = 0;
    if (std::sscanf(text.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d%n", &parts.tm_year, &parts.tm_mon,
                    &parts.tm_mday, &parts.tm_hour, &parts.tm_min, &parts.tm_sec, &length) != 6 ||
        length != 19 || parts.tm_year < 1970 || parts.tm_mon < 1 || parts.tm_mon > 12) {
        return std::nullopt;
    }
    std::size_t at = 19;
    if (text[at] == '.') {
        do {
            ++at;
        } while (std::isdigit(static_cast<unsigned char>(text[at])) != 0);
    }
    int hours = 0;
    int minutes = 0;
    char sign = 'Z';
    if (text[at] == '+' || text[at] == '-') {
        sign = text[at];
        length = 0;
        if (std::sscanf(text.c_str() + at + 1, "%2d:%2d%n", &hours, &minutes, &length) != 2 ||
            length != 5) {
            return std::nullopt;
        }
        at += 6;
    } else if (text[at] == 'Z') {
        ++at;
    }
    if (at != text.size()) {
        return std::nullopt;
    }
    parts.tm_year -= 1900;
    parts.tm_mon -= 1;
    const long long offset = (hours * 60LL + minutes) * 60;
    return static_cast<long long>(timegm(&parts)) + (sign == '+' ? -offset : offset);
}

std::string ticketOf(const access_control::OnvifUser& user) {
    return secrets::sha256("picture\n" + user.name + '\n' + user.password);
}

const access_control::OnvifUser* userOfTicket(const access_control::Accounts& accounts,
                                              const std::string& ticket) {
    const access_control::OnvifUser* found = nullptr;
    for (const access_control::OnvifUser& user : accounts.onvif) {
        if (secrets::equal(ticket, ticketOf(user))) {
            found = &user;
        }
    }
    return found;
}

} // namespace onvif
