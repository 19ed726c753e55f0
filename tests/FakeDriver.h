#pragma once

#include <linux/videodev2.h>

#include <atomic>
#include <map>
#include <mutex>
#include <string>

#include "V4l2Layer.h"

/// A camera driver in memory, for the failures that real ones give only in an accident; how drivers
/// behave otherwise is tried on real ones, in the virtual machine. It has a folder of its own in
/// place of the machine's /dev and /sys.
class FakeDriver : public image_adjust::v4l2::DeviceCalls {
public:
    FakeDriver();
    ~FakeDriver() override;

    image_adjust::v4l2::Places places() const;
    image_adjust::v4l2::Options options();
    std::string node() const { return m_folder + "/dev/video" + std::to_string(m_number); }

    /// Puts a camera of the machine's list there.
    void addCamera(int number, const std::string& port, const std::string& serial);
    void removeCamera(int number);

    /// As a camera that is pulled out, and put in again at another node.
    void unplug();
    void plugIn(int number);

    /// Lets one call fail, counted from now; 0: none.
    void failAt(int call, int error);
    int calls() const { return m_count; }

    int value(unsigned int id) const;

    int control(int fd, unsigned long request, void* data) override;

private:
    struct State {
        v4l2_queryctrl about;
        int value;
    };
    int answer(unsigned long request, void* data);
    int queryNext(v4l2_queryctrl& query);
    int set(v4l2_control& order);

    std::string m_folder;
    int m_number = 0;
    mutable std::mutex m_mutex;
    std::map<unsigned int, State> m_controls;
    int m_count = 0;
    int m_failAt = 0;
    int m_error = 0;
    bool m_gone = false;
};
