#pragma once

#include <vector>

class AVStreamParam;

/// The application's video-stream module, as the controller sees it. The application derives from
/// it. Both operations may be called from the application's threads and from the controller's
/// worker thread, at the same time and with the controller's lock held: they must not call the
/// controller's locking members.
class VideoStreamModule {
public:
    virtual ~VideoStreamModule() = default;

    /// An image parameter that concerns the video stream is about to change, or has changed.
    /// @param key    the parameter's key, or 2370 with value 0 before and 1 after a change of the
    ///               wide-dynamic-range mode
    /// @param value  the parameter's value, as a signed number
    /// @return 0 on success; anything else makes some parameters fail
    virtual int notifySensorParam(int key, int value) const = 0;

    /// Appends the settings of every video stream to the list.
    virtual void getAVStreamParams(std::vector<AVStreamParam>& list) const = 0;
};
