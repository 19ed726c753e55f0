#pragma once

#include <optional>

#include "host/Operation.h"
#include "host/Snapshot.h"
#include "host/api/Json.h"

/// What several documents hold in the same form.
namespace host::api {

/// {"key": 34, "name": "brightness", "label": "Brightness"}; an unknown key has
/// its number for a name.
Json nameAndLabel(const Snapshot& snapshot, u32 key, int language);

/// How a value of a key is shown; null for none.
Json valueTextOf(const Snapshot& snapshot, u32 key, const std::optional<int>& value, int language);

/// {"min": 0, "max": 255, "step": 1}, and "items" where only these are taken; null for none.
Json limitsDocument(const std::optional<Limits>& limits);

} // namespace host::api
