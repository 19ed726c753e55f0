#pragma once

#include "host/Explain.h"
#include "host/PictureCauses.h"
#include "host/Plan.h"
#include "host/api/Json.h"

/// Explanations and plans as documents.
namespace host::api {

Json explanationDocument(const Snapshot& snapshot, const Explanation& explanation, int language);
Json pictureDocument(const Snapshot& snapshot, const PictureExplanation& explanation, int language);
Json planDocument(const Snapshot& snapshot, const Plan& plan, int language);

} // namespace host::api
