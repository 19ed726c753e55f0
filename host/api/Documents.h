#pragma once

#include "host/Journal.h"
#include "host/Operation.h"
#include "host/Snapshot.h"
#include "host/api/Json.h"

/// What the camera's state and answers are as documents. Made from snapshots and outcomes alone.
namespace host::api {

Json cameraDocument(const Snapshot& snapshot, int language);
Json parametersDocument(const Snapshot& snapshot, int language);
/// Of one of the catalogue's parameters, by its index.
Json parameterDocument(const Snapshot& snapshot, std::size_t index, int language);
Json schemesDocument(const Snapshot& snapshot, int language);
Json schemeDocument(const Snapshot& snapshot, int scheme, int language);
Json compareDocument(const Snapshot& snapshot, int one, int other, int language);
/// @param factory  against the factory values, else against what is saved
Json diffDocument(const Snapshot& snapshot, int scheme, bool factory, int language);
Json languagesDocument(const Snapshot& snapshot);
Json languageDocument(const Snapshot& snapshot, int language);
Json trialDocument(const Snapshot& snapshot, int language); ///< null without a trial
Json entryDocument(const Snapshot& snapshot, const Journal& journal, const JournalEntry& entry,
                   int language);
/// @param key  only entries with that key; 0: all
Json historyDocument(const Snapshot& snapshot, const Journal& journal, std::size_t most, u32 key,
                     std::uint64_t since, int language);

/// "2026-11-23T21:04:10", "21:04", "2026-11-23T20:04:10.123Z"
std::string timestamp(const CameraTime& time);
std::string timeOfDay(int hour, int minute);
std::string machineTimestamp(long long milliseconds);

} // namespace host::api
