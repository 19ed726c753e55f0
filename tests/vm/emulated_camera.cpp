// A USB camera that does not exist, served to the kernel's virtual host controller: the real
// uvcvideo driver binds to it. Ends, which unplugs it, when it is killed.
//
//   emulated_camera [SERIAL]          serves, and says every value that the driver hands over
//   emulated_camera --map /dev/videoN makes controls of its extension unit known to the driver
#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/usb/video.h>
#include <linux/uvcvideo.h>
#include <linux/videodev2.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <deque>
#include <string>
#include <vector>

#include "Jpeg.h"

namespace {

typedef std::chrono::steady_clock Clock;
typedef std::vector<unsigned char> Bytes;

enum Entity { CAMERA = 1, PROCESSING = 2, OUTPUT = 3, EXTENSION = 4 };

struct Control {
    int entity, selector, bytes, min, max, step, defaultValue, value;
    const char* name;
};
Control controls[] = {
    {PROCESSING, 0x02, 2, -64, 64, 1, 0, 0, "brightness"},
    {PROCESSING, 0x03, 2, 0, 100, 5, 50, 0, "contrast"},
    {PROCESSING, 0x07, 2, 0, 128, 1, 64, 0, "saturation"},
    {PROCESSING, 0x06, 2, -180, 180, 10, 0, 0, "hue"},
    {PROCESSING, 0x08, 2, 0, 7, 1, 3, 0, "sharpness"},
    {PROCESSING, 0x09, 2, 72, 500, 1, 100, 0, "gamma"},
    {PROCESSING, 0x01, 2, 0, 4, 1, 1, 0, "backlight"},
    {PROCESSING, 0x04, 2, 0, 100, 1, 0, 0, "gain"},
    {PROCESSING, 0x05, 1, 0, 3, 1, 1, 0, "powerline"},
    {PROCESSING, 0x0a, 2, 2800, 6500, 10, 4600, 0, "temperature"},
    {PROCESSING, 0x0b, 1, 0, 1, 1, 1, 0, "temperature_auto"},
    {CAMERA, 0x02, 1, 1, 8, 0x09, 8, 0, "exposure_mode"},
    {CAMERA, 0x03, 1, 0, 1, 1, 0, 0, "exposure_priority"},
    {CAMERA, 0x04, 4, 1, 10000, 1, 157, 0, "exposure"},
    {CAMERA, 0x06, 2, 0, 1023, 1, 100, 0, "focus"},
    {CAMERA, 0x08, 1, 0, 1, 1, 1, 0, "focus_auto"},
    {CAMERA, 0x09, 2, 0, 200, 10, 50, 0, "iris"},
    {CAMERA, 0x0b, 2, 100, 400, 1, 100, 0, "zoom"},
    {EXTENSION, 1, 1, 0, 3, 1, 0, 0, "wdr"},
    {EXTENSION, 2, 1, 0, 1, 1, 0, 0, "stabilization"},
    {EXTENSION, 3, 1, 0, 1, 1, 0, 0, "colour"},
};
constexpr unsigned char extensionId[16] = {0x49, 0x41, 1, 2,  3,  4,  5,  6,
                                           7,    8,    9, 10, 11, 12, 13, 14};

constexpr unsigned int width = 320;
constexpr unsigned int height = 240;
constexpr unsigned int frameBytes = width * height * 2;
constexpr unsigned int payloadBytes = 512 * 32;
enum Format { MOTION_JPEG = 1, YUYV = 2 };

struct Descriptor {
    Bytes bytes;
    Descriptor& put(std::initializer_list<unsigned> values) {
        bytes.push_back(static_cast<unsigned char>(values.size() + 1));
        for (const unsigned value : values) {
            bytes.push_back(static_cast<unsigned char>(value));
        }
        return *this;
    }
};
#define WORD(x) static_cast<unsigned>(x) & 0xffU, static_cast<unsigned>(x) >> 8U & 0xffU
#define LONG(x) WORD(x), WORD((x) >> 16U)

/// Of one picture size, with 30, 15 and 5 pictures a second.
void putFrame(Descriptor& to, unsigned type) {
    to.put({0x24, type, 1, 0, WORD(width), WORD(height), LONG(frameBytes * 40U),
            LONG(frameBytes * 240U), LONG(frameBytes), LONG(333333U), 3, LONG(333333U),
            LONG(666666U), LONG(2000000U)});
}

Bytes configuration() {
    Descriptor controlPart;
    // A camera: exposure (mode, priority, time), focus, iris and zoom by position, automatic focus.
    controlPart.put(
        {0x24, 2, CAMERA, WORD(0x0201), 0, 0, WORD(0), WORD(0), WORD(0), 3, 0xae, 0x02, 0x02});
    controlPart.put({0x24, 5, PROCESSING, CAMERA, WORD(0), 3, 0x7f, 0x17, 0x00, 0, 0});
    Bytes unit = {26, 0x24, 6, EXTENSION};
    unit.insert(unit.end(), std::begin(extensionId), std::end(extensionId));
    unit.insert(unit.end(), {3, 1, PROCESSING, 1, 0x07, 0});
    controlPart.bytes.insert(controlPart.bytes.end(), unit.begin(), unit.end());
    controlPart.put({0x24, 3, OUTPUT, WORD(0x0101), 0, EXTENSION, 0});

    Descriptor formats;
    formats.put({0x24, 6, MOTION_JPEG, 1, 1, 1, 0, 0, 0, 0});
    putFrame(formats, 7);
    formats.put({0x24, 4, YUYV, 1, 'Y',  'U',  'Y',  '2', 0, 0, 0x10, 0, 0x80,
                 0,    0, 0xaa, 0, 0x38, 0x9b, 0x71, 16,  1, 0, 0,    0, 0});
    putFrame(formats, 5);
    formats.put({0x24, 0x0d, 1, 1, 4});

    Descriptor all;
    all.put({0x0b, 0, 2, 0x0e, 3, 0, 0}); // what belongs together
    all.put({4, 0, 0, 0, 0x0e, 1, 0, 0}); // interface of the controls
    all.put({0x24, 1, WORD(0x0110), WORD(13 + controlPart.bytes.size()), LONG(48000000U), 1, 1});
    all.bytes.insert(all.bytes.end(), controlPart.bytes.begin(), controlPart.bytes.end());
    all.put({4, 1, 0, 1, 0x0e, 2, 0, 0}); // interface of the pictures
    all.put({0x24, 1, 2, WORD(15 + formats.bytes.size()), 0x81, 0, OUTPUT, 0, 0, 0, 1, 0, 0});
    all.bytes.insert(all.bytes.end(), formats.bytes.begin(), formats.bytes.end());
    all.put({5, 0x81, 2, WORD(512), 0}); // bulk pictures
    Descriptor head;
    head.put({2, WORD(9 + all.bytes.size()), 2, 1, 0, 0x80, 250});
    head.bytes.insert(head.bytes.end(), all.bytes.begin(), all.bytes.end());
    return head.bytes;
}

int controlValue(const char* name) {
    for (const Control& control : controls) {
        if (std::strcmp(control.name, name) == 0) {
            return control.value;
        }
    }
    return 0;
}

/// A grey picture, as bright as the brightness says.
Bytes picture(unsigned int format) {
    const int light = (controlValue("brightness") + 64) * 255 / 128;
    Bytes pixels(frameBytes, 128);
    for (std::size_t i = 0; i < frameBytes; i += 2) {
        pixels[i] = static_cast<unsigned char>(light);
    }
    if (format == YUYV) {
        return pixels;
    }
    Bytes jpeg;
    image_adjust::v4l2::compress(
        {pixels.data(), static_cast<int>(width), static_cast<int>(height), width * 2, false}, 80,
        jpeg);
    // Cameras leave these tables out.
    for (std::size_t at = 2; at + 4 < jpeg.size() && jpeg[at + 1] != 0xda;) {
        const std::size_t bytes = 2U + jpeg[at + 2] * 256U + jpeg[at + 3];
        const auto begin = jpeg.begin() + static_cast<long>(at);
        if (jpeg[at + 1] == 0xc4) {
            jpeg.erase(begin, begin + static_cast<long>(bytes));
        } else {
            at += bytes;
        }
    }
    return jpeg;
}

/// The device's side of the wire.
class Camera {
public:
    Camera(int wire, const std::string& serial) : m_wire(wire), m_serial(serial) {}

    void serve() {
        for (;;) {
            pollfd wait = {m_wire, POLLIN, 0};
            poll(&wait, 1, m_waiting.empty() ? -1 : 5);
            if ((wait.revents & (POLLIN | POLLHUP)) != 0 && !answer()) {
                return;
            }
            while (!m_waiting.empty() && sendPicture()) {
            }
        }
    }

private:
    struct Request {
        unsigned int number;
        unsigned int bytes;
    };

    bool answer() {
        unsigned int head[12];
        if (!receive(head, sizeof head)) {
            return false;
        }
        const unsigned int number = ntohl(head[1]);
        if (ntohl(head[0]) == 2) { // what was asked is taken back
            for (auto at = m_waiting.begin(); at != m_waiting.end(); ++at) {
                if (at->number == ntohl(head[5])) {
                    m_waiting.erase(at);
                    break;
                }
            }
            return reply(4, number, -ECONNRESET, nullptr, 0, 0);
        }
        const bool toDevice = ntohl(head[3]) == 0;
        const unsigned int bytes = ntohl(head[6]);
        Bytes data(std::max(bytes, 64U));
        if (toDevice && bytes > 0 && !receive(data.data(), bytes)) {
            return false;
        }
        if (ntohl(head[4]) != 0) {
            m_waiting.push_back({number, bytes});
            return true;
        }
        const int got = setup(reinterpret_cast<unsigned char*>(&head[10]), data, bytes);
        return reply(3, number, got < 0 ? -EPIPE : 0, data.data(), got < 0 ? 0 : got,
                     toDevice ? 0 : got);
    }

    /// One request to endpoint 0. @return bytes of the answer; below 0: refused
    int setup(const unsigned char* request, Bytes& data, unsigned int bytes) {
        const unsigned int value = request[2] | request[3] << 8U;
        const unsigned int index = request[4] | request[5] << 8U;
        if ((request[0] & 0x60U) == 0) {
            if (request[1] == 6) {
                return give(descriptor(value), data, bytes);
            }
            if (request[1] == 0) {
                return give({0, 0}, data, bytes);
            }
            return 0;
        }
        if ((index & 0xffU) == 1) {
            return negotiate(request[1], data, bytes);
        }
        for (Control& control : controls) {
            if (control.entity == static_cast<int>(index >> 8U) &&
                control.selector == static_cast<int>(value >> 8U)) {
                return access(control, request[1], data, bytes);
            }
        }
        return -1;
    }

    Bytes descriptor(unsigned int which) const {
        if (which >> 8U == 1) {
            return {18, 1, 0x00, 0x02, 0xef, 2, 1, 64, 0x6b, 0x1d, 0x02, 0x01, 0, 1, 1, 2, 3, 1};
        }
        if (which >> 8U == 2) {
            return configuration();
        }
        if (which >> 8U != 3) {
            return {};
        }
        if ((which & 0xffU) == 0) {
            return {4, 3, 9, 4};
        }
        const std::string texts[] = {"ACME", "Emulated UVC", m_serial};
        const std::string& text = texts[std::min((which & 0xffU) - 1, 2U)];
        Bytes out = {static_cast<unsigned char>(2 + 2 * text.size()), 3};
        for (const char c : text) {
            out.push_back(static_cast<unsigned char>(c));
            out.push_back(0);
        }
        return out;
    }

    static int give(const Bytes& from, Bytes& data, unsigned int bytes) {
        const std::size_t count = std::min<std::size_t>(from.size(), bytes);
        std::copy(from.begin(), from.begin() + static_cast<long>(count), data.begin());
        return from.empty() ? -1 : static_cast<int>(count);
    }

    static Bytes number(long long value, int bytes) {
        Bytes out;
        for (int i = 0; i < bytes; ++i) {
            out.push_back(static_cast<unsigned char>(value >> (8 * i)));
        }
        return out;
    }

    static int access(Control& control, unsigned int what, Bytes& data, unsigned int bytes) {
        switch (what) {
            case 0x01: {
                int value = 0;
                for (int i = 0; i < control.bytes; ++i) {
                    value |= data[static_cast<std::size_t>(i)] << (8 * i);
                }
                value = control.bytes == 2 && control.min < 0 ? static_cast<short>(value) : value;
                if (value < control.min || value > control.max) {
                    return -1;
                }
                control.value = value;
                std::printf("%s %d\n", control.name, value);
                std::fflush(stdout);
                return static_cast<int>(bytes);
            }
            case 0x81:
                return give(number(control.value, control.bytes), data, bytes);
            case 0x82:
                return give(number(control.min, control.bytes), data, bytes);
            case 0x83:
                return give(number(control.max, control.bytes), data, bytes);
            case 0x84:
                return give(number(control.step, control.bytes), data, bytes);
            case 0x85:
                return give(number(control.bytes, 2), data, bytes);
            case 0x86:
                return give({3}, data, bytes);
            case 0x87:
                return give(number(control.defaultValue, control.bytes), data, bytes);
            default:
                return -1;
        }
    }

    /// What pictures are to come: bytes 2 format, 4 interval.
    int negotiate(unsigned int what, Bytes& data, unsigned int bytes) {
        if (what == 0x01) {
            m_format = data[2] == YUYV ? YUYV : MOTION_JPEG;
            std::memcpy(&m_interval, &data[4], sizeof m_interval);
            return static_cast<int>(bytes);
        }
        if (what == 0x86) {
            return give({3}, data, bytes);
        }
        if (what == 0x85) {
            return give(number(34, 2), data, bytes);
        }
        Bytes probe(34);
        probe[2] = static_cast<unsigned char>(m_format);
        probe[3] = 1;
        std::memcpy(&probe[4], &m_interval, sizeof m_interval);
        std::memcpy(&probe[18], &frameBytes, sizeof frameBytes);
        std::memcpy(&probe[22], &payloadBytes, sizeof payloadBytes);
        return give(probe, data, bytes);
    }

    bool sendPicture() {
        if (m_sent >= m_picture.size()) {
            if (Clock::now() < m_next) {
                return false;
            }
            m_next = Clock::now() + std::chrono::microseconds(m_interval / 10);
            m_picture = picture(m_format);
            m_sent = 0;
            m_frame ^= 1U;
        }
        const Request request = m_waiting.front();
        m_waiting.pop_front();
        const std::size_t room = std::min(request.bytes, payloadBytes) - 2;
        const std::size_t count = std::min(room, m_picture.size() - m_sent);
        Bytes payload = {2, static_cast<unsigned char>(0x80U | m_frame)};
        payload.insert(payload.end(), m_picture.begin() + static_cast<long>(m_sent),
                       m_picture.begin() + static_cast<long>(m_sent + count));
        m_sent += count;
        if (m_sent == m_picture.size()) {
            payload[1] |= 2U;
        }
        const int bytes = static_cast<int>(payload.size());
        return reply(3, request.number, 0, payload.data(), bytes, bytes);
    }

    bool reply(unsigned int kind, unsigned int number, int status, const unsigned char* data,
               int told, int bytes) {
        unsigned int head[12] = {htonl(kind), htonl(number)};
        head[5] = htonl(static_cast<unsigned int>(status));
        head[6] = htonl(static_cast<unsigned int>(told));
        return send(m_wire, head, sizeof head, MSG_NOSIGNAL) == sizeof head &&
               (bytes <= 0 ||
                send(m_wire, data, static_cast<std::size_t>(bytes), MSG_NOSIGNAL) == bytes);
    }

    bool receive(void* to, std::size_t bytes) {
        return recv(m_wire, to, bytes, MSG_WAITALL) == static_cast<ssize_t>(bytes);
    }

    int m_wire;
    std::string m_serial;
    std::deque<Request> m_waiting;
    Bytes m_picture;
    std::size_t m_sent = 0;
    unsigned int m_frame = 0;
    unsigned int m_format = MOTION_JPEG;
    unsigned int m_interval = 333333;
    Clock::time_point m_next;
};

int serve(const std::string& serial) {
    for (Control& control : controls) {
        control.value = control.defaultValue;
    }
    int wires[2];
    const int port = open("/sys/devices/platform/vhci_hcd.0/attach", O_WRONLY);
    if (port < 0 || socketpair(AF_UNIX, SOCK_STREAM, 0, wires) != 0) {
        std::perror("emulated_camera");
        return 1;
    }
    // A camera that has just been pulled out keeps its port for a moment.
    const std::string order = "0 " + std::to_string(wires[1]) + " 65538 3";
    for (int i = 0; write(port, order.data(), order.size()) < 0; ++i) {
        if (i == 100) {
            std::perror("emulated_camera: attach");
            return 1;
        }
        usleep(20000);
    }
    close(port);
    close(wires[1]);
    Camera(wires[0], serial).serve();
    return 0;
}

int mapControls(const char* node) {
    const int fd = open(node, O_RDWR);
    uvc_menu_info strengths[] = {{0, "Off"}, {1, "Low"}, {2, "Mid"}, {3, "High"}};
    uvc_menu_info colours[] = {{0, "None"}, {1, "Black & White"}};
    const struct {
        unsigned int id;
        const char* name;
        unsigned char selector;
        unsigned int type, data;
        uvc_menu_info* menu;
        unsigned int items;
    } wanted[] = {{V4L2_CID_WIDE_DYNAMIC_RANGE, "Wide Dynamic Range", 1, V4L2_CTRL_TYPE_MENU,
                   UVC_CTRL_DATA_TYPE_ENUM, strengths, 4},
                  {V4L2_CID_IMAGE_STABILIZATION, "Image Stabilization", 2, V4L2_CTRL_TYPE_BOOLEAN,
                   UVC_CTRL_DATA_TYPE_BOOLEAN, nullptr, 0},
                  {V4L2_CID_COLORFX, "Color Effects", 3, V4L2_CTRL_TYPE_MENU,
                   UVC_CTRL_DATA_TYPE_ENUM, colours, 2}};
    int result = fd < 0 ? 1 : 0;
    for (const auto& control : wanted) {
        uvc_xu_control_mapping mapping = {};
        mapping.id = control.id;
        std::snprintf(reinterpret_cast<char*>(mapping.name), sizeof mapping.name, "%s",
                      control.name);
        std::memcpy(mapping.entity, extensionId, sizeof mapping.entity);
        mapping.selector = control.selector;
        mapping.size = 8;
        mapping.v4l2_type = control.type;
        mapping.data_type = control.data;
        mapping.menu_info = control.menu;
        mapping.menu_count = control.items;
        if (ioctl(fd, UVCIOC_CTRL_MAP, &mapping) < 0) {
            std::perror(control.name);
            result = 1;
        }
    }
    return result;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::string(argv[1]) == "--map") {
        return mapControls(argv[2]);
    }
    return serve(argc > 1 ? argv[1] : "EMU0001");
}
