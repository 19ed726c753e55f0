#include "host/Xml.h"

#include <vector>

#include "host/Text.h"

namespace host {
namespace {

constexpr std::size_t kLongest = 1 << 20;
constexpr int kDeepest = 64;

/// Whether a text opens more elements inside each other than the parser, which calls itself for
/// each, may be given. Counts roughly, and never too little.
bool nestsTooDeep(const std::string& text) {
    int depth = 0;
    for (std::size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at + 1)) {
        const char next = at + 1 < text.size() ? text[at + 1] : '\0';
        if (next == '/') {
            --depth;
        } else if (next != '!' && next != '?') {
            const std::size_t end = text.find('>', at);
            const bool alone = end != std::string::npos && text[end - 1] == '/';
            depth += alone ? 0 : 1;
            if (depth > kDeepest) {
                return true;
            }
        }
    }
    return false;
}

} // namespace

bool parseXml(const std::string& text, TiXmlDocument& document) {
    document.Clear();
    if (text.empty() || text.size() > kLongest || text.find('\0') != std::string::npos ||
        nestsTooDeep(text)) {
        return false;
    }
    // The parser looks a few bytes past a character that the end has cut off.
    std::vector<char> padded(text.begin(), text.end());
    padded.resize(text.size() + 8, '\0');
    document.Parse(padded.data(), nullptr, TIXML_ENCODING_UTF8);
    if (document.Error() || document.RootElement() == nullptr) {
        document.Clear();
        return false;
    }
    return true;
}

std::string attribute(const TiXmlElement& element, const char* name) {
    const char* text = element.Attribute(name);
    return text == nullptr ? std::string() : text;
}

bool attribute(const TiXmlElement& element, const char* name, int& value) {
    return readInt(attribute(element, name), value);
}

std::string textOf(const TiXmlElement& element) {
    const char* text = element.GetText();
    return text == nullptr ? std::string() : trim(text);
}

} // namespace host
