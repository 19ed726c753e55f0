#pragma once

#include <string>
#include <utility>

/// What the factory wrote into the camera: its device type and its model name.
class MachineInfo {
public:
    /// 0 until parsed.
    int getDeviceType() const { return m_nDeviceType; }
    void setDeviceType(int type) { m_nDeviceType = type; }

    const std::string& getModelName() const { return m_strModelName; }
    void setModelName(std::string name) { m_strModelName = std::move(name); }

private:
    int m_nDeviceType = 0;
    std::string m_strModelName;
};
