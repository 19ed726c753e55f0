#pragma once

#include <mutex>

#include "Home.h"

/// Commands that live in the way pictures are taken, and not in controls.
namespace image_adjust::v4l2 {

/// Command 2464, in whole pictures a second: the rates that the camera has at
/// its present picture size.
class FrameRateHome : public Home {
public:
    explicit FrameRateHome(Device& device);

    /// Asks for the rates anew; they depend on the size.
    void refresh() override;

    bool isEmpty() const { return rates().empty(); }
    Values values() const override;
    bool takes(int value) const override;
    std::string control() const override { return "VIDIOC_S_PARM"; }
    int seen() const override { return m_current; }
    int read(int& value) override;
    int write(int value) override;

private:
    struct Rate {
        int perSecond;
        v4l2_fract interval;
    };

    typedef std::vector<Rate> Rates; // ascending

    static void add(Rates& rates, const v4l2_fract& interval);
    Rates rates() const;
    int ask();

    Device& m_device;
    mutable std::mutex m_mutex;
    Rates m_rates;
    std::atomic<int> m_current{0};
    int m_default = 0;
};

/// The part of the sensor that is shown: commands 1584 and 2432 to 2439.
struct Window {
    Device& device;
    v4l2_rect whole = {};
    v4l2_rect shown = {};
    int spareAcross = 0; ///< how far the enlarged part can be moved
    int spareDown = 0;
    std::atomic<int> stored[6] = {}; ///< of the commands that only tell how others are used
    std::atomic<bool> enlarged{false};
    std::atomic<int> across{0};
    std::atomic<int> down{0};

    explicit Window(Device& opened) : device(opened) {}

    /// @return whether the device can show a part of its picture
    bool open();
    int show(bool part, int left, int top);
    int ask();
};

/// Command 1584: shows half the width and height. Commands 2436 and 2439: which part.
class WindowHome : public Home {
public:
    WindowHome(unsigned int cmd, std::shared_ptr<Window> window)
        : Home(cmd), m_window(std::move(window)) {}

    Values values() const override;
    bool takes(int value) const override;
    std::string control() const override { return "VIDIOC_S_SELECTION"; }
    const char* unit() const override;
    int seen() const override;
    int read(int& value) override;
    int write(int value) override;
    bool isHeld() const override;
    std::string holder(unsigned int& command) const override;
    unsigned int master() const override;

private:
    std::shared_ptr<Window> m_window;
};

} // namespace image_adjust::v4l2
