#include "Client.h"

#include <chrono>

#include "host/Camera.h"
#include "host/PictureHub.h"

namespace imgctl {
namespace {

constexpr std::chrono::seconds kPatience(30); ///< a simulated picture takes a small processor ten

class OwnCamera : public Client {
public:
    explicit OwnCamera(host::Camera& camera) : m_camera(camera), m_api(camera) {}

    std::string picture(std::string& problem) override {
        using Clock = std::chrono::steady_clock;
        const Clock::time_point start = Clock::now();
        host::PictureHub::Viewer viewer(m_camera.pictures());
        host::PictureHub::Shared picture;
        while (picture == nullptr || !m_camera.pictures().isWarm()) {
            const auto next = viewer.next(std::chrono::milliseconds(500), problem);
            picture = next != nullptr ? next : picture;
            if (next == nullptr && (!problem.empty() || Clock::now() - start > kPatience)) {
                break;
            }
        }
        if (picture == nullptr) {
            problem = problem.empty() ? "no picture came" : problem;
            return std::string();
        }
        return std::string(picture->jpeg.begin(), picture->jpeg.end());
    }

protected:
    bool send(const host::api::Request& request, host::api::Response& response,
              std::string& /*problem*/) override {
        response = m_api.ask(request);
        return true;
    }

private:
    host::Camera& m_camera;
    host::api::Api m_api;
};

} // namespace

std::string Client::picture(std::string& problem) {
    host::api::Request request;
    request.method = "GET";
    request.path = kPicture;
    host::api::Response response;
    if (!send(request, response, problem)) {
        return std::string();
    }
    if (response.status != 200) {
        const Json why = Json::parse(*response.body, nullptr, false);
        problem = why.is_object() && why.contains("detail") && why["detail"].is_string()
                      ? why["detail"].get<std::string>()
                      : "it answered with status " + std::to_string(response.status);
        return std::string();
    }
    return *response.body;
}

Answer Client::ask(const std::string& method, const std::string& path, const Query& query,
                   const std::string& body) {
    host::api::Request request;
    request.method = method;
    request.path = path;
    request.query = query;
    if (method == "GET") {
        request.query.emplace_back("fresh", "1");
    }
    if (m_language != 0) {
        request.query.emplace_back("lang", std::to_string(m_language));
    }
    request.body = body;
    request.client = "imgctl";
    Answer answer;
    host::api::Response response;
    if (!send(request, response, answer.problem)) {
        return answer;
    }
    answer.status = response.status;
    answer.body = response.body != nullptr ? *response.body : std::string();
    if (response.type.find("json") != std::string::npos) {
        answer.document = Json::parse(answer.body, nullptr, false);
    }
    if (!answer.good()) {
        const Json& document = answer.document;
        answer.problem =
            document.is_object() && document.contains("detail") && document["detail"].is_string()
                ? document["detail"].get<std::string>()
                : "it answered with status " + std::to_string(answer.status);
    }
    return answer;
}

std::unique_ptr<Client> clientOf(host::Camera& camera) {
    return std::make_unique<OwnCamera>(camera);
}

} // namespace imgctl
