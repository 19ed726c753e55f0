#pragma once

#include "ISensorController.h"
#include "MutexGuard.h"

/// Waits for a switch or a request to end, for as long as the image-adjust layer shows life. In
/// real time: the device's clock may run at any speed.
class LayerWatch {
public:
    /// @param returns  changes with each call of the layer that returns
    explicit LayerWatch(const std::atomic<u32>& returns)
        : m_returns(returns), m_nReturns(returns) {}
    /// Pauses for 4 ms. @return false once no call of the layer has returned for a second
    IMGCTL_LOCAL bool pause();

private:
    const std::atomic<u32>& m_returns;
    u32 m_nReturns;
    u32 m_nPauses = 0; ///< since it changed
};

/// Holds the controller's lock for a member that applies values, and keeps switches out meanwhile,
/// so that all of the values meet one scheme. Waits until no switch is under way, nor one about to
/// begin; a layer that hangs makes it go on all the same.
class ISensorController::Request {
public:
    IMGCTL_LOCAL Request(ISensorController& controller, int line);
    ~Request() { m_controller.m_nFlags &= ~u32{request_flag}; }
    Request(const Request&) = delete;
    Request& operator=(const Request&) = delete;

private:
    const MutexGuard m_lock;
    ISensorController& m_controller;
};
