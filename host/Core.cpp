#include "host/Core.h"

#include <algorithm>
#include <utility>

#include "CallTrace.h"
#include "Entry.h"
#include "LinuxFramework.h"
#include "MachineInfo.h"
#include "ModuleConfigure.h"
#include "ModuleConfigureParser.h"
#include "SensorConfig.h"
#include "SensorPaths.h"
#include "SensorRules.h"
#include "SystemInfoParser.h"
#include "host/CameraTree.h"
#include "host/DeviceTree.h"
#include "host/LayerChoice.h"
#include "host/MakeDevice.h"
#include "host/MakeTree.h"
#include "host/SavedFor.h"
#include "host/SchemeFiles.h"
#include "host/Text.h"

namespace host {
namespace {

constexpr std::chrono::milliseconds kWarmUp(700); ///< of a real camera's automatics
constexpr int kRetryAfter = 1;                    ///< seconds, for whom the queue was full

using Microseconds = std::chrono::microseconds;

long long steadyMicroseconds() {
    return std::chrono::duration_cast<Microseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

StartProblem failed(StartProblem::Kind kind, std::string text) {
    StartProblem problem;
    problem.kind = kind;
    problem.text = std::move(text);
    return problem;
}

/// The first entry of the module list for this machine; an empty one without the list, as a camera
/// starts all the same.
ModuleConfigure moduleOf(const CameraOptions& options, int& deviceType) {
    MachineInfo machine;
    SystemInfoParser::parseMachineInfo(sensor_paths::kMachineInfo, machine);
    deviceType = options.deviceType.value_or(machine.getDeviceType());
    std::vector<ModuleConfigure> modules;
    ModuleConfigureParser::parse(sensor_paths::kModuleList, std::to_string(deviceType),
                                 machine.getModelName(), modules);
    ModuleConfigure module;
    if (!modules.empty()) {
        module = modules.front();
    }
    if (options.detail) {
        module.setDetail(*options.detail);
    }
    return module;
}

/// Makes a device tree where there is none, if that is asked for.
bool makeIfAsked(const CameraOptions& options, const std::string& path, std::string& problem) {
    if (!options.makeDevice || isDeviceTree(path)) {
        return true;
    }
    const std::shared_ptr<image_adjust::Layer> layer = openLayer(options, problem);
    const auto fill = [&layer](const std::string& into, std::string& what) {
        MadeDevice made;
        return makeDevice(*layer, into, made, what);
    };
    return layer != nullptr && makeTree(path, options.program, fill, problem);
}

StartProblem take(OwnerLock& lock, const std::string& path, const std::string& program,
                  const std::string& what) {
    if (path.empty() || lock.take(path, program) != OwnerLock::Result::Owned) {
        return {}; // where no lock can be kept, there is none to disagree with
    }
    StartProblem problem =
        failed(StartProblem::Kind::Owned, what + " is in use by " + lock.owner());
    problem.ownerProgram = lock.ownerProgram();
    problem.ownerProcess = lock.ownerProcess();
    return problem;
}

/// What the values of a scheme are for the layer. Those that are only stored are none of its own.
CommandValues commandValues(const Snapshot& snapshot, int scheme) {
    CommandValues list;
    const Scheme& from = snapshot.schemes[static_cast<std::size_t>(scheme)];
    for (std::size_t i = 0; i < from.values->size(); ++i) {
        const Parameter* const about = snapshot.parameter(snapshot.catalogue->schemeKeys[i]);
        if (about != nullptr && !about->storedOnly()) {
            list.emplace_back(about->command, (*from.values)[i]);
        }
    }
    return list;
}

} // namespace

Core::~Core() {
    stop();
}

StartProblem Core::start(const CameraOptions& options) {
    stop();
    m_options = options;
    m_stopping = false;
    const auto started = std::make_shared<std::promise<StartProblem>>();
    std::future<StartProblem> answer = started->get_future();
    m_thread = std::thread([this, started] { run(started); });
    StartProblem problem = answer.get();
    if (problem) {
        m_thread.join();
    }
    return problem;
}

void Core::stop() {
    m_stopping = true;
    Outcome stopped;
    stopped.result = Result::Refused;
    stopped.refusal.reason = Reason::Stopping;
    for (const RequestQueue::Item& item : m_queue.close()) {
        for (const Completion& done : item.done) {
            done(stopped);
        }
    }
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void Core::submit(Request request, Completion done) {
    if (!done) {
        done = [](const Outcome&) {};
    }
    const RequestQueue::Put put = m_queue.put(request, done);
    if (put == RequestQueue::Put::Taken) {
        return;
    }
    Outcome refused;
    const bool full = put == RequestQueue::Put::Full;
    refused.result = full ? Result::Busy : Result::Refused;
    refused.refusal.reason = full ? Reason::Busy : Reason::Stopping;
    refused.retryAfter = full ? kRetryAfter : 0;
    refused.refusal.detail = full ? "again in " + std::to_string(kRetryAfter) + " s" : "";
    done(refused);
}

double Core::busySeconds() const {
    const long long since = m_busySince.load();
    return since == 0 ? 0 : static_cast<double>(steadyMicroseconds() - since) / 1e6;
}

void Core::run(const std::shared_ptr<std::promise<StartProblem>>& started) {
    m_pauses.obey();
    const StartProblem problem = open();
    if (problem) {
        close();
        started->set_value(problem);
        return;
    }
    m_queue.open(m_options.queue);
    started->set_value(problem);
    while (!m_stopping) {
        const auto item = m_queue.take(std::chrono::duration_cast<Microseconds>(untilNextLook()));
        m_busySince = steadyMicroseconds();
        if (item) {
            const Outcome outcome = execute(item->request);
            for (const Completion& done : item->done) {
                done(outcome);
            }
        }
        housekeep();
        m_busySince = 0;
    }
    close();
}

StartProblem Core::open() {
    StartProblem problem = openTree();
    if (!problem) {
        problem = openLayerAndLock();
    }
    if (problem) {
        return problem;
    }
    openClock();
    return startLibrary();
}

StartProblem Core::openTree() {
    std::string text;
    CameraTree tree;
    if (!deviceTreeFor(m_options, tree, text) || !makeIfAsked(m_options, tree.path, text) ||
        !openDeviceTree(tree.path, text)) {
        return failed(StartProblem::Kind::Tree, text);
    }
    const std::string root = linux_framework::deviceRoot();
    StartProblem problem =
        take(m_treeLock, treeLockPath(root), m_options.program, "the device tree " + quoted(root));
    if (problem) {
        return problem;
    }
    problem = checkSavedFor();
    if (problem) {
        return problem;
    }
    restoreSignFile(); // of a run that was killed
    m_reportsChanged = (m_options.debugLevel || m_options.abort) && !m_options.keepReports;
    if (m_reportsChanged) {
        keepSignFile();
    }
    if ((m_options.debugLevel || m_options.abort) &&
        !writeSignFile(m_options.debugLevel.value_or(1), m_options.abort, text)) {
        return failed(StartProblem::Kind::File, text);
    }
    if (m_options.deviceType && !writeDeviceType(*m_options.deviceType, text)) {
        return failed(StartProblem::Kind::File, text);
    }
    return problem;
}

/// Values that were saved for another kind of camera are neither used nor overwritten unasked.
StartProblem Core::checkSavedFor() {
    int deviceType = 0;
    const ModuleConfigure module = moduleOf(m_options, deviceType);
    m_identity = identityOf(deviceType, module.getModuleId(), module.getDetail());
    m_problems = treeProblems(deviceType);
    const std::string other = savedForOther(m_identity, deviceType);
    if (other.empty()) {
        return {};
    }
    const bool convert = m_options.convert || isRemade(m_identity, deviceType);
    // Without its style nothing has a place on a camera, so nothing could be carried over.
    std::string broken;
    for (const std::string& problem : convert ? styleProblems(deviceType) : m_problems) {
        broken += "; " + problem;
    }
    if (!broken.empty()) { // which may be all that differs
        return failed(StartProblem::Kind::Tree,
                      "the device tree " + quoted(linux_framework::deviceRoot()) +
                          " is not whole, and its schemes do not fit: " + other + broken);
    }
    if (convert) {
        return {};
    }
    return failed(StartProblem::Kind::Tree, "the schemes of the device tree " +
                                                quoted(linux_framework::deviceRoot()) +
                                                " belong to another camera: " + other +
                                                "; --convert carries over what both have");
}

StartProblem Core::openLayerAndLock() {
    StartProblem problem;
    image_adjust::v4l2::CameraInfo camera;
    if (cameraOfLayer(m_options.layer, camera)) {
        problem = take(m_cameraLock, cameraLockPath(camera.identity), m_options.program,
                       "the camera " + camera.node);
    }
    if (problem) {
        return problem;
    }
    std::string text;
    m_layer = openLayer(m_options, text);
    if (m_layer == nullptr) {
        return failed(StartProblem::Kind::Layer, text);
    }
    image_adjust::setLayer(m_layer);
    image_adjust::traceTo(m_options.trace);
    m_watch.begin([this] {
        if (!m_workerActive.exchange(true)) {
            m_queue.knock();
        }
    });
    m_layer->onEvent([this](const image_adjust::LayerEvent& event) {
        {
            const std::lock_guard<std::mutex> guard(m_eventLock);
            m_events.push_back(event);
        }
        m_queue.knock();
    });
    return problem;
}

void Core::openClock() {
    if (m_options.clock) {
        linux_framework::setClock(m_options.clock->hour, m_options.clock->minute,
                                  m_options.clock->second, m_options.speed);
    } else if (m_options.speed != 1) {
        linux_framework::setClockSpeed(m_options.speed);
    }
}

StartProblem Core::startLibrary() {
    int deviceType = 0;
    const ModuleConfigure module = moduleOf(m_options, deviceType);
    SavedStart saved;
    std::string text;
    if (!prepareSaved(m_identity, deviceType, saved, text)) {
        return failed(StartProblem::Kind::File,
                      "the saved schemes stay as they are, as they could not be put aside or "
                      "brought back: " +
                          text);
    }
    m_video = std::make_unique<Video>(m_options.framesPerSecond);
    m_video->traceTo(m_options.trace);
    m_controller = std::make_unique<ISensorController>();
    m_controller->setVideoStreamModule(m_video.get());
    m_scheme = -1;
    m_bySchedule = true;
    m_overlays.clear();
    m_trial.reset();
    lightHistory.clear();
    m_differences.clear();
    m_mustSend.clear();
    m_gone = m_layer->state() == image_adjust::DeviceState::Gone;
    const image_adjust::OperationScope scope(++m_operation);
    // The library's first pass would pause a second; nobody is to wait for that.
    m_pauses.raise();
    m_controller->init(module);
    m_pauses.clear();
    m_uiTexts.provide();
    loadAll();
    if (!saved.aside.empty() && !carryOver(saved, text)) {
        return failed(StartProblem::Kind::File,
                      "the saved schemes were not carried over, the next start finds them as they "
                      "were: " +
                          text);
    }
    if (saved.untouched) {
        rememberUntouched(m_identity);
    }
    m_pictureBeside = pictureBeside(m_options.layer);
    if (m_pictureBeside != nullptr) {
        pictures.use(m_pictureBeside.get(), {});
    } else {
        pictures.use(m_layer->picture(), {}, kWarmUp);
    }
    schemePictures.begin(m_options.layer,
                         [this](int scheme) { return commandValues(*snapshot(), scheme); });
    settle(false);
    publish();
    return {};
}

/// Everything that is known of the library's state, anew: after a start and a reset.
void Core::loadAll() {
    m_factory = factoryValues();
    std::vector<u32> keys;
    for (const KeyVal& pair : m_factory) {
        keys.push_back(pair.key);
    }
    m_memory.load(*m_controller, std::move(keys), static_cast<int>(g_stSysConf.nSchemeSum));
    m_dayNightSchemes = g_stSysConf.nDeviceType == DEVICE_TYPE_LPR &&
                        hasDayNightSchemes(g_stSysConf.moduleConfig.szDetail);
    m_scheme = scheme();
    m_lastPass = linux_framework::deviceMicroseconds();
    m_nextFor = -1;
    m_version.clear();
    m_controller->getCameraVerInf(m_version);
    readRestrictions();
    makeCatalogueNow();
    m_rangesStale = true;
    tryAllAgain();
}

void Core::close() {
    for (const RequestQueue::Item& item : m_queue.close()) {
        Outcome stopped;
        stopped.result = Result::Refused;
        stopped.refusal.reason = Reason::Stopping;
        for (const Completion& done : item.done) {
            done(stopped);
        }
    }
    if (m_controller != nullptr) {
        if (m_trial) {
            endTrial("the camera was switched off", {});
        }
        pictures.use(nullptr, {});
        schemePictures.end();
        m_controller->uinit();
        m_controller->setVideoStreamModule(nullptr);
        m_uiTexts.withdraw();
        m_controller.reset();
    }
    if (m_layer != nullptr) {
        m_layer->onEvent({});
        m_watch.end();
        image_adjust::traceTo(nullptr);
        image_adjust::setLayer(nullptr);
        m_layer.reset();
    }
    {
        const std::lock_guard<std::mutex> guard(m_eventLock);
        m_events.clear();
    }
    m_cameraLock.release();
    if (m_reportsChanged) {
        restoreSignFile();
        m_reportsChanged = false;
    }
    m_treeLock.release();
}

Outcome Core::execute(const Request& request) {
    takeLayerEvents();
    runDueSwitch();
    noticeScheme();
    expireTrial();
    Work work{request.origin};
    work.entry.origin = request.origin;
    work.entry.cameraTime = cameraTime();
    work.outcome.scheme = m_scheme;
    const image_adjust::OperationScope scope(++m_operation);
    std::visit([&](const auto& operation) { handle(operation, work); }, request.operation);
    finish(work);
    return std::move(work.outcome);
}

void Core::finish(Work& work) {
    work.written.insert(m_scheme);
    for (const int number : work.written) {
        m_memory.refresh(*m_controller, number);
    }
    noticeScheme(&work.origin);
    for (const KeyOutcome& outcome : work.outcome.keys) {
        seeState(outcome.key); // or the answer would tell what held before
    }
    if (work.trialEnd) {
        journal.add(*work.trialEnd);
    }
    if (!work.entry.changes.empty() || !work.entry.note.empty()) {
        work.outcome.entry = journal.add(work.entry);
    }
    publish();
    work.outcome.snapshot = m_snapshot->number;
}

void Core::takeLayerEvents() {
    std::vector<image_adjust::LayerEvent> events;
    {
        const std::lock_guard<std::mutex> guard(m_eventLock);
        events.swap(m_events);
    }
    for (const image_adjust::LayerEvent& event : events) {
        using Kind = image_adjust::LayerEvent::Kind;
        JournalEntry entry;
        entry.origin.cause = Cause::Device;
        entry.cameraTime = cameraTime();
        m_changed = true;
        if (event.kind == Kind::ValueChanged) {
            noteOutsideChange(event, entry);
            continue;
        }
        entry.kind = JournalEntry::Kind::Layer;
        const bool gone = event.kind == Kind::DeviceGone;
        if (gone == m_gone && gone) {
            continue;
        }
        m_gone = gone;
        entry.note = gone ? "the camera is gone" : "the camera is back";
        journal.add(entry);
        if (gone) {
            m_settled = false;
        } else {
            applyWhole();
        }
    }
}

void Core::housekeep() {
    const Clock::time_point now = Clock::now();
    takeLayerEvents();
    noticeScheme();
    expireTrial();
    if (m_workerActive.exchange(false)) {
        m_changed = m_memory.refresh(*m_controller, m_scheme) || m_changed;
        settleSoon(std::chrono::milliseconds(20));
    }
    if (now - m_lastNightRead >= std::chrono::seconds(1)) {
        m_changed = readNight() || m_changed;
    }
    lightHistory.see(linux_framework::deviceMicroseconds(), m_gone ? -1 : m_layer->light(),
                     m_night);
    constexpr long long kSettleEvery = 10000000; // camera microseconds
    const bool periodic =
        now - m_lastSettle >= std::chrono::milliseconds(100) &&
        linux_framework::deviceMicroseconds() - m_lastSettleCamera >= kSettleEvery;
    if (periodic || (m_settleAt && now >= *m_settleAt)) {
        const image_adjust::OperationScope scope(++m_operation);
        settle(periodic);
    }
    double gone = 0;
    if (m_gone) { // for how long, is told by the second
        m_layer->state(&gone);
    }
    if (m_changed || cameraTime().minuteOfDay() != m_publishedMinute ||
        gone >= m_snapshot->layer.goneSeconds + 1) {
        publish();
    }
}

/// A tenth of a second, or of a camera second where that is shorter, as a switch without a value
/// that differs reaches nothing that would wake this thread.
Core::Clock::duration Core::untilNextLook() const {
    const double seconds = std::clamp(0.1 / m_options.speed, 0.002, 0.1);
    const auto tick =
        std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    if (!m_settleAt) {
        return tick;
    }
    return std::clamp<Clock::duration>(*m_settleAt - Clock::now(), Clock::duration::zero(), tick);
}

std::shared_ptr<const Snapshot> Core::snapshot() const {
    const std::lock_guard<std::mutex> guard(m_snapshotLock);
    return m_snapshot;
}

bool Core::waitForSnapshot(std::uint64_t number, std::chrono::milliseconds atMost) const {
    std::unique_lock<std::mutex> guard(m_snapshotLock);
    return m_snapshotChanged.wait_for(
        guard, atMost, [&] { return m_snapshot != nullptr && m_snapshot->number >= number; });
}

} // namespace host
