#include "Soap.h"

#include <tinyxml.h>

#include "host/Text.h"
#include "host/Xml.h"

namespace onvif {
namespace {

constexpr char kSoap11[] = "http://schemas.xmlsoap.org/soap/envelope/";
constexpr const char* kPrefixes[] = {"s", "tt", "tds", "trt", "timg", "ter"};

/// The namespace of an element; empty where its prefix is declared nowhere.
std::string namespaceUri(const TiXmlElement& element) {
    const std::string& name = element.ValueStr();
    const std::string::size_type colon = name.find(':');
    const std::string declaration =
        colon == std::string::npos ? "xmlns" : "xmlns:" + name.substr(0, colon);
    for (const TiXmlNode* node = &element; node != nullptr; node = node->Parent()) {
        const TiXmlElement* const holder = node->ToElement();
        if (holder != nullptr && holder->Attribute(declaration.c_str()) != nullptr) {
            return holder->Attribute(declaration.c_str());
        }
    }
    return {};
}

/// Header blocks that are followed, or whose neglect harms nobody: an answer goes back on the
/// connection that the request came on, whatever an address says.
bool isUnderstood(const std::string& name) {
    for (const char* known :
         {"Security", "Action", "To", "MessageID", "ReplyTo", "FaultTo", "From", "RelatesTo"}) {
        if (name == known) {
            return true;
        }
    }
    return false;
}

bool isMandatory(const TiXmlElement& block) {
    for (const TiXmlAttribute* one = block.FirstAttribute(); one != nullptr; one = one->Next()) {
        const std::string name = one->Name();
        const std::string value = one->Value();
        if (name.substr(name.find(':') + 1) == "mustUnderstand" &&
            (value == "1" || value == "true")) {
            return true;
        }
    }
    return false;
}

Fault malformed(std::string reason) {
    return {Fault::Code::Sender, "WellFormed", "", std::move(reason), 0, 0};
}

std::string envelopeBegin() {
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<s:Envelope";
    for (const char* prefix : kPrefixes) {
        xml += std::string(" xmlns:") + prefix + "=\"" + namespaceOf(prefix) + '"';
    }
    return xml + "><s:Body>";
}

constexpr char kEnvelopeEnd[] = "</s:Body></s:Envelope>\n";

} // namespace

Fault invalid(const char* detail, std::string reason) {
    return {Fault::Code::Sender, "InvalidArgVal", detail, std::move(reason), 0, 0};
}

Fault notAuthorized(std::string reason) {
    return {Fault::Code::Sender, "NotAuthorized", "", std::move(reason), 0, 0};
}

Fault actionFailed(std::string reason) {
    return {Fault::Code::Receiver, "Action", "", std::move(reason), 0, 0};
}

Message::Message() : m_document(std::make_unique<TiXmlDocument>()) {}
Message::~Message() = default;

std::optional<Fault> Message::read(const std::string& body, const std::string& path) {
    if (!host::parseXml(body, *m_document)) {
        return malformed("The message is no XML, or nests too deep.");
    }
    const TiXmlElement& envelope = *m_document->RootElement();
    if (localName(envelope) != "Envelope") {
        return malformed("The message is no SOAP envelope.");
    }
    if (namespaceUri(envelope) == kSoap11) {
        return Fault{Fault::Code::VersionMismatch, "", "", "This service speaks SOAP 1.2.", 0, 0};
    }
    const TiXmlElement* const header = childOf(envelope, "Header");
    if (header != nullptr) {
        std::optional<Fault> fault = readHeader(*header);
        if (fault) {
            return fault;
        }
    }
    const TiXmlElement* const soapBody = childOf(envelope, "Body");
    m_request = soapBody != nullptr ? soapBody->FirstChildElement() : nullptr;
    if (m_request == nullptr) {
        return malformed("The envelope has no body with a request.");
    }
    m_operation = localName(*m_request);
    const std::string uri = namespaceUri(*m_request);
    for (const Service service : {Service::Device, Service::Media, Service::Imaging}) {
        const char* const own = namespaceOf(prefixOf(service));
        const char* const word = service == Service::Device  ? "device"
                                 : service == Service::Media ? "media"
                                                             : "imaging";
        if (uri == own || (uri.empty() && path.find(word) != std::string::npos)) {
            m_service = service;
            return std::nullopt;
        }
    }
    return Fault{Fault::Code::Receiver,
                 "ActionNotSupported",
                 "",
                 "This camera has no service of that namespace.",
                 0,
                 0};
}

std::optional<Fault> Message::readHeader(const TiXmlElement& header) {
    for (const TiXmlElement* block = header.FirstChildElement(); block != nullptr;
         block = block->NextSiblingElement()) {
        if (isMandatory(*block) && !isUnderstood(localName(*block))) {
            return Fault{Fault::Code::MustUnderstand,
                         "",
                         "",
                         "The header '" + localName(*block) + "' is not understood.",
                         0,
                         0};
        }
    }
    const TiXmlElement* const security = childOf(header, "Security");
    const TiXmlElement* const token =
        security != nullptr ? childOf(*security, "UsernameToken") : nullptr;
    if (token != nullptr) {
        UsernameToken login;
        login.user = childText(*token, "Username");
        login.password = childText(*token, "Password");
        login.nonce = childText(*token, "Nonce");
        login.created = childText(*token, "Created");
        const TiXmlElement* const password = childOf(*token, "Password");
        const std::string type = password != nullptr ? host::attribute(*password, "Type") : "";
        login.digest = type.substr(type.find('#') + 1) == "PasswordDigest";
        m_login = login;
    }
    return std::nullopt;
}

std::string localName(const TiXmlElement& element) {
    const std::string& name = element.ValueStr();
    return name.substr(name.find(':') + 1);
}

const TiXmlElement* childOf(const TiXmlElement& element, const char* name) {
    const TiXmlElement* child = element.FirstChildElement();
    while (child != nullptr && localName(*child) != name) {
        child = child->NextSiblingElement();
    }
    return child;
}

std::string childText(const TiXmlElement& element, const char* name) {
    const TiXmlElement* const child = childOf(element, name);
    return child != nullptr ? host::textOf(*child) : std::string();
}

bool answerDocument(Service service, const std::string& operation, Element answer, std::string& xml,
                    std::string& problem) {
    const Shape* const shape = answerShape(service, operation);
    if (shape == nullptr) {
        problem = operation + " has no answer";
        return false;
    }
    answer.name = operation + "Response";
    xml = envelopeBegin();
    if (!write(answer, prefixOf(service), *shape, xml, problem)) {
        return false;
    }
    xml += kEnvelopeEnd;
    return true;
}

std::string faultDocument(const Fault& fault) {
    static constexpr const char* codes[] = {"Sender", "Receiver", "VersionMismatch",
                                            "MustUnderstand"};
    std::string begin;
    std::string end;
    for (const char* subcode : {fault.subcode, fault.detail}) {
        if (*subcode != '\0') {
            begin += std::string("<s:Subcode><s:Value>ter:") + subcode + "</s:Value>";
            end += "</s:Subcode>";
        }
    }
    return envelopeBegin() + "<s:Fault><s:Code><s:Value>s:" + codes[static_cast<int>(fault.code)] +
           "</s:Value>" + begin + end + "</s:Code><s:Reason><s:Text xml:lang=\"en\">" +
           escapedXml(host::printable(fault.reason)) + "</s:Text></s:Reason></s:Fault>" +
           kEnvelopeEnd;
}

unsigned int statusOf(const Fault& fault) {
    return fault.status != 0 ? fault.status : fault.code == Fault::Code::Sender ? 400 : 500;
}

} // namespace onvif
