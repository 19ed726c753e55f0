#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "host/CameraOptions.h"
#include "host/Operation.h"
#include "host/Snapshot.h"

namespace image_adjust {
class Layer;
}

namespace host {

class Core;
class Journal;
class LightHistory;
class PictureHub;

/// A whole camera on this machine: the controller on a device tree, the image-adjust layer, a video
/// module and a clock. One at a time in a process, as the library's configuration is the process's.
///
/// One thread, the controller thread, owns the library: it works through a bounded queue of
/// requests, publishes a snapshot after each, and in between compares the device with the scheme in
/// force (see Settle). All else may be called by any thread; only perform() waits for that thread.
///
/// Nothing here prints, and nothing ends the process. The library's own reports go where the
/// process's standard output goes.
class Camera {
public:
    Camera();
    /// Switches the camera off.
    ~Camera();
    Camera(const Camera&) = delete;
    Camera& operator=(const Camera&) = delete;

    /// Switches the camera on. After it the saved scheme is in force, or the one that the clock
    /// asks for, and there is a snapshot.
    StartProblem start(const CameraOptions& options);

    /// Answers the requests that wait with Reason::Stopping, ends a trial, and switches the camera
    /// off; nothing is saved. start() may follow.
    void stop();

    /// Hands a request in. A value of a key and scheme that still waits gives way to a newer one
    /// by the same client: both are answered when that is done.
    /// @param done  called once, on the controller thread, or at once on this one when the request
    ///              is not taken (Result::Busy with retryAfter; Reason::Stopping); it must be quick
    ///              and must not call perform()
    void submit(Request request, Completion done);

    /// The same, and waits for the answer. Not on the controller thread.
    Outcome perform(Request request);
    Outcome perform(Operation operation, Origin origin = {});

    /// The camera as it is now; null before the first start. Waits for nobody.
    std::shared_ptr<const Snapshot> snapshot() const;

    /// Waits for a snapshot of at least that number. @return false: none in that time
    bool waitForSnapshot(std::uint64_t number, std::chrono::milliseconds atMost) const;

    /// Camera time since an arbitrary start; it runs at the clock's speed.
    static long long clockMicroseconds();

    /// Lets camera time pass on the calling thread.
    /// @param interrupted  asked every tenth of a second; may be empty
    /// @return false when it was interrupted
    bool wait(double seconds, const std::function<bool()>& interrupted = {}) const;

    Journal& journal();
    const LightHistory& lightHistory() const;
    PictureHub& pictures();

    /// The picture as a scheme would make it, whichever is in force and whatever is on trial; valid
    /// as long as this object. @return null for an unknown scheme, and with a layer that shows only
    /// what is in force (all but the simulator)
    PictureHub* picturesOf(int scheme);
    /// Gives back what it takes. Nobody may watch, or have a viewer of, this hub any more.
    void releasePicturesOf(int scheme);

    /// The layer; null while off. For who knows which one it is: the simulator's dials, compliance.
    image_adjust::Layer* layer();

    /// Seconds that the controller thread has been at one request, 0 while it waits for one; for
    /// health checks.
    double busySeconds() const;

private:
    std::unique_ptr<Core> m_core;
    double m_speed = 1;
};

} // namespace host
