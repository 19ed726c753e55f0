#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>

#include "PictureSource.h"
#include "Stream.h"

namespace image_adjust::v4l2 {

/// What the pictures need to know of the camera, and tell it. Called by the thread that takes them.
struct CaptureHost {
    std::function<std::string()> node; ///< empty while the camera is gone
    std::function<int()> frameRate;    ///< to be taken; 0: as it stands
    std::function<bool()> isFrozen;    ///< the last picture is to be shown again and again
    std::function<std::string()> holders;
    std::function<void(bool on)> streaming; ///< begins, has ended
    std::function<void()> gone;
};

/// The pictures of a camera: one stream, for a viewer and for a look at the light.
class Capture : public PictureSource {
public:
    /// @param fixed  what options say of format and size; a size of 0 is the viewer's
    Capture(DeviceCalls& calls, const StreamFormat& fixed, CaptureHost host);
    ~Capture() override;

    bool start(const PictureFormat& format, std::string& problem) override;
    Result next(int milliseconds, Picture& picture, std::string& problem) override;
    void stop() override;

    /// How bright the picture is: by the one that is being watched, else by some taken for it,
    /// which takes up to a second and is given up when somebody begins to watch. By a thread that
    /// is not the viewer's.
    /// @return 0 .. 100; -1 when it cannot be told now
    int light();

    /// Ends a look at the light that is under way.
    void giveUp() { m_wanted = true; }

private:
    bool open(const StreamFormat& format, std::string& problem);
    bool take(const Stream::Frame& frame, Picture& picture);
    int lightOfFrame(const Stream::Frame& frame);

    StreamFormat m_fixed;
    CaptureHost m_host;
    std::mutex m_mutex; // whoever streams
    Stream m_stream;    // the viewer's, by m_viewing
    bool m_viewing = false;
    std::atomic<bool> m_watched{false};
    std::atomic<bool> m_wanted{false};
    std::atomic<bool> m_lightWanted{false};
    std::atomic<int> m_light{-1};
    PictureFormat m_format;
    Picture m_last;
    std::chrono::steady_clock::time_point m_due;
};

} // namespace image_adjust::v4l2
