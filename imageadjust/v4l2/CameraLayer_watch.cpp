#include <fcntl.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <system_error>

#include "CameraLayer.h"

namespace image_adjust::v4l2 {
namespace {

using std::chrono::milliseconds;
typedef std::chrono::steady_clock Clock;

enum : unsigned int { CMD_FRAME_RATE = 2464 };

// While the camera is away: for machines that do not tell of new nodes, and nodes that may not be
// opened yet when they are told.
constexpr int lookAgain = 1000;
constexpr int lookSoon = 50;
constexpr int mostSoon = 20;

// A look at the light when nobody watches; while a change is on its way, and when it costs nothing.
constexpr milliseconds lookAtLight(5000);
constexpr milliseconds lookOften(1000);

} // namespace

std::unique_ptr<Layer> openV4l2(const std::string& camera, const Options& options,
                                std::string& problem) try {
    auto layer = std::make_unique<CameraLayer>(camera, options);
    return layer->open(problem) ? std::move(layer) : nullptr;
} catch (const std::system_error& error) {
    problem = error.what();
    return nullptr;
}

CameraLayer::CameraLayer(const std::string& given, const Options& options)
    : m_given(given),
      m_options(options),
      m_system(options.calls != nullptr ? options.calls : std::make_shared<DeviceCalls>()),
      m_dayNight(m_settings) {}

CameraLayer::~CameraLayer() {
    m_stop = true;
    wake();
    if (m_capture != nullptr) {
        m_capture->giveUp();
    }
    {
        const std::lock_guard<std::mutex> lock(m_lightMutex);
        m_lightChanged.notify_all();
    }
    for (std::thread* thread : {&m_watcher, &m_lightWatcher}) {
        if (thread->joinable()) {
            thread->join();
        }
    }
    m_capture.reset();
    for (const int fd : {m_wake, m_folder}) {
        if (fd >= 0) {
            close(fd);
        }
    }
}

bool CameraLayer::open(std::string& problem) {
    std::unique_ptr<Device> device;
    if (findCamera(m_given, m_options.places, m_camera, problem)) {
        device = Device::open(*m_system, m_camera.node, knownControls(), problem);
    }
    if (device == nullptr && !m_options.wait) {
        return false;
    }
    {
        const std::lock_guard<std::mutex> lock(m_calls);
        if (device != nullptr) {
            adopt(std::move(device));
        } else {
            m_gone = true;
            m_goneAt = Clock::now();
        }
        addOwn();
    }
    CaptureHost host;
    host.node = [this] { return node(); };
    host.frameRate = [this] {
        const std::lock_guard<std::mutex> lock(m_state);
        const Entry* rate = findIn(m_entries, CMD_FRAME_RATE);
        return rate == nullptr ? 0 : rate->known ? rate->wanted : rate->home->seen();
    };
    host.isFrozen = [this] { return m_frozen != 0; };
    host.holders = [this] { return holdersOf(node(), m_options.places); };
    host.streaming = [this](bool on) { streaming(on); };
    host.gone = [this] {
        const std::lock_guard<std::mutex> lock(m_calls);
        goGone();
    };
    StreamFormat fixed;
    fixed.pixels = m_options.format;
    fixed.width = m_options.width;
    fixed.height = m_options.height;
    m_capture = std::make_unique<Capture>(*m_system, fixed, std::move(host));

    m_wake = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    m_folder = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_wake < 0) {
        problem = "no events: " + errorText(-errno);
        return false;
    }
    if (m_folder >= 0) {
        inotify_add_watch(m_folder, m_options.places.dev.c_str(),
                          IN_CREATE | IN_ATTRIB | IN_DELETE | IN_MOVED_TO);
    }
    m_watcher = std::thread([this] { watch(); });
    if (m_options.dayNight) {
        m_lightWatcher = std::thread([this] { watchLight(); });
    }
    return true;
}

std::string CameraLayer::node() const {
    const std::lock_guard<std::mutex> lock(m_state);
    return m_gone ? std::string() : m_camera.node;
}

/// Takes over an open device: its commands are asked anew, and nothing of it is known.
void CameraLayer::adopt(std::unique_ptr<Device> device) {
    Entries entries;
    for (std::unique_ptr<Home>& home : makeHomes(*device)) {
        enroll(entries, std::move(home));
    }
    std::sort(entries.begin(), entries.end(), [](const Entry& left, const Entry& right) {
        return left.home->cmd() < right.home->cmd();
    });
    for (const Entry& entry : entries) {
        Entry* master = findIn(entries, entry.home->master());
        if (master != nullptr) {
            master->isMaster = true;
        }
    }
    const v4l2_capability& is = device->capability();
    const std::lock_guard<std::mutex> lock(m_state);
    m_title = std::string(reinterpret_cast<const char*>(is.card)) + " (" +
              reinterpret_cast<const char*>(is.bus_info) + ")";
    m_entries = std::move(entries);
    m_device = std::move(device);
    m_gone = false;
}

bool CameraLayer::isDead() const {
    v4l2_capability ignored = {};
    if (m_device == nullptr || m_device->call(VIDIOC_QUERYCAP, &ignored) < 0) {
        return true;
    }
    CameraInfo now;
    return !knownCameras(m_options.places).empty() &&
           !findAgain(m_camera, {}, m_options.places, now);
}

void CameraLayer::goGone() {
    if (m_gone) {
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(m_state);
        m_gone = true;
        m_goneAt = Clock::now();
    }
    m_device->shut(); // else it could not come back at the same node
    m_others.clear();
    for (const CameraInfo& other : knownCameras(m_options.places)) {
        if (other.node != m_camera.node) {
            m_others.push_back(other);
        }
    }
    post(LayerEvent::Kind::DeviceGone);
    wake();
}

bool CameraLayer::comeBack() {
    CameraInfo now;
    std::string problem;
    const bool there = m_device == nullptr ? findCamera(m_given, m_options.places, now, problem)
                                           : findAgain(m_camera, m_others, m_options.places, now);
    if (!there) {
        return false;
    }
    std::unique_ptr<Device> device = Device::open(*m_system, now.node, knownControls(), problem);
    if (device == nullptr) {
        return false;
    }
    {
        const std::lock_guard<std::mutex> lock(m_state);
        m_camera = now;
    }
    adopt(std::move(device));
    m_toldNight = false; // the picture is in colour again
    decideNight();
    post(LayerEvent::Kind::DeviceBack);
    return true;
}

void CameraLayer::streaming(bool on) {
    const std::lock_guard<std::mutex> lock(m_calls);
    if (m_device == nullptr) {
        return;
    }
    m_device->streaming = on;
    Entry* rate = findIn(m_entries, CMD_FRAME_RATE);
    if (rate != nullptr && !m_gone) {
        rate->home->refresh();
    }
    if (!on && !m_gone) {
        letGo(0);
    }
}

void CameraLayer::tellIfChanged(Entry& entry) {
    const Home& home = *entry.home;
    const int now = home.seen();
    if (home.isOrder() || now == entry.seen) {
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(m_state);
        entry.seen = now;
        if (entry.held || isHeldNow(entry)) {
            return; // an automatic that moves it is no change of what it is set to
        }
        entry.wanted = now;
    }
    post(LayerEvent::Kind::ValueChanged, home.cmd(), now);
}

void CameraLayer::lookAtEvents() {
    bool any = false;
    while (Control* control = m_device->takeEvent()) {
        any = true;
        // The event may be older than what was set here since.
        if (control->isReadable() && m_device->get(*control) == -ENODEV) {
            goGone();
            return;
        }
        for (Entry& entry : m_entries) {
            if (entry.home->uses(*control)) {
                tellIfChanged(entry);
            }
        }
    }
    if (any) {
        letGo(0);
    }
}

void CameraLayer::watch() {
    int soon = 0;
    int timeout = 0;
    bool deaf = false; // the driver calls for nothing, and would go on
    while (!m_stop) {
        pollfd waits[3] = {{m_wake, POLLIN, 0}, {m_folder, POLLIN, 0}, {-1, POLLPRI, 0}};
        {
            const std::lock_guard<std::mutex> lock(m_calls);
            waits[2].fd = m_gone || deaf ? -1 : m_device->fd();
        }
        m_system->wait(waits, 3, deaf && timeout < 0 ? lookAgain : timeout);
        char bytes[4096];
        bool plugged = false;
        while (read(m_wake, bytes, sizeof bytes) > 0) {
        }
        while (m_folder >= 0 && read(m_folder, bytes, sizeof bytes) > 0) {
            plugged = true;
        }
        {
            const std::lock_guard<std::mutex> lock(m_calls);
            if (!m_gone) {
                if ((waits[2].revents & POLLPRI) != 0) {
                    lookAtEvents();
                }
                deaf = (waits[2].revents & (POLLERR | POLLHUP | POLLNVAL)) != 0;
                if (deaf && isDead()) {
                    goGone();
                }
                timeout = m_device->stopDue();
            }
            if (m_gone) {
                deaf = false;
                // A node is there before it may be opened.
                soon = plugged ? mostSoon : std::max(soon - 1, 0);
                if (comeBack()) {
                    soon = 0;
                    timeout = -1;
                } else {
                    timeout = soon > 0 ? lookSoon : lookAgain;
                }
            }
        }
        deliver();
    }
}

void CameraLayer::watchLight() {
    while (!m_stop) {
        int mode = 0;
        bool often = false;
        {
            const std::lock_guard<std::mutex> lock(m_calls);
            mode = m_settings.mode;
            often = m_dayNight.isUndecided() || (m_device != nullptr && m_device->streaming);
        }
        if (mode == 0) {
            const int light = m_capture->light();
            const std::lock_guard<std::mutex> lock(m_calls);
            m_light = light;
            decideNight();
            often = often || m_dayNight.isUndecided();
        } else if (mode == 3) {
            const std::lock_guard<std::mutex> lock(m_calls);
            decideNight();
            often = true;
        }
        std::unique_lock<std::mutex> lock(m_lightMutex);
        const auto again = [this] { return m_stop || m_lightAgain; };
        if (mode == 1 || mode == 2) {
            m_lightChanged.wait(lock, again);
        } else {
            m_lightChanged.wait_for(lock, often ? lookOften : lookAtLight, again);
        }
        m_lightAgain = false;
    }
}

void CameraLayer::wake() {
    const unsigned long long one = 1;
    if (m_wake >= 0 && ::write(m_wake, &one, sizeof one) < 0) {
        // Full: then it is awake already.
    }
}

void CameraLayer::post(LayerEvent::Kind kind, unsigned int cmd, int value) {
    {
        const std::lock_guard<std::mutex> lock(m_queue);
        m_events.push_back({kind, cmd, value});
    }
    wake();
}

void CameraLayer::deliver() {
    std::vector<LayerEvent> events;
    {
        const std::lock_guard<std::mutex> lock(m_queue);
        events.swap(m_events);
    }
    const std::lock_guard<std::mutex> lock(m_listening);
    for (const LayerEvent& event : events) {
        if (m_listener) {
            m_listener(event);
        }
    }
}

void CameraLayer::onEvent(std::function<void(const LayerEvent&)> listener) {
    const std::lock_guard<std::mutex> lock(m_listening);
    m_listener = std::move(listener);
}

int CameraLayer::minuteNow() const {
    if (m_options.clock) {
        return m_options.clock();
    }
    const std::time_t now = std::time(nullptr);
    std::tm parts = {};
    return localtime_r(&now, &parts) == nullptr ? 0 : parts.tm_hour * 60 + parts.tm_min;
}

} // namespace image_adjust::v4l2
