#pragma once

#include <string>
#include <vector>

namespace access_control {

/// Makes a key (P-256) and a certificate for it that nobody else vouches for, as two PEM files. The
/// key's file has mode 0600. Neither file may be there yet.
/// @param names        host names and IP addresses that the service is reached by; the first is
///                     the certificate's own
/// @param days         how long it is valid, 1 .. 36500
/// @param fingerprint  receives the SHA-256 of the certificate, in hexadecimal digits, by which a
///                     client can know it
/// @param problem      receives what is wrong
bool makeSelfSigned(const std::vector<std::string>& names, int days,
                    const std::string& certificatePath, const std::string& keyPath,
                    std::string& fingerprint, std::string& problem);

} // namespace access_control
