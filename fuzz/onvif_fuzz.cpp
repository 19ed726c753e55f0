#include <future>

#include <tinyxml.h>

#include "FuzzCamera.h"
#include "LinuxFramework.h"
#include "SimulatedImageAdjust.h"
#include "host/Camera.h"
#include "host/Xml.h"
#include "onvif/Services.h"

namespace {

constexpr char kPassword[] = "00112233445566778899"; ///< as the corpus has it

/// A camera of its own; what came before in this process keeps its values, as a camera's would.
host::Camera& startedCamera() {
    static host::Camera camera;
    static const bool started = [] {
        host::CameraOptions options;
        options.device = linux_framework::deviceRoot();
        options.detail = "(max_scheme=2)(lensType=motor)";
        simulated_ia::reset();
        return !camera.start(options);
    }();
    require(started, "the camera starts");
    return camera;
}

} // namespace

/// A message to the services, over a connection on which the password may stand in it. Whatever it
/// is, one answer comes, of ONVIF's schema.
void tryInput(const std::string& input) {
    static onvif::Services services(startedCamera(), [] { return true; });
    auto accounts = std::make_shared<access_control::Accounts>();
    accounts->onvif.push_back({"operator", access_control::Role::Operator, kPassword});
    onvif::Asked asked;
    asked.path = "/onvif/imaging_service";
    asked.body = input;
    asked.base = "http://camera";
    asked.encrypted = true;
    asked.accounts = accounts;
    asked.attempt = [] { return 0.0; };
    asked.right = asked.wrong = [] {};
    const auto promise = std::make_shared<std::promise<onvif::Answer>>();
    std::future<onvif::Answer> future = promise->get_future();
    services.handle(asked, [promise](const onvif::Answer& given) { promise->set_value(given); });
    require(future.wait_for(std::chrono::seconds(15)) == std::future_status::ready,
            "every message is answered");
    const onvif::Answer answer = future.get();
    TiXmlDocument document;
    require(host::parseXml(answer.body, document), "an answer is XML");
    const TiXmlElement* const body = onvif::childOf(*document.RootElement(), "Body");
    require(body != nullptr, "an answer has a body");
    require((onvif::childOf(*body, "Fault") != nullptr) == (answer.status != 200),
            "a fault, and nothing else, has a status of its own");
    require(answer.body.find("\">The answer went wrong") == std::string::npos,
            "an answer follows the schema");
}
