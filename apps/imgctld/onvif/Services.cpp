#include "Services.h"

#include <tinyxml.h>

#include <ctime>

#include "host/Camera.h"
#include "host/Xml.h"

namespace onvif {

using access_control::Role;

struct Services::Operation {
    Service service;
    const char* name;
    bool open; ///< clients ask it before they can log in
    Role needs;
    void (Services::*handle)(const Call& call, const Done& done);
};

const Services::Operation Services::kOperations[] = {
    {Service::Device, "GetSystemDateAndTime", true, Role::Viewer, &Services::deviceTime},
    {Service::Device, "GetServices", true, Role::Viewer, &Services::services},
    {Service::Device, "GetServiceCapabilities", true, Role::Viewer, &Services::serviceCapabilities},
    {Service::Device, "GetCapabilities", true, Role::Viewer, &Services::capabilities},
    {Service::Device, "GetDeviceInformation", false, Role::Viewer, &Services::information},
    {Service::Device, "GetScopes", false, Role::Viewer, &Services::scopes},
    {Service::Media, "GetServiceCapabilities", true, Role::Viewer, &Services::serviceCapabilities},
    {Service::Media, "GetProfiles", false, Role::Viewer, &Services::profiles},
    {Service::Media, "GetVideoSources", false, Role::Viewer, &Services::videoSources},
    {Service::Media, "GetStreamUri", false, Role::Viewer, &Services::address},
    {Service::Media, "GetSnapshotUri", false, Role::Viewer, &Services::address},
    {Service::Imaging, "GetServiceCapabilities", true, Role::Viewer,
     &Services::serviceCapabilities},
    {Service::Imaging, "GetImagingSettings", false, Role::Viewer, &Services::settings},
    {Service::Imaging, "SetImagingSettings", false, Role::Operator, &Services::setSettings},
    {Service::Imaging, "GetOptions", false, Role::Viewer, &Services::options},
    {Service::Imaging, "GetMoveOptions", false, Role::Viewer, &Services::moveOptions},
    {Service::Imaging, "Move", false, Role::Operator, &Services::move},
    {Service::Imaging, "Stop", false, Role::Operator, &Services::stop},
    {Service::Imaging, "GetStatus", false, Role::Viewer, &Services::status},
    {Service::Imaging, "GetPresets", false, Role::Viewer, &Services::presets},
    {Service::Imaging, "GetCurrentPreset", false, Role::Viewer, &Services::currentPreset},
    {Service::Imaging, "SetCurrentPreset", false, Role::Operator, &Services::setCurrentPreset},
};

namespace {

Answer faultAnswer(const Fault& fault) {
    return {statusOf(fault), faultDocument(fault), fault.retryAfter};
}

/// Whether a fault concerns the imaging service's one source.
bool needsSource(const Message& message) {
    return message.service() == Service::Imaging && message.operation() != "GetServiceCapabilities";
}

} // namespace

Services::Services(host::Camera& camera, std::function<bool()> maySave)
    : m_camera(camera), m_maySave(std::move(maySave)) {}

Services::~Services() = default;

const Services::Operation* Services::find(const Message& message) {
    for (const Operation& operation : kOperations) {
        if (operation.service == message.service() && message.operation() == operation.name) {
            return &operation;
        }
    }
    return nullptr;
}

std::optional<Fault> Services::login(const Asked& asked, const Message& message, Role needs,
                                     access_control::OnvifUser& user) {
    if (!message.login()) {
        return notAuthorized("Log in: this operation needs a WS-UsernameToken.");
    }
    const double wait = asked.attempt();
    if (wait > 0) {
        Fault fault = notAuthorized("Too many wrong tries from this address.");
        fault.status = 429;
        fault.retryAfter = static_cast<int>(wait) + 1;
        return fault;
    }
    std::optional<Fault> fault =
        m_login.check(*message.login(), *asked.accounts, asked.encrypted, std::time(nullptr),
                      std::chrono::steady_clock::now(), user);
    if (fault && fault->code == Fault::Code::Sender) {
        asked.wrong();
        return fault;
    }
    asked.right();
    if (!fault && user.role < needs) {
        return notAuthorized("Only an operator may do that.");
    }
    return fault;
}

void Services::handle(const Asked& asked, const std::function<void(Answer)>& done) {
    Message message;
    std::optional<Fault> fault = message.read(asked.body, asked.path);
    if (fault) {
        return done(faultAnswer(*fault));
    }
    const Operation* const operation = find(message);
    access_control::OnvifUser user;
    if (operation == nullptr || !operation->open) {
        fault = login(asked, message, operation != nullptr ? operation->needs : Role::Viewer, user);
        if (fault) {
            return done(faultAnswer(*fault));
        }
    }
    if (operation == nullptr) {
        return done(faultAnswer({Fault::Code::Receiver, "ActionNotSupported", "",
                                 "This camera does not do '" + message.operation() + "'.", 0, 0}));
    }
    const auto snapshot = m_camera.snapshot();
    if (snapshot == nullptr) {
        return done(faultAnswer(actionFailed("The camera is not on yet.")));
    }
    const Call call = {message, asked, *snapshot, user, {user.name, "onvif:" + user.name, {}, 0}};
    if (needsSource(message)) {
        fault = checkToken(call, "VideoSourceToken", kSourceToken, "NoSource");
        if (fault) {
            return done(faultAnswer(*fault));
        }
    }
    const Service service = message.service();
    const std::string name = message.operation();
    (this->*operation->handle)(call, [done, service, name](const Reply& reply) {
        if (reply.fault) {
            return done(faultAnswer(*reply.fault));
        }
        Answer answer;
        std::string problem;
        if (!answerDocument(service, name, reply.answer, answer.body, problem)) {
            return done(faultAnswer(actionFailed("The answer went wrong: " + problem + ".")));
        }
        done(answer);
    });
}

std::optional<Fault> checkToken(const Call& call, const char* element, const char* token,
                                const char* detail) {
    const TiXmlElement* const given = childOf(call.message.request(), element);
    if (given == nullptr) {
        return Fault{Fault::Code::Sender,
                     "InvalidArgs",
                     "",
                     std::string("The request lacks '") + element + "'.",
                     0,
                     0};
    }
    if (host::textOf(*given) != token) {
        return invalid(detail, std::string("The only '") + element + "' is " + token + ".");
    }
    return std::nullopt;
}

} // namespace onvif
