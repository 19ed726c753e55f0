#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Device.h"
#include "ImageAdjust.h"
#include "Layer.h"

namespace image_adjust::v4l2 {

/// What values a command takes.
struct Values {
    int min = 0;
    int max = 1;
    int step = 1;
    int defaultValue = 0;
    bool listed = false; ///< only those in choices
    std::vector<CommandState::Choice> choices;
};

/// The nearest to a value among these; of two equally near ones the lower in a list, the higher
/// between steps, as drivers do.
int nearestOf(const Values& all, int wanted);

/// Where one command of the layer lives in a device. Members that are const may be called by any
/// thread at any time and make no call of the device; the others by one thread at a time. Results
/// are those of Device: 0, -errno or OTHER_TAKEN.
class Home {
public:
    explicit Home(unsigned int cmd) : m_cmd(cmd) {}
    virtual ~Home() = default;
    Home(const Home&) = delete;
    Home& operator=(const Home&) = delete;

    unsigned int cmd() const { return m_cmd; }

    virtual Values values() const = 0;
    virtual bool takes(int value) const = 0;

    /// The device's own names: "V4L2_CID_AUTOGAIN, V4L2_CID_GAIN"; empty for none.
    virtual std::string control() const { return std::string(); }
    virtual const char* unit() const { return ""; }

    /// What the command stands at, as far as it is known without asking.
    virtual int seen() const = 0;
    virtual int read(int& value) = 0;
    virtual int write(int value) = 0;

    /// Replaces a value within the range by the nearest that the command takes.
    virtual int correct(int& value);

    /// Whether the device acts on the command now; why not is a sentence's part, and the command is
    /// the one that would free it, 0 for none.
    virtual bool isHeld() const { return false; }
    virtual std::string holder(unsigned int& command) const {
        command = 0;
        return std::string();
    }

    /// The command whose change may free this one; 0 for none.
    virtual unsigned int master() const { return 0; }

    /// Learns anew what a change of its master, or by another program, may have changed.
    virtual void refresh() {}

    /// Whether seen() may have become another one by a control's event.
    virtual bool uses(const Control& control) const {
        (void)control;
        return false;
    }

    /// An order starts something and keeps no value.
    virtual bool isOrder() const { return false; }

    /// Whether what the command started is still under way. @return 0 or 1, or a failure
    virtual int busy() { return 0; }

private:
    unsigned int m_cmd;
};

/// Who may hold a control: another one while it has certain values.
struct Holder {
    const Control* control; ///< null for none
    bool (*holds)(int value);
    unsigned int command; ///< which carries it
    const char* text;
};

/// Of every command that this device has, its home.
/// @param device  outlives the homes
std::vector<std::unique_ptr<Home>> makeHomes(Device& device);

/// The controls that makeHomes looks for, ascending.
const std::vector<unsigned int>& knownControls();

/// Whether the number is a command of the layer, also where no camera has a home for it. Those that
/// the layer keeps itself are not among them.
bool isTabled(unsigned int cmd);

/// "V4L2_CID_BRIGHTNESS"; empty for one that no command lives in.
std::string controlName(unsigned int id);

/// The controls in which a command can live, for the documentation: "V4L2_CID_GAIN or
/// V4L2_CID_ANALOGUE_GAIN"; empty for a command that no camera has here.
std::string tabledControls(unsigned int cmd);

} // namespace image_adjust::v4l2
