#pragma once

#include <functional>
#include <string>
#include <vector>

namespace image_adjust {

/// Whether a layer's device can be used.
enum class DeviceState {
    Present, ///< it answers
    Gone,    ///< unplugged or dead; the layer looks for it by itself and says when it is back
};

/// How a command stands on this device now. Texts are sentences' parts for people, in English,
/// without a full stop; empty where there is nothing to say.
struct CommandState {
    bool supported = true; ///< false: this device has no such control
    bool readable = true;  ///< false: what it stands at cannot be asked (a button, a step)
    bool inactive = false; ///< the device keeps the value but does not act on it now
    bool held = false;     ///< the wanted value is kept by the layer and waits to be applied
    int wanted = 0;        ///< while held: the value that waits
    int step = 1;          ///< values are min, min + step, ...; 1 where every value is taken
    std::string blocker;   ///< what makes it inactive or holds it: "automatic focus is on"
    unsigned int blockerCommand = 0; ///< the command that would free it; 0 for none
    std::string lastFailure;         ///< why the last set or read failed: "the camera is unplugged"
    std::string control; ///< the device's own name of it: "V4L2_CID_BRIGHTNESS"; empty for none
    std::string unit;    ///< the device's own unit, where it differs from the key's; else empty
    struct Choice {
        int value;
        std::string name; ///< the device's own name of the value
    };
    std::vector<Choice> choices; ///< the device's own menu; empty for none
};

/// What a layer tells by itself, from a thread of its own, outside its locks.
struct LayerEvent {
    enum class Kind {
        ValueChanged, ///< a command's value changed, and not by a call through the layer
        DeviceGone,   ///< the device does not answer any more
        DeviceBack,   ///< it answers again; every value is to be taken as lost
    };
    Kind kind;
    unsigned int command; ///< of ValueChanged
    int value;            ///< of ValueChanged
};

class PictureSource;

/// An image-adjust layer as an object: what stands behind the process's ia_ioctrl.
///
/// ioctl keeps the contract of ImageAdjust.h, with its results, and may be called by several
/// threads at once; the other members too.
class Layer {
public:
    virtual ~Layer() = default;

    /// One call of ia_ioctrl.
    virtual int ioctl(unsigned int cmd, unsigned int opt, void* data) = 0;

    /// What the layer is, as it is given on a command line: "simulator", "v4l2:/dev/video0".
    virtual std::string name() const = 0;

    /// What device it drives, for people: "Integrated Camera (usb-0000:00:14.0-8)"; may be empty.
    virtual std::string device() const { return std::string(); }

    /// @param since  receives, while it is gone, the seconds since it went; may be null
    virtual DeviceState state(double* since = nullptr) const {
        if (since != nullptr) {
            *since = 0;
        }
        return DeviceState::Present;
    }

    /// How a command stands now. Makes no call of the device that could block.
    virtual CommandState about(unsigned int cmd) const = 0;

    /// The light on the sensor, 0 (dark) .. 100 (bright); below 0: not known. Makes no call of the
    /// device that could block.
    virtual int light() const { return -1; }

    /// Who is told of changes that come from the device; empty: nobody. Returns when no call of the
    /// old one is under way any more.
    virtual void onEvent(std::function<void(const LayerEvent&)> listener) {
        listener = nullptr; // such a device changes nothing by itself
    }

    /// The picture of what the device sees, owned by the layer; null where it has none.
    virtual PictureSource* picture() { return nullptr; }
};

} // namespace image_adjust
