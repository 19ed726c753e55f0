#include "Client.h"

namespace imgctl {
namespace {

class OwnCamera : public Client {
public:
    explicit OwnCamera(host::Camera& camera) : m_api(camera) {}

protected:
    bool send(const host::api::Request& request, host::api::Response& response,
              std::string& /*problem*/) override {
        response = m_api.ask(request);
        return true;
    }

private:
    host::api::Api m_api;
};

} // namespace

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
