#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "ISensorController.h"
#include "Layer.h"
#include "StopRequest.h"
#include "host/CameraOptions.h"
#include "host/Journal.h"
#include "host/LayerWatch.h"
#include "host/LightHistory.h"
#include "host/OwnerLock.h"
#include "host/PictureHub.h"
#include "host/RequestQueue.h"
#include "host/SchemeMemory.h"
#include "host/SchemePictures.h"
#include "host/UiTexts.h"
#include "host/Video.h"

namespace host {

struct SavedStart;

/// One request while it is worked on.
struct Work {
    const Origin& origin;
    bool dryRun = false;
    Outcome outcome = {};
    JournalEntry entry = {};
    std::optional<JournalEntry> trialEnd = {}; ///< comes before it
    std::set<int> written = {};                ///< schemes whose memory it may have changed
};

/// Answers that nothing was done.
void refuse(Work& work, Reason reason, std::string detail = {});

/// Adds a change to what the journal will tell; none when the value is the same or nothing is kept.
void addChange(Work& work, const Change& change);

/// The camera behind Camera. What stands below "the controller thread's" is touched by that thread
/// alone; the library's members that lock are called by it alone too.
///
/// Two things keep a request within one scheme. While it runs, the schedule is held: the library's
/// own switching is off, so nothing can change the scheme under it. And so that requests without a
/// pause cannot starve the schedule, a switch that is due is made by this thread
/// before the next request.
class Core {
public:
    ~Core();

    StartProblem start(const CameraOptions& options);
    void stop();
    void submit(Request request, Completion done);
    std::shared_ptr<const Snapshot> snapshot() const;
    bool waitForSnapshot(std::uint64_t number, std::chrono::milliseconds atMost) const;
    double busySeconds() const;
    image_adjust::Layer* layer() const { return m_layer.get(); }

    Journal journal;
    PictureHub pictures;
    SchemePictures schemePictures;
    LightHistory lightHistory;

private:
    using Clock = std::chrono::steady_clock;

    enum class Manner {
        Record,
        Apply,
        Try,
    };

    /// A value that is in force without being recorded.
    struct Overlay {
        int value = 0;
        bool onTrial = false;
    };

    /// What the layer told of a command.
    struct Reading {
        std::optional<int> value;
        std::optional<Limits> limits;
        std::shared_ptr<const image_adjust::CommandState> state;
        bool restricted = false;
        bool unsupported = false;
    };

    class ScheduleHold;

    // Core.cpp: the thread
    void run(const std::shared_ptr<std::promise<StartProblem>>& started);
    StartProblem open();
    StartProblem openTree();
    StartProblem openLayerAndLock();
    void openClock();
    StartProblem startLibrary();
    void loadAll();
    StartProblem checkSavedFor();
    bool carryOver(const SavedStart& saved, std::string& problem); // Core_convert.cpp
    void close();
    Outcome execute(const Request& request);
    void finish(Work& work);
    void housekeep();
    Clock::duration untilNextLook() const;
    void takeLayerEvents();
    void noteOutsideChange(const image_adjust::LayerEvent& event, JournalEntry& entry);

    // Core_schedule.cpp: which scheme is in force, and why
    int scheme();
    void runDueSwitch();
    void noticeScheme(const Origin* origin = nullptr);
    bool lightDecides() const;
    bool readNight();
    SchemeRule ruleNow(const CameraTime& time) const;
    std::optional<NextSwitch> nextSwitch(const CameraTime& time);

    // Core_values.cpp: values of the scheme in force, and recorded ones
    void handle(const SetValues& operation, Work& work);
    void handle(const ApplyValues& operation, Work& work);
    void handle(const Restore& operation, Work& work);
    void handle(const Undo& operation, Work& work);
    void handle(const ReadKeys& operation, Work& work);
    void handle(const CorrectScheme& operation, Work& work);
    bool knownKeys(const std::vector<Pair>& pairs, Work& work) const;
    bool canApply(const std::vector<Pair>& pairs, Manner manner, Work& work) const;
    void applyAll(const std::vector<Pair>& pairs, Manner manner, Work& work);
    void recordAll(int scheme, const std::vector<Pair>& pairs, Work& work);
    void dryRun(const SetValues& operation, int scheme, Work& work);
    KeyOutcome applyOne(const Pair& pair, Manner manner, Work& work);
    KeyOutcome recordOne(int scheme, const Pair& pair, Work& work);
    void seeWhatItTook(const Parameter& parameter, Manner manner, Work& work, KeyOutcome& outcome);
    std::optional<Limits> limitsNow(const Parameter& about);
    int sendOverlay(const Parameter& parameter, int value);
    static void summarize(Work& work);

    // Core_trial.cpp
    void handle(const TryValues& operation, Work& work);
    void handle(const KeepTrial& operation, Work& work);
    void handle(const DropTrial& operation, Work& work);
    void expireTrial();
    void endTrial(const std::string& note, const Origin& origin);
    void endTrialOf(u32 key, Work& work);
    void dropOverlays();

    // Core_schemes.cpp: schemes as a whole
    void handle(const Save& operation, Work& work);
    void handle(const SwitchScheme& operation, Work& work);
    void handle(const SetMode& operation, Work& work);
    void handle(const SetWindows& operation, Work& work);
    void handle(const CopyScheme& operation, Work& work);
    void handle(const NameScheme& operation, Work& work);
    void handle(const Reload& operation, Work& work);
    void handle(const Reset& operation, Work& work);
    void handle(const Import& operation, Work& work);
    void splitWindow(int scheme, const Window& window, int other, Work& work);
    void recordIn(int scheme, const std::vector<Pair>& pairs, Work& work);
    SchemeOutcome saveOne(int scheme);
    /// What a request that is all or nothing may have to put back.
    struct Before {
        std::map<int, std::vector<KeyVal>> records; ///< by scheme
        std::map<u32, Overlay> overlays;
        std::optional<Trial> trial;
    };
    bool recordWhole(const std::map<int, std::vector<Pair>>& wanted, Work& work);
    void putBack(const Before& before, Work& work);
    bool hasFactoryValues(int scheme) const;
    bool timedScheme(int scheme, Work& work) const;

    // Core_lens.cpp: lens, and the layer as such
    void handle(const LensAction& operation, Work& work);
    void handle(const AllowWideDynamicRange& operation, Work& work);
    void handle(const WithLayer& operation, Work& work);
    bool move(const LensAction& operation, u32& command);
    LensState lensNow();
    void noteLensSetting(u32 key, int value);

    // Core_settle.cpp: what the device has, and bringing it to what it should have
    void handle(const Refresh& operation, Work& work);
    void handle(const Settle& operation, Work& work);
    void readDevice(bool limitsToo);
    void seeState(u32 key);
    void readRestrictions();
    std::optional<int> readValue(u32 command, int* code = nullptr) const;
    std::optional<Limits> readLimits(u32 command) const;
    std::optional<int> expected(const Parameter& parameter) const;
    bool isCompared(const Parameter& parameter) const;
    void settleSoon(std::chrono::milliseconds after);
    void tryAllAgain();
    void settle(bool again);
    bool bringBack(const Parameter& about, bool again, JournalEntry& entry);
    int bring(const Parameter& parameter);
    void applyWhole();
    std::optional<int> failureOf(u32 command) const;
    Refusal refusalOf(const Parameter& parameter, int value) const;
    bool deviceGone() const;

    // Core_snapshot.cpp
    void makeCatalogueNow();
    Refusal blockOf(const Parameter& parameter, const Reading& reading) const;
    void publish();

    Reading& reading(u32 key) { return m_readings[m_catalogue->indexOf(key)]; }
    const Parameter* parameter(u32 key) const { return m_catalogue->find(key); }
    std::optional<int> storedNow(u32 key);
    std::optional<int> inForce(const Parameter& parameter) const;

    RequestQueue m_queue;
    std::thread m_thread;
    std::atomic<bool> m_stopping{false};
    std::atomic<long long> m_busySince{0}; ///< steady microseconds; 0: not
    std::atomic<bool> m_workerActive{false};

    mutable std::mutex m_snapshotLock;
    mutable std::condition_variable m_snapshotChanged;
    std::shared_ptr<const Snapshot> m_snapshot;

    std::mutex m_eventLock;
    std::vector<image_adjust::LayerEvent> m_events;

    // The controller thread's.
    CameraOptions m_options;
    linux_framework::StopRequest m_pauses; ///< raised: this thread's pauses return at once
    OwnerLock m_treeLock;
    OwnerLock m_cameraLock;
    std::shared_ptr<image_adjust::Layer> m_layer;
    std::unique_ptr<image_adjust::PictureSource> m_pictureBeside;
    std::unique_ptr<Video> m_video;
    std::unique_ptr<ISensorController> m_controller;
    UiTexts m_uiTexts;
    LayerWatch m_watch;
    SchemeMemory m_memory;
    std::vector<KeyVal> m_factory;
    std::shared_ptr<const Catalogue> m_catalogue;
    std::vector<Reading> m_readings; ///< one for each of the catalogue's parameters
    std::vector<int> m_restricted;   ///< commands, as the layer lists them
    bool m_wideDynamicRangeShown = true;
    std::string m_version;
    std::string m_identity;              ///< for which camera schemes are saved
    std::vector<std::string> m_problems; ///< found at the start
    bool m_reportsChanged = false;       ///< for this run alone

    std::uint64_t m_operation = 0;
    int m_scheme = -1;
    bool m_bySchedule = true;
    int m_holds = 0;
    bool m_dayNightSchemes = false;
    std::optional<bool> m_night;
    long long m_lastPass = 0; ///< camera microseconds
    std::map<u32, Overlay> m_overlays;
    std::optional<Trial> m_trial;
    std::uint64_t m_lastTrial = 0;
    std::set<u32> m_mustSend; ///< to be sent again whatever the device tells
    std::map<u32, Difference> m_differences;
    bool m_gone = false;
    bool m_rangesStale = true; ///< and flags of restriction: to be asked at the next settling
    bool m_settled = false;
    std::optional<Clock::time_point> m_settleAt;
    Clock::time_point m_lastSettle;
    Clock::time_point m_lastNightRead;
    long long m_lastSettleCamera = 0;
    bool m_changed = true; ///< since the last snapshot
    int m_publishedMinute = -1;
    std::uint64_t m_windowsChanged = 0; ///< the first snapshot with the windows as they are
    std::optional<NextSwitch> m_next;
    int m_nextFor = -1; ///< the minute of the day that m_next was found for
};

/// Keeps the schedule from switching while it lives.
class Core::ScheduleHold {
public:
    explicit ScheduleHold(Core& core);
    ~ScheduleHold();
    ScheduleHold(const ScheduleHold&) = delete;
    ScheduleHold& operator=(const ScheduleHold&) = delete;

private:
    Core& m_core;
};

} // namespace host
