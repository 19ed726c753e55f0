#pragma once

#include "host/api/Routing.h"

/// What answers GET /explain/{key}, GET /plan and POST /plan. For the table of handlers alone.
namespace host::api {

/// Of a key by number or name, or of a word for what is wrong with the picture.
Response getExplain(const Context& context, Problem& fault);

Response getPlan(const Context& context, Problem& fault);

/// The plan with windows as they might be; changes nothing.
Response postPlan(const Context& context, Problem& fault);

} // namespace host::api
