#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

/// JSON as the API speaks it: members in the order in which they are written.
namespace host::api {

using Json = nlohmann::ordered_json;

/// Reads a text from outside: UTF-8, whole numbers of 32 bits, at most 16 levels, no name twice in
/// an object, nothing behind the value.
/// @param problem  receives a sentence
/// @return the value; a discarded one when it is not taken
Json parse(const std::string& text, std::string& problem);

/// A text of a value. What is no UTF-8 in it is replaced, so that any name can be shown.
std::string text(const Json& json);

template <typename Value>
Json orNull(const std::optional<Value>& value) {
    return value ? Json(*value) : Json(nullptr);
}

/// "text", or null for an empty one.
inline Json textOrNull(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

} // namespace host::api
