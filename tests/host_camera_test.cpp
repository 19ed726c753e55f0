#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <future>
#include <mutex>
#include <set>

#include "FileFaults.h"
#include "HostCamera.h"
#include "ImageAdjust.h"
#include "LinuxFramework.h"
#include "SensorKeys.h"
#include "SimulatedImageAdjust.h"
#include "host/Names.h"
#include "host/PictureHub.h"
#include "host/Sentences.h"

namespace {

using namespace host;

/// Keeps the controller thread at work until it is released.
class Holdup {
public:
    explicit Holdup(Camera& camera) {
        camera.submit({{}, WithLayer{[this] {
                           m_began.set_value();
                           m_release.get_future().wait();
                       }}},
                      {});
        m_began.get_future().wait();
    }
    void release() { m_release.set_value(); }

private:
    std::promise<void> m_began;
    std::promise<void> m_release;
};

TEST_F(HostCamera, AnswersForEachKeyWhatHappened) {
    options.framesPerSecond = 50;
    start();
    simulated_ia::fail(KEY_SHARPNESS, -1);
    simulated_ia::fail(KEY_CAP_OFF_ADJ_H_CUR, -1); // whose handler passes over a refusal
    simulated_ia::fail(KEY_GAMMA, -4);
    simulated_ia::limit(KEY_SATURATION, 50, {40, 50});
    simulated_ia::fail(KEY_R_GAIN, IA_ERR_BUSY);
    simulated_ia::fail(KEY_IRIS_POSITION, IA_ERR_UNSUPPORTED);
    const struct {
        u32 key;
        int value;
        KeyResult result;
        Reason reason;
    } rows[] = {
        {KEY_BRIGHTNESS, 60, KeyResult::Changed, Reason::None},
        {KEY_BRIGHTNESS, 60, KeyResult::AlreadyInForce, Reason::None},
        {KEY_BRIGHTNESS, 256, KeyResult::Refused, Reason::Range},
        {KEY_SATURATION, 60, KeyResult::Refused, Reason::Choices},
        {KEY_SHARPNESS, 60, KeyResult::Refused, Reason::LayerFault},
        {KEY_CAP_OFF_ADJ_H_CUR, 60, KeyResult::Refused, Reason::LayerFault},
        {KEY_GAMMA, 1, KeyResult::Refused, Reason::LayerFault}, // the range allows it
        {KEY_R_GAIN, 60, KeyResult::Refused, Reason::Busy},
        {KEY_IRIS_POSITION, 60, KeyResult::Refused, Reason::Unsupported},
        {KEY_WDR_MODE, 1, KeyResult::Refused, Reason::Blocked}, // at 50 frames a second
        {KEY_SCHEME_START_HOUR, 25, KeyResult::Refused, Reason::Range},
        {KEY_MZ_POSITION, 20000, KeyResult::NotPartOfScheme, Reason::None},
        {4000, 1, KeyResult::Refused, Reason::UnknownKey},
    };
    for (const auto& row : rows) {
        const Outcome outcome = set(row.key, row.value);
        ASSERT_EQ(1U, outcome.keys.size());
        EXPECT_EQ(row.result, outcome.keys[0].result) << row.key;
        EXPECT_EQ(row.reason, outcome.keys[0].refusal.reason) << row.key;
        EXPECT_EQ(row.result == KeyResult::Refused ? Result::Refused : Result::Done,
                  outcome.result);
        EXPECT_EQ("", row.result == KeyResult::Refused && reasonText(outcome.refusal).empty()
                          ? "a refusal without a reason"
                          : "");
    }
    EXPECT_EQ(64, stored(0, KEY_CAP_OFF_ADJ_H_CUR));

    SetValues several;
    several.values = {{KEY_CONTRAST, 1}, {KEY_SHARPNESS, 1}, {KEY_EXPOSE_MODE, 1}};
    const Outcome outcome = perform(several);
    EXPECT_EQ(Result::Partly, outcome.result);
    EXPECT_EQ(KeyResult::NotTried, outcome.keys[2].result);
    EXPECT_EQ(1, stored(0, KEY_CONTRAST));
    EXPECT_EQ(0, stored(0, KEY_EXPOSE_MODE));

    simulated_ia::unplug();
    EXPECT_EQ(Reason::Gone, set(KEY_BRIGHTNESS, 70).refusal.reason);
}

TEST_F(HostCamera, SaysOfEachKeyWhetherItHasAnEffectNow) {
    start();
    const struct {
        std::vector<Pair> values;
        bool dryRun;
        bool idle; ///< the last one
    } rows[] = {
        {{{KEY_FIX_GAIN, 69}}, false, true},
        {{{KEY_EXPOSE_MODE, 1}, {KEY_FIX_GAIN, 70}}, true, false}, // it would have one
        {{{KEY_EXPOSE_MODE, 1}, {KEY_FIX_GAIN, 70}}, false, false},
        {{{KEY_EXPOSE_MODE, 0}, {KEY_FIX_GAIN, 71}}, false, true},
    };
    for (const auto& row : rows) {
        const Outcome outcome = perform(SetValues{row.values, {}, {}, row.dryRun});
        const std::string text = sentence(*camera.snapshot(), outcome.keys.back());
        EXPECT_EQ(row.idle, text.find("It has no effect now") != std::string::npos) << text;
    }
}

TEST_F(HostCamera, RecordsOnlyInTheSchemeThatIsMeant) {
    start();
    perform(SetMode{false});
    const Outcome conflict = set(KEY_BRIGHTNESS, 60, 1);
    EXPECT_EQ(Result::Conflict, conflict.result);
    EXPECT_EQ(128, stored(1, KEY_BRIGHTNESS));
    SetValues elsewhere;
    elsewhere.values = {{KEY_BRIGHTNESS, 60}};
    elsewhere.scheme = 1;
    elsewhere.otherwise = WhenNotInForce::Record;
    EXPECT_TRUE(perform(elsewhere).done());
    EXPECT_EQ(60, stored(1, KEY_BRIGHTNESS));
    EXPECT_EQ(128, stored(0, KEY_BRIGHTNESS));
    EXPECT_EQ(128, sensorValue(KEY_BRIGHTNESS));
    elsewhere.values = {{KEY_BRIGHTNESS, 256}};
    EXPECT_EQ(Reason::Range, perform(elsewhere).refusal.reason);

    perform(SwitchScheme{4}); // the default scheme: nothing can be recorded
    EXPECT_EQ(KeyResult::NotRecorded, set(KEY_CONTRAST, 7).keys[0].result);
    EXPECT_EQ(Reason::NoScheme, set(KEY_SCHEME_ENABLE, 1).refusal.reason);
    EXPECT_EQ(7, sensorValue(KEY_CONTRAST));
    perform(Settle{});
    EXPECT_EQ(7, sensorValue(KEY_CONTRAST)); // until the switch
    perform(SwitchScheme{0});
    EXPECT_EQ(128, sensorValue(KEY_CONTRAST));
}

TEST_F(HostCamera, TriesAValueAndTakesItBack) {
    start();
    perform(SetMode{false});
    const auto tried = [this](double seconds) {
        EXPECT_TRUE(
            perform(
                TryValues{{{KEY_BRIGHTNESS, 9}, {KEY_DTN_THR, 9}, {KEY_NTD_THR, 90}}, seconds, {}})
                .done());
        EXPECT_EQ(9, sensorValue(KEY_BRIGHTNESS));
        EXPECT_EQ(9, sensorValue(KEY_DTN_THR)); // two fields of one record
        EXPECT_EQ(90, sensorValue(KEY_NTD_THR));
        EXPECT_EQ(128, stored(0, KEY_BRIGHTNESS));
    };
    const auto isBack = [this] {
        return soon([this] {
            return sensorValue(KEY_BRIGHTNESS) == 128 && sensorValue(KEY_DTN_THR) == 20 &&
                   sensorValue(KEY_NTD_THR) == 40 && !camera.snapshot()->trial;
        });
    };
    tried(5);
    EXPECT_TRUE(isBack()) << "expired";
    tried(3600);
    perform(DropTrial{});
    EXPECT_TRUE(isBack()) << "dropped";
    EXPECT_EQ(Reason::Nothing, perform(DropTrial{}).refusal.reason);
    tried(3600);
    perform(SwitchScheme{1});
    perform(SwitchScheme{0});
    EXPECT_TRUE(isBack()) << "switched";
    tried(3600);
    EXPECT_EQ(KeyResult::Changed, set(KEY_BRIGHTNESS, 50).keys[0].result);
    EXPECT_EQ(2U, camera.snapshot()->trial->values.size()) << "the newer value is not on trial";
    EXPECT_TRUE(perform(KeepTrial{}).done());
    EXPECT_EQ(50, stored(0, KEY_BRIGHTNESS));
    EXPECT_EQ(90, stored(0, KEY_NTD_THR));
    EXPECT_FALSE(camera.snapshot()->trial);
}

TEST_F(HostCamera, AppliesNoTimeWindow) {
    start();
    const Pair window = {KEY_SCHEME_START_HOUR, 3};
    const Pair contrast = {KEY_CONTRAST, 9};
    const struct {
        Operation operation;
        Result result;
        KeyResult first;
        int contrast;
    } rows[] = {
        {TryValues{{window}, 5, {}}, Result::Refused, KeyResult::Refused, 128},
        {TryValues{{contrast, window}, 5, {}}, Result::Refused, KeyResult::NotTried, 128},
        {ApplyValues{{window}}, Result::Refused, KeyResult::Refused, 128},
        {ApplyValues{{window, contrast}}, Result::Done, KeyResult::NotTried, 9},
    };
    for (const auto& row : rows) {
        const Outcome outcome = perform(row.operation);
        EXPECT_EQ(row.result, outcome.result);
        EXPECT_EQ(row.first, outcome.keys[0].result);
        EXPECT_EQ(row.contrast, sensorValue(KEY_CONTRAST));
        EXPECT_FALSE(camera.snapshot()->trial);
        EXPECT_EQ(0, stored(0, KEY_SCHEME_START_HOUR));
    }
}

TEST_F(HostCamera, RunsDryWithoutATrace) {
    start();
    std::atomic<int> sets{0};
    const auto observation = image_adjust::observe(
        [&](const image_adjust::Call& call) { sets += call.opt == IA_CMD_OPT_SET; });
    SetValues wanted;
    wanted.values = {{KEY_BRIGHTNESS, 9}, {KEY_MIRROR, 1}, {KEY_CONTRAST, 300}};
    wanted.dryRun = true;
    const Outcome outcome = perform(wanted);
    EXPECT_EQ(KeyResult::Changed, outcome.keys[1].result);
    EXPECT_EQ(Reason::Range, outcome.refusal.reason);
    ASSERT_EQ(3U, outcome.commands.size());
    EXPECT_EQ(KEY_MIRROR, outcome.commands[1].command);
    EXPECT_EQ(0, sets);
    EXPECT_EQ(128, stored(0, KEY_BRIGHTNESS));
    EXPECT_EQ(0U, outcome.entry);
    EXPECT_EQ(0, camera.snapshot()->unsaved);
}

TEST_F(HostCamera, SavesEverySchemeAndNamesWhatFailed) {
    start();
    perform(SetMode{false});
    SetValues values;
    values.otherwise = WhenNotInForce::Record;
    for (const int scheme : {0, 1, 2}) {
        values.scheme = scheme;
        values.values = {{KEY_BRIGHTNESS, 10 + scheme}};
        perform(values);
    }
    values.values = {{KEY_SCHEME_END_HOUR, 0}};
    perform(values); // scheme 2 cannot be saved now
    EXPECT_EQ(4, camera.snapshot()->unsaved);
    file_faults::failNth(1, file_faults::Kind::Enospc, true);
    Outcome outcome = perform(Save{});
    file_faults::clear();
    EXPECT_EQ(Result::Refused, outcome.result);
    EXPECT_EQ(Reason::Storage, outcome.schemes[0].refusal.reason);
    EXPECT_EQ(4, camera.snapshot()->unsaved) << "nothing says saved";
    outcome = perform(Save{});
    EXPECT_EQ(Result::Partly, outcome.result);
    ASSERT_EQ(3U, outcome.schemes.size());
    EXPECT_TRUE(outcome.schemes[1].saved);
    EXPECT_EQ(507, outcome.schemes[2].refusal.code);
    EXPECT_TRUE(perform(NameScheme{1, "Night"}).done());
    EXPECT_EQ(Reason::Text, perform(NameScheme{1, "a\nb"}).refusal.reason);
    camera.stop();
    start();
    EXPECT_EQ(11, stored(1, KEY_BRIGHTNESS));
    EXPECT_EQ(128, stored(2, KEY_BRIGHTNESS));
    EXPECT_EQ("Night", camera.snapshot()->schemes[1].name);
}

TEST_F(HostCamera, ChecksATextWholeBeforeItChangesAnything) {
    start();
    Outcome outcome = perform(Import{"[scheme 1]\nbrightness=1\nKEY_SCHEME_END_HOUR = 0\n", false});
    ASSERT_EQ(1U, outcome.lines.size());
    EXPECT_NE(std::string::npos, outcome.lines[0].find("line 3: ")) << outcome.lines[0];
    EXPECT_EQ(128, stored(1, KEY_BRIGHTNESS));
    std::string wrong;
    for (int i = 0; i < 30; ++i) {
        wrong += "nothing\n";
    }
    EXPECT_EQ(21U, perform(Import{wrong, false}).lines.size());
    const std::string good = "[scheme 1]\nexpose-mode = manual\n[scheme 0]\n34 = 7\n";
    EXPECT_EQ(2U, perform(Import{good, true}).changed);
    EXPECT_EQ(128, stored(0, KEY_BRIGHTNESS));
    EXPECT_TRUE(perform(Import{good, false}).done());
    EXPECT_EQ(1, stored(1, KEY_EXPOSE_MODE));
    EXPECT_EQ(7, sensorValue(KEY_BRIGHTNESS));
    EXPECT_EQ(0, camera.snapshot()->unsaved);
    // What only the device refuses takes everything back that went before.
    perform(TryValues{{{KEY_BRIGHTNESS, 5}}, 3600, {}});
    const std::uint64_t tried = camera.journal().sequence();
    simulated_ia::fail(KEY_SATURATION, -1);
    outcome = perform(Import{"[scheme 1]\n34=9\n[scheme 0]\n34=8\nsaturation=8\ngamma=1\n", false});
    EXPECT_EQ(Result::Refused, outcome.result);
    EXPECT_EQ(Reason::LayerFault, outcome.refusal.reason);
    EXPECT_EQ(7, stored(0, KEY_BRIGHTNESS));
    EXPECT_EQ(128, stored(1, KEY_BRIGHTNESS));
    EXPECT_EQ(0, camera.snapshot()->unsaved);
    EXPECT_EQ(0U, outcome.entry);
    perform(Settle{});
    EXPECT_EQ(5, sensorValue(KEY_BRIGHTNESS)) << "the trial goes on";
    EXPECT_TRUE(camera.snapshot()->trial);
    bool complete = false;
    for (const Journal::Entry& entry : camera.journal().since(tried, complete)) {
        EXPECT_NE(JournalEntry::Kind::Trial, entry->kind) << entry->note;
    }
    EXPECT_TRUE(perform(DropTrial{}).done());
    EXPECT_EQ(7, sensorValue(KEY_BRIGHTNESS));
}

TEST_F(HostCamera, SetsAllWindowsOrNone) {
    start();
    const std::uint64_t seen = camera.snapshot()->number;
    const Window morning = {true, 6, 0, 9, 0};
    const Window wrong = {true, 9, 0, 6, 0};
    const auto windows = [this] {
        std::vector<Window> all;
        for (const host::Scheme& scheme : camera.snapshot()->schemes) {
            all.push_back(scheme.window);
        }
        return all;
    };
    const std::vector<Window> before = windows();
    const struct {
        std::map<int, Window> windows;
        Reason reason;
    } rows[] = {
        {{{0, morning}, {1, wrong}}, Reason::Window},
        {{{0, morning}, {4, morning}}, Reason::NoScheme},
        {{{0, morning}, {1, {true, 25, 0, 26, 0}}}, Reason::Window},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.reason, perform(SetWindows{row.windows, {}}).refusal.reason);
        EXPECT_EQ(before, windows());
    }
    EXPECT_TRUE(perform(SetWindows{{{1, morning}, {2, morning}}, seen}).done());
    EXPECT_EQ(morning, windows()[1]);
    EXPECT_EQ(morning, windows()[2]);
    EXPECT_EQ(Reason::Newer, perform(SetWindows{{{1, before[1]}}, seen}).refusal.reason);
    EXPECT_EQ(morning, windows()[1]);
}

TEST_F(HostCamera, WritesDownWhoDidWhat) {
    start();
    const auto send = [this](const char* who, u32 key, int value, std::uint64_t gesture) {
        SetValues values;
        values.values = {{key, value}};
        return camera.perform(values, {who, who, Cause::Request, gesture}).entry;
    };
    Journal& journal = camera.journal();
    const std::uint64_t first = send("anna", KEY_BRIGHTNESS, 1, 0);
    const std::uint64_t seen = journal.sequence();
    EXPECT_EQ(first, send("anna", KEY_BRIGHTNESS, 2, 0)) << "one adjustment";
    EXPECT_NE(first, send("anna", KEY_CONTRAST, 2, 0)) << "another key";
    const std::uint64_t bobs = send("bob", KEY_BRIGHTNESS, 3, 0);
    EXPECT_NE(first, bobs);
    EXPECT_NE(first, send("anna", KEY_BRIGHTNESS, 4, 0)) << "bob was in between";
    const std::uint64_t hand = send("anna", KEY_SHARPNESS, 1, 5);
    EXPECT_EQ(hand, send("anna", KEY_SATURATION, 1, 5)) << "one movement of a hand";
    bool complete = false;
    EXPECT_EQ(first, journal.since(seen, complete).front()->id) << "what was added to is new";
    EXPECT_TRUE(complete);
    EXPECT_EQ(128, journal.find(first)->changes[0].before);
    EXPECT_EQ(2, journal.find(first)->changes[0].after);
    EXPECT_EQ("bob", journal.find(bobs)->origin.who);

    EXPECT_EQ(Reason::Newer, perform(Undo{bobs, false}).refusal.reason);
    EXPECT_TRUE(perform(Undo{bobs, true}).done());
    EXPECT_EQ(2, stored(0, KEY_BRIGHTNESS));
    // A value that is back by chance hides no change in between; what was taken back is none.
    const std::uint64_t one = send("bob", KEY_CONTRAST, 10, 0);
    const std::uint64_t two = send("carl", KEY_CONTRAST, 20, 0);
    const std::uint64_t three = send("dora", KEY_CONTRAST, 10, 0);
    const std::pair<std::uint64_t, Reason> undone[] = {{one, Reason::Newer},  {two, Reason::Newer},
                                                       {three, Reason::None}, {two, Reason::None},
                                                       {one, Reason::None},   {one, Reason::Newer}};
    for (const auto& [entry, reason] : undone) {
        EXPECT_EQ(reason, perform(Undo{entry, false}).refusal.reason) << entry;
    }
    // Other values come and go with a switch; nobody has changed what the scheme records.
    perform(SetMode{false});
    perform(SwitchScheme{1});
    perform(SwitchScheme{0});
    EXPECT_TRUE(perform(Undo{hand, false}).done());
    perform(SetMode{true});

    simulated_ia::changeFromOutside(KEY_GAMMA, 3);
    EXPECT_TRUE(soon([] { return sensorValue(KEY_GAMMA) == 0; })) << "the scheme wins back";
    const auto causedBy = [&](Cause cause, JournalEntry::Kind kind) {
        return soon([&] {
            const auto entries = journal.newest(10);
            return std::any_of(entries.begin(), entries.end(), [&](const Journal::Entry& entry) {
                return entry->origin.cause == cause && entry->kind == kind;
            });
        });
    };
    EXPECT_TRUE(causedBy(Cause::Device, JournalEntry::Kind::Values));
    EXPECT_TRUE(causedBy(Cause::Restore, JournalEntry::Kind::Values));
    perform(SetWindows{{{0, {true, 0, 0, 4, 0}}}, {}});
    linux_framework::setClock(5, 0, 0, 50);
    EXPECT_TRUE(causedBy(Cause::Schedule, JournalEntry::Kind::Scheme));
    EXPECT_TRUE(
        soon([&] { return camera.snapshot()->rule.why == SchemeRule::Why::OutsideWindows; }));
    perform(Reset{});
    const Journal::Entry reset = journal.lastChangeOf(KEY_BRIGHTNESS, 0);
    EXPECT_EQ(Cause::Reset, reset->origin.cause);
    EXPECT_TRUE(std::any_of(reset->changes.begin(), reset->changes.end(), [](const Change& change) {
        return change.key == KEY_BRIGHTNESS && change.scheme == 0 && change.before == 2 &&
               change.after == 128;
    }));

    for (int i = 0; i < 1100; ++i) {
        send(i % 2 == 0 ? "anna" : "bob", KEY_BRIGHTNESS, 5 + i % 100, 0);
    }
    EXPECT_EQ(Journal::kMostEntries, journal.newest(5000).size());
    EXPECT_EQ(nullptr, journal.find(first));
    journal.since(seen, complete);
    EXPECT_FALSE(complete);
}

TEST_F(HostCamera, AWindowAcrossMidnightIsRecordedInBothSchemesOrInNone) {
    start();
    perform(SetMode{false});
    perform(SwitchScheme{1}); // so that the morning's values go to the device, which can fail
    for (const u32 key : {KEY_BRIGHTNESS, KEY_CONTRAST, KEY_SATURATION, KEY_SHARPNESS}) {
        ASSERT_TRUE(perform(SetValues{{{key, 30}}, 0, WhenNotInForce::Record}).done());
    }
    const auto values = [this](int scheme) {
        return *camera.snapshot()->schemes[static_cast<std::size_t>(scheme)].values;
    };
    const auto refusals = [&](const Operation& operation) { // each call fails once
        const std::vector<int> before[] = {values(0), values(1)};
        int refused = 0;
        for (unsigned long n = 1; n < 80; ++n) {
            simulated_ia::failNthCall(n, -1);
            const Outcome outcome = perform(operation);
            simulated_ia::failNthCall(0, 0);
            if (outcome.done()) {
                EXPECT_NE(before[0], values(0));
                EXPECT_NE(before[1], values(1));
                EXPECT_TRUE(perform(Undo{outcome.entry}).done());
            } else {
                ++refused;
                EXPECT_EQ(Result::Refused, outcome.result);
                EXPECT_EQ(0U, outcome.entry);
            }
            EXPECT_EQ(before[0], values(0)) << n;
            EXPECT_EQ(before[1], values(1)) << n;
        }
        return refused;
    };
    const SetWindows split = {{{0, {true, 18, 0, 6, 30}}}, {}, 1};
    EXPECT_GT(refusals(split), 2);
    const Outcome outcome = perform(split);
    EXPECT_EQ(18, stored(0, KEY_SCHEME_START_HOUR));
    EXPECT_EQ(24, stored(0, KEY_SCHEME_END_HOUR));
    EXPECT_EQ(30, stored(1, KEY_SCHEME_END_MIN));
    EXPECT_EQ(30, stored(1, KEY_SHARPNESS));
    EXPECT_GT(refusals(Undo{outcome.entry}), 2) << "and nothing is in the way of another try";
    EXPECT_TRUE(soon([this] { return sensorValue(KEY_SHARPNESS) == stored(1, KEY_SHARPNESS); }));
    for (const SetWindows& wrong :
         {SetWindows{{{0, {true, 18, 0, 6, 0}}}, {}, 0},    // needs another one
          SetWindows{{{0, {true, 6, 0, 18, 0}}}, {}, 1},    // needs none
          SetWindows{{{0, {true, 18, 0, 6, 0}}}, {}, 4}}) { // has no window
        EXPECT_EQ(Result::Refused, perform(wrong).result);
    }
}

TEST_F(HostCamera, BringsEverythingBackToADeviceThatWasAway) {
    start();
    set(KEY_BRIGHTNESS, 60);
    set(KEY_MIRROR, 1);
    set(KEY_BEAWAY, 1);
    EXPECT_TRUE(soon([] { return sensorValue(KEY_MIRROR) == 2; })) << "as after a restart";
    simulated_ia::unplug();
    EXPECT_TRUE(soon([this] { return !camera.snapshot()->layer.present; }));
    simulated_ia::failNthCall(20, -1); // in the middle of what is sent
    simulated_ia::plugIn();
    EXPECT_TRUE(soon([this] {
        return camera.snapshot()->settled && sensorValue(KEY_BRIGHTNESS) == 60 &&
               sensorValue(KEY_MIRROR) == 2;
    }));
    // What will not take is tried three times, and listed.
    simulated_ia::fail(KEY_BRIGHTNESS, -1);
    simulated_ia::changeFromOutside(KEY_BRIGHTNESS, 1);
    EXPECT_TRUE(soon([this] {
        const auto now = camera.snapshot();
        return now->settled && now->differences.size() == 1 && now->differences[0].givenUp;
    }));
    EXPECT_EQ(Reason::LayerFault, camera.snapshot()->differences[0].refusal.reason);
}

TEST_F(HostCamera, AnswersReadersWhileItIsBusyAndRefusesWhatIsTooMuch) {
    options.queue = 8;
    start();
    Holdup holdup(camera);
    EXPECT_EQ(128, stored(0, KEY_BRIGHTNESS)); // waits for nobody
    EXPECT_TRUE(soon([this] { return camera.busySeconds() > 0.01; }));
    std::atomic<int> answered{0};
    const auto send = [&](u32 key, int value) {
        auto result = std::make_shared<std::promise<Result>>();
        SetValues values;
        values.values = {{key, value}};
        camera.submit({{"anna", "page", Cause::Request, 0}, values}, [&, result](const Outcome& o) {
            ++answered;
            result->set_value(o.result);
        });
        return result->get_future();
    };
    for (int value = 0; value < 100; ++value) {
        send(KEY_BRIGHTNESS, value); // each replaces the one before
    }
    for (const u32 key : {KEY_CONTRAST, KEY_SATURATION, KEY_SHARPNESS, KEY_GAMMA, KEY_R_GAIN,
                          KEY_B_GAIN, KEY_FIX_GAIN}) {
        send(key, 1);
    }
    EXPECT_EQ(0, answered);
    EXPECT_EQ(Result::Busy, send(KEY_MIRROR, 1).get());
    const std::uint64_t before = camera.journal().sequence();
    holdup.release();
    EXPECT_TRUE(soon([&] { return answered == 108; }));
    EXPECT_EQ(99, stored(0, KEY_BRIGHTNESS));
    EXPECT_EQ(before + 8, camera.journal().sequence()) << "only the newest was sent";
    camera.stop();
    EXPECT_EQ(Reason::Stopping, set(KEY_BRIGHTNESS, 1).refusal.reason);
}

TEST_F(HostCamera, HasOneOwner) {
    const mode_t mask = umask(077); // of a service: another user is told all the same
    start();
    umask(mask);
    const std::string lock = root + "/.owner";
    struct stat about {};
    ASSERT_EQ(0, stat(lock.c_str(), &about));
    EXPECT_EQ(0666U, about.st_mode & 07777U);
    ASSERT_EQ(0, chmod(lock.c_str(), 0444)); // one that was made by another user
    Camera second;
    const StartProblem problem = second.start(options);
    EXPECT_EQ(StartProblem::Kind::Owned, problem.kind);
    EXPECT_EQ("test", problem.ownerProgram);
    EXPECT_EQ(getpid(), problem.ownerProcess);
    camera.stop();
    EXPECT_FALSE(second.start(options));
}

TEST_F(HostCamera, StartsWithoutAPauseAndLooksOnlyAtWhatChanged) {
    options.detail = "(max_scheme=255)";
    const auto began = std::chrono::steady_clock::now();
    start(0.01); // a camera second takes 100
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(50));
    const auto before = camera.snapshot();
    ASSERT_EQ(256U, before->schemes.size());
    set(KEY_BRIGHTNESS, 1);
    const auto after = camera.snapshot();
    for (std::size_t i = 0; i < before->schemes.size(); ++i) {
        EXPECT_EQ(i != 0, before->schemes[i].values == after->schemes[i].values) << i;
    }
    EXPECT_EQ(before->catalogue, after->catalogue);
}

TEST_F(HostCamera, LetsTheLightChooseAndSaysSo) {
    options.deviceType = 8;
    options.detail = "(max_scheme=3)";
    start();
    // Outside every window: the scheme of the day, and by night that of the night.
    EXPECT_EQ(SchemeRule::Why::Day, camera.snapshot()->rule.why);
    simulated_ia::setLight(0);
    EXPECT_TRUE(soon([this] { return camera.snapshot()->rule.why == SchemeRule::Why::Night; }));
    EXPECT_EQ(1, camera.snapshot()->scheme);
    EXPECT_EQ(Cause::DayNight, camera.journal().newest(1)[0]->origin.cause);
    // The mode that a scheme records must not end what the light decides.
    EXPECT_TRUE(set(KEY_DN_MODE, 1).done());
    perform(Settle{});
    EXPECT_EQ(0, sensorValue(KEY_DN_MODE));
    EXPECT_EQ(1, stored(1, KEY_DN_MODE));
    EXPECT_TRUE(soon([this] { return camera.snapshot()->settled; }));
}

TEST_F(HostCamera, KnowsKeysAndValuesByEveryName) {
    start();
    const Catalogue& catalogue = *camera.snapshot()->catalogue;
    const struct {
        const char* name;
        u32 key;
    } keys[] = {{"34", KEY_BRIGHTNESS},
                {"KEY_BRIGHTNESS", KEY_BRIGHTNESS},
                {"expose-mode", KEY_EXPOSE_MODE},
                {"exposeMode", KEY_EXPOSE_MODE},
                {"Exposure mode", KEY_EXPOSE_MODE},
                {"longest shutter", KEY_MAX_SHUTTER},
                {"Helligkeit", KEY_BRIGHTNESS}};
    for (const auto& row : keys) {
        u32 key = 0;
        std::string problem;
        EXPECT_TRUE(readKey(catalogue, row.name, 2, key, problem)) << problem;
        EXPECT_EQ(row.key, key) << row.name;
    }
    const struct {
        u32 key;
        const char* text;
        int value;
    } values[] = {{KEY_EXPOSE_MODE, "manual", 1},
                  {KEY_EXPOSE_MODE, "Shutter priority", 2},
                  {KEY_MAX_SHUTTER, "1/25", 3},
                  {KEY_IRIS_SWITCH, "off", 0},
                  {KEY_EXPOSE_MODE, "blende von hand", 3},
                  {KEY_BRIGHTNESS, "99999999999", INT32_MAX}};
    for (const auto& row : values) {
        int value = -1;
        std::string problem;
        EXPECT_TRUE(readValue(catalogue, row.key, row.text, 2, value, problem)) << problem;
        EXPECT_EQ(row.value, value) << row.text;
    }
    int value = 0;
    std::string problem;
    EXPECT_FALSE(readValue(catalogue, KEY_EXPOSE_MODE, "manul", 0, value, problem));
    EXPECT_NE(std::string::npos, problem.find("'manual'")) << problem;
    EXPECT_EQ("picture", catalogue.find(KEY_BRIGHTNESS)->tab);
    EXPECT_EQ(KEY_IRIS_SWITCH, catalogue.find(KEY_IRIS_SPEED)->enabledBy);
}

/// A source that says what is asked of it.
class CountingSource : public image_adjust::PictureSource {
public:
    bool start(const image_adjust::PictureFormat& /*format*/, std::string& problem) override {
        ++starts;
        problem = broken ? "/dev/video0 is used by another" : "";
        return !broken;
    }
    Result next(int /*milliseconds*/, image_adjust::Picture& picture, std::string&) override {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        picture.width = ++pictures;
        return Result::Picture;
    }
    void stop() override { ++stops; }

    std::atomic<int> starts{0};
    std::atomic<int> stops{0};
    std::atomic<int> pictures{0};
    std::atomic<bool> broken{false};
};

TEST(PictureHub, CapturesOnceForAllWhoWatchAndNotWithoutThem) {
    CountingSource source;
    PictureHub hub;
    hub.use(&source, {});
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(0, source.starts);
    const std::chrono::milliseconds patience(2000);
    std::string problem;
    {
        PictureHub::Viewer slow(hub);
        PictureHub::Viewer quick(hub);
        const PictureHub::Shared first = slow.next(patience, problem);
        ASSERT_NE(nullptr, first);
        for (int i = 0; i < 10; ++i) {
            EXPECT_NE(nullptr, quick.next(patience, problem));
        }
        const PictureHub::Shared late = slow.next(patience, problem);
        EXPECT_GT(late->width, first->width + 5) << "those in between were skipped";
        EXPECT_EQ(1, source.starts);
    }
    EXPECT_TRUE(HostCamera::soon([&] { return source.stops == 1; }));
    source.broken = true;
    PictureHub::Viewer viewer(hub);
    EXPECT_EQ(nullptr, viewer.next(patience, problem));
    EXPECT_EQ("/dev/video0 is used by another", problem);
    hub.use(nullptr, {});
    EXPECT_EQ(source.starts, source.stops);
}

} // namespace
