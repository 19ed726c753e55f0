#include <algorithm>

#include "host/Names.h"
#include "host/Sentences.h"
#include "host/api/Documents.h"
#include "host/api/Pieces.h"

namespace host::api {
namespace {

const char* kindName(JournalEntry::Kind kind) {
    switch (kind) {
        case JournalEntry::Kind::Values:
            return "values";
        case JournalEntry::Kind::Scheme:
            return "scheme";
        case JournalEntry::Kind::Mode:
            return "mode";
        case JournalEntry::Kind::Saved:
            return "saved";
        case JournalEntry::Kind::Trial:
            return "trial";
        case JournalEntry::Kind::Layer:
            return "layer";
    }
    return "";
}

Json changeDocument(const Snapshot& snapshot, const Change& change, int language) {
    Json document = nameAndLabel(snapshot, change.key, language);
    document["scheme"] = change.scheme < 0 ? Json(nullptr) : Json(change.scheme);
    document["old"] = orNull(change.before);
    document["new"] = orNull(change.after);
    document["old_text"] = valueTextOf(snapshot, change.key, change.before, language);
    document["new_text"] = valueTextOf(snapshot, change.key, change.after, language);
    return document;
}

} // namespace

Json entryDocument(const Snapshot& snapshot, const Journal&, const JournalEntry& entry,
                   int language) {
    Json changes = Json::array();
    for (const Change& change : entry.changes) {
        changes.push_back(changeDocument(snapshot, change, language));
    }
    // What people asked for can be taken back; what the clock or the device did comes by itself.
    const bool undoable = entry.kind == JournalEntry::Kind::Values &&
                          entry.origin.cause == Cause::Request && !entry.changes.empty();
    return {{"id", entry.id},
            {"sequence", entry.sequence},
            {"kind", kindName(entry.kind)},
            {"time", timestamp(entry.cameraTime)},
            {"machine_time", machineTimestamp(entry.machineTime)},
            {"who", textOrNull(entry.origin.who)},
            {"client", textOrNull(entry.origin.client)},
            {"cause", name(entry.origin.cause)},
            {"scheme_before", entry.schemeBefore},
            {"scheme", entry.schemeAfter},
            {"scheme_title", schemeTitle(snapshot, entry.schemeAfter)},
            {"text", textOrNull(entry.note)},
            {"undoes", entry.undoes == 0 ? Json(nullptr) : Json(entry.undoes)},
            {"undoable", undoable},
            {"changes", std::move(changes)}};
}

Json historyDocument(const Snapshot& snapshot, const Journal& journal, std::size_t most, u32 key,
                     std::uint64_t since, int language) {
    Json list = Json::array();
    const std::uint64_t sequence = journal.sequence();
    const std::vector<Journal::Entry> entries = journal.newest(Journal::kMostEntries);
    // Newest first, as people read it.
    for (auto entry = entries.rbegin(); entry != entries.rend() && list.size() < most; ++entry) {
        const auto& changes = (*entry)->changes;
        if ((*entry)->sequence <= since || (*entry)->sequence > sequence) {
            continue;
        }
        if (key == 0 || std::any_of(changes.begin(), changes.end(),
                                    [key](const Change& change) { return change.key == key; })) {
            list.push_back(entryDocument(snapshot, journal, **entry, language));
        }
    }
    return {{"boot", journal.bootId()}, {"sequence", sequence}, {"entries", std::move(list)}};
}

} // namespace host::api
