#include "Guest.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/videodev2.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <sstream>
#include <thread>

namespace guest {

using image_adjust::LayerEvent;
namespace v4l2 = image_adjust::v4l2;

std::string output(const std::string& command) {
    std::string text;
    FILE* pipe = popen(command.c_str(), "r");
    char chunk[256];
    while (pipe != nullptr && fgets(chunk, sizeof chunk, pipe) != nullptr) {
        text += chunk;
    }
    if (pipe != nullptr) {
        pclose(pipe);
    }
    while (!text.empty() && text.back() == '\n') {
        text.pop_back();
    }
    return text;
}

std::map<std::string, int> witnessAll(const std::string& node, const std::string& controls) {
    std::map<std::string, int> values;
    std::istringstream lines(output("v4l2-ctl -d " + node + " --get-ctrl=" + controls));
    for (std::string line; std::getline(lines, line);) {
        const std::size_t colon = line.find(": ");
        if (colon != std::string::npos) {
            values[line.substr(0, colon)] = std::atoi(line.c_str() + colon + 2);
        }
    }
    return values;
}

int witness(const std::string& node, unsigned int control) {
    const int fd = open(node.c_str(), O_RDWR);
    v4l2_control answer = {control, 0};
    const int result = ioctl(fd, VIDIOC_G_CTRL, &answer);
    close(fd);
    return result == 0 ? answer.value : -999999;
}

double secondsNow() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

double processorSecondsIn(double seconds) {
    const std::clock_t begin = std::clock();
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
    return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

Process::Process(const std::vector<std::string>& words)
    : m_log("/tmp/" + words[0] + "." + std::to_string(secondsNow())), m_pid(fork()) {
    if (m_pid == 0) {
        std::vector<char*> arguments;
        for (const std::string& word : words) {
            arguments.push_back(const_cast<char*>(word.c_str()));
        }
        arguments.push_back(nullptr);
        const int log = open(m_log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
        dup2(log, 1);
        dup2(log, 2);
        execvp(arguments[0], arguments.data());
        _exit(127);
    }
}

Process::~Process() {
    end();
}

void Process::end() {
    if (m_pid > 0) {
        kill(m_pid, SIGKILL);
        waitpid(m_pid, nullptr, 0);
        m_pid = 0;
    }
}

UsbCamera::UsbCamera() {
    plugIn();
}

void UsbCamera::plugIn() {
    m_process = std::make_unique<Process>(std::vector<std::string>{"emulated_camera"});
    for (int i = 0; i < 300; ++i) {
        for (const v4l2::CameraInfo& camera : v4l2::knownCameras(v4l2::Places())) {
            if (camera.identity == "usb-1d6b-0102-EMU0001-0" &&
                access(camera.node.c_str(), R_OK) == 0) {
                m_node = camera.node;
                output("emulated_camera --map " + m_node);
                return;
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    ADD_FAILURE() << "the emulated camera does not appear";
}

void UsbCamera::unplug() {
    m_process.reset();
}

UsbCamera& usbCamera() {
    static UsbCamera camera;
    return camera;
}

Camera::Camera(const std::string& node, v4l2::Options options) {
    std::string problem;
    m_layer = v4l2::openV4l2(node, options, problem);
    if (m_layer == nullptr) {
        throw std::runtime_error(problem);
    }
    m_layer->onEvent([this](const LayerEvent& event) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_events.push_back(event);
        m_heard.notify_all();
    });
}

Camera::~Camera() {
    m_layer->onEvent(nullptr);
}

int Camera::get(unsigned int cmd) {
    int value = -999999;
    EXPECT_EQ(0, m_layer->ioctl(cmd, IA_CMD_OPT_GET, &value)) << cmd;
    return value;
}

ia_dynamic_params_attr_st Camera::range(unsigned int cmd) {
    ia_dynamic_params_attr_st range = {};
    EXPECT_EQ(0, m_layer->ioctl(cmd, IA_CMD_OPT_GET_PARAM_RNAGE, &range)) << cmd;
    return range;
}

void Camera::forget() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_events.clear();
}

double Camera::await(LayerEvent::Kind kind, unsigned int cmd, double seconds) {
    const double begin = secondsNow();
    std::unique_lock<std::mutex> lock(m_mutex);
    do {
        for (const LayerEvent& event : m_events) {
            if (event.kind == kind && (cmd == 0 || event.command == cmd)) {
                m_value = event.value;
                return secondsNow() - begin;
            }
        }
        m_heard.wait_for(lock, std::chrono::milliseconds(20));
    } while (secondsNow() - begin < seconds);
    return -1;
}

} // namespace guest
