#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <iterator>
#include <map>
#include <mutex>
#include <random>
#include <set>

#include "HostCamera.h"
#include "ImageAdjustRecords.h"
#include "LinuxFramework.h"
#include "SensorKeys.h"
#include "SimulatedImageAdjust.h"
#include "host/SchemeFiles.h"
#include "host/Sentences.h"

/// Random clients, switches, time, faults, an unplugged sensor and restarts against a model that is
/// a few maps: what was answered must be what is recorded, saved and in force.
namespace {

using namespace host;

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr long kSteps = 10000;
#else
constexpr long kSteps = 100000;
#endif
constexpr int kTimed = 4;
constexpr double kSpeed = 50;
/// The host has 2 seconds; a machine that does much else may need more.
constexpr std::chrono::seconds kPatience(6);

long fromEnvironment(const char* name, long otherwise) {
    const char* text = std::getenv(name);
    return text == nullptr ? otherwise : std::atol(text);
}

/// Keys with what is special about them: shared records, the mirror and what turns it round, modes
/// that switch others off, commands of another number, the window, one outside the schemes.
const u32 kKeys[] = {KEY_BRIGHTNESS,
                     KEY_SATURATION,
                     KEY_CONTRAST,
                     KEY_SHARPNESS,
                     KEY_GAMMA,
                     KEY_EXPOSE_MODE,
                     KEY_MAX_SHUTTER,
                     KEY_FIX_GAIN,
                     KEY_IRIS_POSITION,
                     KEY_IRIS_SIZE,
                     KEY_WB_MODE,
                     KEY_R_GAIN,
                     KEY_DN_MODE,
                     KEY_DTN_THR,
                     KEY_NTD_THR,
                     KEY_DTN_H,
                     KEY_DTN_M,
                     KEY_NTD_H,
                     KEY_NTD_M,
                     KEY_IR_SWITCH,
                     KEY_2D_NR_SWITCH,
                     KEY_2D_NR_STRG_A,
                     KEY_WDR_MODE,
                     KEY_MIRROR,
                     KEY_BEAWAY,
                     KEY_ANTI_SHAKE_SWITCH,
                     KEY_CAP_OFF_ADJ_H_CUR,
                     KEY_AUTO_FOCUS_MODE,
                     KEY_SCHEME_ENABLE,
                     KEY_SCHEME_START_HOUR,
                     KEY_SCHEME_START_MIN,
                     KEY_SCHEME_END_HOUR,
                     KEY_SCHEME_END_MIN,
                     KEY_MZ_POSITION};

using Values = std::map<u32, int>;

struct Model {
    std::map<int, Values> memory; ///< the default scheme is the last
    std::map<int, Values> files;
    Values applied; ///< the last value of each key that was applied without being recorded
    bool bySchedule = true;

    Window window(int scheme) const {
        const Values& values = memory.at(scheme);
        return {values.at(KEY_SCHEME_ENABLE) != 0, values.at(KEY_SCHEME_START_HOUR),
                values.at(KEY_SCHEME_START_MIN), values.at(KEY_SCHEME_END_HOUR),
                values.at(KEY_SCHEME_END_MIN)};
    }
    int due(int minute) const {
        for (int scheme = 0; scheme < kTimed; ++scheme) {
            const Window w = window(scheme);
            const int now = minute / 60 * 100 + minute % 60;
            if (w.enabled && w.startHour * 100 + w.startMinute <= now &&
                now < w.endHour * 100 + w.endMinute) {
                return scheme;
            }
        }
        return kTimed;
    }
};

class Invariant : public HostCamera {
protected:
    void learn();
    void step();
    void client();
    void world();
    void restart();
    void submit(Operation operation, std::function<void(const Outcome&)> check);
    void drain();
    void rest(bool ask);
    std::string differs();
    std::string deviceDiffers(const Snapshot& now);
    void takeSet(const Outcome& outcome);
    void take(const Outcome& outcome, int scheme);
    void complain(const std::string& what);

    unsigned int random(unsigned int n) { return static_cast<unsigned int>(m_random() % n); }
    u32 anyKey() { return kKeys[random(std::size(kKeys))]; }
    int anyValue(u32 key);
    Origin anyone();

    std::mt19937 m_random;
    Model m_model;          ///< changed by the controller thread while requests are under way
    std::set<u32> m_faulty; ///< commands
    bool m_unplugged = false;
    std::mutex m_lock;
    std::condition_variable m_changed;
    int m_underWay = 0;
    std::string m_complaint;
    long m_number = 0;
};

/// Takes what the camera has now for the truth: after a start.
void Invariant::learn() {
    const auto now = camera.snapshot();
    for (int scheme = 0; scheme <= kTimed; ++scheme) {
        for (const u32 key : now->catalogue->schemeKeys) {
            m_model.memory[scheme][key] = *now->storedIn(scheme, key);
        }
    }
}

void Invariant::complain(const std::string& what) {
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_complaint.empty()) {
        m_complaint = "step " + std::to_string(m_number) + ": " + what;
    }
}

int Invariant::anyValue(u32 key) {
    const auto now = camera.snapshot();
    const Value* value = now->value(key);
    const Parameter* about = now->parameter(key);
    const std::optional<Limits>& limits =
        value != nullptr && value->limits ? value->limits : about->style;
    const int past = random(12) == 0 ? 1 : 0;
    const auto span = static_cast<unsigned int>(limits->maximum - limits->minimum + 1 + past);
    return limits->minimum + (past != 0 ? static_cast<int>(span) - 1 + static_cast<int>(random(3))
                                        : static_cast<int>(random(span)));
}

Origin Invariant::anyone() {
    static const char* const names[] = {"anna", "bob", "clara"};
    const std::string who = names[random(3)];
    return {who, who + "'s page", Cause::Request, random(3) == 0 ? random(50) : 0};
}

void Invariant::submit(Operation operation, std::function<void(const Outcome&)> check) {
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        ++m_underWay;
    }
    camera.submit({anyone(), std::move(operation)}, [this, check](const Outcome& outcome) {
        if (outcome.result != Result::Busy) {
            check(outcome);
        }
        const std::lock_guard<std::mutex> guard(m_lock);
        --m_underWay;
        m_changed.notify_all();
    });
}

void Invariant::drain() {
    std::unique_lock<std::mutex> guard(m_lock);
    if (!m_changed.wait_for(guard, std::chrono::seconds(20), [this] { return m_underWay == 0; })) {
        m_complaint = "requests were not answered";
    }
}

/// What became of the keys of a request, into the model.
void Invariant::take(const Outcome& outcome, int scheme) {
    bool refused = false;
    for (const KeyOutcome& key : outcome.keys) {
        Values& memory = m_model.memory[scheme];
        const std::string where = "key " + std::to_string(key.key) + " = " +
                                  std::to_string(key.wanted) + " in " + std::to_string(scheme);
        if (refused != (key.result == KeyResult::NotTried)) {
            complain(where + ": tried behind a refusal, or not tried without one");
        }
        switch (key.result) {
            case KeyResult::Changed:
            case KeyResult::TakenDifferently:
                (scheme < kTimed ? memory : m_model.applied)[key.key] = key.wanted;
                break;
            case KeyResult::AlreadyInForce:
                if (scheme < kTimed && memory[key.key] != key.wanted) {
                    complain(where + ": not already so, but " + std::to_string(memory[key.key]));
                }
                break;
            case KeyResult::NotRecorded:
                m_model.applied[key.key] = key.wanted;
                break;
            case KeyResult::NotPartOfScheme:
                if (memory.count(key.key) != 0) {
                    complain(where + ": is part of the scheme");
                }
                break;
            case KeyResult::Refused:
                refused = true;
                if (key.refusal.reason == Reason::Range &&
                    key.refusal.allowed->allows(key.wanted)) {
                    complain(where + ": the range is blamed");
                }
                break;
            case KeyResult::NotTried:
                break;
        }
    }
}

/// One request of a client.
void Invariant::client() {
    const unsigned int kind = random(100);
    if (kind < 62) {
        SetValues set;
        for (unsigned int i = 0; i <= random(4) * random(2); ++i) {
            const u32 key = anyKey();
            set.values.push_back({key, anyValue(key)});
        }
        if (random(2) == 0) {
            set.scheme = static_cast<int>(random(kTimed));
            set.otherwise = random(2) == 0 ? WhenNotInForce::Conflict : WhenNotInForce::Record;
        }
        set.dryRun = random(20) == 0;
        submit(set, [this, set](const Outcome& outcome) {
            if (outcome.keys.empty()) {
                return;
            }
            if (set.scheme && outcome.scheme != *set.scheme) {
                complain("recorded in another scheme than the one that was meant");
            }
            if (!set.dryRun) {
                take(outcome, outcome.scheme);
            }
        });
    } else if (kind < 66) {
        const u32 key = anyKey();
        submit(ApplyValues{{{key, anyValue(key)}}}, [this](const Outcome& outcome) {
            for (const KeyOutcome& done : outcome.keys) {
                if (done.result == KeyResult::NotRecorded ||
                    done.result == KeyResult::TakenDifferently) {
                    m_model.applied[done.key] = done.wanted;
                }
            }
        });
    } else if (kind < 70) {
        TryValues trial;
        const u32 key = anyKey();
        trial.values = {{key, anyValue(key)}};
        trial.seconds = 0.1 + random(20);
        submit(trial, [this](const Outcome& outcome) {
            for (const KeyOutcome& done : outcome.keys) {
                if (done.result == KeyResult::NotRecorded ||
                    done.result == KeyResult::TakenDifferently) {
                    m_model.applied[done.key] = done.wanted;
                }
            }
        });
    } else if (kind < 71) {
        submit(KeepTrial{}, [this](const Outcome& outcome) { take(outcome, outcome.scheme); });
    } else if (kind < 72) {
        submit(DropTrial{}, [](const Outcome&) {});
    } else if (kind < 80) {
        const int scheme = static_cast<int>(random(kTimed + 1));
        submit(SwitchScheme{scheme}, [this, scheme](const Outcome& outcome) {
            if (!m_model.bySchedule && outcome.scheme != scheme) {
                complain("switched elsewhere");
            }
        });
    } else if (kind < 83) {
        const bool on = random(3) != 0;
        submit(SetMode{on}, [this, on](const Outcome&) { m_model.bySchedule = on; });
    } else if (kind < 87) {
        const int scheme = static_cast<int>(random(kTimed));
        const int start = static_cast<int>(random(23));
        const Window window{random(3) != 0, start, static_cast<int>(random(60)),
                            start + 1 + static_cast<int>(random(static_cast<u32>(23 - start))), 0};
        submit(SetWindows{{{scheme, window}}, {}}, [this, scheme, window](const Outcome& outcome) {
            take(outcome, scheme);
            if (windowFault(window) == 0 && !outcome.done()) {
                complain("a good window was refused");
            }
        });
    } else if (kind < 88) {
        submit(Save{}, [this](const Outcome& outcome) {
            for (const SchemeOutcome& scheme : outcome.schemes) {
                const bool good = windowFault(m_model.window(scheme.scheme)) == 0;
                if (scheme.saved != good) {
                    const Window w = m_model.window(scheme.scheme);
                    complain("scheme " + std::to_string(scheme.scheme) +
                             " saved or not: " + scheme.refusal.detail +
                             std::to_string(w.startHour) + ":" + std::to_string(w.startMinute) +
                             "-" + std::to_string(w.endHour) + ":" + std::to_string(w.endMinute));
                }
                if (scheme.saved) {
                    m_model.files[scheme.scheme] = m_model.memory[scheme.scheme];
                }
            }
        });
    } else if (kind < 90) {
        submit(Reload{}, [this](const Outcome& outcome) {
            // A reload that a refusal ended has taken some of the saved values, up to there.
            const int scheme = outcome.scheme;
            const auto now = camera.snapshot();
            for (auto& [key, value] : m_model.memory[scheme]) {
                const int saved = scheme < kTimed ? m_model.files[scheme][key] : value;
                const int stored = *now->storedIn(scheme, key);
                if (stored != saved && (outcome.done() || stored != value)) {
                    complain("reload of key " + std::to_string(key));
                }
                value = stored;
            }
        });
    } else if (kind < 92) {
        const auto from = static_cast<int>(random(kTimed + 1));
        const auto to = static_cast<int>(random(kTimed));
        submit(CopyScheme{from, to, random(4) == 0},
               [this, to](const Outcome& outcome) { take(outcome, to); });
    } else if (kind < 97) {
        LensAction action;
        action.action = random(2) == 0 ? LensAction::Action::FocusNear : LensAction::Action::IrisUp;
        const bool focus = action.action == LensAction::Action::FocusNear;
        submit(action, [this, focus](const Outcome&) {
            m_model.applied[focus ? KEY_AUTO_FOCUS_MODE : KEY_EXPOSE_MODE] = focus ? 1 : 3;
        });
    } else if (kind < 99) {
        const auto newest = camera.journal().newest(5);
        if (!newest.empty()) {
            submit(Undo{newest.front()->id, random(2) == 0}, [this](const Outcome& outcome) {
                const Journal::Entry entry = camera.journal().find(outcome.entry);
                for (std::size_t i = 0; entry != nullptr && i < entry->changes.size(); ++i) {
                    const Change& change = entry->changes[i];
                    if (change.scheme >= 0) {
                        m_model.memory[change.scheme][change.key] = *change.after;
                    }
                }
            });
        }
    } else if (random(10) == 0) {
        submit(Reset{}, [this](const Outcome& outcome) {
            for (int scheme = 0; scheme < kTimed; ++scheme) {
                m_model.memory[scheme] = m_model.memory[kTimed];
                m_model.memory[scheme][KEY_SCHEME_ENABLE] = scheme == 0 ? 1 : 0;
                m_model.files[scheme] = m_model.memory[scheme];
            }
            m_model.bySchedule = true;
            if (!outcome.done()) {
                complain("reset: " + outcome.refusal.detail);
            }
        });
    }
}

/// Something that no client does.
void Invariant::world() {
    const u32 key = kKeys[random(16)];
    const u32 command = camera.snapshot()->parameter(key)->command;
    switch (random(6)) {
        case 0:
            linux_framework::setClock(static_cast<int>(random(24)), static_cast<int>(random(60)), 2,
                                      kSpeed);
            break;
        case 1:
            simulated_ia::fail(command, -1, 1 + random(3));
            break;
        case 2:
            if (m_faulty.size() < 3) {
                simulated_ia::fail(command, random(2) == 0 ? -1 : -4);
                m_faulty.insert(command);
            }
            break;
        case 3:
            simulated_ia::failNthCall(1 + random(200), -1);
            break;
        case 4:
            simulated_ia::changeFromOutside(command, anyValue(key));
            break;
        default:
            if (random(4) == 0) {
                m_unplugged ? simulated_ia::plugIn() : simulated_ia::unplug();
                m_unplugged = !m_unplugged;
            }
            break;
    }
}

/// Off and on again without saving: what was saved is there, and nothing else.
void Invariant::restart() {
    camera.stop();
    if (random(2) == 0) {
        simulated_ia::reset();
        m_unplugged = false;
        m_faulty.clear();
    }
    for (int scheme = 0; scheme < kTimed; ++scheme) {
        m_model.memory[scheme] = m_model.files[scheme];
    }
    m_model.bySchedule = true;
    m_model.applied.clear();
    start(kSpeed);
}

/// What the sensor has against what it should have, but for what is said to be different.
std::string Invariant::deviceDiffers(const Snapshot& now) {
    std::set<u32> listed;
    for (const Difference& difference : now.differences) {
        listed.insert(difference.key);
        const u32 command = now.parameter(difference.key)->command;
        // The fields of a record fail together with any of them.
        const u32 first = image_adjust::recordOf(command).first;
        const bool faulty = std::any_of(m_faulty.begin(), m_faulty.end(), [first](u32 other) {
            return image_adjust::recordOf(other).first == first;
        });
        if (!faulty) {
            return "key " + std::to_string(difference.key) + " = " +
                   std::to_string(difference.wanted) +
                   " is listed without a fault: " + reasonText(difference.refusal) + ", tried " +
                   std::to_string(difference.tries) + ", the sensor tells " +
                   std::to_string(difference.readBack.value_or(-99));
        }
    }
    const Values& memory = m_model.memory.at(now.scheme);
    for (const u32 key : kKeys) {
        const Parameter& about = *now.parameter(key);
        if (about.storedOnly() || !about.inScheme() || listed.count(key) != 0) {
            continue;
        }
        const Value& value = *now.value(key);
        int wanted = memory.at(key);
        if (value.applied) {
            const auto applied = m_model.applied.find(key);
            if (applied == m_model.applied.end() || applied->second != *value.applied) {
                return "key " + std::to_string(key) + " covered by a value that nobody applied";
            }
            wanted = *value.applied;
        }
        if (value.onTrial && !now.trial) {
            return "key " + std::to_string(key) + " on trial without a trial";
        }
        if (key == KEY_MIRROR && memory.at(KEY_BEAWAY) != 0 && wanted != 0 && wanted != 3) {
            wanted = 3 - wanted;
        }
        const std::optional<int> device = sensorValue(about.command);
        if (device != wanted) {
            return "key " + std::to_string(key) + ": the sensor has " +
                   std::to_string(device.value_or(-99)) + " in place of " + std::to_string(wanted) +
                   " of scheme " + std::to_string(now.scheme);
        }
    }
    return {};
}

std::string Invariant::differs() {
    const auto now = camera.snapshot();
    for (int scheme = 0; scheme <= kTimed; ++scheme) {
        for (const auto& [key, value] : m_model.memory[scheme]) {
            const std::optional<int> stored = now->storedIn(scheme, key);
            if (stored && stored != value) {
                return "scheme " + std::to_string(scheme) + " key " + std::to_string(key) +
                       " holds " + std::to_string(*stored) + " in place of " +
                       std::to_string(value);
            }
        }
    }
    if (now->bySchedule != m_model.bySchedule) {
        return "the mode differs";
    }
    if (m_unplugged) {
        return now->layer.present ? "said to be present" : "";
    }
    const int due = m_model.due(cameraTime().minuteOfDay());
    if (now->bySchedule && now->scheme != due) {
        return "scheme " + std::to_string(now->scheme) + " in place of " + std::to_string(due);
    }
    return !now->settled ? "not settled" : deviceDiffers(*now);
}

/// @param ask  the host is asked to settle; else it must do so by itself within 2 seconds
void Invariant::rest(bool ask) {
    drain();
    std::string wrong = "not compared";
    for (const auto end = std::chrono::steady_clock::now() + kPatience;
         !wrong.empty() && std::chrono::steady_clock::now() < end;) {
        if (ask) {
            camera.perform(Settle{});
        }
        wrong = differs();
        if (!wrong.empty()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(ask ? 1 : 5));
        }
    }
    if (!wrong.empty()) {
        complain(wrong);
    }
}

TEST_F(Invariant, HoldsAfterWhateverHappened) {
    const auto seed = static_cast<unsigned int>(
        fromEnvironment("IMGCTL_SEED", static_cast<long>(std::random_device{}() & 0xffffffu)));
    const long steps = fromEnvironment("IMGCTL_STEPS", kSteps);
    SCOPED_TRACE("IMGCTL_SEED=" + std::to_string(seed));
    m_random.seed(seed);
    start(kSpeed);
    learn();
    m_model.files = m_model.memory;
    for (m_number = 0; m_number < steps && m_complaint.empty(); ++m_number) {
        random(12) == 0 ? world() : client();
        if (random(100) == 0) {
            if (random(3) == 0) {
                for (const u32 command : m_faulty) {
                    simulated_ia::fail(command, 0);
                }
                m_faulty.clear();
                simulated_ia::failNthCall(0, 0);
            }
            rest(random(40) != 0);
        } else if (random(1000) == 0) {
            drain();
            restart();
        } else if (random(8) == 0) {
            drain();
        }
    }
    rest(false);
    EXPECT_EQ("", m_complaint);
}

} // namespace
