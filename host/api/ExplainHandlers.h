#pragma once

#include "host/api/Routing.h"

/// What answers GET /explain/{key}. For the table of handlers alone.
namespace host::api {

/// Of a key by number or name, or of a word for what is wrong with the picture.
Response getExplain(const Context& context, Problem& fault);

} // namespace host::api
