#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "host/api/Api.h"
#include "host/api/Json.h"

namespace imgctl {

using host::api::Json;
constexpr char kPicture[] = "/picture.jpg"; ///< stands beside the API

using Query = std::vector<std::pair<std::string, std::string>>;

/// What a camera answered, or why it did not.
struct Answer {
    unsigned int status = 0; ///< of HTTP; 0: nobody answered
    std::string body;
    Json document = Json::value_t::null; ///< the body, where it is JSON
    std::string problem;                 ///< a sentence's part; empty when it did as it was asked

    bool good() const { return status >= 200 && status < 300; }
};

/// A camera that answers requests of the API, be it in this process, with a daemon on this machine,
/// or elsewhere. One thread at a time.
class Client {
public:
    Client() = default;
    virtual ~Client() = default;
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// Asks and waits for the answer. Reads are made of the camera as it is now, not as it was
    /// when it last looked.
    Answer ask(const std::string& method, const std::string& path, const Query& query = {},
               const std::string& body = {});

    /// Asks for what the camera sees. @return a JPEG file; "" with the problem
    virtual std::string picture(std::string& problem);

    /// The language of labels, for all further requests.
    void useLanguage(int language) { m_language = language; }

protected:
    /// @param problem  receives why there is no response
    virtual bool send(const host::api::Request& request, host::api::Response& response,
                      std::string& problem) = 0;

private:
    int m_language = 0;
};

/// The camera of this process, which must outlive the client.
std::unique_ptr<Client> clientOf(host::Camera& camera);

/// The camera of a daemon on this machine, asked by its Unix socket.
/// @return null where none listens
std::unique_ptr<Client> daemonOf(const std::string& socket);

/// How a camera elsewhere is reached.
struct Remote {
    std::string url;   ///< "https://cam.example:8443"
    std::string token; ///< empty: none
    std::string
        fingerprint; ///< SHA-256 of the certificate in hex, which then counts alone; may be empty
};

/// @param problem     receives why such a camera cannot be asked
/// @param understood  receives whether it was asked for in a way that means something
/// @return null then
std::unique_ptr<Client> clientOf(const Remote& remote, std::string& problem, bool& understood);

/// Reads a token: from a file that only its owner may read, else from IMGCTL_TOKEN, else none.
bool readToken(const std::string& file, std::string& token, std::string& problem);

} // namespace imgctl
