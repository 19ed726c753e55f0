#pragma once

#include <sys/types.h>

#include <atomic>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "ImageAdjust.h"
#include "PictureSource.h"
#include "V4l2Layer.h"

/// What the tests in the virtual machine stand on.
namespace guest {

/// What a shell command prints, without the line end behind it.
std::string output(const std::string& command);

/// What the driver says of a control to whoever opens its node; -999999: nothing.
int witness(const std::string& node, unsigned int control);

/// What v4l2-ctl, which is not ours, says of controls: their names, with commas between.
std::map<std::string, int> witnessAll(const std::string& node, const std::string& controls);

double secondsNow();

/// The processor's time that this process takes while the caller waits.
double processorSecondsIn(double seconds);

/// A process of the guest, ended with the object.
class Process {
public:
    explicit Process(const std::vector<std::string>& words);
    ~Process();
    void end();

    /// What it has said so far.
    std::string log() const { return output("cat " + m_log); }

private:
    std::string m_log;
    pid_t m_pid;
};

/// The emulated USB camera: plugged in as long as the object lives.
class UsbCamera {
public:
    UsbCamera();
    const std::string& node() const { return m_node; }
    void unplug();
    void plugIn();

private:
    std::unique_ptr<Process> m_process;
    std::string m_node;
};

/// The one that all tests share, plugged in.
UsbCamera& usbCamera();
constexpr char kVivid[] = "/dev/video0";
constexpr char kGrabber[] = "/dev/video1";

/// A camera opened as a layer, and its events.
class Camera {
public:
    explicit Camera(const std::string& node,
                    image_adjust::v4l2::Options options = image_adjust::v4l2::Options());
    ~Camera();

    image_adjust::Layer* operator->() { return m_layer.get(); }
    int set(unsigned int cmd, int value) { return m_layer->ioctl(cmd, IA_CMD_OPT_SET, &value); }
    int get(unsigned int cmd);
    ia_dynamic_params_attr_st range(unsigned int cmd);

    /// Waits for an event. @return seconds that it took; below 0: none came
    double await(image_adjust::LayerEvent::Kind kind, unsigned int cmd, double seconds);
    void forget();
    int lastValue() const { return m_value; }

private:
    std::unique_ptr<image_adjust::Layer> m_layer;
    std::mutex m_mutex;
    std::condition_variable m_heard;
    std::vector<image_adjust::LayerEvent> m_events;
    int m_value = 0;
};

} // namespace guest
