#include "DetailField.h"

#include <algorithm>
#include <cstring>

#include "TextNumber.h"

namespace {

/// @return the start of a field's value and its length; null without such a field
const char* findValue(const char* detail, const char* name, size_t& length) {
    if (detail == nullptr || name == nullptr)
        return nullptr;
    const char* found = strstr(detail, name);
    const char* equals = found ? strchr(found, '=') : nullptr;
    const char* close = equals ? strchr(equals, ')') : nullptr;
    if (close == nullptr)
        return nullptr;
    length = static_cast<size_t>(close - equals - 1);
    return equals + 1;
}

} // namespace

int getDetailFieldTou32(const char* detail, const char* name, u32* value) {
    size_t length = 0;
    const char* text = findValue(detail, name, length);
    if (text == nullptr)
        return -1;
    *value = static_cast<u32>(parseInt32(text)); // the closing parenthesis ends it
    return 0;
}

int getDetailFieldToStr(const char* detail, const char* name, char* value, u32 capacity) {
    size_t length = 0;
    const char* text = findValue(detail, name, length);
    if (text == nullptr)
        return -1;
    memcpy(value, text, std::min<size_t>(length, capacity > 0 ? capacity - 1 : 0));
    return 0;
}
