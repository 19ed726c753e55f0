#pragma once

#include "host/api/Routing.h"

/// The dials of a simulated camera, over the API. A camera that is none has no such paths.
namespace host::api {

Response getSimulator(const Context& context, Problem& fault);
bool putSimulator(const Context& context, host::Request& operation, Problem& fault);

} // namespace host::api
