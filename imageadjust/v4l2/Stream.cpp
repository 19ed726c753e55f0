#include "Stream.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>

#include "Device.h"

namespace image_adjust::v4l2 {
namespace {

constexpr unsigned int bufferCount = 4;
constexpr unsigned int mostSizes = 256;

struct Pixels {
    unsigned int code;
    const char* name;
};
// Best first: what is compressed already costs nothing.
constexpr Pixels known[] = {{V4L2_PIX_FMT_MJPEG, "mjpeg"},
                            {V4L2_PIX_FMT_JPEG, "mjpeg"},
                            {V4L2_PIX_FMT_YUYV, "yuyv"},
                            {V4L2_PIX_FMT_GREY, "grey"}};

unsigned int within(int value, unsigned int low, unsigned int high, unsigned int step) {
    const unsigned int wanted =
        std::clamp(static_cast<unsigned int>(std::max(value, 0)), low, high);
    return step == 0 ? wanted : low + (wanted - low) / step * step;
}

} // namespace

bool Stream::open(const std::string& node, const StreamFormat& wanted, bool& busy,
                  std::string& problem) {
    close();
    busy = false;
    m_fd = m_calls.open(node.c_str());
    int result = m_fd;
    if (m_fd >= 0) {
        result = begin(wanted, problem);
    }
    if (result >= 0) {
        return true;
    }
    busy = result == -EBUSY;
    if (result == -ENOSPC && problem.empty()) {
        problem = node + ": its bus has no room for pictures of this size and rate";
    } else if (problem.empty()) {
        problem = node + ": " + errorText(result);
    }
    close();
    return false;
}

unsigned int Stream::choosePixels(const std::string& wanted) {
    std::size_t best = std::size(known);
    v4l2_fmtdesc format = {};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    for (; format.index < mostSizes; ++format.index) {
        if (control(m_calls, m_fd, VIDIOC_ENUM_FMT, &format) < 0) {
            break;
        }
        for (std::size_t i = 0; i < best; ++i) {
            if (known[i].code == format.pixelformat &&
                (wanted.empty() || wanted == known[i].name)) {
                best = i;
            }
        }
    }
    return best < std::size(known) ? known[best].code : 0;
}

/// Smaller than wanted only where there is nothing else.
void Stream::chooseSize(unsigned int pixels, const StreamFormat& wanted, unsigned int& width,
                        unsigned int& height) {
    width = static_cast<unsigned int>(wanted.width);
    height = static_cast<unsigned int>(wanted.height);
    long long best = -1;
    v4l2_frmsizeenum size = {};
    size.pixel_format = pixels;
    for (; size.index < mostSizes; ++size.index) {
        if (control(m_calls, m_fd, VIDIOC_ENUM_FRAMESIZES, &size) < 0) {
            return;
        }
        if (size.type != V4L2_FRMSIZE_TYPE_DISCRETE) {
            const v4l2_frmsize_stepwise& all = size.stepwise;
            width = within(wanted.width, all.min_width, all.max_width, all.step_width);
            height = within(wanted.height, all.min_height, all.max_height, all.step_height);
            return;
        }
        const long long across = 0LL + size.discrete.width - wanted.width;
        const long long down = 0LL + size.discrete.height - wanted.height;
        const long long away =
            std::llabs(across) + std::llabs(down) + (across < 0 || down < 0 ? 100000 : 0);
        if (best < 0 || away < best) {
            best = away;
            width = size.discrete.width;
            height = size.discrete.height;
        }
    }
}

int Stream::begin(const StreamFormat& wanted, std::string& problem) {
    const unsigned int pixels = choosePixels(wanted.pixels);
    if (pixels == 0) {
        problem = wanted.pixels.empty() ? "the camera has no picture format that is known here"
                                        : "the camera has no pictures of format " + wanted.pixels;
        return -EINVAL;
    }
    v4l2_format format = {};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    chooseSize(pixels, wanted, format.fmt.pix.width, format.fmt.pix.height);
    format.fmt.pix.pixelformat = pixels;
    format.fmt.pix.field = V4L2_FIELD_ANY;
    int result = control(m_calls, m_fd, VIDIOC_S_FMT, &format);
    if (result < 0) {
        return result;
    }
    const v4l2_pix_format& taken = format.fmt.pix;
    if (taken.pixelformat != pixels || taken.width > 65500 || taken.height > 65500) {
        problem = "the camera gives pictures of another format than it names";
        return -EINVAL;
    }
    m_jpeg = pixels == V4L2_PIX_FMT_MJPEG || pixels == V4L2_PIX_FMT_JPEG;
    m_grey = pixels == V4L2_PIX_FMT_GREY;
    m_width = static_cast<int>(taken.width);
    m_height = static_cast<int>(taken.height);
    m_stride = static_cast<int>(std::max(taken.bytesperline, taken.width * (m_jpeg   ? 0U
                                                                            : m_grey ? 1U
                                                                                     : 2U)));
    if (wanted.framesPerSecond > 0) {
        // A new format has put the rate back; where it cannot be set, the camera's own will do.
        v4l2_streamparm rate = {};
        rate.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        rate.parm.capture.timeperframe = {1, static_cast<unsigned int>(wanted.framesPerSecond)};
        control(m_calls, m_fd, VIDIOC_S_PARM, &rate);
    }
    v4l2_requestbuffers request = {};
    request.count = bufferCount;
    request.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    request.memory = V4L2_MEMORY_MMAP;
    result = control(m_calls, m_fd, VIDIOC_REQBUFS, &request);
    for (unsigned int i = 0; result >= 0 && i < request.count; ++i) {
        v4l2_buffer buffer = {};
        buffer.index = i;
        buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        buffer.memory = V4L2_MEMORY_MMAP;
        result = control(m_calls, m_fd, VIDIOC_QUERYBUF, &buffer);
        if (result >= 0) {
            unsigned char* memory =
                m_calls.map(buffer.length, m_fd, static_cast<long>(buffer.m.offset));
            if (memory == nullptr) {
                return -ENOMEM;
            }
            m_buffers.push_back({memory, buffer.length});
            result = giveBack(i);
        }
    }
    if (result >= 0 && request.count == 0) {
        result = -ENOMEM;
    }
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (result >= 0) {
        result = control(m_calls, m_fd, VIDIOC_STREAMON, &type);
    }
    m_on = result >= 0;
    return result;
}

int Stream::giveBack(unsigned int index) {
    v4l2_buffer buffer = {};
    buffer.index = index;
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = V4L2_MEMORY_MMAP;
    return control(m_calls, m_fd, VIDIOC_QBUF, &buffer);
}

Stream::Result Stream::next(int milliseconds, Frame& frame, std::string& problem) {
    typedef std::chrono::steady_clock Clock;
    const Clock::time_point end = Clock::now() + std::chrono::milliseconds(milliseconds);
    problem.clear();
    int result = 0;
    if (m_lent >= 0) {
        result = giveBack(static_cast<unsigned int>(m_lent));
        m_lent = -1;
    }
    while (result >= 0) {
        v4l2_buffer buffer = {};
        buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        buffer.memory = V4L2_MEMORY_MMAP;
        result = control(m_calls, m_fd, VIDIOC_DQBUF, &buffer);
        if (result >= 0) {
            if (buffer.index >= m_buffers.size()) {
                result = -EIO;
            } else if ((buffer.flags & V4L2_BUF_FLAG_ERROR) != 0 || buffer.bytesused == 0) {
                result = giveBack(buffer.index); // a frame that was damaged on its way
            } else {
                m_lent = static_cast<int>(buffer.index);
                const Buffer& memory = m_buffers[buffer.index];
                frame.data = memory.memory;
                frame.bytes = std::min<std::size_t>(buffer.bytesused, memory.bytes);
                return Result::Frame;
            }
            continue;
        }
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        if (result != -EAGAIN || left < 0) {
            break;
        }
        pollfd wait = {m_fd, POLLIN, 0};
        const int ready = m_calls.wait(&wait, 1, static_cast<int>(left) + 1);
        if (ready < 0 && ready != -EINTR) {
            result = ready;
        } else if (ready > 0 && (wait.revents & POLLIN) == 0) {
            result = -ENODEV;
        } else {
            result = 0;
        }
    }
    if (result == -EAGAIN) {
        return Result::None;
    }
    problem = result == -ENODEV ? "the camera is unplugged" : "no pictures: " + errorText(result);
    return result == -ENODEV ? Result::Gone : Result::Failed;
}

void Stream::close() {
    if (m_fd < 0) {
        return;
    }
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (m_on) {
        control(m_calls, m_fd, VIDIOC_STREAMOFF, &type);
    }
    for (const Buffer& buffer : m_buffers) {
        m_calls.unmap(buffer.memory, buffer.bytes);
    }
    m_buffers.clear();
    m_calls.close(m_fd);
    m_fd = -1;
    m_on = false;
    m_lent = -1;
}

} // namespace image_adjust::v4l2
