#include "SensorXml.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "TextNumber.h"

namespace {

constexpr int kMaxDepth = 64;
constexpr int kMaxAttributes = 64;

/// How many bytes TinyXML takes for one character. It looks at the first of them only, and not at
/// whether the others belong to it.
int characterSize(char first) {
    const auto byte = static_cast<unsigned char>(first);
    return byte < 0xc2 || byte > 0xf4 ? 1 : byte < 0xe0 ? 2 : byte < 0xf0 ? 3 : 4;
}

/// Walks the markup exactly as TinyXML will, without building anything, to see how deep it goes.
class MarkupWalk {
public:
    explicit MarkupWalk(const char* text) : m_p(text) {}

    /// @return true when TinyXML may parse the text: either it stays within the text and the
    ///         limits, or there is an error at which TinyXML stops as well
    bool withinLimits() {
        int depth = 0;
        for (;;) {
            // Behind the last element nothing is parsed any more.
            if (depth == 0)
                skipBlanks();
            if (depth == 0 ? *m_p != '<' : !skipTo('<'))
                return !m_bRefused;
            if (startsWith("<?xml", true)) {
                if (!skipDeclaration())
                    return !m_bRefused;
            } else if (startsWith("<!--", false)) {
                skipPast("-->", 4);
            } else if (startsWith("<![CDATA[", false)) {
                skipPast("]]>", 9);
            } else if (isNameStart(m_p[1])) {
                bool opened = false;
                if (!skipTag(opened))
                    return !m_bRefused;
                if (depth >= kMaxDepth)
                    return false;
                depth += opened ? 1 : 0;
            } else {
                if (m_p[1] == '/' && depth > 0)
                    --depth;
                skipPast(">", 1);
            }
        }
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

    /// TinyXML also takes the byte order mark and two noncharacters for
    /// blanks, wherever they stand.
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

    /// Goes on to a character, as TinyXML does in texts and in quotes.
    /// @return false without it, where TinyXML stops with an error, and where the text ends within
    ///         a character, which TinyXML would step over
    bool skipTo(char wanted) {
        while (*m_p != wanted) {
            if (*m_p == '\0')
                return false;
            for (int left = characterSize(*m_p); left > 0; --left) {
                m_bRefused = *m_p++ == '\0';
                if (m_bRefused)
                    return false;
            }
        }
        return true;
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
        int nAttributes = 0;
        for (++m_p; isNamePart(*m_p);)
            ++m_p;
        for (;;) {
            skipBlanks();
            if (*m_p == '/' || *m_p == '>') {
                opened = *m_p == '>';
                m_p += opened ? 1 : 2;
                return opened || m_p[-1] == '>';
            }
            m_bRefused = ++nAttributes > kMaxAttributes;
            if (m_bRefused || !skipAttribute())
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
            const char quote = *m_p++;
            if (!skipTo(quote))
                return false;
            ++m_p;
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
    bool m_bRefused = false;
};

} // namespace

bool XmlDocument::LoadMem(const char* text, TiXmlEncoding encoding) try {
    Clear();
    ClearError();
    if (text == nullptr || !MarkupWalk(text).withinLimits())
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
