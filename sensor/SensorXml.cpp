#include "SensorXml.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "TextNumber.h"

namespace {

constexpr size_t kMaxText = 1u << 20;
constexpr int kMaxDepth = 64;
constexpr int kMaxAttributes = 64;

bool isUtf8(const unsigned char* p, size_t size) {
    for (const unsigned char* const end = p + size; p < end;) {
        if (*p < 0x80) {
            ++p;
            continue;
        }
        const int more = *p >= 0xc2 && *p <= 0xdf   ? 1
                         : (*p & 0xf0) == 0xe0      ? 2
                         : *p >= 0xf0 && *p <= 0xf4 ? 3
                                                    : 0;
        if (more == 0 || end - p <= more)
            return false;
        unsigned int code = *p & (0x3fu >> more);
        for (int i = 1; i <= more; ++i) {
            if ((p[i] & 0xc0) != 0x80)
                return false;
            code = (code << 6) | (p[i] & 0x3fu);
        }
        const bool overlong = (more == 2 && code < 0x800) || (more == 3 && code < 0x10000);
        const bool surrogate = code >= 0xd800 && code <= 0xdfff;
        if (overlong || surrogate || code > 0x10ffff)
            return false;
        p += more + 1;
    }
    return true;
}

/// Walks the markup exactly as TinyXML will, without building anything, to see how deep it goes.
class MarkupWalk {
public:
    explicit MarkupWalk(const char* text) : m_p(text) {}

    /// @return true when TinyXML may parse the text: either within the limits, or with an error at
    ///         which TinyXML stops as well
    bool withinLimits() {
        int depth = 0;
        while ((m_p = strchr(m_p, '<')) != nullptr) {
            if (startsWith("<?xml", true)) {
                if (!skipDeclaration())
                    return true;
            } else if (startsWith("<!--", false)) {
                skipPast("-->", 4);
            } else if (startsWith("<![CDATA[", false)) {
                skipPast("]]>", 9);
            } else if (isNameStart(m_p[1])) {
                bool opened = false;
                if (!skipTag(opened))
                    return m_nAttributes <= kMaxAttributes;
                if (depth >= kMaxDepth)
                    return false;
                depth += opened ? 1 : 0;
            } else {
                if (m_p[1] == '/' && depth > 0)
                    --depth;
                skipPast(">", 1);
            }
        }
        return true;
    }

private:
    static bool isNameStart(char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte >= 127 || c == '_' || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    }
    static bool isNamePart(char c) {
        return isNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.' || c == ':';
    }
    static bool isBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

    bool startsWith(const char* prefix, bool ignoreCase) const {
        const size_t size = strlen(prefix);
        return (ignoreCase ? strncasecmp(m_p, prefix, size) : strncmp(m_p, prefix, size)) == 0;
    }

    /// TinyXML also takes the byte order mark and two noncharacters for blanks, wherever they
    /// stand.
    void skipBlanks() {
        for (;;) {
            if (isBlank(*m_p)) {
                ++m_p;
            } else if (startsWith("\xef\xbb\xbf", false) || startsWith("\xef\xbf\xbe", false) ||
                       startsWith("\xef\xbf\xbf", false)) {
                m_p += 3;
            } else {
                return;
            }
        }
    }

    void skipPast(const char* end, size_t from) {
        const char* found = strstr(m_p + from, end);
        m_p = found ? found + strlen(end) : m_p + strlen(m_p);
    }

    /// @return false where TinyXML stops with an error
    bool skipDeclaration() {
        for (m_p += strlen("<?xml"); *m_p != '\0';) {
            if (*m_p == '>') {
                ++m_p;
                return true;
            }
            skipBlanks();
            if (startsWith("version", true) || startsWith("encoding", true) ||
                startsWith("standalone", true)) {
                if (!skipAttribute())
                    return false;
            } else {
                while (*m_p != '\0' && *m_p != '>' && !isBlank(*m_p))
                    ++m_p;
            }
        }
        return false;
    }

    /// @return false where TinyXML stops with an error, or at too many attributes
    bool skipTag(bool& opened) {
        m_nAttributes = 0;
        for (++m_p; isNamePart(*m_p);)
            ++m_p;
        for (;;) {
            skipBlanks();
            if (*m_p == '/' || *m_p == '>') {
                opened = *m_p == '>';
                m_p += opened ? 1 : 2;
                return opened || m_p[-1] == '>';
            }
            if (++m_nAttributes > kMaxAttributes || !skipAttribute())
                return false;
        }
    }

    bool skipAttribute() {
        if (!isNameStart(*m_p))
            return false;
        while (isNamePart(*m_p))
            ++m_p;
        skipBlanks();
        if (*m_p != '=')
            return false;
        ++m_p;
        skipBlanks();
        if (*m_p == '"' || *m_p == '\'') {
            const char* close = strchr(m_p + 1, *m_p);
            if (close == nullptr)
                return false;
            m_p = close + 1;
            return true;
        }
        while (*m_p != '\0' && !isBlank(*m_p) && *m_p != '/' && *m_p != '>') {
            if (*m_p == '"' || *m_p == '\'')
                return false;
            ++m_p;
        }
        return *m_p != '\0';
    }

    const char* m_p;
    int m_nAttributes = 0;
};

} // namespace

bool XmlDocument::LoadMem(const char* text, TiXmlEncoding encoding) try {
    Clear();
    ClearError();
    const size_t size = text ? strnlen(text, kMaxText + 1) : 0;
    if (text == nullptr || size > kMaxText ||
        !isUtf8(reinterpret_cast<const unsigned char*>(text), size) ||
        !MarkupWalk(text).withinLimits())
        return false;
    Parse(text, nullptr, encoding);
    if (!Error())
        return true;
    // TinyXML keeps what it had read up to the error.
    Clear();
    return false;
} catch (const std::bad_alloc&) {
    Clear();
    return false;
}

void XmlDocument::getXmlString(std::string& text) const {
    text.clear();
    char* buffer = nullptr;
    size_t size = 0;
    FILE* stream = open_memstream(&buffer, &size);
    if (stream == nullptr)
        return;
    bool good = false;
    try {
        good = SaveFile(stream);
    } catch (const std::bad_alloc&) {
        good = false;
    }
    good = fclose(stream) == 0 && good;
    const std::unique_ptr<char, void (*)(void*)> owner(buffer, free);
    if (good)
        text.assign(buffer, size);
}

bool numberAttribute(const TiXmlElement& element, const char* name, int& number) {
    const char* value = element.Attribute(name);
    if (value == nullptr)
        return false;
    number = parseInt32(value);
    return true;
}
