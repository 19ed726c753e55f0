#include "Certificate.h"

#include <gnutls/gnutls.h>
#include <gnutls/x509.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

namespace imgctld {
namespace {

bool readText(const std::string& path, std::string& text, std::string& problem) {
    std::ifstream file(path, std::ios::binary);
    text.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    if (!file || text.empty()) {
        problem = path + ": " + (errno != 0 ? std::strerror(errno) : "empty");
        return false;
    }
    return true;
}

/// The rights of others that a key must not have. In the folder of credentials, which systemd shuts
/// to others, the group's right is how an access list for this service alone shows.
unsigned int rightsOfOthers(const std::string& key) {
    const char* const credentials = std::getenv("CREDENTIALS_DIRECTORY");
    const bool given = credentials != nullptr && *credentials != '\0' &&
                       key.compare(0, key.rfind('/'), credentials) == 0;
    return given ? 037U : 077U;
}

} // namespace

bool readCertificate(const std::string& certificate, const std::string& key,
                     http::HttpServer::Tls& tls, long long& expires, std::string& problem) {
    struct stat status {};
    if (stat(key.c_str(), &status) != 0) {
        problem = key + ": " + std::strerror(errno);
        return false;
    }
    if ((status.st_mode & rightsOfOthers(key)) != 0) {
        problem = key + " can be read by others; chmod 600 it";
        return false;
    }
    http::HttpServer::Tls read;
    if (!readText(certificate, read.certificate, problem) || !readText(key, read.key, problem)) {
        return false;
    }
    gnutls_x509_crt_t parsed = nullptr;
    gnutls_x509_crt_init(&parsed);
    gnutls_datum_t data = {reinterpret_cast<unsigned char*>(&read.certificate[0]),
                           static_cast<unsigned int>(read.certificate.size())};
    const int error = gnutls_x509_crt_import(parsed, &data, GNUTLS_X509_FMT_PEM);
    expires = error == 0 ? gnutls_x509_crt_get_expiration_time(parsed) : 0;
    gnutls_x509_crt_deinit(parsed);
    if (error != 0) {
        problem = certificate + ": " + gnutls_strerror(error);
        return false;
    }
    // A running service is not to find out with its old certificate already gone.
    gnutls_datum_t keyData = {reinterpret_cast<unsigned char*>(&read.key[0]),
                              static_cast<unsigned int>(read.key.size())};
    gnutls_certificate_credentials_t both = nullptr;
    gnutls_certificate_allocate_credentials(&both);
    const int mismatch =
        gnutls_certificate_set_x509_key_mem(both, &data, &keyData, GNUTLS_X509_FMT_PEM);
    gnutls_certificate_free_credentials(both);
    if (mismatch < 0) {
        problem = key + ": " + gnutls_strerror(mismatch);
        return false;
    }
    tls = std::move(read);
    return true;
}

} // namespace imgctld
