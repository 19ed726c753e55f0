#include "SelfSigned.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <gnutls/crypto.h>
#include <gnutls/x509.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <memory>

namespace access_control {
namespace {

struct KeyDeleter {
    void operator()(gnutls_x509_privkey_t key) const { gnutls_x509_privkey_deinit(key); }
};
struct CertificateDeleter {
    void operator()(gnutls_x509_crt_t certificate) const { gnutls_x509_crt_deinit(certificate); }
};
using Key = std::unique_ptr<std::remove_pointer_t<gnutls_x509_privkey_t>, KeyDeleter>;
using Certificate = std::unique_ptr<std::remove_pointer_t<gnutls_x509_crt_t>, CertificateDeleter>;

bool nameIn(gnutls_x509_crt_t certificate, const std::string& name) {
    unsigned char address[16];
    const bool v4 = inet_pton(AF_INET, name.c_str(), address) == 1;
    const bool v6 = !v4 && inet_pton(AF_INET6, name.c_str(), address) == 1;
    const bool isAddress = v4 || v6;
    const void* const data = isAddress ? static_cast<const void*>(address) : name.data();
    const std::size_t size = isAddress ? (v4 ? 4U : 16U) : name.size();
    return gnutls_x509_crt_set_subject_alt_name(
               certificate, isAddress ? GNUTLS_SAN_IPADDRESS : GNUTLS_SAN_DNSNAME, data,
               static_cast<unsigned int>(size), GNUTLS_FSAN_APPEND) == 0;
}

bool fill(gnutls_x509_crt_t certificate, gnutls_x509_privkey_t key,
          const std::vector<std::string>& names, int days) {
    unsigned char serial[16];
    gnutls_rnd(GNUTLS_RND_NONCE, serial, sizeof serial);
    serial[0] &= 0x7FU; // a positive number
    const std::time_t now = std::time(nullptr);
    bool good =
        gnutls_x509_crt_set_version(certificate, 3) == 0 &&
        gnutls_x509_crt_set_serial(certificate, serial, sizeof serial) == 0 &&
        // A little into the past, for clients whose clock is behind.
        gnutls_x509_crt_set_activation_time(certificate, now - 86400) == 0 &&
        gnutls_x509_crt_set_expiration_time(certificate, now + days * 86400LL) == 0 &&
        gnutls_x509_crt_set_dn_by_oid(certificate, GNUTLS_OID_X520_COMMON_NAME, 0, names[0].data(),
                                      static_cast<unsigned int>(names[0].size())) == 0 &&
        gnutls_x509_crt_set_key(certificate, key) == 0 &&
        gnutls_x509_crt_set_basic_constraints(certificate, 0, -1) == 0 &&
        gnutls_x509_crt_set_key_usage(certificate, GNUTLS_KEY_DIGITAL_SIGNATURE) == 0 &&
        gnutls_x509_crt_set_key_purpose_oid(certificate, GNUTLS_KP_TLS_WWW_SERVER, 0) == 0;
    for (const std::string& name : names) {
        good = good && nameIn(certificate, name);
    }
    return good && gnutls_x509_crt_sign2(certificate, certificate, key, GNUTLS_DIG_SHA256, 0) == 0;
}

bool writeNew(const std::string& path, const gnutls_datum_t& data, unsigned int mode,
              std::string& problem) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
    const bool written = fd >= 0 &&
                         write(fd, data.data, data.size) == static_cast<ssize_t>(data.size) &&
                         fsync(fd) == 0;
    if (!written) {
        problem = path + ": " + std::strerror(errno);
    }
    if (fd >= 0) {
        close(fd);
    }
    return written;
}

struct Text {
    gnutls_datum_t data{};
    Text() = default;
    ~Text() { gnutls_free(data.data); }
    Text(const Text&) = delete;
    Text& operator=(const Text&) = delete;
};

} // namespace

bool makeSelfSigned(const std::vector<std::string>& names, int days,
                    const std::string& certificatePath, const std::string& keyPath,
                    std::string& fingerprint, std::string& problem) {
    if (names.empty() || days < 1 || days > 36500) {
        problem = "a certificate has a name, and is valid for 1 to 36500 days";
        return false;
    }
    gnutls_x509_privkey_t rawKey = nullptr;
    gnutls_x509_crt_t rawCertificate = nullptr;
    if (gnutls_x509_privkey_init(&rawKey) != 0) {
        problem = "no memory";
        return false;
    }
    const Key key(rawKey);
    if (gnutls_x509_crt_init(&rawCertificate) != 0) {
        problem = "no memory";
        return false;
    }
    const Certificate certificate(rawCertificate);
    Text keyText;
    Text certificateText;
    unsigned char digest[32];
    std::size_t size = sizeof digest;
    if (gnutls_x509_privkey_generate(key.get(), GNUTLS_PK_ECDSA,
                                     GNUTLS_CURVE_TO_BITS(GNUTLS_ECC_CURVE_SECP256R1), 0) != 0 ||
        !fill(certificate.get(), key.get(), names, days) ||
        gnutls_x509_privkey_export2_pkcs8(key.get(), GNUTLS_X509_FMT_PEM, nullptr,
                                          GNUTLS_PKCS_PLAIN, &keyText.data) != 0 ||
        gnutls_x509_crt_export2(certificate.get(), GNUTLS_X509_FMT_PEM, &certificateText.data) !=
            0 ||
        gnutls_x509_crt_get_fingerprint(certificate.get(), GNUTLS_DIG_SHA256, digest, &size) != 0) {
        problem = "no certificate could be made for " + names[0];
        return false;
    }
    static constexpr char digits[] = "0123456789abcdef";
    fingerprint.clear();
    for (const unsigned char byte : digest) {
        fingerprint += digits[byte >> 4U];
        fingerprint += digits[byte & 15U];
    }
    if (!writeNew(keyPath, keyText.data, 0600, problem)) {
        return false;
    }
    if (!writeNew(certificatePath, certificateText.data, 0644, problem)) {
        unlink(keyPath.c_str()); // ours, as it was not there before
        return false;
    }
    return true;
}

} // namespace access_control
