#pragma once

#include <cstdio>
#include <memory>
#include <string>

#include "ISensorController.h"
#include "Options.h"
#include "UiTexts.h"
#include "Video.h"

class ModuleConfigure;

namespace host {

/// A whole camera on this machine: the controller on a device tree, a simulated image-adjust layer,
/// a video module and a clock. One at a time; used by one thread. The destructor shuts it down.
class Camera {
public:
    Camera() = default;
    ~Camera();
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    /// Switches the camera on; takes a second of camera time.
    /// @param problem  receives what is wrong
    bool start(const Options& options, std::string& problem);

    ISensorController& controller() { return m_controller; }

    /// Back to the factory values, with the texts of the user interface provided anew.
    /// @param problem  receives what is wrong
    /// @return false when it failed, also because the flash still holds what was saved before
    bool reset(std::string& problem);

    /// Switches the camera off and ends the trace; the destructor does it for whoever did not.
    /// @param problem  receives what is wrong
    /// @return false when some of the trace could not be written
    bool stop(std::string& problem);

    /// The scheme in force.
    int scheme();

    /// Lets camera time pass. @return false when the user interrupted it
    bool wait(double seconds) const;

    int framesPerSecond() const { return m_fps; }

private:
    void startClock(const Options& options);

    std::string m_traceName;
    std::unique_ptr<FILE, int (*)(FILE*)> m_trace{nullptr, std::fclose};
    std::unique_ptr<Video> m_video;
    ISensorController m_controller;
    UiTexts m_uiTexts;
    double m_speed = 1;
    int m_fps = 0;
};

} // namespace host
