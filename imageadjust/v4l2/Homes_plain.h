#pragma once

#include "Home.h"

namespace image_adjust::v4l2 {

/// A command that is a control, with the driver's own values.
class ControlHome : public Home {
public:
    ControlHome(unsigned int cmd, Device& device, Control& control, const Holder& holder,
                const char* unit);

    Values values() const override;
    bool takes(int value) const override { return m_control.takes(value); }
    std::string control() const override { return controlName(m_control.id); }
    const char* unit() const override { return m_unit; }
    int seen() const override { return m_control.value; }
    int read(int& value) override;
    int write(int value) override { return m_device.set(m_control, value); }
    int correct(int& value) override;
    bool isHeld() const override;
    std::string holder(unsigned int& command) const override;
    unsigned int master() const override { return m_holder.command; }
    void refresh() override { m_device.refresh(m_control); }
    bool uses(const Control& control) const override;

protected:
    Device& m_device;
    Control& m_control;

private:
    Holder m_holder;
    const char* m_unit;
};

/// A control whose value is gone to: under way until it stands there, or does not move any more.
class PositionHome : public ControlHome {
public:
    using ControlHome::ControlHome;
    int write(int value) override;
    int busy() override;

private:
    int m_target = 0;
    int m_last = 0;
    bool m_moving = false;
    std::chrono::steady_clock::time_point m_seen;
};

/// A command whose few values are other numbers than the control's.
class MappedHome : public Home {
public:
    struct Pair {
        int value;
        int device;
        const char* name;
    };
    /// @param pairs  ends with one without a name; those that the control does not take are left
    ///               aside. A further pair of a value is only for reading
    MappedHome(unsigned int cmd, Device& device, Control& control, const Pair* pairs);

    bool isEmpty() const { return m_values.choices.empty(); }
    Values values() const override { return m_values; }
    bool takes(int value) const override;
    std::string control() const override { return controlName(m_control.id); }
    int seen() const override { return fromDevice(m_control.value); }
    int read(int& value) override;
    int write(int value) override { return m_device.set(m_control, toDevice(value)); }
    bool uses(const Control& control) const override { return &control == &m_control; }

private:
    int toDevice(int value) const;
    int fromDevice(int value) const;

    Device& m_device;
    Control& m_control;
    const Pair* m_pairs;
    Values m_values;
};

/// A step or a start: 1 gives the order, 0 ends what goes on until then.
class OrderHome : public Home {
public:
    enum class Way {
        Button, ///< the control starts it
        Step,   ///< the control's value is changed by a step
        Nudge,  ///< the control takes steps, and forgets them
        Drive,  ///< the control is a speed, and stopped after a time
    };
    struct Plan {
        Control* control;
        Way way;
        int sign;                      ///< of Step, Nudge and Drive
        Control* end;                  ///< of Button: ends it; may be null
        Control* state;                ///< of Button: tells whether it goes on; may be null
        const std::atomic<int>* speed; ///< of Drive; null: the slowest
    };
    OrderHome(unsigned int cmd, Device& device, const Plan& plan, const Holder& holder);

    Values values() const override { return Values(); }
    bool takes(int value) const override { return value == 0 || value == 1; }
    std::string control() const override { return controlName(m_plan.control->id); }
    int seen() const override { return 0; }
    int read(int& value) override;
    int write(int value) override;
    bool isHeld() const override;
    std::string holder(unsigned int& command) const override;
    bool isOrder() const override { return true; }
    int busy() override;

private:
    Device& m_device;
    Plan m_plan;
    Holder m_holder;
};

/// A value that only this layer keeps.
class StoredHome : public Home {
public:
    StoredHome(unsigned int cmd, const Values& values, std::atomic<int>& store)
        : Home(cmd), m_values(values), m_store(store) {}

    Values values() const override { return m_values; }
    bool takes(int value) const override { return value >= m_values.min && value <= m_values.max; }
    int seen() const override { return m_store; }
    int read(int& value) override;
    int write(int value) override;

private:
    Values m_values;
    std::atomic<int>& m_store;
};

} // namespace image_adjust::v4l2
