#include "host/api/Answers.h"

#include "host/Names.h"
#include "host/Sentences.h"
#include "host/api/Documents.h"
#include "host/api/Pieces.h"

namespace host::api {
namespace {

constexpr char kProblemType[] = "application/problem+json";

const char* resultName(KeyResult result) {
    switch (result) {
        case KeyResult::AlreadyInForce:
            return "in_force";
        case KeyResult::Changed:
            return "changed";
        case KeyResult::TakenDifferently:
            return "taken_differently";
        case KeyResult::NotRecorded:
            return "not_recorded";
        case KeyResult::NotPartOfScheme:
            return "not_part_of_scheme";
        case KeyResult::Refused:
            return "refused";
        case KeyResult::NotTried:
            return "not_tried";
    }
    return "";
}

/// What a refusal tells beside its sentence.
void addRefusal(Json& document, const Snapshot& snapshot, const Refusal& refusal, int language) {
    if (refusal.allowed) {
        document["range"] = limitsDocument(refusal.allowed);
    }
    if (refusal.blocker) {
        document["blocker"] = nameAndLabel(snapshot, *refusal.blocker, language);
        document["blocker"]["text"] = refusal.detail;
    }
    if (refusal.code != 0) {
        document["layer_code"] = refusal.code;
    }
}

Json keyDocument(const Snapshot& snapshot, const KeyOutcome& outcome, int language) {
    const Parameter* const parameter = snapshot.parameter(outcome.key);
    Json result = nameAndLabel(snapshot, outcome.key, language);
    result["symbol"] = parameter != nullptr ? parameter->name : std::string();
    result["asked"] = outcome.wanted;
    result["before"] = orNull(outcome.before);
    result["value"] = orNull(outcome.taken);
    result["value_text"] = valueTextOf(snapshot, outcome.key, outcome.taken, language);
    result["outcome"] = resultName(outcome.result);
    result["text"] = sentence(snapshot, outcome, language);
    if (outcome.refusal.reason != Reason::None) {
        result["code"] = kindOf(outcome.refusal.reason).code;
        addRefusal(result, snapshot, outcome.refusal, language);
    }
    return result;
}

Json commandDocument(const Snapshot& snapshot, const Command& command) {
    std::string name;
    for (const Parameter& parameter : snapshot.catalogue->parameters) {
        if (parameter.command == command.command && !parameter.storedOnly()) {
            name = parameter.shortName;
        }
    }
    return {{"command", command.command},
            {"name", textOrNull(name)},
            {"words", command.words},
            {"result", command.result}};
}

Json lensDocument(const LensState& lens) {
    return {{"zoom", orNull(lens.zoom)},
            {"zoom_ratio", orNull(lens.zoomRatio)},
            {"zoom_moves", orNull(lens.zoomMoves)},
            {"focus", orNull(lens.focus)},
            {"focus_moves", orNull(lens.focusMoves)},
            {"focus_mode", orNull(lens.focusMode)},
            {"sharpness", orNull(lens.sharpness)}};
}

/// What an outcome tells, whether it went well or not.
Json outcomeDocument(const Snapshot& snapshot, const Outcome& outcome, int language) {
    Json document = {{"sequence", outcome.snapshot},
                     {"entry", outcome.entry == 0 ? Json(nullptr) : Json(outcome.entry)},
                     {"scheme", outcome.scheme}};
    if (!outcome.keys.empty()) {
        Json results = Json::array();
        for (const KeyOutcome& key : outcome.keys) {
            results.push_back(keyDocument(snapshot, key, language));
        }
        document["results"] = std::move(results);
    }
    if (outcome.saves || !outcome.schemes.empty()) {
        Json saved = Json::array();
        Json failed = Json::array();
        for (const SchemeOutcome& scheme : outcome.schemes) {
            if (scheme.saved) {
                saved.push_back(scheme.scheme);
            } else {
                failed.push_back({{"scheme", scheme.scheme},
                                  {"title", schemeTitle(snapshot, scheme.scheme)},
                                  {"code", kindOf(scheme.refusal.reason).code},
                                  {"layer_code", scheme.refusal.code},
                                  {"text", sentence(scheme)}});
            }
        }
        document["saved"] = std::move(saved);
        document["failed"] = std::move(failed);
    }
    if (!outcome.commands.empty()) {
        Json commands = Json::array();
        for (const Command& command : outcome.commands) {
            commands.push_back(commandDocument(snapshot, command));
        }
        document["commands"] = std::move(commands);
    }
    if (outcome.lens) {
        document["lens"] = lensDocument(*outcome.lens);
    }
    if (!outcome.values.empty()) {
        Json values = Json::object();
        for (const auto& [key, value] : outcome.values) {
            values[std::to_string(key)] = value;
        }
        document["values"] = std::move(values);
    }
    if (!outcome.text.empty()) {
        document["text"] = outcome.text;
    }
    if (outcome.count != 0) {
        document["count"] = outcome.count;
        document["changed"] = outcome.changed;
    }
    if (!outcome.lines.empty()) {
        document["errors"] = outcome.lines;
    }
    document["time"] = timestamp(snapshot.time);
    return document;
}

/// The sentence of an outcome that is not done.
std::string sentenceOf(const Snapshot& snapshot, const Outcome& outcome, int language) {
    for (const KeyOutcome& key : outcome.keys) {
        if (key.result == KeyResult::Refused) {
            return sentence(snapshot, key, language);
        }
    }
    for (const KeyOutcome& key : outcome.keys) {
        if (key.result == KeyResult::TakenDifferently) {
            return sentence(snapshot, key, language);
        }
    }
    for (const SchemeOutcome& scheme : outcome.schemes) {
        if (!scheme.saved) {
            return sentence(scheme);
        }
    }
    return reasonText(outcome.refusal);
}

} // namespace

ProblemKind kindOf(Reason reason) {
    switch (reason) {
        case Reason::None:
            break;
        case Reason::Range:
            return {422, "out_of_range", "Out of range"};
        case Reason::Choices:
            return {422, "not_a_choice", "Not one of the choices"};
        case Reason::LayerFault:
            return {502, "layer_failed", "The sensor did not take it"};
        case Reason::Blocked:
            return {409, "blocked", "Something else must change first"};
        case Reason::Busy:
            return {503, "busy", "The camera is busy"};
        case Reason::Gone:
            return {503, "gone", "The device is not there"};
        case Reason::Unsupported:
            return {422, "not_on_camera", "This camera has no such control"};
        case Reason::UnknownKey:
            return {404, "unknown_key", "No such parameter"};
        case Reason::NotInScheme:
            return {409, "not_in_scheme", "No part of this camera's schemes"};
        case Reason::NoScheme:
            return {404, "no_scheme", "No such scheme"};
        case Reason::Conflict:
            return {409, "scheme_conflict", "Another scheme is in force"};
        case Reason::Window:
            return {422, "window", "The time window is not taken"};
        case Reason::Storage:
            return {507, "storage", "Not saved"};
        case Reason::Text:
            return {422, "text", "The text is wrong"};
        case Reason::Newer:
            return {409, "newer_change", "A newer change stands in the way"};
        case Reason::Nothing:
            return {404, "nothing", "There is nothing to do it to"};
        case Reason::Stopping:
            return {503, "stopping", "The camera is being switched off"};
    }
    return {500, "failed", "Failed"};
}

Response documentResponse(const Json& document, unsigned int status) {
    Response response;
    response.status = status;
    response.body = std::make_shared<const std::string>(text(document));
    return response;
}

Response textResponse(std::string text, const char* type) {
    Response response;
    response.type = type;
    response.body = std::make_shared<const std::string>(std::move(text));
    return response;
}

Response problem(unsigned int status, const std::string& code, const std::string& detail) {
    std::string urn = code;
    for (char& c : urn) {
        c = c == '_' ? '-' : c;
    }
    Response response = documentResponse({{"type", "urn:imgctl:problem:" + urn},
                                          {"title", detail},
                                          {"status", status},
                                          {"code", code},
                                          {"detail", detail}},
                                         status);
    response.type = kProblemType;
    return response;
}

Response answer(const Snapshot& snapshot, const Outcome& outcome, int language) {
    Json document = outcomeDocument(snapshot, outcome, language);
    if (outcome.done()) {
        return documentResponse(document);
    }
    Reason reason = outcome.refusal.reason;
    if (reason == Reason::None && outcome.result == Result::Busy) {
        reason = Reason::Busy;
    }
    const bool differently = reason == Reason::None && outcome.result == Result::Partly;
    const ProblemKind kind =
        differently ? ProblemKind{409, "taken_differently", "The camera took another value"}
                    : kindOf(reason);
    std::string urn = kind.code;
    for (char& c : urn) {
        c = c == '_' ? '-' : c;
    }
    Json problem = {{"type", "urn:imgctl:problem:" + urn},
                    {"title", kind.title},
                    {"status", kind.status},
                    {"code", kind.code},
                    {"detail", sentenceOf(snapshot, outcome, language)},
                    {"partly", outcome.result == Result::Partly}};
    for (const KeyOutcome& key : outcome.keys) {
        if (key.result == KeyResult::Refused) {
            problem["key"] = key.key;
            break;
        }
    }
    addRefusal(problem, snapshot, outcome.refusal, language);
    if (outcome.retryAfter > 0) {
        problem["retry_after"] = outcome.retryAfter;
    }
    problem.update(document);
    Response response = documentResponse(problem, kind.status);
    response.type = kProblemType;
    response.retryAfter = outcome.retryAfter;
    return response;
}

} // namespace host::api
