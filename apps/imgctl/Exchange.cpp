#include "Exchange.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "ISensorController.h"
#include "ImageAdjust.h"
#include "KeyNames.h"
#include "Schemes.h"
#include "SensorConfig.h"
#include "Text.h"

namespace host {
namespace {

/// The checks of one text, line by line.
class Reader {
public:
    Reader() : m_factory(factoryValues()) {}

    /// @return what is wrong with the line; empty when it is good
    std::string take(unsigned int number, std::string line);

    std::vector<Assignment> assignments;

private:
    std::string takeHeader(const std::string& line);
    std::string takeValue(unsigned int number, const std::string& line);
    std::string checkRange(u32 key, int value);

    struct Limits {
        bool known;
        ia_dynamic_params_attr_st range;
    };

    std::vector<KeyVal> m_factory;
    std::map<u32, Limits> m_limits;
    std::set<std::pair<u32, u32>> m_seen;
    bool m_inScheme = false;
    bool m_headerRefused = false;
    u32 m_scheme = 0;
};

std::string Reader::take(unsigned int number, std::string line) {
    line = trim(line.substr(0, line.find('#')));
    if (line.empty()) {
        return {};
    }
    if (line[0] == '[') {
        std::string problem = takeHeader(line);
        m_headerRefused = !problem.empty();
        return problem;
    }
    return takeValue(number, line);
}

std::string Reader::takeHeader(const std::string& line) {
    const std::string wanted = "[scheme N] with N from 0 to ";
    const int last = static_cast<int>(g_stSysConf.nSchemeSum) - 1;
    const std::vector<std::string> parts = words(line.substr(1, line.find(']') - 1), 2);
    int scheme = 0;
    if (line.back() != ']' || parts.size() != 2 || lowered(parts[0]) != "scheme" ||
        !readIntWithin(parts[1], 0, last, scheme)) {
        return quoted(line) + " names no timed scheme; allowed: " + wanted + std::to_string(last);
    }
    m_inScheme = true;
    m_scheme = static_cast<u32>(scheme);
    return {};
}

std::string Reader::takeValue(unsigned int number, const std::string& line) {
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) {
        return quoted(line) + " is no parameter; allowed: KEY = VALUE";
    }
    const std::string name = trim(line.substr(0, equals));
    const std::string text = trim(line.substr(equals + 1));
    u32 key = 0;
    int value = 0;
    std::string problem;
    if (!readKey(name, key, problem)) {
        return problem;
    }
    if (valueOf(m_factory, key) == nullptr) {
        return keyName(key) + " is no parameter of this camera's schemes";
    }
    if (!readInt(text, value)) {
        return "value " + quoted(text) + " of " + keyName(key) + " is no 32-bit number";
    }
    problem = checkRange(key, value);
    if (!problem.empty() || m_headerRefused) {
        return problem;
    }
    if (!m_inScheme) {
        return keyName(key) + " stands before the first [scheme N]";
    }
    if (!m_seen.insert({m_scheme, key}).second) {
        return keyName(key) + " is set twice in scheme " + std::to_string(m_scheme);
    }
    assignments.push_back({number, m_scheme, {key, static_cast<u32>(value)}});
    return {};
}

std::string Reader::checkRange(u32 key, int value) {
    const auto [entry, isNew] = m_limits.try_emplace(key, Limits{});
    Limits& limits = entry->second;
    const keycmd* row = keyRow(key);
    if (isNew && row != nullptr && row->ia_cmd != 0) {
        limits.known = rangeOf(row->ia_cmd, limits.range);
    }
    if (!limits.known || isAllowed(limits.range, value)) {
        return {};
    }
    return keyName(key) + " = " + std::to_string(value) + " is out of range; it takes " +
           rangeText(limits.range);
}

} // namespace

std::string exportText(ISensorController& controller, std::size_t& count) {
    const std::vector<KeyVal> factory = factoryValues();
    std::string text =
        "# Parameters of " + std::to_string(g_stSysConf.nSchemeSum) +
        " timed schemes, one KEY = VALUE a line; what differs from the factory value "
        "says so.\n";
    count = 0;
    for (u32 scheme = 0; scheme < g_stSysConf.nSchemeSum; ++scheme) {
        text += "\n[scheme " + std::to_string(scheme) + "]\n";
        for (const KeyVal& pair : factory) {
            u32 value = 0;
            if (controller.getKeyValFromCache(scheme, pair.key, value) < 0) {
                continue;
            }
            text += keyName(pair.key) + " = " + std::to_string(static_cast<int>(value));
            if (value != pair.value) {
                text += " # factory " + std::to_string(static_cast<int>(pair.value));
            }
            text += "\n";
            ++count;
        }
    }
    return text;
}

std::vector<Assignment> readText(const std::string& text, std::vector<std::string>& refusals) {
    Reader reader;
    unsigned int number = 0;
    for (std::size_t position = 0; position < text.size();) {
        const std::size_t end = std::min(text.find('\n', position), text.size());
        const std::string problem = reader.take(++number, text.substr(position, end - position));
        if (!problem.empty()) {
            refusals.push_back("line " + std::to_string(number) + ": " + problem);
        }
        position = end + 1;
    }
    return reader.assignments;
}

} // namespace host
