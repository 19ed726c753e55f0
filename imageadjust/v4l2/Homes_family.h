#pragma once

#include "Homes_plain.h"

/// Commands that share controls, or live in one of several places.
namespace image_adjust::v4l2 {

/// Command 16. Where the camera has an automatic exposure, its menu with the driver's numbers; an
/// automatic gain goes along, so that only the manual mode has a fixed gain. Where it has nothing
/// but an automatic gain, that alone: 0 automatic, 1 manual.
class ExposureModeHome : public Home {
public:
    /// @param mode      null where the camera has none
    /// @param gain      its automatic gain; null for none. One of the two is there
    /// @param gainAuto  the gain's value for automatic, and for manual
    ExposureModeHome(Device& device, Control* mode, Control* gain, int gainAuto, int gainManual);

    Values values() const override;
    bool takes(int value) const override;
    std::string control() const override;
    int seen() const override;
    int read(int& value) override;
    int write(int value) override;
    bool uses(const Control& control) const override {
        return &control == m_mode || &control == m_gain;
    }

private:
    Device& m_device;
    Control* m_mode;
    Control* m_gain;
    int m_gainAuto;
    int m_gainManual;
};

/// Command 49, the longest shutter: no time, but whether the exposure may outlast the interval of
/// the frame rate.
class ExposurePriorityHome : public ControlHome {
public:
    ExposurePriorityHome(Device& device, Control& control);
    Values values() const override;
};

/// Command 80, automatic iris: decided by the exposure mode, which wins.
class IrisSwitchHome : public Home {
public:
    explicit IrisSwitchHome(Control& mode);

    Values values() const override;
    bool takes(int value) const override { return value == 0 || value == 1; }
    std::string control() const override { return controlName(m_mode.id); }
    int seen() const override;
    int read(int& value) override;
    int write(int value) override;
    bool isHeld() const override { return true; }
    std::string holder(unsigned int& command) const override;
    unsigned int master() const override;
    bool uses(const Control& control) const override { return &control == &m_mode; }

private:
    Control& m_mode;
};

/// Command 768 on a camera that has an automatic white balance and a colour temperature: the kinds
/// of light are temperatures, as far as the camera reaches them.
class WhiteBalanceHome : public Home {
public:
    /// @param automatic    null for none
    /// @param temperature  null for none; one of the two is there
    WhiteBalanceHome(Device& device, Control* automatic, Control* temperature);

    Values values() const override { return m_values; }
    bool takes(int value) const override;
    std::string control() const override;
    int seen() const override;
    int read(int& value) override;
    int write(int value) override;
    bool uses(const Control& control) const override {
        return &control == m_automatic || &control == m_temperature;
    }

private:
    /// @return the temperature of a kind of light, -1 for what the camera does not reach
    int kelvinOf(int kind) const;

    Device& m_device;
    Control* m_automatic;
    Control* m_temperature;
    Values m_values;
    std::atomic<int> m_kind; // as last set: a manual temperature may be that of a kind by chance
};

/// Commands 128 and 130 in one control, whose lowest value is off.
struct Backlight {
    Device& device;
    Control& control;
    std::atomic<int> strength{0}; ///< for when it is on

    Backlight(Device& opened, Control& found) : device(opened), control(found) {}
};

class BacklightSwitchHome : public Home {
public:
    explicit BacklightSwitchHome(std::shared_ptr<Backlight> light);

    Values values() const override;
    bool takes(int value) const override { return value == 0 || value == 1; }
    std::string control() const override { return controlName(m_light->control.id); }
    int seen() const override { return m_light->control.value != m_light->control.min ? 1 : 0; }
    int read(int& value) override;
    int write(int value) override;
    bool uses(const Control& control) const override { return &control == &m_light->control; }

private:
    std::shared_ptr<Backlight> m_light;
};

class BacklightStrengthHome : public Home {
public:
    explicit BacklightStrengthHome(std::shared_ptr<Backlight> light);

    Values values() const override;
    bool takes(int value) const override;
    std::string control() const override { return controlName(m_light->control.id); }
    int seen() const override;
    int read(int& value) override;
    int write(int value) override;
    bool isHeld() const override { return m_light->control.value == m_light->control.min; }
    std::string holder(unsigned int& command) const override;
    unsigned int master() const override;
    bool uses(const Control& control) const override { return &control == &m_light->control; }

private:
    std::shared_ptr<Backlight> m_light;
};

/// Commands 2384 (mirrored: 1 across, 2 upside down, 3 both) and 2385 (the camera hangs) in two
/// flips. For a hanging camera the controller exchanges mirrorings 1 and 2 before it hands them
/// over, so that here they turn back, and the whole is turned upside down and across.
struct Flips {
    Device& device;
    Control* across;     ///< null for none
    Control* upsideDown; ///< null for none
    std::atomic<int> hanging{0};

    Flips(Device& opened, Control* horizontal, Control* vertical)
        : device(opened), across(horizontal), upsideDown(vertical) {}
};

class FlipHome : public Home {
public:
    /// @param cmd  2384 or 2385
    FlipHome(unsigned int cmd, std::shared_ptr<Flips> flips);

    Values values() const override;
    bool takes(int value) const override;
    std::string control() const override;
    int seen() const override;
    int read(int& value) override;
    int write(int value) override;
    bool uses(const Control& control) const override {
        return &control == m_flips->across || &control == m_flips->upsideDown;
    }

private:
    int mirrored() const;

    std::shared_ptr<Flips> m_flips;
};

} // namespace image_adjust::v4l2
