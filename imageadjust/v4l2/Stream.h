#pragma once

#include <string>
#include <vector>

#include "DeviceCalls.h"

namespace image_adjust::v4l2 {

/// What is wanted of a stream; it takes the nearest there is.
struct StreamFormat {
    int width = 640;
    int height = 360;
    int framesPerSecond = 0; ///< 0: as it stands
    std::string pixels;      ///< "mjpeg", "yuyv" or "grey"; empty: the best there is
};

/// The frames of a camera, in memory shared with the driver. Opens the node for itself, as who sets
/// a format owns the stream until he closes it. Used by one thread at a time.
class Stream {
public:
    enum class Result {
        Frame,
        None,   ///< none came in the time
        Failed, ///< there will be none any more
        Gone,   ///< the camera is gone
    };

    /// One frame, as the camera made it.
    struct Frame {
        const unsigned char* data = nullptr;
        std::size_t bytes = 0;
    };

    explicit Stream(DeviceCalls& calls) : m_calls(calls) {}
    ~Stream() { close(); }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    /// Begins to stream.
    /// @param busy     receives whether another one has the stream
    /// @param problem  receives why it does not
    bool open(const std::string& node, const StreamFormat& wanted, bool& busy,
              std::string& problem);

    /// Waits for a frame, which is the caller's until the next call.
    Result next(int milliseconds, Frame& frame, std::string& problem);

    void close();

    bool isOpen() const { return m_fd >= 0; }
    bool isJpeg() const { return m_jpeg; }
    bool isGrey() const { return m_grey; }
    int width() const { return m_width; }
    int height() const { return m_height; }
    int stride() const { return m_stride; }

private:
    struct Buffer {
        unsigned char* memory;
        std::size_t bytes;
    };

    unsigned int choosePixels(const std::string& wanted);
    void chooseSize(unsigned int pixels, const StreamFormat& wanted, unsigned int& width,
                    unsigned int& height);
    int begin(const StreamFormat& wanted, std::string& problem);
    int giveBack(unsigned int index);

    DeviceCalls& m_calls;
    int m_fd = -1;
    bool m_on = false;
    bool m_jpeg = false;
    bool m_grey = false;
    int m_width = 0;
    int m_height = 0;
    int m_stride = 0;
    int m_lent = -1;
    std::vector<Buffer> m_buffers;
};

} // namespace image_adjust::v4l2
