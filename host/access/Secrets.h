#pragma once

#include <cstddef>
#include <string>

/// Hashes, random numbers and comparisons that tell nothing by their time.
namespace access_control::secrets {

/// The SHA-256 of a text, in hexadecimal digits.
std::string sha256(const std::string& text);

/// The SHA-1 of bytes, in base64. For protocols that know no other; secrets are
/// kept by better ones.
std::string sha1Base64(const std::string& bytes);

std::string base64(const std::string& bytes);

/// @param bytes  receives what a text in base64 stands for
/// @return false when it is none
bool fromBase64(const std::string& text, std::string& bytes);

/// Hashes a new password with yescrypt. @return false when the machine cannot, with the problem
bool hashPassword(const std::string& password, std::string& hash, std::string& problem);

/// Whether any password could have that hash: one that begins with '*' or '!' has none.
bool canMatch(const std::string& hash);

bool passwordMatches(const std::string& password, const std::string& hash);

/// Takes the time of passwordMatches.
void spendHash(const std::string& password);

/// Whether two texts are the same, in a time that depends on their lengths alone.
bool equal(const std::string& left, const std::string& right);

/// Random bytes of the system as hexadecimal digits.
std::string randomHex(std::size_t bytes);

} // namespace access_control::secrets
