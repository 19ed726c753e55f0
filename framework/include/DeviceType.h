#pragma once

/// The kind of camera, by the number the factory gives it.
class DeviceType {
public:
    void setDeviceTypeId(int id) { m_nId = id; }
    int getDeviceTypeId() const { return m_nId; }

private:
    int m_nId = 0;
};
