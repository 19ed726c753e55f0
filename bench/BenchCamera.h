#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ISensorController.h"
#include "ModuleConfigure.h"
#include "SensorPaths.h"

/// How often the image-adjust layer was called. It takes everything and does nothing.
extern unsigned long g_nLayerCalls;

/// A camera in a folder of its own whose style has every key of the key-command map: first the five
/// scheme keys, then the others in the map's order. It switches no schemes by itself.
class BenchCamera {
public:
    /// @param nStyleBytes  about how long the style is; a start also carries out 30 rules on it
    explicit BenchCamera(size_t nStyleBytes = 30000, int nSchemes = 4);
    ~BenchCamera();
    BenchCamera(const BenchCamera&) = delete;
    BenchCamera& operator=(const BenchCamera&) = delete;

    /// A controller that is not yet started, and does nothing in its one-second pass.
    std::unique_ptr<ISensorController> makeController();
    /// Makes one and starts it, with scheme 0 in force.
    void start();
    /// The place of a device file on this machine.
    std::string path(const std::string& devicePath) const { return m_root + devicePath; }
    void write(const std::string& devicePath, const std::string& text) const;
    /// The records of a scheme, in its order, all with one value.
    static std::vector<KeyVal> records(u32 value);

    ModuleConfigure module;
    std::unique_ptr<ISensorController> controller;

private:
    std::string m_root;
};

/// The style that a BenchCamera starts with.
inline const std::string g_strBenchStyle = std::string(sensor_paths::kStyles) + "/Style.xml";
