#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "Layer.h"
#include "host/Operation.h"

/// The camera as it was at one moment. Snapshots are made by the controller thread and never change
/// afterwards: whoever holds one reads it without a lock, for as long as he likes.
namespace host {

/// A local time of the camera's clock.
struct CameraTime {
    int year = 1970;
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;

    int minuteOfDay() const { return hour * 60 + minute; }
};
CameraTime cameraTime(); ///< the time that the camera's clock shows now; any thread
std::string clockText(const CameraTime& time); ///< "21:04:10"
std::string dateText(const CameraTime& time);  ///< "2026-11-23"

/// A text in several languages, by language number; English is 0.
using Labels = std::map<int, std::string>;

/// The text in a language, else in English, else the other one.
const std::string& textIn(const Labels& labels, int language, const std::string& otherwise);

/// What a key is on this camera: from the key table, the style, the language files and the layer.
struct Parameter {
    enum class Kind {
        Number,
        Switch, ///< 0 or 1
        Choice,
        Button, ///< starts something; has no value
        Hidden, ///< known, but not in this camera's style
    };
    struct Option {
        int value;
        std::string name; ///< as the style has it: "manualIris"
        Labels labels;
    };

    u32 key = 0;
    std::string name;      ///< "KEY_BRIGHTNESS"
    std::string shortName; ///< as people type it: "brightness"
    std::string styleName; ///< "brightness"; empty outside the style
    std::string handler;   ///< "doIaCmd"; empty for a key that is only stored
    u32 command = 0;       ///< of the layer; 0 for a key that is only stored
    Labels labels;
    std::string tab;   ///< the style's key of the tab
    std::string group; ///< of the tabs, for a page; may be empty
    Kind kind = Kind::Hidden;
    std::string element;         ///< the style's element: "slider", "choice", "notice"
    std::string unit;            ///< "%", "min"; empty for a plain number
    std::optional<Limits> style; ///< what the style allows
    std::vector<Option> options; ///< the choices, those that the sensor does not take left out
    std::optional<int> factory;  ///< the factory value; only keys that have one are in a scheme
    std::vector<u32> enables;    ///< the keys that have no effect while this switch is off
    std::optional<u32> enabledBy;

    bool inScheme() const { return factory.has_value(); }
    bool storedOnly() const { return command == 0; }

    /// The text in a language, else in English, else the short name.
    const std::string& label(int language) const;
    /// The option of a value, or null.
    const Option* option(int value) const;
};

/// A tab of the user interface, in the style's order.
struct Tab {
    std::string key;
    std::string group;
    Labels labels;
    std::vector<u32> keys;
};

/// What stays the same from snapshot to snapshot until the style, the languages or the sensor's
/// restrictions change.
struct Catalogue {
    struct Language {
        std::string name;   ///< "Deutsch"; its number where the file has no name
        std::string texts;  ///< language.xml as it stands
        std::string common; ///< common.xml as it stands
    };

    std::vector<Parameter> parameters; ///< in the order of the key table
    std::vector<Tab> tabs;
    std::map<std::string, Labels> groups;
    std::map<int, Language> languages;
    std::string style;                              ///< XML, pruned for this sensor
    std::vector<u32> schemeKeys;                    ///< in the order of a scheme's records
    std::unordered_map<u32, std::size_t> positions; ///< of the keys in parameters

    const Parameter* find(u32 key) const; ///< or null
    std::size_t indexOf(u32 key) const;   ///< parameters.size() when unknown
};

/// How a parameter stands.
struct Value {
    std::optional<int> stored;   ///< in the scheme in force
    std::optional<int> saved;    ///< in its file
    std::optional<int> readBack; ///< what the layer told when it was last asked
    std::optional<int> applied;  ///< applied without being recorded: on trial, or until the switch
    bool onTrial = false;
    std::optional<Limits> limits; ///< what the layer takes now
    bool restricted = false;      ///< by this sensor: narrower than the command's own range
    /// What the layer says of the command; null for a key that is only stored.
    std::shared_ptr<const image_adjust::CommandState> state;
    Refusal block; ///< why it does not take effect, or cannot be set, now; Reason::None: nothing

    /// The value in force, as far as the host knows: applied, else stored, else read back.
    std::optional<int> inForce() const;
    bool unsaved() const { return stored && saved != stored; }

    /// Whether the device has it; what is only stored needs no device.
    bool supported() const;
    /// What the device counts in, where that is another unit than the key's own; else empty.
    std::string unit() const;
};

/// A scheme: timed, or the default one, which is the last.
struct Scheme {
    int number = 0;
    bool timed = true;
    std::string name; ///< given by people; may be empty
    Window window;
    bool inForce = false;
    int unsaved = 0; ///< values that differ from its file
    bool fileMissing = false;
    int windowFault = 0; ///< 505, 506, 507 where its window cannot be saved, else 0
    /// Its values and those of its file, in the order of Catalogue::schemeKeys.
    std::shared_ptr<const std::vector<int>> values;
    std::shared_ptr<const std::vector<std::optional<int>>> saved;
};

/// A value of the scheme in force that the device does not have.
struct Difference {
    u32 key = 0;
    int wanted = 0;
    std::optional<int> readBack;
    Refusal refusal; ///< why it does not take it
    int tries = 0;
    bool givenUp = false; ///< it is tried again at the next switch, change or return of the device
};

/// Why a scheme is in force.
struct SchemeRule {
    enum class Why {
        Window,         ///< the lowest enabled window that holds the time
        OutsideWindows, ///< none does: the default scheme
        Day,            ///< outside all windows, by the light
        Night,
        ByHand, ///< chosen while the schedule is off
        Due,    ///< chosen by hand while the schedule is on: the clock will switch
    };
    Why why = Why::OutsideWindows;
    std::string text; ///< "lowest enabled window that holds 21:04"
};

/// When the scheme in force changes next, by the schedule.
struct NextSwitch {
    int minuteOfDay = 0;
    int scheme = 0;
};

struct Trial {
    std::uint64_t number = 0;
    Origin origin;
    int scheme = 0;
    double secondsLeft = 0; ///< of camera time, when the snapshot was made
    long long endsAt = 0;   ///< camera microseconds (Camera::clockMicroseconds)
    std::vector<Pair> values;
    std::map<u32, int> returnsTo;
};

struct LayerState {
    std::string name;   ///< "simulator"
    std::string device; ///< for people; may be empty
    bool present = true;
    double goneSeconds = 0;
    std::string version;
};

struct Snapshot {
    std::uint64_t number = 0; ///< counts up with each snapshot of a run
    std::string bootId;       ///< of the run
    CameraTime time;
    int scheme = 0;
    SchemeRule rule;
    std::optional<NextSwitch> next;
    bool bySchedule = true;
    bool dayNightSchemes = false; ///< switches parameter sets by day and night outside the windows
    std::optional<bool> night;
    int framesPerSecond = 25;
    bool wideDynamicRangeAllowed = true;
    int deviceType = 0;
    int moduleId = 0;
    std::string detail;
    LayerState layer;
    std::shared_ptr<const Catalogue> catalogue;
    std::vector<Value> values; ///< one for each of Catalogue::parameters
    std::vector<Scheme> schemes;
    std::vector<Difference> differences;
    bool settled = false; ///< compared since the last change, and nothing is left to be tried
    int unsaved = 0;      ///< of all schemes
    std::optional<Trial> trial;
    std::vector<std::string> problems; ///< of the device tree, found at the start
    std::uint64_t journal = 0;         ///< the journal's sequence number at that moment

    const Parameter* parameter(u32 key) const { return catalogue->find(key); }
    const Value* value(u32 key) const; ///< or null
    std::optional<int> storedIn(int scheme, u32 key) const;
};

/// Whether a window holds a minute of the day, enabled or not.
bool holds(const Window& window, int minuteOfDay);

/// The scheme that is in force at a minute of the day by windows alone: the lowest enabled one that
/// holds it, else the number of timed schemes.
int schemeAt(const std::vector<Scheme>& schemes, int minuteOfDay);

} // namespace host
