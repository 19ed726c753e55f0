#include <algorithm>
#include <cstdio>

#include "CommandFunctions.h"
#include "Output.h"
#include "Words.h"
#include "host/Text.h"

namespace imgctl {
namespace {

/// One row of the listing.
struct Row {
    const host::Parameter& parameter;
    const host::Value& value;
};

std::string orDash(const std::string& text) {
    return text.empty() ? "-" : text;
}

std::string number(const std::optional<int>& value, const char* otherwise) {
    return value ? std::to_string(*value) : otherwise;
}

std::string tableLine(const Row& row) {
    char text[256];
    const host::Parameter& parameter = row.parameter;
    std::snprintf(text, sizeof text, "%5d %-26s %7d %-13s %6s %8s  %s",
                  static_cast<int>(parameter.key), parameter.name.c_str(),
                  static_cast<int>(parameter.command), orDash(parameter.handler).c_str(),
                  number(row.value.inForce(), "-").c_str(), number(parameter.factory, "-").c_str(),
                  row.value.limits ? row.value.limits->text().c_str() : "-");
    return text;
}

std::string jsonRange(const std::optional<host::Limits>& limits) {
    if (!limits) {
        return "null";
    }
    return "{\"min\":" + std::to_string(limits->minimum) +
           ",\"max\":" + std::to_string(limits->maximum) +
           ",\"items\":" + (limits->items.empty() ? "null" : "[" + limits->text() + "]") + "}";
}

std::string jsonObject(const Row& row) {
    const host::Parameter& parameter = row.parameter;
    return "{\"key\":" + std::to_string(parameter.key) +
           ",\"name\":" + host::jsonString(parameter.name) +
           ",\"command\":" + std::to_string(parameter.command) + ",\"handler\":" +
           (parameter.handler.empty() ? "null" : host::jsonString(parameter.handler)) +
           ",\"value\":" + number(row.value.inForce(), "null") +
           ",\"default\":" + number(parameter.factory, "null") +
           ",\"range\":" + jsonRange(row.value.limits) + "}";
}

Status answerText(const Call& call, const std::string& head, const std::string& text) {
    call.answer(head + std::to_string(text.size()));
    if (text.empty()) {
        return call.refuse(Status::failed, "the device tree holds no such text");
    }
    printLine(host::printableLines(text));
    return Status::done;
}

/// A language's text, else that of the first language.
Status answerUiText(const Call& call, std::string host::Catalogue::Language::*text) {
    int id = 0;
    if (!host::readInt(call.arguments[0], id)) {
        return call.refuse(Status::usage,
                           "language " + host::quoted(call.arguments[0]) +
                               " is not allowed; allowed: a number, such as 0 (English)");
    }
    const auto now = call.camera.snapshot();
    const auto& languages = now->catalogue->languages;
    const auto found = languages.find(id);
    const auto entry = found == languages.end() ? languages.begin() : found;
    return answerText(call, std::to_string(id) + " ",
                      entry == languages.end() ? std::string() : entry->second.*text);
}

} // namespace

Status runKeys(const Call& call) {
    const bool json = !call.arguments.empty();
    if (json && call.arguments[0] != "--json") {
        return call.refuse(Status::usage, host::quoted(call.arguments[0]) +
                                              " is not allowed; allowed: --json, or nothing");
    }
    call.perform(host::Refresh{});
    const auto now = call.camera.snapshot();
    std::string text;
    for (std::size_t i = 0; i < now->values.size(); ++i) {
        const Row row{now->catalogue->parameters[i], now->values[i]};
        text += json ? (text.empty() ? "[" : ",\n ") + jsonObject(row) : tableLine(row) + "\n";
    }
    if (json) {
        printLine(text + "]");
        return Status::done;
    }
    call.answer(std::to_string(now->values.size()));
    printLine("  key name                       command handler        value  default  range");
    printLine(text);
    return Status::done;
}

Status runDiff(const Call& call) {
    call.perform(host::Refresh{});
    const auto now = call.camera.snapshot();
    const host::Scheme& scheme = now->schemes[static_cast<std::size_t>(now->scheme)];
    const bool fileKnown = scheme.timed && !scheme.fileMissing;
    std::string lines;
    int fromFactory = 0;
    const auto& keys = now->catalogue->schemeKeys;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const host::Parameter& parameter = *now->parameter(keys[i]);
        const int value = (*scheme.values)[i];
        const std::optional<int>& saved = (*scheme.saved)[i];
        if ((fileKnown && saved != value) || parameter.factory != value) {
            lines += parameter.name + " memory=" + std::to_string(value) +
                     " file=" + number(saved, "-") + " factory=" + number(parameter.factory, "-") +
                     "\n";
        }
        fromFactory += parameter.factory != value ? 1 : 0;
    }
    call.answer("scheme=" + std::to_string(now->scheme) +
                " file=" + (fileKnown ? std::to_string(scheme.unsaved) : "-") +
                " factory=" + std::to_string(fromFactory));
    if (!lines.empty()) {
        printLine(lines);
    }
    return Status::done;
}

Status runStyle(const Call& call) {
    call.perform(host::Refresh{});
    return answerText(call, "", call.camera.snapshot()->catalogue->style);
}

Status runLanguage(const Call& call) {
    return answerUiText(call, &host::Catalogue::Language::texts);
}

Status runCommon(const Call& call) {
    return answerUiText(call, &host::Catalogue::Language::common);
}

} // namespace imgctl
