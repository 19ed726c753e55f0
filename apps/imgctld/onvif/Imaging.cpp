#include <tinyxml.h>

#include <algorithm>
#include <cmath>

#include "ImagingFields.h"
#include "SensorKeys.h"
#include "Services.h"
#include "host/Camera.h"
#include "host/Names.h"
#include "host/Sentences.h"
#include "host/Xml.h"

// The imaging service: settings, focus, and presets, which are schemes.
namespace onvif {
namespace {

using host::LensAction;
using host::Outcome;
using host::Reason;

constexpr std::size_t kLongestName = 64;
constexpr int kManualFocus = 1;

std::string sentenceOf(std::string part) {
    if (!part.empty() && part[0] >= 'a' && part[0] <= 'z') {
        part[0] = static_cast<char>(part[0] - 'a' + 'A');
    }
    return part.empty() || part.back() == '.' ? part : part + ".";
}

/// What an operation that was not done, or not whole, is answered with; none for one that was.
std::optional<Fault> faultOf(const host::Snapshot& snapshot, const Outcome& outcome) {
    if (outcome.done()) {
        return std::nullopt;
    }
    std::string reason = outcome.refusal.detail;
    for (const host::KeyOutcome& key : outcome.keys) {
        if (key.result == host::KeyResult::Refused ||
            key.result == host::KeyResult::TakenDifferently) {
            reason = sentence(snapshot, key);
            break;
        }
    }
    for (const host::SchemeOutcome& scheme : outcome.schemes) {
        if (!scheme.saved) {
            reason = sentence(scheme);
        }
    }
    const Reason why = outcome.refusal.reason;
    if (why == Reason::Range || why == Reason::Choices) {
        return invalid("SettingsInvalid", sentenceOf(reason));
    }
    Fault fault = actionFailed(
        sentenceOf(reason.empty() ? "not done: " + reasonText(outcome.refusal) : reason));
    if (outcome.result == host::Result::Busy || why == Reason::Busy || why == Reason::Gone ||
        why == Reason::Stopping) {
        fault.status = 503;
        fault.retryAfter = std::max(1, outcome.retryAfter);
    }
    return fault;
}

void addPreset(Element& to, const host::Snapshot& snapshot, int number) {
    std::string name = schemeTitle(snapshot, number);
    for (const host::Scheme& scheme : snapshot.schemes) {
        if (scheme.number == number && !scheme.name.empty()) {
            name = scheme.name;
        }
    }
    name.resize(std::min(name.size(), kLongestName));
    to.add("Preset").with("token", std::to_string(number)).with("type", "Custom").add("Name", name);
}

Fault noFocus() {
    return {Fault::Code::Receiver,
            "ActionNotSupported",
            "NoImagingForSource",
            "The focus of this camera cannot be moved.",
            0,
            0};
}

/// A movement of focus, as a client asks for it.
struct FocusMove {
    bool relative = false;
    double value = 0;
};

std::optional<Fault> readMove(const TiXmlElement& request, FocusMove& move) {
    const TiXmlElement* const focus = childOf(request, "Focus");
    const TiXmlElement* const absolute = focus != nullptr ? childOf(*focus, "Absolute") : nullptr;
    const TiXmlElement* const relative = focus != nullptr ? childOf(*focus, "Relative") : nullptr;
    if ((absolute == nullptr) == (relative == nullptr)) {
        return invalid("", "A focus move is either absolute or relative.");
    }
    move.relative = relative != nullptr;
    const std::optional<double> value = readFloat(move.relative ? childText(*relative, "Distance")
                                                                : childText(*absolute, "Position"));
    if (!value) {
        return invalid("", "A focus move needs a number.");
    }
    move.value = *value;
    return std::nullopt;
}

host::Request lens(const host::Origin& origin, LensAction::Action action, int value = 0) {
    return {origin, LensAction{action, value}};
}

} // namespace

void Services::settings(const Call& call, const Done& done) {
    Element answer;
    addSettings(call.snapshot, answer.add("ImagingSettings"));
    done(answer);
}

void Services::options(const Call& call, const Done& done) {
    Element answer;
    addOptions(call.snapshot, answer.add("ImagingOptions"));
    done(answer);
}

void Services::setSettings(const Call& call, const Done& done) {
    const TiXmlElement& request = call.message.request();
    const TiXmlElement* const wanted = childOf(request, "ImagingSettings");
    if (wanted == nullptr) {
        return done(Fault{Fault::Code::Sender, "InvalidArgs", "",
                          "The request lacks 'ImagingSettings'.", 0, 0});
    }
    const std::string force = childText(request, "ForcePersistence");
    const bool persist = force == "true" || force == "1";
    host::SetValues operation;
    std::optional<Fault> fault = readSettings(call.snapshot, *wanted, operation.values);
    const int scheme = call.snapshot.scheme;
    for (const host::Scheme& one : call.snapshot.schemes) {
        if (!fault && persist && one.number == scheme && !one.timed) {
            fault = actionFailed(
                "Nothing can be saved while the factory values are in force; choose another preset "
                "first.");
        }
    }
    if (fault) {
        return done(fault);
    }
    const Done last = [this, done, persist, scheme](const Reply& reply) {
        return persist && !reply.fault ? save(scheme, done) : done(reply);
    };
    if (operation.values.empty()) {
        return last(Element());
    }
    operation.scheme = scheme; // what is in force was looked at there
    m_camera.submit({call.origin, operation}, [this, last](const Outcome& outcome) {
        last(faultOf(*m_camera.snapshot(), outcome));
    });
}

/// Saves at once, or as soon as the flash may be written again. Who waits is answered then.
void Services::save(int scheme, const Done& done) {
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_waitingSaves[scheme].push_back(done);
        if (m_waitingSaves.size() > 1 || m_waitingSaves[scheme].size() > 1) {
            return;
        }
    }
    tick();
}

void Services::tick() {
    std::map<int, std::vector<Done>> waiting;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        if (m_waitingSaves.empty() || !m_maySave()) {
            return;
        }
        waiting.swap(m_waitingSaves);
    }
    const auto snapshot = m_camera.snapshot();
    for (const auto& [scheme, all] : waiting) {
        const auto index = static_cast<std::size_t>(scheme);
        if (index < snapshot->schemes.size() && snapshot->schemes[index].unsaved == 0) {
            for (const Done& done : all) { // flash wears, and some ask for the same all day
                done(Element());
            }
            continue;
        }
        // What people try in other schemes is not a recorder's to keep, nor to fail for.
        m_camera.submit({{"", "onvif", {}, 0}, host::Save{scheme}},
                        [this, asked = all](const Outcome& outcome) {
                            const auto fault = faultOf(*m_camera.snapshot(), outcome);
                            for (const Done& done : asked) {
                                done(fault);
                            }
                        });
    }
}

void Services::moveOptions(const Call& call, const Done& done) {
    Element answer;
    Element& all = answer.add("MoveOptions");
    const std::optional<host::Limits> limits = limitsOf(call.snapshot, KEY_MF_POSITION);
    if (limits) {
        const double span = static_cast<double>(limits->maximum) - limits->minimum;
        all.at("Absolute/Position/Min").text = floatText(limits->minimum);
        all.at("Absolute/Position/Max").text = floatText(limits->maximum);
        all.at("Relative/Distance/Min").text = floatText(-span);
        all.at("Relative/Distance/Max").text = floatText(span);
    }
    done(answer);
}

void Services::move(const Call& call, const Done& done) {
    const std::optional<host::Limits> limits = limitsOf(call.snapshot, KEY_MF_POSITION);
    if (!limits) {
        return done(noFocus());
    }
    FocusMove move;
    std::optional<Fault> fault = readMove(call.message.request(), move);
    if (fault) {
        return done(fault);
    }
    const host::Origin origin = call.origin;
    const auto go = [this, origin, done](int position) {
        m_camera.submit(
            lens(origin, LensAction::Action::FocusTo, position),
            [this, done](const Outcome& outcome) { done(faultOf(*m_camera.snapshot(), outcome)); });
    };
    const auto start = [this, origin, done, go, move, allowed = *limits](const Outcome& outcome) {
        const std::optional<int> now = outcome.lens ? outcome.lens->focus : std::nullopt;
        if (move.relative && !now) {
            return done(noFocus());
        }
        const double target = move.value + (move.relative ? *now : 0);
        if (target < allowed.minimum || target > allowed.maximum) {
            return done(invalid("", "The focus goes from " + std::to_string(allowed.minimum) +
                                        " to " + std::to_string(allowed.maximum) + "."));
        }
        const int position = static_cast<int>(std::lround(target));
        // A move by hand ends automatic focus, which would take it back.
        if (outcome.lens && outcome.lens->focusMode.value_or(kManualFocus) != kManualFocus) {
            m_camera.submit(lens(origin, LensAction::Action::FocusMode, kManualFocus),
                            [this, done, go, position](const Outcome& mode) {
                                const auto refused = faultOf(*m_camera.snapshot(), mode);
                                return refused ? done(refused) : go(position);
                            });
        } else {
            go(position);
        }
    };
    m_camera.submit(lens(origin, LensAction::Action::Read), start);
}

void Services::stop(const Call& call, const Done& done) {
    const host::Origin origin = call.origin;
    m_camera.submit(lens(origin, LensAction::Action::Read),
                    [this, origin, done](const Outcome& outcome) {
                        const host::LensState state = outcome.lens.value_or(host::LensState());
                        if (!state.focus || !state.focusMoves.value_or(false)) {
                            return done(faultOf(*m_camera.snapshot(), outcome));
                        }
                        // Where it passes just now is where it is to stay.
                        m_camera.submit(lens(origin, LensAction::Action::FocusTo, *state.focus),
                                        [this, done](const Outcome& stopped) {
                                            done(faultOf(*m_camera.snapshot(), stopped));
                                        });
                    });
}

void Services::status(const Call& call, const Done& done) {
    m_camera.submit(lens(call.origin, LensAction::Action::Read),
                    [this, done](const Outcome& outcome) {
                        const auto fault = faultOf(*m_camera.snapshot(), outcome);
                        if (fault) {
                            return done(fault);
                        }
                        Element answer;
                        Element& all = answer.add("Status");
                        if (outcome.lens && outcome.lens->focus) {
                            const std::optional<bool> moves = outcome.lens->focusMoves;
                            all.at("FocusStatus20/Position").text = floatText(*outcome.lens->focus);
                            all.at("FocusStatus20/MoveStatus").text = !moves   ? "UNKNOWN"
                                                                      : *moves ? "MOVING"
                                                                               : "IDLE";
                        }
                        done(answer);
                    });
}

void Services::presets(const Call& call, const Done& done) {
    Element answer;
    for (const host::Scheme& scheme : call.snapshot.schemes) {
        addPreset(answer, call.snapshot, scheme.number);
    }
    done(answer);
}

void Services::currentPreset(const Call& call, const Done& done) {
    Element answer;
    addPreset(answer, call.snapshot, call.snapshot.scheme);
    done(answer);
}

void Services::setCurrentPreset(const Call& call, const Done& done) {
    const std::string token = childText(call.message.request(), "PresetToken");
    const auto& schemes = call.snapshot.schemes;
    const auto wanted = std::find_if(schemes.begin(), schemes.end(), [&token](const auto& scheme) {
        return std::to_string(scheme.number) == token;
    });
    if (wanted == schemes.end()) {
        return done(invalid("NoToken", "There is no such preset."));
    }
    if (wanted->number == call.snapshot.scheme) {
        return done(Element());
    }
    if (call.snapshot.bySchedule) {
        return done(
            actionFailed("The schedule is on and would switch back at once; an "
                         "administrator can switch it off."));
    }
    m_camera.submit(
        {call.origin, host::SwitchScheme{wanted->number}},
        [this, done](const Outcome& outcome) { done(faultOf(*m_camera.snapshot(), outcome)); });
}

} // namespace onvif
