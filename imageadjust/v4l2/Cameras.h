#pragma once

#include <string>
#include <vector>

#include "DeviceCalls.h"

namespace image_adjust::v4l2 {

/// Where the machine keeps its devices; a test brings folders of its own.
struct Places {
    std::string dev = "/dev";
    std::string sys = "/sys";
    std::string proc = "/proc";
};

/// A camera of this machine.
struct CameraInfo {
    std::string node;   ///< "/dev/video0"
    std::string name;   ///< "Integrated Camera"
    std::string driver; ///< "uvcvideo"; empty where the node cannot be opened
    std::string bus;    ///< "usb-0000:00:14.0-8"; empty where the node cannot be opened
    std::string byId;   ///< a name that stays: "/dev/v4l/by-id/usb-..."; empty where there is none
    /// The camera itself, wherever it is plugged in: "usb-046d-0825-A1B2C3-0". One without a serial
    /// number is told from its twins by its port: "usb-046d-0825-Webcam-at-1_1.2-0". Letters,
    /// digits and "-._" only, so that it also names files.
    std::string identity;
    std::string model;   ///< the identity without a port
    std::string port;    ///< where it is plugged in: "1-1.2"
    std::string problem; ///< why it cannot be opened; empty when it can
};

/// The cameras that are there, by the number of their nodes. Nodes that give no pictures are left
/// out. Opens each for a moment.
std::vector<CameraInfo> listCameras(DeviceCalls& calls, const Places& places = Places());
std::vector<CameraInfo> listCameras();

/// An identity without the port that may be in it.
std::string modelOf(const std::string& identity);

/// The camera that a name means: a node, any link to it, an identity, or a model.
/// @param problem  receives why there is none
/// @return false when there is none
bool findCamera(const std::string& name, const Places& places, CameraInfo& camera,
                std::string& problem);

/// Where a camera is now that has been away: at its old port, else at any, as long as it is not one
/// of those that were there beside it.
/// @param others  model and port of the cameras of the time when it went
/// @return false when it is not there
bool findAgain(const CameraInfo& lost, const std::vector<CameraInfo>& others, const Places& places,
               CameraInfo& camera);

/// The cameras that the machine knows, without opening any: driver, bus and problem stay empty.
std::vector<CameraInfo> knownCameras(const Places& places);

/// Who else has a node open: "guvcview (1234)", several with commas; empty when it cannot be seen.
std::string holdersOf(const std::string& node, const Places& places);

} // namespace image_adjust::v4l2
