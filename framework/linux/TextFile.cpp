#include "TextFile.h"

#include <charconv>

#include "DKFile.h"

namespace linux_framework {

bool readTextFile(const std::string& path, std::size_t limit, std::string& text) {
    DKFile file;
    if (file.open(path.c_str(), DKFile::modeRead) == 0) {
        return false;
    }
    const long long length = file.getLength();
    if (length > static_cast<long long>(limit)) {
        return false;
    }
    text.resize(static_cast<std::size_t>(length));
    return file.read(text.data(), static_cast<unsigned int>(length)) == length;
}

bool parseDecimal(const std::string& text, int& value) {
    const std::string digits = trimmed(text);
    int parsed = 0;
    const char* end = digits.data() + digits.size();
    const std::from_chars_result result = std::from_chars(digits.data(), end, parsed);
    if (result.ec != std::errc() || result.ptr != end || digits[0] == '-') {
        return false;
    }
    value = parsed;
    return true;
}

std::string trimmed(const std::string& text) {
    constexpr char kBlanks[] = " \t\r\n";
    const std::string::size_type begin = text.find_first_not_of(kBlanks);
    if (begin == std::string::npos) {
        return std::string();
    }
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

} // namespace linux_framework
