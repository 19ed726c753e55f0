#include "host/api/Json.h"

#include <cstdint>
#include <limits>
#include <set>
#include <vector>

namespace host::api {
namespace {

constexpr std::size_t kDeepest = 16;

/// Builds a value while it is read, and stops at the first thing that is not taken.
class Builder : public nlohmann::json_sax<Json> {
public:
    explicit Builder(Json& result) : m_result(result) {}

    std::string problem;

    bool null() override { return add(nullptr); }
    bool boolean(bool value) override { return add(value); }
    bool string(string_t& value) override { return add(std::move(value)); }
    bool binary(binary_t&) override { return refuse("Binary data is not taken."); }

    bool number_integer(number_integer_t value) override {
        if (value < std::numeric_limits<std::int32_t>::min()) {
            return refuse("A number is too small.");
        }
        return add(value);
    }
    bool number_unsigned(number_unsigned_t value) override {
        if (value > std::numeric_limits<std::uint32_t>::max()) {
            return refuse("A number is too large.");
        }
        return add(value);
    }
    bool number_float(number_float_t, const string_t&) override {
        return refuse("Only whole numbers are taken.");
    }

    bool start_object(std::size_t) override {
        m_names.emplace_back();
        return open(Json::object());
    }
    bool key(string_t& name) override {
        if (!m_names.back().insert(name).second) {
            return refuse("A name is there twice in one object.");
        }
        m_name = std::move(name);
        return true;
    }
    bool end_object() override {
        m_names.pop_back();
        m_open.pop_back();
        return true;
    }
    bool start_array(std::size_t) override { return open(Json::array()); }
    bool end_array() override {
        m_open.pop_back();
        return true;
    }
    bool parse_error(std::size_t position, const std::string&,
                     const nlohmann::detail::exception&) override {
        return refuse("The body is no JSON, from byte " + std::to_string(position) + " on.");
    }

private:
    bool refuse(std::string why) {
        problem = std::move(why);
        return false;
    }

    template <typename Value>
    Json& place(Value&& value) {
        if (m_open.empty()) {
            m_result = std::forward<Value>(value);
            return m_result;
        }
        Json& parent = *m_open.back();
        if (parent.is_array()) {
            parent.push_back(std::forward<Value>(value));
            return parent.back();
        }
        return parent[m_name] = std::forward<Value>(value);
    }

    template <typename Value>
    bool add(Value&& value) {
        place(Json(std::forward<Value>(value)));
        return true;
    }

    bool open(Json container) {
        if (m_open.size() >= kDeepest) {
            return refuse("The body has more than 16 levels.");
        }
        m_open.push_back(&place(std::move(container)));
        return true;
    }

    Json& m_result;
    std::vector<Json*> m_open; // a container is complete before its parent grows again
    std::vector<std::set<std::string>> m_names;
    std::string m_name;
};

} // namespace

Json parse(const std::string& text, std::string& problem) {
    Json result;
    Builder builder(result);
    if (!Json::sax_parse(text, &builder)) {
        problem = builder.problem;
        return Json(Json::value_t::discarded);
    }
    return result;
}

std::string text(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace host::api
