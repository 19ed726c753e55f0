#include "ModuleConfigureParser.h"

#include <tinyxml.h>

#include <cstring>
#include <new>

#include "TextFile.h"

namespace {

// TinyXML looks each attribute up among those before it, so an element full
// of them must stay small.
constexpr std::size_t kLongestFile = 16UL * 1024;
constexpr int kDeepestNesting = 64;

bool isContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

/// UTF-8 in whole sequences and without NULs: the XML reader trusts lead bytes to the point of
/// reading beyond the end of its text.
bool isSoundUtf8(const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const auto lead = static_cast<unsigned char>(text[at++]);
        if (lead == 0 || (lead >= 0x80 && lead < 0xC2) || lead > 0xF4) {
            return false;
        }
        for (int rest = (lead >= 0xC2) + (lead >= 0xE0) + (lead >= 0xF0); rest > 0; --rest) {
            if (at == text.size() || !isContinuation(text[at++])) {
                return false;
            }
        }
    }
    return true;
}

/// The end of a tag whose '<' is at the given place; npos when it has none, or when a '<' stands in
/// it, which is what would let quotes hide tags from this scan.
std::size_t endOfTag(const std::string& text, std::size_t at) {
    char quote = '\0';
    while (++at < text.size() && text[at] != '<') {
        const char c = text[at];
        if (quote == '\0' && c == '>') {
            return at;
        }
        if (quote == '\0' && (c == '"' || c == '\'')) {
            quote = c;
        } else if (c == quote) {
            quote = '\0';
        }
    }
    return std::string::npos;
}

/// Whether the XML reader, which calls itself for every element in an element, gets by with little
/// stack. Where in doubt an element is taken to stay open.
bool isShallow(const std::string& text) {
    int depth = 0;
    for (std::size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at)) {
        if (text.compare(at, 4, "<!--") == 0) {
            at = text.find("-->", at + 4);
        } else if (text.compare(at, 9, "<![CDATA[") == 0) {
            at = text.find("]]>", at + 9);
        } else {
            const std::size_t end = endOfTag(text, at);
            const char kind = text[at + 1]; // of a string: its NUL at the end
            if (end != std::string::npos && kind == '/') {
                --depth;
            } else if (end != std::string::npos && kind != '!' && kind != '?') {
                ++depth;
                if (depth > kDeepestNesting) {
                    return false;
                }
                depth -= text[end - 1] == '/' ? 1 : 0;
            }
            at = end;
        }
        if (at == std::string::npos || depth < 0) {
            return false;
        }
    }
    return true;
}

const char* orEmpty(const char* text) {
    return text == nullptr ? "" : text;
}

std::string childText(const TiXmlElement& element, const char* name) {
    const TiXmlElement* child = element.FirstChildElement(name);
    return child == nullptr ? "" : orEmpty(child->GetText());
}

/// Whether an entry is for the device: one that does not say, is for every device.
bool matches(const TiXmlElement& element, const char* attribute, const std::string& device) {
    const char* wanted = orEmpty(element.Attribute(attribute));
    return *wanted == '\0' || device == wanted;
}

} // namespace

bool ModuleConfigureParser::parse(const std::string& file, const std::string& deviceType,
                                  const std::string& model,
                                  std::vector<ModuleConfigure>& modules) try {
    std::string text;
    if (!linux_framework::readTextFile(file, kLongestFile, text) || !isSoundUtf8(text) ||
        !isShallow(text)) {
        return false;
    }
    TiXmlDocument document;
    document.Parse(text.c_str(), nullptr, TIXML_ENCODING_UTF8);
    const TiXmlElement* root = document.RootElement();
    if (document.Error() || root == nullptr || std::strcmp(root->Value(), "modules") != 0) {
        return false;
    }
    for (const TiXmlElement* entry = root->FirstChildElement("module"); entry != nullptr;
         entry = entry->NextSiblingElement("module")) {
        int id = 0;
        if (!linux_framework::parseDecimal(orEmpty(entry->Attribute("id")), id) ||
            !matches(*entry, "deviceType", deviceType) || !matches(*entry, "model", model)) {
            continue;
        }
        ModuleConfigure module;
        module.setModuleId(id);
        module.setLabel(orEmpty(entry->Attribute("label")));
        module.setShortLabel(orEmpty(entry->Attribute("shortLabel")));
        module.setParameters(childText(*entry, "parameters"));
        module.setDetail(childText(*entry, "detail"));
        modules.push_back(std::move(module));
    }
    return true;
} catch (const std::bad_alloc&) {
    return false;
}
