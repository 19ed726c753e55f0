#include <algorithm>
#include <chrono>
#include <thread>

#include "CommandFunctions.h"
#include "Interrupt.h"
#include "Output.h"
#include "Shown.h"
#include "host/Text.h"

namespace imgctl {
namespace {

constexpr int kMostEntries = 1000;

std::string entryText(const Json& entry) {
    const std::string who = textOf(entry, "who");
    const std::string client = textOf(entry, "client");
    const std::string note = textOf(entry, "text");
    const std::string undoes = textOf(entry, "undoes");
    const std::string time = textOf(entry, "time");
    const std::size_t clock = time.find('T');
    std::string text = rightColumn(numberOf(entry, "id"), 5) +
                       column(clock == std::string::npos ? time : time.substr(clock + 1), 8) +
                       column(textOf(entry, "cause"), 9) + column(who.empty() ? client : who, 8);
    if (!undoes.empty()) {
        text += "takes " + undoes + " back: ";
    }
    const Json changes = entry.value("changes", Json::array());
    const std::string scheme = numberOf(entry, "scheme");
    const std::string before = numberOf(entry, "scheme_before");
    if (textOf(entry, "kind") == "scheme" && before != scheme) {
        text += before + " -> " + textOf(entry, "scheme_title") + "; ";
    }
    text += note + (note.empty() || changes.empty() ? "" : ": ");
    constexpr std::size_t kShown = 8;
    for (std::size_t i = 0; i < std::min(changes.size(), kShown); ++i) {
        const std::string in = numberOf(changes[i], "scheme", "");
        text += (i == 0 ? "" : ", ") + textOf(changes[i], "name") + " " +
                valueOf(changes[i], "old", "old_text") + " -> " +
                valueOf(changes[i], "new", "new_text") +
                (in.empty() || in == scheme ? "" : " in scheme " + in);
    }
    if (changes.size() > kShown) {
        text += " and " + std::to_string(changes.size() - kShown) + " more";
    }
    return host::printable(text);
}

} // namespace

Status runHistory(const Call& call) {
    const std::string count = call.arguments.empty() ? "20" : call.arguments[0];
    int wanted = 0;
    if (!host::readIntWithin(count, 1, kMostEntries, wanted)) {
        return call.refuse(Status::usage, host::quoted(count) +
                                              " is no number of changes; allowed: 1 .. " +
                                              std::to_string(kMostEntries));
    }
    const Answer answer = call.ask("GET", "/history", Query{{"count", count}});
    Status status = Status::done;
    if (call.told(answer, status)) {
        return status;
    }
    const Json& entries = answer.document["entries"];
    std::string lines;
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
        lines += entryText(*entry) + "\n";
    }
    call.answer(std::to_string(entries.size()));
    if (!lines.empty()) {
        printLine(lines);
    }
    return status;
}

Status runWatch(const Call& call) {
    using Clock = std::chrono::steady_clock;
    int seconds = 0;
    if (!call.arguments.empty() && !host::readIntWithin(call.arguments[0], 1, 1000000, seconds)) {
        return call.refuse(Status::usage,
                           host::quoted(call.arguments[0]) + " is no number of seconds");
    }
    const Clock::time_point end = Clock::now() + std::chrono::seconds(seconds);
    Status status = Status::done;
    std::string after;
    catchInterrupts();
    while (!takeInterrupt() && (seconds == 0 || Clock::now() < end)) {
        Query query = {{"count", "1000"}};
        if (!after.empty()) {
            query.emplace_back("since", after);
        }
        const Answer answer = call.ask("GET", "/history", query);
        if (!answer.good()) {
            call.told(answer, status);
            return status;
        }
        if (after.empty() && !call.json) {
            call.answer("from " + numberOf(answer.document, "sequence"));
        } else if (!after.empty()) {
            const Json& entries = answer.document["entries"];
            for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
                printLine(call.json ? host::api::text(*entry) : entryText(*entry));
            }
        }
        after = numberOf(answer.document, "sequence");
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    return status;
}

} // namespace imgctl
