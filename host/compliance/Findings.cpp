#include "host/compliance/Findings.h"

#include <algorithm>

namespace compliance {
namespace {

// A layer that does nothing right would else fill the screen for each command.
constexpr std::size_t mostTexts = 6;

} // namespace

void Findings::add(std::vector<std::string>& list, const std::string& what) {
    if (list.size() < mostTexts && std::find(list.begin(), list.end(), what) == list.end()) {
        list.push_back(what);
    }
}

void Findings::add(const Findings& other) {
    for (const std::string& what : other.m_failures) {
        fail(what);
    }
    for (const std::string& what : other.m_warnings) {
        warn(what);
    }
}

std::string Findings::text() const {
    std::string text;
    for (const std::vector<std::string>* list : {&m_failures, &m_warnings}) {
        for (const std::string& what : *list) {
            text += (text.empty() ? " " : "; ") + what;
        }
    }
    return (failed() ? "FAILED" : warned() ? "warning" : "ok") + text;
}

} // namespace compliance
