#include "host/Xml.h"

#include <algorithm>
#include <cctype>

#include "host/Text.h"

namespace host {
namespace {

constexpr std::size_t kLongest = 1 << 20;
constexpr int kDeepest = 64;

constexpr int kMostAttributes = 64; ///< of an element: the parser compares each with all others

/// Behind the end of a tag whose name begins at a position; npos where it has none. A '>' in quotes
/// is text, for the parser too: quotes elsewhere are an error to it.
std::size_t tagEnd(const std::string& text, std::size_t at, int& attributes) {
    char quote = '\0';
    for (; at < text.size(); ++at) {
        const char c = text[at];
        if (quote != '\0') {
            quote = c == quote ? '\0' : quote;
        } else if (c == '"' || c == '\'') {
            quote = c;
        } else if (c == '>') {
            return at + 1;
        } else {
            attributes += c == '=' ? 1 : 0;
        }
    }
    return std::string::npos;
}

std::size_t behind(const std::string& text, const char* mark, std::size_t from) {
    const std::size_t at = text.find(mark, from);
    return at == std::string::npos ? at : at + std::char_traits<char>::length(mark);
}

/// Whether the parser takes what begins with '<' and this character for an element.
bool beginsName(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return std::isalpha(byte) != 0 || c == '_' || byte >= 0x7F;
}

/// Whether a text asks too much of the parser, which calls itself for each element inside another
/// one. Sees tags only where the parser does, so that nothing in a comment, a text or an attribute
/// passes for the end of an element; what the parser reads by rules of its own is blanked out.
bool asksTooMuch(std::string& text) {
    int depth = 0;
    std::size_t at = text.find('<');
    while (at != std::string::npos) {
        const auto begins = [&text, at](const char* mark) {
            return text.compare(at, std::char_traits<char>::length(mark), mark) == 0;
        };
        if (begins("<!--")) {
            at = behind(text, "-->", at + 4);
        } else if (begins("<![CDATA[")) {
            at = behind(text, "]]>", at + 9);
        } else if (begins("<?")) {
            const std::size_t end = std::min(behind(text, "?>", at + 2), text.size());
            std::fill(text.begin() + static_cast<std::ptrdiff_t>(at),
                      text.begin() + static_cast<std::ptrdiff_t>(end), ' ');
            at = end;
        } else if (begins("</")) {
            depth -= depth > 0 ? 1 : 0;
            at += 2;
        } else if (at + 1 < text.size() && beginsName(text[at + 1])) {
            int attributes = 0;
            const std::size_t end = tagEnd(text, at + 1, attributes);
            const bool alone = end != std::string::npos && text[end - 2] == '/';
            depth += alone ? 0 : 1;
            if (depth > kDeepest || attributes > kMostAttributes) {
                return true;
            }
            at = end;
        } else {
            at = behind(text, ">", at);
        }
        at = at == std::string::npos ? at : text.find('<', at);
    }
    return false;
}

} // namespace

bool parseXml(const std::string& text, TiXmlDocument& document) {
    document.Clear();
    if (text.empty() || text.size() > kLongest || text.find('\0') != std::string::npos) {
        return false;
    }
    std::string padded = text;
    if (asksTooMuch(padded)) {
        return false;
    }
    // The parser looks a few bytes past a character that the end has cut off.
    padded.append(8, '\0');
    document.Parse(padded.c_str(), nullptr, TIXML_ENCODING_UTF8);
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
