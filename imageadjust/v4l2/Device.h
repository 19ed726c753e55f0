#pragma once

#include <linux/videodev2.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "DeviceCalls.h"

namespace image_adjust::v4l2 {

/// A control as the driver describes it. What may change while the device is open is kept up to
/// date and may be read by any thread.
struct Control {
    unsigned int id = 0;
    unsigned int type = 0;
    struct Item {
        int index;
        std::string name;
    };
    std::vector<Item> menu; ///< the entries that there are; empty for what is no menu

    std::atomic<unsigned int> flags{0};
    std::atomic<int> min{0};
    std::atomic<int> max{0};
    std::atomic<int> step{1};
    std::atomic<int> defaultValue{0};
    std::atomic<int> value{0}; ///< as last read, set or told by an event

    bool isMenu() const {
        return type == V4L2_CTRL_TYPE_MENU || type == V4L2_CTRL_TYPE_INTEGER_MENU;
    }
    bool isReadable() const { return (flags & V4L2_CTRL_FLAG_WRITE_ONLY) == 0; }
    bool isInactive() const { return (flags & V4L2_CTRL_FLAG_INACTIVE) != 0; }

    /// Whether the driver would keep the value as it is.
    bool takes(int wanted) const;
};

/// Results of Device beside -errno.
enum { OTHER_TAKEN = -10000 }; ///< the driver took another value than it was handed

/// An open device with its controls. Its calls are made by one thread at a time, what is const by
/// any. Results are 0 or -errno, or as told.
class Device {
public:
    /// Opens a node, asks what controls it has, and subscribes to their changes.
    /// @param wanted   controls that matter, ascending; others are left aside
    /// @param problem  receives why not: "/dev/video0: No such device"
    /// @return null when the node cannot be used
    static std::unique_ptr<Device> open(DeviceCalls& calls, const std::string& node,
                                        const std::vector<unsigned int>& wanted,
                                        std::string& problem);
    ~Device();
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    /// Gives the node free; what is known of the device stays, and its calls fail.
    void shut();

    const std::string& node() const { return m_node; }
    int fd() const { return m_fd; }
    const v4l2_capability& capability() const { return m_capability; }

    /// @return null when the device has no such control, or only one that cannot be set
    Control* find(unsigned int id) const;

    int call(unsigned long request, void* data) { return control(m_calls, m_fd, request, data); }
    DeviceCalls& calls() const { return m_calls; }

    int get(Control& wanted);

    /// Sets one control. Where the driver took another value, the one before is put back.
    int set(Control& wanted, int value);

    /// Sets two; where the second fails, the first is put back.
    int set(Control& first, int firstValue, Control& second, int secondValue);

    /// Asks what the driver would make of a value. @return 0 with the answer in value
    int correct(const Control& wanted, int& value);

    /// Asks anew for a control's flags and range, which depend on others.
    void refresh(Control& wanted);

    /// Takes the next event of the queue, with its flags and range; its value may be outdated.
    /// @return the control that it is about; null: none left
    Control* takeEvent();

    /// A control that is set to 0 at a time; another time replaces the one before.
    void stopAt(Control& moving, std::chrono::steady_clock::time_point when);
    bool stops(const Control& moving) const;

    /// Stops what is due.
    /// @return milliseconds until the next; -1 for none
    int stopDue();

    /// Whether the pictures of this very process keep what refuses to change meanwhile.
    std::atomic<bool> streaming{false};

private:
    struct Stop {
        Control* control;
        std::chrono::steady_clock::time_point when;
    };

    Device(DeviceCalls& calls, const std::string& node, int fd);
    int queryAll(const std::vector<unsigned int>& wanted);
    void queryMenu(Control& menu);
    void readAll();

    DeviceCalls& m_calls;
    std::string m_node;
    int m_fd;
    v4l2_capability m_capability = {};
    std::vector<std::unique_ptr<Control>> m_controls; // ascending by id
    std::vector<Stop> m_stops;
};

/// What the kernel says of a result: "No such device".
std::string errorText(int result);

} // namespace image_adjust::v4l2
