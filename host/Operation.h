#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "SensorTypes.h"

/// What can be asked of a camera, and what is answered. Every program that runs a camera asks by
/// these types, and by nothing else.
namespace host {

/// Why something happened.
enum class Cause {
    Start,    ///< the camera was switched on
    Request,  ///< somebody asked for it
    Schedule, ///< the clock
    DayNight, ///< the light, on a camera that switches parameter sets by it
    Trial,    ///< a trial ended
    Restore,  ///< the host brought the device back to what its scheme says
    Reset,    ///< back to the factory values
    Device,   ///< the device itself, or another program on it
};

/// Who asks, and how requests belong together.
struct Origin {
    std::string who;    ///< the person, for people: "anna"; empty: nobody in particular
    std::string client; ///< the program or session; requests of one client merge in the journal
    Cause cause = Cause::Request;
    std::uint64_t gesture = 0; ///< requests of one movement of a hand carry one number; 0: none
};

/// A parameter and a value for it.
struct Pair {
    u32 key;
    int value;
};

/// A daily time window; hour 24 is the day's end. The schemes' keys 8000 .. 8004.
struct Window {
    bool enabled = false;
    int startHour = 0;
    int startMinute = 0;
    int endHour = 24;
    int endMinute = 0;

    bool operator==(const Window& other) const {
        return enabled == other.enabled && startHour == other.startHour &&
               startMinute == other.startMinute && endHour == other.endHour &&
               endMinute == other.endMinute;
    }
};

/// What a scheme that is named but not in force means for a request.
enum class WhenNotInForce {
    Conflict, ///< nothing is done: the result is Result::Conflict
    Record,   ///< the values are checked and recorded in it; the picture does not change
};

// The operations
// ------------------------------------------------------------------------------------------------

/// Applies values in their order, up to the first that is refused, and records them in a scheme.
/// With the default scheme in force they are applied and hold until the next switch: nothing can be
/// recorded in it (KeyResult::NotRecorded).
struct SetValues {
    std::vector<Pair> values;
    std::optional<int> scheme; ///< the scheme that is meant; none: whichever is in force
    WhenNotInForce otherwise = WhenNotInForce::Conflict;
    bool dryRun = false; ///< nothing reaches the layer, nothing is kept; Outcome::commands tells
};

/// Applies values without recording them. They hold until the next switch, or until the key is set.
/// Keys of a time window are not tried, and refused where there are no others.
struct ApplyValues {
    std::vector<Pair> values;
};

/// The same for a time, after which the scheme's values come back. One trial at a time: further
/// values join the one that runs and restart its time. Keys of a time window are refused, and
/// nothing is applied then.
struct TryValues {
    std::vector<Pair> values;
    double seconds = 30;       ///< of camera time, above 0, at most 3600
    std::optional<int> scheme; ///< the scheme that is meant; another one in force is a conflict
};
struct KeepTrial {}; ///< records what is on trial
struct DropTrial {}; ///< ends it at once

/// Saves every scheme with unsaved values and reads the files back; Outcome::schemes tells of each.
struct Save {
    /// This one only, unsaved or not. The default scheme is never saved: Outcome::text says so.
    std::optional<int> scheme;
};

/// Brings a scheme into force. While the schedule is on, the clock may switch back at once.
struct SwitchScheme {
    int scheme; ///< 0 .. the number of timed schemes, which is the default scheme
};

/// Whether schemes switch by the schedule.
struct SetMode {
    bool bySchedule;
};

/// Records daily windows of schemes, all of them or none. Start before end is checked, and whether
/// each scheme exists.
struct SetWindows {
    std::map<int, Window> windows; ///< by scheme
    /// The snapshot that the windows were seen in; a change of any window since is Reason::Newer.
    /// None: whatever they were.
    std::optional<std::uint64_t> seen = {};
    /// For one window across midnight: the scheme that gets the time after midnight, and the
    /// values of the first one.
    std::optional<int> with = {};
};

/// Copies a timed scheme's values to another one; the window only if asked for.
struct CopyScheme {
    int from;
    int to;
    bool window = false;
};

/// A name for people, kept beside the saved files at once.
struct NameScheme {
    int scheme;
    std::string name; ///< at most 64 bytes of UTF-8, no control character; empty: none
};

/// Applies values of the scheme in force again.
struct Restore {
    std::vector<u32> keys; ///< empty: every key
};

/// Applies what was last saved for the scheme in force, and records it.
struct Reload {};

/// Throws every saved scheme away and starts with the factory values.
struct Reset {};

/// Checks a text of schemes whole (Exchange.h), then sets and saves what it says. Where a value is
/// refused all the same, every value is put back, and nothing is saved.
struct Import {
    std::string text;
    bool dryRun = false; ///< only checks
};

/// A movement or a setting of lens and camera, never recorded; Outcome::lens tells where it stands.
struct LensAction {
    enum class Action {
        Read, ///< only asks
        FocusFar,
        FocusNear,
        IrisUp,
        IrisDown,
        ZoomIn,
        ZoomOut,
        ZoomTo,       ///< to a raw motor position
        FocusTo,      ///< to a raw motor position
        FocusMode,    ///< to a value of KEY_AUTO_FOCUS_MODE
        PanTiltMoves, ///< 1: the pan-tilt head moves, 0: it stands
    };
    Action action = Action::Read;
    int value = 0; ///< of the last four
};

/// Whether the mode of wide dynamic range may be set.
struct AllowWideDynamicRange {
    bool allowed;
};

/// Takes a journal entry back, whole or not at all, as a change of its own.
struct Undo {
    std::uint64_t entry;
    bool force = false; ///< also when a key was changed again since
};

/// Asks the camera itself, not the snapshot; Outcome::values, without the
/// keys that it does not tell.
struct ReadKeys {
    std::vector<u32> keys;
    bool device = false; ///< the device's own value, also of keys that the scheme in force holds
};

/// Asks the device for values, ranges and flags again, so that the snapshot
/// is fresh. Changes nothing.
struct Refresh {};

/// Lets the layer correct the values of its restricted commands in the scheme in force, and answers
/// with the whole scheme in Outcome::text, as "(key,value)" pairs.
struct CorrectScheme {};

/// Compares the device with the scheme in force now and brings it to it where they differ. The host
/// does so by itself too; this one has ended when it is answered.
struct Settle {};

/// Runs a piece of work on the controller thread with the schedule held, for who tries the layer
/// itself; the device is settled afterwards. The work must not call this camera.
struct WithLayer {
    std::function<void()> work;
};

using Operation = std::variant<SetValues, ApplyValues, TryValues, KeepTrial, DropTrial, Save,
                               SwitchScheme, SetMode, SetWindows, CopyScheme, NameScheme, Restore,
                               Reload, Reset, Import, LensAction, AllowWideDynamicRange, Undo,
                               ReadKeys, CorrectScheme, Refresh, Settle, WithLayer>;

struct Request {
    Origin origin;
    Operation operation;
};

// The answers
// ------------------------------------------------------------------------------------------------

/// What a key takes.
struct Limits {
    int minimum = 0;
    int maximum = 0;
    int step = 1;
    std::vector<int> items; ///< only these, where not empty

    bool allows(int value) const;
    std::string text() const; ///< "0..255", "0..100 in steps of 5", "40,50,60"
};

/// Why something was refused.
enum class Reason {
    None,
    Range,       ///< out of range, or between steps
    Choices,     ///< not among the allowed values
    LayerFault,  ///< the layer failed, with a code; no fault of the value
    Blocked,     ///< something else must change first
    Busy,        ///< the device is at something that may not be interrupted; or a full queue
    Gone,        ///< the device is not there
    Unsupported, ///< this device has no such control
    UnknownKey,  ///< no key of the table
    NotInScheme, ///< the key is no part of this camera's schemes
    NoScheme,    ///< no such scheme, or not a timed one
    Conflict,    ///< another scheme is in force than the one that was meant
    Window,      ///< a time window that is out of order, or cannot be applied
    Storage,     ///< the flash did not take it
    Text,        ///< a text that is wrong; Outcome::lines
    Newer,       ///< a newer change stands in the way
    Nothing,     ///< there is nothing to do it to: no trial, no such entry
    Stopping,    ///< the camera is being switched off, or is not on
};

/// A refusal with all that a sentence needs; see Sentences.h.
struct Refusal {
    Reason reason = Reason::None;
    int code = 0; ///< the layer's or the library's, where there is one
    std::optional<Limits> allowed;
    std::optional<u32> blocker; ///< the key that would have to change
    std::string detail;         ///< a part of a sentence: "automatic focus is on"
};

/// What became of one key of a request.
enum class KeyResult {
    AlreadyInForce,   ///< nothing to do
    Changed,          ///< applied and recorded; or recorded where the scheme is not in force
    TakenDifferently, ///< the camera took another value: KeyOutcome::taken
    NotRecorded,      ///< applied until the next switch: the default scheme is in force, or a trial
    NotPartOfScheme,  ///< applied, but the key is in no scheme, so it is not saved
    Refused,          ///< KeyOutcome::refusal
    NotTried,         ///< an earlier key was refused, or KeyOutcome::refusal
};

struct KeyOutcome {
    u32 key = 0;
    int wanted = 0;
    KeyResult result = KeyResult::NotTried;
    int scheme = -1;           ///< that it is recorded in, where that is not the one in force
    std::optional<int> before; ///< in force before
    std::optional<int> taken;  ///< in force now
    Refusal refusal;
    bool dryRun = false; ///< nothing was sent: the snapshot tells nothing of it
};

/// What became of one scheme of a save or an import.
struct SchemeOutcome {
    int scheme = 0;
    bool saved = false;
    Refusal refusal; ///< when not saved
};

/// Where the lens stands; what the layer does not tell is missing.
struct LensState {
    std::optional<int> zoom;      ///< raw motor position
    std::optional<int> zoomRatio; ///< thousandths
    std::optional<bool> zoomMoves;
    std::optional<int> focus; ///< raw motor position
    std::optional<bool> focusMoves;
    std::optional<int> focusMode;
    std::optional<unsigned int> sharpness; ///< higher is sharper
};

/// A command that a dry run would have sent.
struct Command {
    u32 command = 0;
    std::vector<int> words;
    int result = 0;
};

enum class Result {
    Done,
    Partly,   ///< some keys or schemes were refused or not tried
    Refused,  ///< nothing was changed
    Conflict, ///< nothing was changed: another scheme is in force
    Busy,     ///< nothing was changed: ask again in Outcome::retryAfter seconds
};

struct Outcome {
    Result result = Result::Done;
    Refusal refusal; ///< of the whole, or of the first key that was refused
    int retryAfter = 0;
    int scheme = -1; ///< the scheme that was in force, or was recorded in
    std::vector<KeyOutcome> keys;
    std::vector<SchemeOutcome> schemes;
    bool saves = false; ///< schemes tells what was saved, also where that is none
    std::optional<LensState> lens;
    std::map<u32, int> values;
    std::vector<Command> commands;
    std::size_t count = 0;   ///< of an import: values that the text sets
    std::size_t changed = 0; ///< of them: those that differ from what was
    std::string text;
    std::vector<std::string> lines; ///< of a text that is wrong: "line 3: ..."
    std::uint64_t entry = 0;        ///< the journal entry it stands in; 0: it changed nothing
    std::uint64_t snapshot = 0;     ///< a snapshot of this number or later shows what it did

    bool done() const { return result == Result::Done; }
};

using Completion = std::function<void(const Outcome&)>;

} // namespace host
