#pragma once

#include <functional>
#include <memory>
#include <string>

#include "Cameras.h"
#include "Layer.h"

/// Any camera of a Linux machine (V4L2) as an image-adjust layer.
///
/// - Values are the driver's own, so that what is read back is what was set. A value that a driver
///   would clamp or round is refused with IA_ERR_RANGE; one that it takes otherwise all the same
///   fails, with the one before put back.
/// - A command that another one holds (the focus position while automatic focus is on) keeps the
///   value it is set to, reads as it, and is handed to the camera when it is let go. about() tells.
///   Orders, which keep no value, are refused with IA_ERR_UNSUPPORTED instead.
/// - Commands that the camera has nothing for give IA_ERR_UNSUPPORTED; a camera that is gone gives
///   IA_ERR_FAILED, one that refuses to change now (another program takes its pictures)
///   IA_ERR_BUSY. about().lastFailure says which.
/// - While the camera is gone its ranges are still told. It is known by its identity, so that it
///   may come back at another node.
/// - Day and night (commands 144 to 153) are this layer's own: by the brightness of the picture, by
///   the clock, or fixed. With 144 at 0 a picture is taken for it every few seconds when nobody
///   watches, for which some cameras light their lamp and during which no other program can take
///   any; options switch all of it off. At night the picture is grey where the camera can.
namespace image_adjust::v4l2 {

struct Options {
    /// true: a camera that is not there, or may not be opened yet, is waited for. Until then the
    /// layer is gone, and knows no ranges.
    bool wait = false;
    bool dayNight = true; ///< false: commands 144 to 153 are unsupported
    /// The minute of the day, 0 .. 1439, for 144 at 3; empty: the machine's own clock.
    std::function<int()> clock;
    std::string format; ///< of pictures: "mjpeg", "yuyv" or "grey"; empty: the best there is
    int width = 0;      ///< of pictures, for every viewer; 0: as each wants
    int height = 0;
    Places places;
    std::shared_ptr<DeviceCalls> calls; ///< null: the real ones
};

/// Opens a camera.
/// @param camera   a node, a link to one ("/dev/v4l/by-id/..."), or an identity of listCameras()
/// @param problem  receives why it cannot be
/// @return null when it cannot be
std::unique_ptr<Layer> openV4l2(const std::string& camera, const Options& options,
                                std::string& problem);

} // namespace image_adjust::v4l2
