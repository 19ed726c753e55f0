#pragma once

#include "host/api/Routing.h"

/// The day's windows: what they come to, drafts of them, and setting them. For the API alone.
namespace host::api {

Response getPlan(const Context& context, Problem& fault);
/// With windows as they might be; changes nothing.
Response postPlan(const Context& context, Problem& fault);
bool putSchemes(const Context& context, host::Request& operation, Problem& fault);

} // namespace host::api
