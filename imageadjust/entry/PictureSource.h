#pragma once

#include <string>
#include <vector>

namespace image_adjust {

/// One picture, compressed.
struct Picture {
    std::vector<unsigned char> jpeg; ///< a whole JPEG file
    int width = 0;
    int height = 0;
};

/// What is wanted of a picture source. A source takes the nearest it has.
struct PictureFormat {
    int width = 640;
    int height = 360;
    int framesPerSecond = 10;
    int quality = 80; ///< of JPEG, 1 .. 100; unused where the device compresses by itself
};

/// Where the pictures of a layer come from. start, next and stop are called by one thread at a
/// time; nothing is rendered or captured outside start and stop.
class PictureSource {
public:
    enum class Result {
        Picture, ///< one was delivered
        None,    ///< none came in the time; the problem is empty
        Failed,  ///< there will be none before the next start; the problem says why
    };

    virtual ~PictureSource() = default;

    /// Begins to deliver.
    /// @param problem  receives a sentence's part: "/dev/video0 is used by guvcview (1234)"
    virtual bool start(const PictureFormat& format, std::string& problem) = 0;

    /// Waits for the next picture.
    /// @param milliseconds  at most so long, of real time
    virtual Result next(int milliseconds, Picture& picture, std::string& problem) = 0;

    /// Ends it and gives the device's stream back.
    virtual void stop() = 0;
};

} // namespace image_adjust
