#pragma once

#include "host/Operation.h"
#include "host/Snapshot.h"
#include "host/api/Json.h"
#include "host/api/Messages.h"

/// What became of an operation, as a response: a document when it is done, else a problem (RFC
/// 9457) that carries the same document's members.
namespace host::api {

/// @param snapshot  the camera after the operation
Response answer(const Snapshot& snapshot, const Outcome& outcome, int language);

/// A problem document of a status, a code and a sentence.
Response problem(unsigned int status, const std::string& code, const std::string& detail);

/// A response that carries a document.
Response documentResponse(const Json& document, unsigned int status = 200);
Response textResponse(std::string text, const char* type);

/// The status and code that a refusal has.
struct ProblemKind {
    unsigned int status;
    const char* code;
    const char* title;
};
ProblemKind kindOf(Reason reason);

} // namespace host::api
