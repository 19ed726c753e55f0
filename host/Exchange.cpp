#include "host/Exchange.h"

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "host/Names.h"
#include "host/SchemeFiles.h"
#include "host/Text.h"

namespace host {
namespace {

constexpr std::size_t kMostRefusals = 20;

/// The checks of one text, line by line.
class Reader {
public:
    explicit Reader(const Snapshot& snapshot) : m_snapshot(snapshot) {}

    /// @return what is wrong with the line; empty when it is good
    std::string take(unsigned int number, std::string line);

    /// What is wrong with the windows that result, by the last line that is about each.
    std::map<unsigned int, std::string> checkWindows() const;

    std::vector<Assignment> assignments;

private:
    std::string takeHeader(const std::string& line);
    std::string takeValue(unsigned int number, const std::string& line);
    std::string checkRange(const Parameter& parameter, int value) const;

    const Snapshot& m_snapshot;
    std::set<std::pair<int, u32>> m_seen;
    bool m_inScheme = false;
    bool m_headerRefused = false;
    int m_scheme = 0;
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
    const int last = static_cast<int>(m_snapshot.schemes.size()) - 2;
    const std::vector<std::string> parts = words(line.substr(1, line.find(']') - 1), 2);
    int scheme = 0;
    if (line.back() != ']' || parts.size() != 2 || lowered(parts[0]) != "scheme" ||
        !readIntWithin(parts[1], 0, last, scheme)) {
        return quoted(line) + " names no timed scheme; allowed: " + wanted + std::to_string(last);
    }
    m_inScheme = true;
    m_scheme = scheme;
    return {};
}

std::string Reader::takeValue(unsigned int number, const std::string& line) {
    const Catalogue& catalogue = *m_snapshot.catalogue;
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) {
        return quoted(line) + " is no parameter; allowed: KEY = VALUE";
    }
    const std::string name = trim(line.substr(0, equals));
    const std::string text = trim(line.substr(equals + 1));
    u32 key = 0;
    int value = 0;
    long long exact = 0;
    std::string problem;
    if (!readKey(catalogue, name, 0, key, problem)) {
        return problem;
    }
    const Parameter* parameter = catalogue.find(key);
    if (parameter == nullptr || !parameter->inScheme()) {
        return keyName(catalogue, key) + " is no parameter of this camera's schemes";
    }
    if (readNumber(text, exact) ? !readInt(text, value)
                                : !readValue(catalogue, key, text, 0, value, problem)) {
        return !problem.empty() ? problem
                                : "value " + quoted(text) + " of " + keyName(catalogue, key) +
                                      " is no 32-bit number";
    }
    problem = checkRange(*parameter, value);
    if (!problem.empty() || m_headerRefused) {
        return problem;
    }
    if (!m_inScheme) {
        return keyName(catalogue, key) + " stands before the first [scheme N]";
    }
    if (!m_seen.insert({m_scheme, key}).second) {
        return keyName(catalogue, key) + " is set twice in scheme " + std::to_string(m_scheme);
    }
    assignments.push_back({number, m_scheme, {key, value}});
    return {};
}

std::string Reader::checkRange(const Parameter& parameter, int value) const {
    const Value* now = m_snapshot.value(parameter.key);
    const std::optional<Limits>& limits =
        parameter.storedOnly() || now == nullptr ? parameter.style : now->limits;
    if (!limits || limits->allows(value)) {
        return {};
    }
    return parameter.name + " = " + std::to_string(value) + " is out of range; it takes " +
           limits->text();
}

std::map<unsigned int, std::string> Reader::checkWindows() const {
    std::map<int, std::vector<int>> values;
    std::map<int, unsigned int> lines;
    const std::vector<u32>& keys = m_snapshot.catalogue->schemeKeys;
    for (const Assignment& assignment : assignments) {
        const Parameter* parameter = m_snapshot.parameter(assignment.pair.key);
        if (parameter == nullptr || !parameter->storedOnly()) {
            continue;
        }
        const Scheme& scheme = m_snapshot.schemes[static_cast<std::size_t>(assignment.scheme)];
        std::vector<int>& now = values.try_emplace(assignment.scheme, *scheme.values).first->second;
        const auto at = std::find(keys.begin(), keys.end(), assignment.pair.key) - keys.begin();
        now[static_cast<std::size_t>(at)] = assignment.pair.value;
        lines[assignment.scheme] = assignment.line;
    }
    std::map<unsigned int, std::string> problems;
    for (const auto& [scheme, now] : values) {
        const int fault = windowFault(windowOf(keys, now));
        if (fault != 0) {
            problems[lines[scheme]] = "scheme " + std::to_string(scheme) +
                                      " cannot be saved: " + windowRefusal(fault).detail;
        }
    }
    return problems;
}

} // namespace

std::string exportText(const Snapshot& snapshot, std::size_t& count) {
    const Catalogue& catalogue = *snapshot.catalogue;
    std::string text =
        "# Parameters of " + std::to_string(snapshot.schemes.size() - 1) +
        " timed schemes, one KEY = VALUE a line; what differs from the factory value "
        "says so.\n";
    count = 0;
    for (const Scheme& scheme : snapshot.schemes) {
        if (!scheme.timed) {
            continue;
        }
        text += "\n[scheme " + std::to_string(scheme.number) + "]\n";
        for (std::size_t i = 0; i < catalogue.schemeKeys.size(); ++i) {
            const Parameter& parameter = *catalogue.find(catalogue.schemeKeys[i]);
            const int value = (*scheme.values)[i];
            text += parameter.name + " = " + std::to_string(value);
            if (parameter.factory != value) {
                text += " # factory " + std::to_string(*parameter.factory);
            }
            text += "\n";
            ++count;
        }
    }
    return text;
}

std::vector<Assignment> readText(const Snapshot& snapshot, const std::string& text,
                                 std::vector<std::string>& refusals) {
    Reader reader(snapshot);
    std::map<unsigned int, std::string> problems;
    unsigned int number = 0;
    for (std::size_t position = 0; position < text.size();) {
        const std::size_t end = std::min(text.find('\n', position), text.size());
        const std::string problem = reader.take(++number, text.substr(position, end - position));
        if (!problem.empty()) {
            problems[number] = problem;
        }
        position = end + 1;
    }
    if (problems.empty()) {
        problems = reader.checkWindows();
    }
    for (const auto& [line, problem] : problems) {
        if (refusals.size() == kMostRefusals) {
            refusals.push_back("and " + std::to_string(problems.size() - kMostRefusals) +
                               " lines more");
            break;
        }
        refusals.push_back("line " + std::to_string(line) + ": " + problem);
    }
    return std::move(reader.assignments);
}

} // namespace host
