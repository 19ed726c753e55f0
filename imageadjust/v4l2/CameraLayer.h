#pragma once

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "Capture.h"
#include "DayNight.h"
#include "Home.h"
#include "V4l2Layer.h"

namespace image_adjust::v4l2 {

/// The layer behind openV4l2. Its locks, in the order in which they are taken: m_calls around every
/// call of the device, then m_state around what about() and state() read. The pictures are never
/// asked under either.
class CameraLayer : public Layer {
public:
    CameraLayer(const std::string& given, const Options& options);
    ~CameraLayer() override;

    /// @return false when the camera cannot be opened; the problem says why
    bool open(std::string& problem);

    int ioctl(unsigned int cmd, unsigned int opt, void* data) override;
    std::string name() const override { return "v4l2:" + m_given; }
    std::string device() const override;
    DeviceState state(double* since) const override;
    CommandState about(unsigned int cmd) const override;
    void onEvent(std::function<void(const LayerEvent&)> listener) override;
    PictureSource* picture() override { return m_capture.get(); }
    int light() const override { return m_settings.mode == 0 ? m_light.load() : -1; }

private:
    /// A command's home, and what the layer knows beside it.
    struct Entry {
        std::unique_ptr<Home> home;
        bool known = false;   ///< wanted is the value that the command was set to
        bool held = false;    ///< when last looked at, another command held it
        bool refused = false; ///< the camera would not take wanted; it is tried again later
        bool isMaster = false;
        int wanted = 0;
        int seen = 0; ///< what was last known of it, to tell a change
        std::string lastFailure;
        std::string holder; ///< of refused
    };
    typedef std::vector<Entry> Entries; // ascending by command

    // One call; under m_calls.
    int callHome(Entry& entry, unsigned int opt, void* data);
    int setFields(unsigned int cmd, const void* data);
    int getFields(unsigned int cmd, void* data);
    int setValue(Entry& entry, int value);
    int getValue(Entry& entry, int& value);
    int range(Entry& entry, void* data);
    int write(Entry& entry, int value);
    int failed(Entry& entry, int result);
    int replyRestricted(void* data) const;
    int replyVersion(void* data) const;

    // What follows from a change; under m_calls.
    void letGo(unsigned int master);
    void lookAtEvents();
    void tellIfChanged(Entry& entry);
    void decideNight();
    void goGone();
    bool comeBack();
    void adopt(std::unique_ptr<Device> device);
    bool isDead() const;

    Entry* find(unsigned int cmd) const;
    static Entry* findIn(const Entries& entries, unsigned int cmd);
    std::string node() const;
    bool isOwn(unsigned int cmd) const;
    bool isHeldNow(const Entry& entry) const;
    void addOwn();
    void enroll(Entries& entries, std::unique_ptr<Home> home);
    void streaming(bool on);

    // The thread that hears of events, plugs and timers, and the one that looks at the light.
    void watch();
    void watchLight();
    void wake();
    void post(LayerEvent::Kind kind, unsigned int cmd = 0, int value = 0);
    void deliver();
    int minuteNow() const;

    const std::string m_given;
    const Options m_options;
    const std::shared_ptr<DeviceCalls> m_system;
    CameraInfo m_camera;
    std::vector<CameraInfo> m_others; // when it went

    mutable std::mutex m_calls;
    mutable std::mutex m_state;
    std::unique_ptr<Device> m_device; // null: it was not there yet
    Entries m_entries;                // of the device
    Entries m_own;                    // of the layer
    bool m_gone = false;
    std::chrono::steady_clock::time_point m_goneAt;
    std::string m_title;

    DayNightSettings m_settings;
    DayNight m_dayNight;
    bool m_toldNight = false;
    int m_colourByDay = 0;
    std::atomic<int> m_light{-1}; ///< as last seen while it decided between day and night
    std::atomic<int> m_headRuns{0};
    std::atomic<int> m_frozen{0};
    std::atomic<int> m_focusAtNight{0};
    std::unique_ptr<Capture> m_capture;

    std::mutex m_queue;
    std::vector<LayerEvent> m_events;
    std::mutex m_listening;
    std::function<void(const LayerEvent&)> m_listener;

    std::atomic<bool> m_stop{false};
    std::mutex m_lightMutex;
    std::condition_variable m_lightChanged;
    bool m_lightAgain = false;
    int m_wake = -1;
    int m_folder = -1;
    std::thread m_watcher;
    std::thread m_lightWatcher;
};

} // namespace image_adjust::v4l2
