#include <curl/curl.h>

#include <algorithm>
#include <cstring>

#include "Away.h"
#include "host/Text.h"
#include "host/access/Secrets.h"
#include "host/access/SelfSigned.h"

namespace imgctl {
namespace {

constexpr std::size_t kMostAnswer = 16UL << 20;
constexpr long kMostSeconds = 60;

std::size_t receive(char* data, std::size_t size, std::size_t count, void* target) {
    std::string& text = *static_cast<std::string*>(target);
    const std::size_t more = size * count;
    if (text.size() + more > kMostAnswer) {
        return 0;
    }
    text.append(data, more);
    return more;
}

/// The bytes of a PEM certificate.
std::string bytesOfPem(const std::string& pem) {
    std::string bytes;
    unsigned int bits = 0;
    int count = 0;
    const std::size_t begin = pem.find("-----\n");
    for (std::size_t i = begin == std::string::npos ? pem.size() : begin + 6;
         i < pem.size() && pem[i] != '-'; ++i) {
        static const std::string digits =
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        const std::size_t digit = digits.find(pem[i]);
        if (digit == std::string::npos) {
            continue;
        }
        bits = bits << 6 | static_cast<unsigned int>(digit);
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes += static_cast<char>(bits >> count & 0xff);
        }
    }
    return bytes;
}

/// Fingerprints as programs print them: with colons or without, in either case.
std::string plainFingerprint(const std::string& text) {
    std::string plain = host::lowered(text);
    plain.erase(std::remove(plain.begin(), plain.end(), ':'), plain.end());
    return plain;
}

class Elsewhere : public Client {
public:
    explicit Elsewhere(Remote remote) : m_remote(std::move(remote)), m_curl(curl_easy_init()) {
        m_remote.fingerprint = plainFingerprint(m_remote.fingerprint);
    }
    ~Elsewhere() override { curl_easy_cleanup(m_curl); }

protected:
    bool send(const host::api::Request& request, host::api::Response& response,
              std::string& problem) override {
        if (m_curl == nullptr) {
            problem = "no memory";
            return false;
        }
        curl_easy_reset(m_curl);
        const std::string url = urlOf(request);
        std::string body;
        char error[CURL_ERROR_SIZE] = "";
        const bool sends = request.method != "GET";
        const bool import = request.path == "/import";
        curl_slist* headers = nullptr;
        if (sends) {
            headers =
                curl_slist_append(headers, (std::string("Content-Type: ") +
                                            (import ? host::api::kSchemesType : "application/json"))
                                               .c_str());
        }
        if (!m_remote.token.empty()) {
            headers =
                curl_slist_append(headers, ("Authorization: Bearer " + m_remote.token).c_str());
        }
        set(CURLOPT_URL, url.c_str());
        set(CURLOPT_CUSTOMREQUEST, request.method.c_str());
        set(CURLOPT_PROTOCOLS_STR, "http,https");
        set(CURLOPT_PROXY, ""); // a camera's token goes to nobody else
        set(CURLOPT_HTTPHEADER, headers);
        set(CURLOPT_ERRORBUFFER, error);
        set(CURLOPT_NOSIGNAL, 1L);
        set(CURLOPT_CONNECTTIMEOUT, 10L);
        set(CURLOPT_TIMEOUT, kMostSeconds);
        set(CURLOPT_WRITEFUNCTION, &receive);
        set(CURLOPT_WRITEDATA, static_cast<void*>(&body));
        if (sends) {
            set(CURLOPT_POSTFIELDSIZE, static_cast<long>(request.body.size()));
            set(CURLOPT_POSTFIELDS, request.body.c_str());
        }
        if (!m_remote.fingerprint.empty()) {
            // The one certificate counts, whoever signed it and whatever name is in it.
            set(CURLOPT_SSL_VERIFYPEER, 0L);
            set(CURLOPT_SSL_VERIFYHOST, 0L);
            set(CURLOPT_CERTINFO, 1L);
            set(CURLOPT_FRESH_CONNECT, 1L);
            set(CURLOPT_PREREQFUNCTION, &Elsewhere::checkCertificate);
            set(CURLOPT_PREREQDATA, static_cast<void*>(this));
        }
        m_shown.clear();
        const CURLcode result = curl_easy_perform(m_curl);
        curl_slist_free_all(headers);
        if (result != CURLE_OK) {
            problem = problemOf(result, error);
            return false;
        }
        long status = 0;
        const char* type = nullptr;
        curl_easy_getinfo(m_curl, CURLINFO_RESPONSE_CODE, &status);
        curl_easy_getinfo(m_curl, CURLINFO_CONTENT_TYPE, &type);
        response.status = static_cast<unsigned int>(status);
        response.type = type != nullptr ? type : "";
        response.body = std::make_shared<const std::string>(std::move(body));
        return true;
    }

private:
    template <typename Value>
    void set(CURLoption option, Value value) {
        curl_easy_setopt(m_curl, option, value);
    }

    /// Called when the connection stands and nothing has been sent.
    static int checkCertificate(void* self, char*, char*, int, int) {
        Elsewhere& client = *static_cast<Elsewhere*>(self);
        curl_certinfo* chain = nullptr;
        if (curl_easy_getinfo(client.m_curl, CURLINFO_CERTINFO, &chain) == CURLE_OK &&
            chain != nullptr && chain->num_of_certs > 0) {
            for (const curl_slist* line = chain->certinfo[0]; line != nullptr; line = line->next) {
                if (std::strncmp(line->data, "Cert:", 5) == 0) {
                    client.m_shown = access_control::secrets::sha256(bytesOfPem(line->data + 5));
                }
            }
        }
        return client.m_shown == client.m_remote.fingerprint ? CURL_PREREQFUNC_OK
                                                             : CURL_PREREQFUNC_ABORT;
    }

    std::string urlOf(const host::api::Request& request) const {
        std::string url = m_remote.url;
        url += request.path == kPicture ? "" : "/api/v1";
        std::string part;
        for (const char c : request.path + "/") {
            if (c != '/') {
                part += c;
                continue;
            }
            url += escaped(part) + "/";
            part.clear();
        }
        url.pop_back();
        char separator = '?';
        for (const auto& [name, value] : request.query) {
            url += separator + name + "=" + escaped(value);
            separator = '&';
        }
        return url;
    }

    std::string escaped(const std::string& text) const {
        char* const made = curl_easy_escape(m_curl, text.c_str(), static_cast<int>(text.size()));
        std::string result = made != nullptr ? made : "";
        curl_free(made);
        return result;
    }

    std::string problemOf(CURLcode result, const char* error) const {
        const std::string& where = m_remote.url;
        if (!m_remote.fingerprint.empty() && m_shown != m_remote.fingerprint &&
            (result == CURLE_ABORTED_BY_CALLBACK)) {
            return where + " shows another certificate: SHA-256 " +
                   (m_shown.empty() ? "unknown" : m_shown);
        }
        return where + " does not answer: " +
               (error[0] != '\0' ? std::string(error) : curl_easy_strerror(result));
    }

    Remote m_remote;
    CURL* m_curl;
    std::string m_shown; ///< the certificate's fingerprint
};

std::unique_ptr<Client> elsewhere(const Remote& remote) {
    return std::make_unique<Elsewhere>(remote);
}

} // namespace

extern "C" {
extern const Away imgctl_away; // by the name that kAway says
const Away imgctl_away = {elsewhere, access_control::makeSelfSigned};
}

} // namespace imgctl
