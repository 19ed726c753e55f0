#include "Shown.h"

#include <algorithm>
#include <cstdint>

#include "host/Text.h"

namespace imgctl {
namespace {

/// Characters, not bytes.
std::size_t lengthOf(const std::string& text) {
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
        return (static_cast<unsigned char>(c) & 0xc0) != 0x80;
    }));
}

std::string blanks(const std::string& text, std::size_t width) {
    return std::string(width - std::min(width, lengthOf(text)), ' ');
}

} // namespace

std::string textOf(const Json& object, const char* member) {
    const auto found = object.find(member);
    if (found == object.end() || found->is_null()) {
        return "";
    }
    return found->is_string() ? found->get<std::string>() : found->dump();
}

std::string numberOf(const Json& object, const char* member, const char* otherwise) {
    const std::string text = textOf(object, member);
    return text.empty() ? otherwise : text;
}

std::string valueOf(const Json& object, const char* number, const char* name) {
    const std::string plain = numberOf(object, number);
    const std::string named = textOf(object, name);
    return named.empty() || named == plain ? plain : named + " (" + plain + ")";
}

std::string rangeOf(const Json& range) {
    if (!range.is_object()) {
        return "-";
    }
    if (range.contains("items")) {
        std::string text = listOf(range["items"]);
        text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
        return text;
    }
    const std::string step = numberOf(range, "step", "1");
    return numberOf(range, "min") + ".." + numberOf(range, "max") +
           (step == "1" ? "" : " in steps of " + step);
}

std::string listOf(const Json& list) {
    std::string text;
    for (const Json& one : list) {
        text +=
            (text.empty() ? "" : ", ") + (one.is_string() ? one.get<std::string>() : one.dump());
    }
    return text;
}

std::string column(const std::string& text, std::size_t width) {
    return text + blanks(text, width) + "  ";
}

std::string rightColumn(const std::string& text, std::size_t width) {
    return blanks(text, width) + text + "  ";
}

Json typedValue(const std::string& text) {
    long long number = 0;
    if (!host::readNumber(text, number)) {
        return text;
    }
    return std::clamp<long long>(number, INT32_MIN, INT32_MAX);
}

} // namespace imgctl
