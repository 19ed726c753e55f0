#include "Secrets.h"

#include <crypt.h>
#include <nettle/base64.h>
#include <nettle/memops.h>
#include <nettle/sha1.h>
#include <nettle/sha2.h>
#include <sys/random.h>

#include <cerrno>
#include <cstdlib>
#include <memory>

namespace access_control::secrets {
namespace {

constexpr char kMethod[] = "$y$";

std::string hex(const unsigned char* bytes, std::size_t count) {
    static constexpr char digits[] = "0123456789abcdef";
    std::string text;
    text.reserve(2 * count);
    for (std::size_t i = 0; i < count; ++i) {
        text += digits[bytes[i] >> 4U];
        text += digits[bytes[i] & 15U];
    }
    return text;
}

/// Without a random number there is no secret, and without a secret no service.
void randomBytes(unsigned char* bytes, std::size_t count) {
    std::size_t done = 0;
    while (done < count) {
        const ssize_t got = getrandom(bytes + done, count - done, 0);
        if (got > 0) {
            done += static_cast<std::size_t>(got);
        } else if (errno != EINTR) {
            std::abort();
        }
    }
}

std::string hashWith(const std::string& password, const std::string& setting) {
    const std::unique_ptr<crypt_data> data(new crypt_data{});
    const char* const hash = crypt_r(password.c_str(), setting.c_str(), data.get());
    return hash != nullptr ? hash : "*";
}

std::string newSetting() {
    char random[32];
    randomBytes(reinterpret_cast<unsigned char*>(random), sizeof random);
    char setting[CRYPT_GENSALT_OUTPUT_SIZE];
    const char* const made =
        crypt_gensalt_rn(kMethod, 0, random, sizeof random, setting, sizeof setting);
    return made != nullptr ? made : "*";
}

} // namespace

std::string sha256(const std::string& text) {
    sha256_ctx context;
    sha256_init(&context);
    sha256_update(&context, text.size(), reinterpret_cast<const unsigned char*>(text.data()));
    unsigned char digest[SHA256_DIGEST_SIZE];
    sha256_digest(&context, sizeof digest, digest);
    return hex(digest, sizeof digest);
}

std::string sha1Base64(const std::string& bytes) {
    sha1_ctx context;
    sha1_init(&context);
    sha1_update(&context, bytes.size(), reinterpret_cast<const unsigned char*>(bytes.data()));
    unsigned char digest[SHA1_DIGEST_SIZE];
    sha1_digest(&context, sizeof digest, digest);
    return base64({reinterpret_cast<const char*>(digest), sizeof digest});
}

std::string base64(const std::string& bytes) {
    std::string text(BASE64_ENCODE_RAW_LENGTH(bytes.size()), '\0');
    base64_encode_raw(&text[0], bytes.size(), reinterpret_cast<const unsigned char*>(bytes.data()));
    return text;
}

bool fromBase64(const std::string& text, std::string& bytes) {
    bytes.assign(BASE64_DECODE_LENGTH(text.size()) + 1, '\0');
    std::size_t length = bytes.size();
    base64_decode_ctx context;
    base64_decode_init(&context);
    if (base64_decode_update(&context, &length, reinterpret_cast<unsigned char*>(&bytes[0]),
                             text.size(), text.c_str()) != 1 ||
        base64_decode_final(&context) != 1) {
        return false;
    }
    bytes.resize(length);
    return true;
}

bool hashPassword(const std::string& password, std::string& hash, std::string& problem) {
    const std::string made = hashWith(password, newSetting());
    if (!canMatch(made)) {
        problem = "this machine's libcrypt knows no yescrypt";
        return false;
    }
    hash = made;
    return true;
}

bool canMatch(const std::string& hash) {
    return !hash.empty() && hash[0] == '$';
}

bool passwordMatches(const std::string& password, const std::string& hash) {
    return equal(hashWith(password, hash), hash);
}

void spendHash(const std::string& password) {
    static const std::string setting = newSetting();
    hashWith(password, setting);
}

bool equal(const std::string& left, const std::string& right) {
    return left.size() == right.size() && memeql_sec(left.data(), right.data(), left.size()) != 0;
}

std::string randomHex(std::size_t bytes) {
    std::string raw(bytes, '\0');
    randomBytes(reinterpret_cast<unsigned char*>(&raw[0]), bytes);
    return hex(reinterpret_cast<const unsigned char*>(raw.data()), bytes);
}

} // namespace access_control::secrets
