#include "host/Text.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdio>

namespace host {
namespace {

const char kBlanks[] = " \t\r\n\v\f";

unsigned int byteAt(const std::string& text, std::size_t position) {
    return position < text.size() ? static_cast<unsigned char>(text[position]) : 0;
}

/// The bytes of the UTF-8 sequence, of two or more, that begins here; 0 where none does. The longer
/// forms of a short one are none, nor are halves of surrogates, nor what is above U+10FFFF.
std::size_t sequenceAt(const std::string& text, std::size_t position) {
    const unsigned int first = byteAt(text, position);
    const unsigned int second = byteAt(text, position + 1);
    const std::size_t size = first >= 0xf0 ? 4 : first >= 0xe0 ? 3 : 2;
    if (first < 0xc2 || first > 0xf4 || (first == 0xe0 && second < 0xa0) ||
        (first == 0xf0 && second < 0x90) || (first == 0xed && second >= 0xa0) ||
        (first == 0xf4 && second >= 0x90)) {
        return 0;
    }
    for (std::size_t i = 1; i < size; ++i) {
        if ((byteAt(text, position + i) & 0xc0u) != 0x80) {
            return 0;
        }
    }
    return size;
}

/// Writes every control character by a format that takes its code.
template <class Keep>
std::string escaped(const std::string& text, const char* format, const Keep& keep) {
    std::string result;
    std::size_t size = 0;
    for (std::size_t i = 0; i < text.size(); i += size) {
        size = std::max<std::size_t>(sequenceAt(text, i), 1);
        // A control character's code is its last byte: in UTF-8 it is 0xc2 and the code.
        const unsigned int code = byteAt(text, i + size - 1);
        const bool control = size == 1 ? code < 0x20 || (code >= 0x7f && code < 0xa0)
                                       : size == 2 && byteAt(text, i) == 0xc2 && code < 0xa0;
        if (control && !keep(i)) {
            char shown[8];
            std::snprintf(shown, sizeof shown, format, code);
            result += shown;
        } else {
            result.append(text, i, size);
        }
    }
    return result;
}

bool keepNone(std::size_t /*position*/) {
    return false;
}

std::size_t editDistance(const std::string& from, const std::string& to) {
    std::vector<std::size_t> row(to.size() + 1);
    for (std::size_t j = 0; j < row.size(); ++j) {
        row[j] = j;
    }
    for (std::size_t i = 1; i <= from.size(); ++i) {
        std::size_t diagonal = row[0];
        row[0] = i;
        for (std::size_t j = 1; j <= to.size(); ++j) {
            const std::size_t replaced = diagonal + (from[i - 1] == to[j - 1] ? 0 : 1);
            diagonal = row[j];
            row[j] = std::min({row[j] + 1, row[j - 1] + 1, replaced});
        }
    }
    return row[to.size()];
}

} // namespace

std::string trim(const std::string& text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::vector<std::string> words(const std::string& text, std::size_t most) {
    std::vector<std::string> pieces;
    std::size_t position = 0;
    while ((position = text.find_first_not_of(kBlanks, position)) != std::string::npos) {
        if (pieces.size() + 1 >= most) {
            pieces.push_back(trim(text.substr(position)));
            break;
        }
        const std::size_t end = std::min(text.find_first_of(kBlanks, position), text.size());
        pieces.push_back(text.substr(position, end - position));
        position = end;
    }
    return pieces;
}

bool readNumber(const std::string& text, long long& value) {
    const bool negative = !text.empty() && text[0] == '-';
    std::size_t i = !text.empty() && (text[0] == '-' || text[0] == '+') ? 1 : 0;
    if (i == text.size()) {
        return false;
    }
    long long number = 0;
    for (; i < text.size(); ++i) {
        if (std::isdigit(static_cast<unsigned char>(text[i])) == 0) {
            return false;
        }
        number = std::min(number * 10 + (text[i] - '0'), 1LL << 40);
    }
    value = negative ? -number : number;
    return true;
}

bool readIntWithin(const std::string& text, int least, int most, int& value) {
    long long number = 0;
    if (!readNumber(text, number) || number < least || number > most) {
        return false;
    }
    value = static_cast<int>(number);
    return true;
}

bool readInt(const std::string& text, int& value) {
    return readIntWithin(text, INT_MIN, INT_MAX, value);
}

std::string nearest(const std::string& word, const std::vector<std::string>& names) {
    // A word of which more than a third would have to change is no typing mistake any more; a very
    // long one is not worth the time.
    std::size_t least = std::max<std::size_t>(2, word.size() / 3 + 1);
    std::string found;
    if (word.size() > 64) {
        return found;
    }
    for (const std::string& name : names) {
        // Half a name is more likely than several mistakes.
        const bool begun = word.size() > 1 && name.compare(0, word.size(), word) == 0;
        const std::size_t distance = begun ? 1 : editDistance(word, name);
        if (distance < least) {
            least = distance;
            found = name;
        }
    }
    return found;
}

std::string didYouMean(const std::string& word, const std::vector<std::string>& names) {
    const std::string name = nearest(word, names);
    return name.empty() ? std::string() : "; did you mean '" + name + "'?";
}

std::string lowered(const std::string& text) {
    std::string result = text;
    for (char& c : result) {
        c = c == '_' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return result;
}

std::string printable(const std::string& text) {
    return escaped(text, "\\x%02x", keepNone);
}

std::string printableLines(const std::string& text) {
    return escaped(text, "\\x%02x", [&text](std::size_t position) {
        const char c = text[position];
        return c == '\n' || c == '\t' || (c == '\r' && byteAt(text, position + 1) == '\n');
    });
}

std::string asUtf8(const std::string& text) {
    std::string result;
    std::size_t size = 0;
    for (std::size_t i = 0; i < text.size(); i += size) {
        const bool plain = byteAt(text, i) < 0x80;
        size = plain ? 1 : sequenceAt(text, i);
        // U+FFFE and U+FFFF are no characters.
        const bool none =
            size == 3 && text.compare(i, 2, "\xef\xbf") == 0 && byteAt(text, i + 2) >= 0xbe;
        if (size == 0 || none) {
            result += "\xef\xbf\xbd";
            size = std::max<std::size_t>(size, 1);
        } else {
            result.append(text, i, size);
        }
    }
    return result;
}

std::string quoted(const std::string& text) {
    std::size_t shown = 60;
    while ((byteAt(text, shown) & 0xc0u) == 0x80 && shown > 56) {
        --shown;
    }
    return "'" + printable(text.substr(0, shown)) + (text.size() > shown ? "..." : "") + "'";
}

std::string helpLine(const std::string& typed, const std::string& help) {
    const std::size_t column = 25;
    std::string line = "  " + typed;
    if (line.size() >= column) {
        line += "\n" + std::string(column, ' ');
    } else {
        line.resize(column, ' ');
    }
    return line + help + "\n";
}

std::string jsonString(const std::string& text) {
    std::string result;
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            result += '\\';
        }
        result += c;
    }
    return "\"" + escaped(result, "\\u%04x", keepNone) + "\"";
}

} // namespace host
