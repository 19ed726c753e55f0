#include <algorithm>
#include <cctype>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <sstream>
#include <thread>

#include "Daemon.h"
#include "SimulatedImageAdjust.h"
#include "host/api/Api.h"
#include "host/api/Json.h"

namespace {

using host::api::Json;

/// Holds documents against the schemas of the description: those of their words that it uses.
class Description {
public:
    Description() {
        std::ifstream file(IMGCTL_SOURCE_DIR "/apps/imgctld/openapi.json");
        document = Json::parse(file);
    }

    const Json& resolved(const Json& node) const {
        const auto reference = node.find("$ref");
        return reference == node.end()
                   ? node
                   : document.at(Json::json_pointer(reference->get<std::string>().substr(1)));
    }

    /// @return what does not fit, and where; empty: nothing
    std::string misfit(const Json& unresolved, const Json& value, const std::string& where) {
        const Json& schema = resolved(unresolved);
        if (schema.contains("oneOf")) {
            std::string all;
            for (const Json& one : schema["oneOf"]) {
                const std::string wrong = misfit(one, value, where);
                if (wrong.empty()) {
                    return "";
                }
                all += "\n  " + wrong;
            }
            return where + " is none of:" + all;
        }
        if (schema.contains("type") && !isOf(schema["type"], value)) {
            return where + " is no " + schema["type"].dump() + ": " + value.dump();
        }
        if (schema.contains("enum") && std::find(schema["enum"].begin(), schema["enum"].end(),
                                                 value) == schema["enum"].end()) {
            return where + " is none of the words: " + value.dump();
        }
        std::string wrong;
        if (value.is_array()) {
            for (std::size_t i = 0; i < value.size() && wrong.empty(); ++i) {
                wrong = misfit(schema.at("items"), value[i], where + "/" + std::to_string(i));
            }
        }
        return value.is_object() && wrong.empty() ? misfitOfObject(schema, value, where) : wrong;
    }

    /// The members that are said to be always there, and in no answer were.
    std::string unseen() const {
        std::string list;
        std::function<void(const Json&, const std::string&)> walk = [&](const Json& node,
                                                                        const std::string& where) {
            if (node.is_object() && node.contains("properties") && node["properties"].is_object()) {
                const Json required = node.value("required", Json::array());
                for (const Json& name : required) {
                    if (m_seen.count(&node["properties"][name.get<std::string>()]) == 0) {
                        list += where + "/" + name.get<std::string>() + "\n";
                    }
                }
            }
            for (const auto& [name, inner] : node.items()) {
                if (inner.is_structured()) {
                    walk(inner,
                         name == "properties" || name == "items" ? where : where + "/" + name);
                }
            }
        };
        walk(document["components"]["schemas"], "");
        return list;
    }

    Json document;

private:
    static bool isOf(const Json& types, const Json& value) {
        if (types.is_array()) {
            return std::any_of(types.begin(), types.end(),
                               [&value](const Json& type) { return isOf(type, value); });
        }
        const std::string type = types;
        return type == "integer"   ? value.is_number_integer()
               : type == "string"  ? value.is_string()
               : type == "number"  ? value.is_number()
               : type == "boolean" ? value.is_boolean()
               : type == "array"   ? value.is_array()
               : type == "object"  ? value.is_object()
                                   : type == "null" && value.is_null();
    }

    std::string misfitOfObject(const Json& schema, const Json& value, const std::string& where) {
        static const Json none = Json::object();
        const Json& known = schema.contains("properties") ? schema["properties"] : none;
        if (schema.contains("required")) {
            for (const Json& name : schema["required"]) {
                if (!value.contains(name.get<std::string>())) {
                    return where + " lacks " + name.dump();
                }
            }
        }
        for (const auto& [name, member] : value.items()) {
            const auto property = known.find(name);
            const auto others = schema.find("additionalProperties");
            std::string wrong;
            if (property != known.end()) {
                m_seen.insert(&*property);
                wrong = misfit(*property, member, where + "/" + name);
            } else if (others != schema.end() && others->is_object()) {
                wrong = misfit(*others, member, where + "/" + name);
            } else if (others != schema.end()) {
                wrong = where + " has an undocumented " + name;
            }
            if (!wrong.empty()) {
                return wrong;
            }
        }
        return "";
    }

    std::set<const Json*> m_seen;
};

bool matches(const std::string& pattern, const std::string& path) {
    std::istringstream left(pattern);
    std::istringstream right(path);
    std::string one;
    std::string other;
    while (std::getline(left, one, '/')) {
        if (!std::getline(right, other, '/') || (one[0] != '{' && one != other)) {
            return false;
        }
    }
    return !std::getline(right, other, '/');
}

std::string lower(std::string text) {
    for (char& c : text) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return text;
}

TEST_F(Daemon, IsAsItsDescriptionSays) {
    start();
    Description described;
    std::set<std::string> routes;
    for (const host::api::Route& route : host::api::routes()) {
        routes.insert(lower(route.method) + " /api/v1" + route.pattern + " " + nameOf(route.needs));
    }
    for (const imgctld::OwnRoute& route : imgctld::ownRoutes()) {
        routes.insert(lower(route.method) + " " + route.path + " " +
                      (route.open ? "open" : nameOf(route.needs)));
    }
    std::set<std::string> documented;
    for (const auto& [path, methods] : described.document["paths"].items()) {
        for (const auto& [method, operation] : methods.items()) {
            documented.insert(method + " " + path + " " + operation["x-role"].get<std::string>());
        }
    }
    EXPECT_EQ(documented, routes);

    std::set<std::string> toured;
    std::string boss = as("administrator");
    const auto tour = [&](const std::string& method, const std::string& target,
                          const std::string& body = "", int status = 200) -> std::string {
        const std::string path = target.substr(0, target.find('?'));
        const bool stream = path == "/video.mjpg" || path == "/api/v1/events";
        const bool import = path == "/api/v1/import";
        RawClient client(port);
        client.send(request(
            method, target,
            boss + (import ? "Content-Type: application/vnd.imgctl.schemes\r\n" : ""), body));
        const Answer answer = client.answer(!stream);
        EXPECT_EQ(answer.status, status) << method << " " << target << "\n" << answer.body;
        for (const auto& [pattern, methods] : described.document["paths"].items()) {
            if (!matches(pattern, path) || !methods.contains(lower(method))) {
                continue;
            }
            toured.insert(method + pattern);
            const Json& responses = methods[lower(method)]["responses"];
            const std::string code = std::to_string(answer.status);
            const Json& response = described.resolved(
                responses.contains(code) ? responses[code] : responses["default"]);
            const std::string type = answer.header("content-type");
            const std::string plain = type.substr(0, type.find(';'));
            const bool known = response["content"].contains(plain);
            EXPECT_TRUE(known) << method << " " << target << " " << type;
            if (known && plain.find("json") != std::string::npos) {
                EXPECT_EQ(described.misfit(response["content"][plain]["schema"],
                                           Json::parse(answer.body), ""),
                          "")
                    << method << " " << target;
            }
            return answer.body;
        }
        ADD_FAILURE() << method << " " << target << " is in no description";
        return answer.body;
    };
    const std::string v = "/api/v1";
    tour("PUT", v + "/parameters/brightness", R"({"value":60})");
    tour("PUT", v + "/parameters/brightness", R"({"value":6000})", 422);
    tour("PATCH", v + "/parameters",
         R"({"values":[{"key":34,"value":61},{"key":2337,"value":55}]})");
    tour("PATCH", v + "/parameters?dry-run=1", R"({"values":{"34":62}})");
    tour("POST", v + "/apply", R"({"values":{"contrast":120}})");
    tour("POST", v + "/settle");
    tour("PUT", v + "/schemes/1", R"({"enabled":true,"start":"20:00","end":"24:00"})");
    tour("PUT", v + "/schemes/0", R"({"enabled":true,"start":"08:00","end":"18:00"})");
    tour("PUT", v + "/schemes", R"({"schemes":[{"number":2,"start":"18:00","end":"20:00"}]})");
    tour("PUT", v + "/schemes", R"({"sequence":1,"schemes":[{"number":2,"enabled":true}]})", 409);
    tour("GET", v + "/light");
    tour("GET", v + "/plan?hours=24");
    tour("GET", v + "/camera");
    tour("GET", v + "/parameters");
    tour("GET", v + "/parameters/34");
    tour("GET", v + "/diff?against=factory");
    tour("GET", v + "/compare?a=0&b=1");
    tour("GET", v + "/explain/brightness");
    tour("GET", v + "/explain/dark");
    tour("POST", v + "/trial", R"({"seconds":30,"values":{"contrast":200}})");
    tour("GET", v + "/trial");
    tour("GET", v + "/camera");
    tour("POST", v + "/trial/keep");
    tour("POST", v + "/trial", R"({"seconds":30,"values":{"contrast":201}})");
    tour("DELETE", v + "/trial");
    tour("DELETE", v + "/trial", "", 404);
    tour("GET", v + "/schemes");
    tour("GET", v + "/schemes/1");
    tour("POST", v + "/schemes/0/copy", R"({"to":2})");
    tour("POST", v + "/schemes/2/activate");
    tour("GET", v + "/plan?hours=24");
    tour("POST", v + "/plan",
         R"({"schemes":[{"number":2,"enabled":true,"start":"07:00","end":"09:00"}]})");
    tour("PUT", v + "/mode", R"({"mode":"manual"})");
    tour("GET", v + "/history");
    tour("POST", v + "/undo", R"({"entry":1})", 409);
    tour("POST", v + "/lens/read");
    tour("POST", v + "/restore");
    // A folder stands where a scheme's file belongs.
    const std::string file = root + "/mnt/mtd/code/config_file/sensor2.cfg";
    std::filesystem::remove(file);
    std::filesystem::create_directories(file + "/x");
    tour("POST", v + "/save", "", 507);
    tour("POST", v + "/save", "", 429);
    std::filesystem::remove_all(file);
    const std::string schemes = tour("GET", v + "/export");
    tour("POST", v + "/import?dry-run=1", schemes);
    tour("POST", v + "/import?dry-run=1", "nonsense", 422);
    tour(
        "PUT", v + "/simulator",
        R"({"light":20,"fog":30,"faults":[{"command":34,"code":-1}],"limits":[{"command":34,"default":60,"items":[60,61]}]})");
    EXPECT_EQ(
        tour("GET", v + "/simulator"),
        R"({"light":20,"fog":30,"lamp":30,"shake":0,"unplugged":false,)"
        R"("faults":[{"command":34,"code":-1,"count":0}],"limits":[{"command":34,"default":60,"items":[60,61]}]})");
    tour("GET", v + "/style");
    tour("GET", v + "/languages");
    tour("GET", v + "/languages/0");
    tour("POST", v + "/users", R"({"name":"eve","role":"viewer","password":"ten letters"})");
    tour("GET", v + "/users");
    tour("PUT", v + "/users/eve", R"({"role":"monitor"})");
    tour("DELETE", v + "/users/eve");
    tour("DELETE", v + "/users/eve", "", 422);
    tour("POST", v + "/tokens", R"({"name":"t","role":"viewer","days":1})", 201);
    tour("GET", v + "/tokens");
    tour("DELETE", v + "/tokens/t");
    tour("GET", v + "/events");
    tour("GET", v + "/openapi.json");
    tour("GET", v + "/session");
    tour("GET", "/metrics");
    tour("GET", "/health");
    tour("GET", "/picture.jpg");
    tour("GET", "/video.mjpg");
    tour("PUT", v + "/simulator", R"({"light":101})", 400);
    tour("PUT", v + "/simulator", R"({"limits":[{"command":35,"default":1,"items":[]}]})", 422);
    tour("PUT", v + "/simulator", R"({"light":100,"unplugged":true,"faults":[],"limits":[]})");
    tour("GET", "/health");
    tour("PUT", v + "/parameters/34", R"({"value":66})", 503);
    tour("PUT", v + "/simulator", R"({"unplugged":false})");
    tour("POST", v + "/reload");
    // The device takes no value any more: what is wanted and what it has are two things then.
    tour("POST", v + "/schemes/0/activate");
    simulated_ia::fail(34, -1);
    tour("PUT", v + "/parameters/34", R"({"value":77})", 502);
    tour("POST", v + "/schemes/1/activate");
    // It is told when the camera has compared again.
    for (int i = 0;
         i < 100 && ask("GET", v + "/camera", boss).body.find("\"wanted\"") == std::string::npos;
         ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    tour("GET", v + "/camera");
    simulated_ia::fail(34, 0);
    std::this_thread::sleep_for(std::chrono::seconds(2)); // as the save before wrote the flash
    tour("POST", v + "/reset");
    tour("POST", v + "/login",
         std::string(R"({"name":"administrator","password":")") + kPassword + "\"}");
    tour("POST", v + "/logout");
    EXPECT_EQ(toured.size(), documented.size());
    EXPECT_EQ(described.unseen(), "");
}

} // namespace
