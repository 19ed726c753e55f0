#include "Capture.h"

#include <algorithm>

#include "Jpeg.h"

namespace image_adjust::v4l2 {
namespace {

typedef std::chrono::steady_clock Clock;
using std::chrono::milliseconds;

// Until the camera's own exposure has settled.
constexpr milliseconds settling(600);
constexpr int lookStep = 50;

} // namespace

Capture::Capture(DeviceCalls& calls, const StreamFormat& fixed, CaptureHost host)
    : m_fixed(fixed), m_host(std::move(host)), m_stream(calls) {}

Capture::~Capture() {
    Capture::stop();
}

bool Capture::open(const StreamFormat& format, std::string& problem) {
    const std::string node = m_host.node();
    if (node.empty()) {
        problem = "the camera is unplugged";
        return false;
    }
    bool busy = false;
    problem.clear();
    if (m_stream.open(node, format, busy, problem)) {
        return true;
    }
    if (busy) {
        const std::string holders = m_host.holders();
        problem = node + " is used by " + (holders.empty() ? "another program" : holders);
    }
    return false;
}

bool Capture::start(const PictureFormat& format, std::string& problem) {
    stop();
    m_wanted = true;
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_wanted = false;
    m_format = format;
    StreamFormat wanted = m_fixed;
    wanted.width = m_fixed.width > 0 ? m_fixed.width : format.width;
    wanted.height = m_fixed.height > 0 ? m_fixed.height : format.height;
    wanted.framesPerSecond = m_host.frameRate();
    m_viewing = open(wanted, problem);
    if (m_viewing) {
        m_last = Picture();
        m_due = Clock::now();
        m_light = -1;
        m_watched = true;
        m_host.streaming(true);
    }
    return m_viewing;
}

bool Capture::take(const Stream::Frame& frame, Picture& picture) {
    picture.width = m_stream.width();
    picture.height = m_stream.height();
    if (m_stream.isJpeg()) {
        return completeJpeg(frame.data, frame.bytes, picture.jpeg);
    }
    const std::size_t needed =
        static_cast<std::size_t>(m_stream.stride()) * static_cast<std::size_t>(m_stream.height());
    return frame.bytes >= needed && compress({frame.data, m_stream.width(), m_stream.height(),
                                              m_stream.stride(), m_stream.isGrey()},
                                             m_format.quality, picture.jpeg);
}

int Capture::lightOfFrame(const Stream::Frame& frame) {
    if (m_stream.isJpeg()) {
        std::vector<unsigned char> jpeg;
        return completeJpeg(frame.data, frame.bytes, jpeg) ? lightOf(jpeg) : -1;
    }
    const std::size_t needed =
        static_cast<std::size_t>(m_stream.stride()) * static_cast<std::size_t>(m_stream.height());
    return frame.bytes < needed ? -1
                                : lightOf({frame.data, m_stream.width(), m_stream.height(),
                                           m_stream.stride(), m_stream.isGrey()});
}

PictureSource::Result Capture::next(int wait, Picture& picture, std::string& problem) {
    problem.clear();
    if (!m_viewing) {
        problem = "no picture was begun";
        return Result::Failed;
    }
    const Clock::time_point end = Clock::now() + milliseconds(wait);
    for (;;) {
        const auto left = std::chrono::duration_cast<milliseconds>(end - Clock::now()).count();
        Stream::Frame frame;
        const Stream::Result result =
            m_stream.next(static_cast<int>(std::max<long long>(left, 0)), frame, problem);
        if (result == Stream::Result::None) {
            return Result::None;
        }
        if (result != Stream::Result::Frame) {
            if (result == Stream::Result::Gone) {
                m_host.gone();
            }
            stop();
            return Result::Failed;
        }
        if (m_lightWanted.exchange(false)) {
            m_light = lightOfFrame(frame);
        }
        // The camera goes on at its own rate, which its exposure depends on; what comes too early
        // for the viewer is left out.
        const Clock::time_point now = Clock::now();
        const auto interval =
            std::chrono::microseconds(1000000 / std::max(m_format.framesPerSecond, 1));
        if (now + interval / 8 < m_due) {
            continue;
        }
        m_due = std::max(m_due + interval, now);
        if (m_host.isFrozen() && !m_last.jpeg.empty()) {
            picture = m_last;
            return Result::Picture;
        }
        if (take(frame, picture)) {
            m_last = picture;
            return Result::Picture;
        }
    }
}

void Capture::stop() {
    if (!m_viewing) {
        return;
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stream.close();
        m_viewing = false;
        m_watched = false;
    }
    m_host.streaming(false);
}

int Capture::light() {
    if (m_watched) {
        // The viewer's next frame tells it.
        m_lightWanted = true;
        return m_light;
    }
    const std::unique_lock<std::mutex> lock(m_mutex, std::try_to_lock);
    if (!lock.owns_lock() || m_wanted) {
        return -1;
    }
    StreamFormat small = m_fixed;
    small.width = 320;
    small.height = 240;
    small.framesPerSecond = m_host.frameRate();
    std::string problem;
    if (!open(small, problem)) {
        return -1;
    }
    const Clock::time_point begin = Clock::now();
    int light = -1;
    while (!m_wanted && Clock::now() - begin < 2 * settling) {
        Stream::Frame frame;
        const Stream::Result result = m_stream.next(lookStep, frame, problem);
        if (result == Stream::Result::Gone) {
            m_host.gone();
        }
        if (result == Stream::Result::Failed || result == Stream::Result::Gone) {
            break;
        }
        if (result == Stream::Result::Frame && Clock::now() - begin >= settling) {
            light = lightOfFrame(frame);
            break;
        }
    }
    m_stream.close();
    return light;
}

} // namespace image_adjust::v4l2
