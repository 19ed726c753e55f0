#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "host/Journal.h"
#include "host/Operation.h"
#include "host/Snapshot.h"

/// Why a parameter stands as it does. Made from a snapshot and the journal alone; any thread.
namespace host {

/// Another key is to be explained.
struct ShowKey {
    u32 key;
};

/// What somebody who reads an explanation may want to do next.
struct Advice {
    std::string text; ///< of a button: "Turn on 2D noise reduction"
    std::variant<SetValues, Restore, SetMode, Save, Undo, KeepTrial, ShowKey> action;
};

/// Advice to set a key, in the scheme in force and in no other that may have come since; with the
/// default scheme in force it holds until the next switch.
Advice setAdvice(const Snapshot& snapshot, const std::string& text, u32 key, int value);

/// One statement of an explanation.
struct ExplainLine {
    enum class Topic {
        Difference, ///< the device does not have what it should; before all else
        Value,
        Schedule, ///< why the scheme is in force that has the value
        Origin,   ///< who set it, when and from what
        Saved,
        Factory,
        Hardware, ///< what the layer reads back
        Range,    ///< what it takes now, and why that is less than the style's
        Blocker,  ///< what keeps it from having effect, and what would free it
        Next,     ///< when it changes next by itself, and to what
    };
    Topic topic = Topic::Value;
    std::string text; ///< a sentence or two
    std::optional<Advice> advice;
};

/// A change that is to come.
struct NextValue {
    int minute = 0; ///< as in Plan; the end of a trial: the minute it falls into
    std::optional<int> scheme;
    std::optional<int> value;
};

struct Explanation {
    u32 key = 0;
    std::optional<int> value; ///< in force
    bool differs = false;     ///< from what the device has
    Journal::Entry setBy;     ///< null: nobody since the start, as far as the journal goes back
    std::optional<NextValue> next;
    std::vector<ExplainLine> lines; ///< in the order in which they are to be read
};

/// @param key  one of the snapshot's catalogue
/// @param language  of labels and names of choices; sentences are English
Explanation explain(const Snapshot& snapshot, const Journal& journal, u32 key, int language);

} // namespace host
