#include "host/api/ExplainDocuments.h"

#include <iterator>
#include <variant>

#include "host/Names.h"
#include "host/api/Documents.h"
#include "host/api/Pieces.h"

namespace host::api {
namespace {

const char* topicName(ExplainLine::Topic topic) {
    static const char* const names[] = {"difference", "value",    "schedule", "origin",  "saved",
                                        "factory",    "hardware", "range",    "blocker", "next"};
    static_assert(std::size(names) == static_cast<std::size_t>(ExplainLine::Topic::Next) + 1);
    return names[static_cast<std::size_t>(topic)];
}

Json requestOf(const char* method, const std::string& path, Json body = Json::object()) {
    return {{"method", method}, {"path", path}, {"body", std::move(body)}};
}

/// The request that does what is advised.
struct RequestMaker {
    Json operator()(const SetValues& operation) const {
        const Pair& pair = operation.values.front();
        Json body = {{"value", pair.value}};
        if (operation.scheme) {
            body["scheme"] = *operation.scheme;
        }
        return requestOf("PUT", "/parameters/" + std::to_string(pair.key), std::move(body));
    }
    Json operator()(const Restore& operation) const {
        return requestOf("POST", "/restore", {{"keys", operation.keys}});
    }
    Json operator()(const SetMode& operation) const {
        return requestOf("PUT", "/mode", {{"mode", operation.bySchedule ? "schedule" : "manual"}});
    }
    Json operator()(const Save& operation) const {
        return requestOf("POST", "/save",
                         operation.scheme ? Json{{"scheme", *operation.scheme}} : Json::object());
    }
    Json operator()(const Undo& operation) const {
        return requestOf("POST", "/undo", {{"entry", operation.entry}});
    }
    Json operator()(const KeepTrial&) const { return requestOf("POST", "/trial/keep"); }
    Json operator()(const ShowKey& show) const {
        return requestOf("GET", "/explain/" + std::to_string(show.key), nullptr);
    }
};

Json adviceDocument(const Advice& advice) {
    Json result = {{"text", advice.text}};
    result.update(std::visit(RequestMaker{}, advice.action));
    return result;
}

const char* ruleName(PlanStretch::Rule rule) {
    switch (rule) {
        case PlanStretch::Rule::Window:
            return "schedule";
        case PlanStretch::Rule::Outside:
            return "outside";
        case PlanStretch::Rule::Light:
            return "day_night";
        case PlanStretch::Rule::ByHand:
            return "manual";
    }
    return "";
}

const char* kindName(WindowWarning::Kind kind) {
    static const char* const names[] = {"overlap", "never", "gap", "short", "order"};
    static_assert(std::size(names) == static_cast<std::size_t>(WindowWarning::Kind::Order) + 1);
    return names[static_cast<std::size_t>(kind)];
}

Json stretchesDocument(const Snapshot& snapshot, const std::vector<PlanStretch>& stretches) {
    Json list = Json::array();
    for (const PlanStretch& stretch : stretches) {
        list.push_back({{"from", minuteText(stretch.from % kMinutesOfDay)},
                        {"to", minuteText(stretch.to)},
                        {"from_minute", stretch.from},
                        {"to_minute", stretch.to},
                        {"scheme", orNull(stretch.scheme)},
                        {"title", holderText(snapshot, stretch.scheme)},
                        {"reason", ruleName(stretch.rule)}});
    }
    return list;
}

Json switchDocument(const Snapshot& snapshot, const Plan& plan, const PlanSwitch& one,
                    int language) {
    Json changes = Json::array();
    for (const PlannedChange& change : one.changes) {
        Json row = nameAndLabel(snapshot, change.key, language);
        row["old"] = orNull(change.before);
        row["new"] = orNull(change.after);
        row["old_text"] = valueTextOf(snapshot, change.key, change.before, language);
        row["new_text"] = valueTextOf(snapshot, change.key, change.after, language);
        changes.push_back(std::move(row));
    }
    return {{"time", timestamp(one.atOnce ? plan.now : timeOf(plan, one.minute))},
            {"time_of_day", minuteText(one.minute)},
            {"minute", one.minute},
            {"at_once", one.atOnce},
            {"reason", ruleName(one.rule)},
            {"from", orNull(one.from)},
            {"to", orNull(one.to)},
            {"from_title", holderText(snapshot, one.from)},
            {"to_title", holderText(snapshot, one.to)},
            {"keys", std::move(changes)}};
}

} // namespace

Json explanationDocument(const Snapshot& snapshot, const Explanation& explanation, int language) {
    const std::size_t index = snapshot.catalogue->indexOf(explanation.key);
    const Parameter& parameter = snapshot.catalogue->parameters[index];
    const Value& value = snapshot.values[index];
    Json lines = Json::array();
    for (const ExplainLine& line : explanation.lines) {
        Json one = {{"topic", topicName(line.topic)}, {"text", line.text}};
        if (line.advice) {
            one["action"] = adviceDocument(*line.advice);
        }
        lines.push_back(std::move(one));
    }
    Json next = nullptr;
    if (explanation.next) {
        next = {{"time_of_day", minuteText(explanation.next->minute)},
                {"minute", explanation.next->minute},
                {"scheme", orNull(explanation.next->scheme)},
                {"value", orNull(explanation.next->value)}};
    }
    Json result = nameAndLabel(snapshot, explanation.key, language);
    result["boot"] = snapshot.bootId;
    result["sequence"] = snapshot.number;
    result["lines"] = std::move(lines);
    result["facts"] = {
        {"value", orNull(explanation.value)},
        {"value_text", valueTextOf(snapshot, explanation.key, explanation.value, language)},
        {"scheme", snapshot.scheme},
        {"stored", orNull(value.stored)},
        {"saved", orNull(value.saved)},
        {"factory", orNull(parameter.factory)},
        {"hardware", orNull(value.readBack)},
        {"differs", explanation.differs},
        {"range", limitsDocument(value.limits ? value.limits : parameter.style)},
        {"style_range", limitsDocument(parameter.style)},
        {"entry", explanation.setBy != nullptr ? Json(explanation.setBy->id) : Json(nullptr)},
        {"next", std::move(next)}};
    return result;
}

Json pictureDocument(const Snapshot& snapshot, const PictureExplanation& explanation,
                     int language) {
    Json causes = Json::array();
    for (const PictureCause& cause : explanation.causes) {
        Json one = nameAndLabel(snapshot, cause.key, language);
        one["family"] = textOrNull(cause.family);
        one["value"] = cause.value;
        one["value_text"] = valueTextOf(snapshot, cause.key, cause.value, language);
        one["neutral"] = cause.neutral;
        one["neutral_text"] = valueTextOf(snapshot, cause.key, cause.neutral, language);
        one["factory"] = orNull(snapshot.parameter(cause.key)->factory);
        one["weight"] = cause.weight;
        one["text"] = cause.text;
        one["action"] = adviceDocument(cause.advice);
        causes.push_back(std::move(one));
    }
    return {{"boot", snapshot.bootId},
            {"sequence", snapshot.number},
            {"word", name(explanation.look)},
            {"text", explanation.text},
            {"causes", std::move(causes)}};
}

Json planDocument(const Snapshot& snapshot, const Plan& plan, int language) {
    Json switches = Json::array();
    for (const PlanSwitch& one : plan.switches) {
        switches.push_back(switchDocument(snapshot, plan, one, language));
    }
    Json warnings = Json::array();
    for (const WindowWarning& warning : plan.warnings) {
        warnings.push_back({{"kind", kindName(warning.kind)},
                            {"text", warning.text},
                            {"schemes", warning.schemes},
                            {"from", minuteText(warning.from)},
                            {"to", minuteText(warning.to)},
                            {"from_minute", warning.from},
                            {"to_minute", warning.to}});
    }
    return {{"boot", snapshot.bootId},
            {"sequence", snapshot.number},
            {"from", timestamp(plan.now)},
            {"now", clockText(plan.now)},
            {"hours", plan.hours},
            {"mode", plan.bySchedule ? "schedule" : "manual"},
            {"text", plan.text},
            {"strip", stretchesDocument(snapshot, plan.strip)},
            {"day", stretchesDocument(snapshot, plan.day)},
            {"switches", std::move(switches)},
            {"warnings", std::move(warnings)}};
}

} // namespace host::api
