#include "Homes_stream.h"

#include <algorithm>
#include <cerrno>

namespace image_adjust::v4l2 {
namespace {

enum : unsigned int {
    CMD_DIGITAL_ZOOM = 1584,
    CMD_OFFSET_ACROSS = 2436,
    CMD_OFFSET_DOWN = 2439,
    CMD_FRAME_RATE = 2464
};

constexpr unsigned int mostRates = 64;

int perSecond(const v4l2_fract& interval) {
    return interval.numerator == 0
               ? 0
               : static_cast<int>((interval.denominator + interval.numerator / 2) /
                                  interval.numerator);
}

} // namespace

FrameRateHome::FrameRateHome(Device& device) : Home(CMD_FRAME_RATE), m_device(device) {
    FrameRateHome::refresh();
    if (!isEmpty() && ask() != 0) {
        m_rates.clear();
    }
    m_default = m_current;
}

void FrameRateHome::add(Rates& rates, const v4l2_fract& interval) {
    const int rate = perSecond(interval);
    const auto at =
        std::lower_bound(rates.begin(), rates.end(), rate,
                         [](const Rate& left, int right) { return left.perSecond < right; });
    // 29.97 and 30 are one rate to whoever counts whole pictures; the first one named stays.
    if (rate > 0 && (at == rates.end() || at->perSecond != rate)) {
        rates.insert(at, {rate, interval});
    }
}

FrameRateHome::Rates FrameRateHome::rates() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_rates;
}

void FrameRateHome::refresh() {
    v4l2_format format = {};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (m_device.call(VIDIOC_G_FMT, &format) < 0) {
        return;
    }
    Rates rates;
    v4l2_frmivalenum interval = {};
    interval.pixel_format = format.fmt.pix.pixelformat;
    interval.width = format.fmt.pix.width;
    interval.height = format.fmt.pix.height;
    for (; interval.index < mostRates; ++interval.index) {
        if (m_device.call(VIDIOC_ENUM_FRAMEINTERVALS, &interval) < 0) {
            break;
        }
        if (interval.type == V4L2_FRMIVAL_TYPE_DISCRETE) {
            add(rates, interval.discrete);
            continue;
        }
        const int slowest = std::max(perSecond(interval.stepwise.max), 1);
        const int fastest = perSecond(interval.stepwise.min);
        for (int rate = slowest; rate <= fastest && rates.size() < mostRates; ++rate) {
            add(rates, {1, static_cast<unsigned int>(rate)});
        }
        break;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_rates = std::move(rates);
}

int FrameRateHome::ask() {
    v4l2_streamparm answer = {};
    answer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    const int result = m_device.call(VIDIOC_G_PARM, &answer);
    if (result < 0) {
        return result;
    }
    const int rate = perSecond(answer.parm.capture.timeperframe);
    if ((answer.parm.capture.capability & V4L2_CAP_TIMEPERFRAME) == 0 || rate == 0) {
        return -ENOTTY;
    }
    m_current = rate;
    return 0;
}

Values FrameRateHome::values() const {
    Values values;
    values.listed = true;
    for (const Rate& rate : rates()) {
        values.choices.push_back({rate.perSecond, std::to_string(rate.perSecond)});
    }
    values.min = values.choices.empty() ? 0 : values.choices.front().value;
    values.max = values.choices.empty() ? 0 : values.choices.back().value;
    values.defaultValue = nearestOf(values, m_default);
    return values;
}

bool FrameRateHome::takes(int value) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::any_of(m_rates.begin(), m_rates.end(),
                       [value](const Rate& rate) { return rate.perSecond == value; });
}

int FrameRateHome::read(int& value) {
    const int result = ask();
    value = m_current;
    return result;
}

int FrameRateHome::write(int value) {
    // A rate that is in force needs nobody to let go of the stream.
    if (ask() == 0 && m_current == value) {
        return 0;
    }
    v4l2_streamparm order = {};
    order.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    for (const Rate& rate : rates()) {
        if (rate.perSecond == value) {
            order.parm.capture.timeperframe = rate.interval;
        }
    }
    // Whoever sets the rate becomes the owner of the stream until he closes the device.
    const int fd = m_device.calls().open(m_device.node().c_str());
    const int result = fd < 0 ? fd : v4l2::control(m_device.calls(), fd, VIDIOC_S_PARM, &order);
    if (fd >= 0) {
        m_device.calls().close(fd);
    }
    if (result < 0) {
        return result;
    }
    const int taken = perSecond(order.parm.capture.timeperframe);
    m_current = taken;
    return taken == value ? 0 : OTHER_TAKEN;
}

bool Window::open() {
    v4l2_selection selection = {};
    selection.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    selection.target = V4L2_SEL_TGT_CROP_DEFAULT;
    if (device.call(VIDIOC_G_SELECTION, &selection) < 0) {
        return false;
    }
    whole = selection.r;
    spareAcross = static_cast<int>(whole.width / 2);
    spareDown = static_cast<int>(whole.height / 2);
    across = spareAcross / 2;
    down = spareDown / 2;
    if (spareAcross < 2 || spareDown < 2 || ask() != 0) {
        return false;
    }
    // Setting what is in force tells whether it can be set at all.
    selection.target = V4L2_SEL_TGT_CROP;
    selection.r = shown;
    const int result = device.call(VIDIOC_S_SELECTION, &selection);
    return result >= 0 || result == -EBUSY;
}

int Window::ask() {
    v4l2_selection selection = {};
    selection.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    selection.target = V4L2_SEL_TGT_CROP;
    const int result = device.call(VIDIOC_G_SELECTION, &selection);
    if (result < 0) {
        return result;
    }
    shown = selection.r;
    enlarged = shown.width < whole.width;
    if (enlarged) {
        across = std::clamp(shown.left - whole.left, 0, spareAcross);
        down = std::clamp(shown.top - whole.top, 0, spareDown);
    }
    return 0;
}

int Window::show(bool part, int left, int top) {
    v4l2_selection selection = {};
    selection.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    selection.target = V4L2_SEL_TGT_CROP;
    selection.r = whole;
    if (part) {
        selection.r.left += left;
        selection.r.top += top;
        selection.r.width = whole.width - static_cast<unsigned int>(spareAcross);
        selection.r.height = whole.height - static_cast<unsigned int>(spareDown);
    }
    const v4l2_rect wanted = selection.r;
    const int result = device.call(VIDIOC_S_SELECTION, &selection);
    if (result < 0) {
        return result;
    }
    if (selection.r.left != wanted.left || selection.r.top != wanted.top) {
        selection.r = shown;
        device.call(VIDIOC_S_SELECTION, &selection);
        return OTHER_TAKEN;
    }
    shown = selection.r;
    enlarged = part;
    across = left;
    down = top;
    return 0;
}

Values WindowHome::values() const {
    Values values;
    if (cmd() != CMD_DIGITAL_ZOOM) {
        values.max = cmd() == CMD_OFFSET_ACROSS ? m_window->spareAcross : m_window->spareDown;
        values.defaultValue = values.max / 2;
    }
    return values;
}

bool WindowHome::takes(int value) const {
    return value >= 0 && value <= values().max;
}

const char* WindowHome::unit() const {
    return cmd() == CMD_DIGITAL_ZOOM ? "" : "pixels";
}

int WindowHome::seen() const {
    return cmd() == CMD_DIGITAL_ZOOM    ? m_window->enlarged ? 1 : 0
           : cmd() == CMD_OFFSET_ACROSS ? m_window->across.load()
                                        : m_window->down.load();
}

int WindowHome::read(int& value) {
    const int result = m_window->ask();
    value = seen();
    return result;
}

int WindowHome::write(int value) {
    Window& window = *m_window;
    switch (cmd()) {
        case CMD_OFFSET_ACROSS:
            return window.show(true, value, window.down);
        case CMD_OFFSET_DOWN:
            return window.show(true, window.across, value);
        default:
            return window.show(value != 0, window.across, window.down);
    }
}

bool WindowHome::isHeld() const {
    return cmd() != CMD_DIGITAL_ZOOM && !m_window->enlarged;
}

std::string WindowHome::holder(unsigned int& command) const {
    command = master();
    return isHeld() ? "digital zoom is off" : "";
}

unsigned int WindowHome::master() const {
    return cmd() != CMD_DIGITAL_ZOOM ? CMD_DIGITAL_ZOOM + 0U : 0U;
}

} // namespace image_adjust::v4l2
