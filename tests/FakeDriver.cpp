#include "FakeDriver.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace fs = std::filesystem;
namespace v4l2 = image_adjust::v4l2;

namespace {

constexpr struct {
    unsigned int id;
    v4l2_ctrl_type type;
    int min, max, step, value;
    unsigned int flags;
} controls[] = {
    {V4L2_CID_BRIGHTNESS, V4L2_CTRL_TYPE_INTEGER, -64, 64, 1, 0, 0},
    {V4L2_CID_CONTRAST, V4L2_CTRL_TYPE_INTEGER, 0, 100, 5, 50, 0},
    {V4L2_CID_AUTO_WHITE_BALANCE, V4L2_CTRL_TYPE_BOOLEAN, 0, 1, 1, 1, 0},
    {V4L2_CID_HFLIP, V4L2_CTRL_TYPE_BOOLEAN, 0, 1, 1, 0, 0},
    {V4L2_CID_VFLIP, V4L2_CTRL_TYPE_BOOLEAN, 0, 1, 1, 0, 0},
    {V4L2_CID_WHITE_BALANCE_TEMPERATURE, V4L2_CTRL_TYPE_INTEGER, 2800, 6000, 10, 4600, 0},
    {V4L2_CID_BACKLIGHT_COMPENSATION, V4L2_CTRL_TYPE_INTEGER, 0, 4, 1, 1, 0},
    {V4L2_CID_EXPOSURE_AUTO, V4L2_CTRL_TYPE_MENU, 0, 3, 1, 3, 0},
    {V4L2_CID_EXPOSURE_ABSOLUTE, V4L2_CTRL_TYPE_INTEGER, 1, 10000, 1, 157, 0},
    {V4L2_CID_FOCUS_ABSOLUTE, V4L2_CTRL_TYPE_INTEGER, 0, 1000, 1, 100, 0},
    {V4L2_CID_FOCUS_AUTO, V4L2_CTRL_TYPE_BOOLEAN, 0, 1, 1, 1, 0},
    {V4L2_CID_ZOOM_CONTINUOUS, V4L2_CTRL_TYPE_INTEGER, -3, 3, 1, 0, V4L2_CTRL_FLAG_WRITE_ONLY},
};

} // namespace

FakeDriver::FakeDriver() {
    m_folder = (fs::temp_directory_path() / "imgctl-driver.XXXXXX").string();
    if (mkdtemp(m_folder.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    fs::create_directories(m_folder + "/dev");
    fs::create_directories(m_folder + "/proc");
    fs::create_directories(m_folder + "/sys/class/video4linux");
    addCamera(0, "1-1", "A1");
    for (const auto& control : controls) {
        State& state = m_controls[control.id];
        state.about = {};
        state.about.id = control.id;
        state.about.type = control.type;
        state.about.minimum = control.min;
        state.about.maximum = control.max;
        state.about.step = control.step;
        state.about.default_value = control.value;
        state.about.flags = control.flags;
        state.value = control.value;
    }
}

FakeDriver::~FakeDriver() {
    std::error_code ignored;
    fs::remove_all(m_folder, ignored);
}

v4l2::Places FakeDriver::places() const {
    return {m_folder + "/dev", m_folder + "/sys", m_folder + "/proc"};
}

v4l2::Options FakeDriver::options() {
    v4l2::Options options;
    options.places = places();
    options.calls = std::shared_ptr<v4l2::DeviceCalls>(this, [](v4l2::DeviceCalls*) {});
    return options;
}

void FakeDriver::addCamera(int number, const std::string& port, const std::string& serial) {
    const fs::path sys = m_folder + "/sys";
    const fs::path usb = sys / "devices" / port;
    const fs::path entry = sys / "class/video4linux" / ("video" + std::to_string(number));
    fs::create_directories(usb / (port + ":1.0"));
    fs::create_directories(entry);
    std::ofstream(usb / "idVendor") << "046d\n";
    std::ofstream(usb / "idProduct") << "0825\n";
    std::ofstream(usb / "product") << "Fake Cam\n";
    fs::remove(usb / "serial");
    if (!serial.empty()) {
        std::ofstream(usb / "serial") << serial << "\n";
    }
    std::ofstream(entry / "index") << "0\n";
    fs::create_directory_symlink(usb / (port + ":1.0"), entry / "device");
    std::ofstream(m_folder + "/dev/video" + std::to_string(number)).flush();
}

void FakeDriver::removeCamera(int number) {
    const std::string name = "video" + std::to_string(number);
    fs::remove_all(m_folder + "/sys/class/video4linux/" + name);
    fs::remove(m_folder + "/dev/" + name);
}

void FakeDriver::unplug() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_gone = true;
    }
    removeCamera(m_number);
}

void FakeDriver::plugIn(int number) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_gone = false;
        m_number = number;
        for (auto& [id, state] : m_controls) {
            state.value = state.about.default_value;
        }
    }
    addCamera(number, "1-1", "A1");
}

void FakeDriver::failAt(int call, int error) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_failAt = call > 0 ? m_count + call : 0;
    m_error = error;
}

int FakeDriver::value(unsigned int id) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_controls.at(id).value;
}

int FakeDriver::control(int /*fd*/, unsigned long request, void* data) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    ++m_count;
    return m_gone ? -ENODEV : m_count == m_failAt ? -m_error : answer(request, data);
}

int FakeDriver::answer(unsigned long request, void* data) {
    const auto known = [this](unsigned int id) { return m_controls.count(id) != 0; };
    switch (request) {
        case VIDIOC_QUERYCAP: {
            v4l2_capability& is = *static_cast<v4l2_capability*>(data);
            std::strcpy(reinterpret_cast<char*>(is.driver), "fake");
            std::strcpy(reinterpret_cast<char*>(is.card), "Fake <Cam> & \"more\"");
            is.capabilities = V4L2_CAP_VIDEO_CAPTURE;
            return 0;
        }
        case VIDIOC_QUERYCTRL:
            return queryNext(*static_cast<v4l2_queryctrl*>(data));
        case VIDIOC_QUERYMENU: {
            v4l2_querymenu& item = *static_cast<v4l2_querymenu*>(data);
            std::strcpy(reinterpret_cast<char*>(item.name),
                        item.index == 1 ? "Manual" : "Aperture");
            return item.index == 1 || item.index == 3 ? 0 : -EINVAL;
        }
        case VIDIOC_G_CTRL: {
            v4l2_control& question = *static_cast<v4l2_control*>(data);
            question.value = known(question.id) ? m_controls[question.id].value : 0;
            return known(question.id) ? 0 : -EINVAL;
        }
        case VIDIOC_S_CTRL:
            return set(*static_cast<v4l2_control*>(data));
        case VIDIOC_TRY_EXT_CTRLS: {
            v4l2_ext_control& one = *static_cast<v4l2_ext_controls*>(data)->controls;
            const v4l2_queryctrl& about = m_controls[one.id].about;
            const int from = std::clamp(one.value, about.minimum, about.maximum) - about.minimum;
            one.value = about.minimum + (from + about.step / 2) / about.step * about.step;
            return 0;
        }
        case VIDIOC_SUBSCRIBE_EVENT:
            return 0;
        default:
            return request == VIDIOC_DQEVENT ? -ENOENT : -ENOTTY;
    }
}

int FakeDriver::queryNext(v4l2_queryctrl& query) {
    const bool next = (query.id & V4L2_CTRL_FLAG_NEXT_CTRL) != 0;
    const unsigned int id = query.id & ~V4L2_CTRL_FLAG_NEXT_CTRL;
    const auto found = next ? m_controls.upper_bound(id) : m_controls.find(id);
    if (found == m_controls.end()) {
        return -EINVAL;
    }
    query = found->second.about;
    return 0;
}

int FakeDriver::set(v4l2_control& order) {
    if (order.id == V4L2_CID_FOCUS_ABSOLUTE && m_controls[V4L2_CID_FOCUS_AUTO].value != 0) {
        return -EACCES;
    }
    m_controls.at(order.id).value = order.value;
    return 0;
}
