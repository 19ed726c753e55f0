#include "FuzzCamera.h"
#include "SensorDebug.h"

/// The sign file. Nothing reports here: a report may be told to end the process.
void tryInput(const std::string& input) {
    writeFile(sensor_paths::kSignFile, input);
    updateDebugLevel();
    const int level = g_nDebugLevel.exchange(12345);
    const bool ends = g_bEnAssert.exchange(true);
    updateDebugLevel();
    require(g_nDebugLevel == level && g_bEnAssert == ends, "the file alone decides");
    g_bEnAssert = false;
}
