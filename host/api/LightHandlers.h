#pragma once

#include "host/api/Routing.h"

/// The light as the camera saw it. For the API alone.
namespace host::api {

Response getLight(const Context& context, Problem& fault);

} // namespace host::api
