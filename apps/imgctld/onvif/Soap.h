#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Schema.h"

class TiXmlDocument;
class TiXmlElement;

/// Messages as SOAP 1.2 wraps them.
namespace onvif {

/// Why an operation is refused.
struct Fault {
    enum class Code { Sender, Receiver, VersionMismatch, MustUnderstand };
    Code code = Code::Sender;
    const char* subcode = ""; ///< ONVIF's: "InvalidArgVal"
    const char* detail = "";  ///< its second one, where there is one: "NoSource"
    std::string reason;       ///< a sentence
    unsigned int status = 0;  ///< of HTTP; 0: as SOAP has it
    int retryAfter = 0;       ///< seconds; 0: none
};

Fault invalid(const char* detail, std::string reason); ///< InvalidArgVal
Fault notAuthorized(std::string reason);
Fault actionFailed(std::string reason); ///< of the camera, no fault of the sender

/// A login as a message carries it.
struct UsernameToken {
    std::string user;
    std::string password; ///< or its digest
    bool digest = false;
    std::string nonce; ///< in base64
    std::string created;
};

/// A request that has been read. Elements are found by their local names: every client has prefixes
/// of its own.
class Message {
public:
    Message();
    ~Message();

    /// @param path  that it was sent to, which tells the service where its namespace does not
    std::optional<Fault> read(const std::string& body, const std::string& path);

    Service service() const { return m_service; }
    const std::string& operation() const { return m_operation; }
    const TiXmlElement& request() const { return *m_request; }
    const std::optional<UsernameToken>& login() const { return m_login; }

private:
    std::optional<Fault> readHeader(const TiXmlElement& header);

    std::unique_ptr<TiXmlDocument> m_document;
    const TiXmlElement* m_request = nullptr;
    Service m_service = Service::Device;
    std::string m_operation;
    std::optional<UsernameToken> m_login;
};

/// The local name of an element, "Brightness" of "tt:Brightness".
std::string localName(const TiXmlElement& element);
/// The first child of a local name, or null.
const TiXmlElement* childOf(const TiXmlElement& element, const char* name);
/// Its text without blanks around it; empty where there is none.
std::string childText(const TiXmlElement& element, const char* name);

/// An answer as a whole document. @return false with what does not follow the schema
bool answerDocument(Service service, const std::string& operation, Element answer, std::string& xml,
                    std::string& problem);
std::string faultDocument(const Fault& fault);

/// The status of HTTP that goes with a fault.
unsigned int statusOf(const Fault& fault);

} // namespace onvif
