#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "host/Camera.h"
#include "host/Journal.h"

/// A camera of host/ on a device tree of its own, in a temporary folder, and the simulated sensor.
/// Everything is put back afterwards.
class HostCamera : public ::testing::Test {
public:
    /// Waits until something holds, at most 2 seconds. @return whether it does
    static bool soon(const std::function<bool()>& holds);

protected:
    HostCamera();
    ~HostCamera() override;

    /// Starts the camera at three in the morning; fails the test when it does not start.
    void start(double speed = 50);

    host::Outcome set(u32 key, int value, std::optional<int> scheme = {});
    host::Outcome perform(host::Operation operation) {
        return camera.perform(std::move(operation), {"anna", "test", host::Cause::Request, 0});
    }

    /// What the sensor itself has, past the host; none when it does not tell.
    static std::optional<int> sensorValue(u32 command);
    std::optional<int> stored(int scheme, u32 key) const {
        return camera.snapshot()->storedIn(scheme, key);
    }

    std::string root;
    host::CameraOptions options;
    host::Camera camera;
};
