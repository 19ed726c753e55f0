#pragma once

#include <vector>

#include "host/compliance/Layer.h"
#include "host/compliance/Motion.h"
#include "host/compliance/Settings.h"

namespace compliance {

/// Tries one command that can be set, except for what every command has in common. Does not set
/// anything where the value in force is not one that it could put back.
class ValueCheck {
public:
    ValueCheck(unsigned int cmd, Findings& findings, const Settings& settings);

    /// @return true when the layer has the command here
    bool run();

private:
    bool isReadable();
    bool readRanges();
    bool isListed() const;
    bool isAllSettable(const Words& words) const;
    void trySets();
    void putBack();

    Words recordWith(int value) const;
    Words recordOf(bool highest) const;
    bool setAndRead(int value);
    void refuse(int value);
    void correct(int wanted);

    unsigned int m_cmd;
    Findings& m_findings;
    const Settings& m_settings;
    Layer m_layer;
    Place m_place;
    const Motion* m_motion;
    Words m_before;
    /// What each field of the record takes, as far as it is known: with an empty range where not.
    std::vector<ia_dynamic_params_attr_st> m_ranges;
    ia_dynamic_params_attr_st m_range = {};
};

} // namespace compliance
