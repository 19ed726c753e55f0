#include "host/Text.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdio>

namespace host {
namespace {

const char kBlanks[] = " \t\r\n\v\f";

bool isControl(char c) {
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
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
    // A word of which half would have to change is no typing mistake any more; a very long one is
    // not worth the time.
    std::size_t least = std::max<std::size_t>(2, (word.size() + 1) / 2);
    std::string found;
    if (word.size() > 64) {
        return found;
    }
    for (const std::string& name : names) {
        // Half a name is more likely than several mistakes.
        const bool begun = word.size() > 1 && name.compare(0, word.size(), word) == 0;
        const std::size_t distance = begun ? 1 : editDistance(word, name);
        if (distance < least || (found.empty() && distance == least && least < word.size())) {
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
    std::string result;
    for (const char c : text) {
        if (isControl(c)) {
            char code[8];
            std::snprintf(code, sizeof code, "\\x%02x", static_cast<unsigned>(c) & 0xffu);
            result += code;
        } else {
            result += c;
        }
    }
    return result;
}

std::string quoted(const std::string& text) {
    const std::size_t shown = 60;
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
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            result += '\\';
            result += c;
        } else if (isControl(c)) {
            char code[8];
            std::snprintf(code, sizeof code, "\\u%04x", static_cast<unsigned>(c) & 0xffu);
            result += code;
        } else {
            result += c;
        }
    }
    return result + "\"";
}

} // namespace host
