#include "View.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "LensModel.h"

namespace simulated_ia {
namespace {

constexpr double zoomTimes = 2; // the tele end: three times as large as the wide end

uint16_t limited(double value) {
    return static_cast<uint16_t>(std::clamp(value, 0.0, 65535.0));
}

// A lens shows what is out of focus the softer, the wider its iris.
int blurOf(const PictureSettings& settings, int width) {
    const bool still = settings.exposureMode == 1 || settings.exposureMode == 3;
    const double iris = still && settings.irisDriven != 0
                            ? std::exp2((settings.irisPosition - 100) / 100.0 * 2)
                            : 0.7;
    const double opening = std::exp2((settings.irisSize - 5) * 0.2) * iris;
    const int off = std::abs(settings.focus - LensModel::sharpFocus(settings.zoom));
    return std::min(width / 24, static_cast<int>(off * opening * width / (640 * 12.0)));
}

} // namespace

bool View::Key::operator==(const Key& other) const {
    return std::memcmp(this, &other, sizeof *this) == 0;
}

View::View(int width, int height) : View(width, height, width / 80 * 2) {}

View::View(int width, int height, int pad)
    : m_pad(pad), m_width(width + 2 * m_pad), m_height(height + 2 * m_pad) {
    for (auto& plane : m_plane) {
        plane.resize(static_cast<size_t>(m_width) * m_height);
    }
    m_reflectance.resize(m_plane[0].size());
    m_distance.resize(m_plane[0].size());
    for (int i = 0; i < 4096; ++i) {
        const double root = i / (127 * 16.0);
        m_linear[static_cast<size_t>(i)] = static_cast<uint16_t>(root * root * 4096);
    }
}

void View::look(const PictureSettings& settings, const World& world) {
    const int* strength =
        settings.infraredMode == 2 ? settings.infraredManual : settings.infraredAutomatic;
    const int lamps = strength[0] + 101 * (strength[1] + 101 * strength[2]);
    const bool night = settings.night;
    const Key key = {settings.zoom,
                     settings.offsetAcross,
                     settings.offsetDown,
                     blurOf(settings, width()),
                     world.light,
                     fogLeft(settings, world),
                     world.lamp,
                     night ? 1 : 0,
                     night && settings.infrared != 0 ? lamps * 3 + settings.infraredMode + 1 : 0};
    if (!(key == m_key)) {
        m_key = key;
        draw(settings, world);
    }
}

void View::draw(const PictureSettings& settings, const World& world) {
    const Illumination light(settings, world);
    const bool grey = settings.night;
    m_channels = grey ? 1 : 3;
    const double times = 1 + zoomTimes * (settings.zoom - 16384) / (32000.0 - 16384.0);
    m_step = static_cast<double>(Scene::middleWidth) / (m_width - 2 * m_pad) / times;
    m_left = (Scene::middleWidth - m_width * m_step) / 2 + (settings.offsetAcross - 64) / times;
    m_top = (Scene::middleHeight - m_height * m_step) / 2 + (settings.offsetDown - 64) / times;

    if (m_key.blur > 2 && m_width >= 320 && m_pad % 2 == 0 && height() % 2 == 0) {
        drawSoft(settings, world);
        meter();
        return;
    }
    // Never so high that a headlight could not be told from white any more.
    double brightest = std::max(light.daylight[1], 0.006);
    for (const double part : {light.lamp[1] * 0.5, light.infrared[0], light.infrared[1]}) {
        brightest = std::max(brightest, part);
    }
    m_unit = 3000 / brightest;
    for (int i = 0; i < 256; ++i) {
        const auto at = static_cast<size_t>(i);
        m_fog[at] = static_cast<unsigned int>(light.fogAt(i));
        m_infrared[at] = static_cast<unsigned int>(std::lround(light.infraredAt(i) * m_unit * 4));
        for (size_t c = 0; c < 3; ++c) {
            const double day = light.daylight[c] * m_unit * 4 + 0.5;
            m_day[c][at] =
                static_cast<unsigned int>(day) * static_cast<unsigned int>(light.daylightAt(i)) >>
                8;
            m_lamp[c] = static_cast<unsigned int>(std::lround(light.lamp[c] * m_unit * 4));
        }
    }

    // The street lamp's light changes slowly: known every eighth point, between them a line.
    constexpr int cell = 8;
    const int nodes = m_width / cell + 2;
    std::vector<int> rows[2];
    std::vector<int> row(static_cast<size_t>(m_width) + cell);
    for (int y = 0; y < m_height; ++y) {
        if (y % cell == 0) {
            for (int k = 0; k < 2; ++k) {
                rows[k].resize(static_cast<size_t>(nodes));
                for (int i = 0; i < nodes; ++i) {
                    rows[k][static_cast<size_t>(i)] =
                        static_cast<int>(4096 * Scene::lampLight(m_left + i * cell * m_step,
                                                                 m_top + (y + k * cell) * m_step));
                }
            }
        }
        const int part = y % cell;
        for (int i = 0; i + 1 < nodes; ++i) {
            const auto n = static_cast<size_t>(i);
            const int from = (rows[0][n] * (cell - part) + rows[1][n] * part) / cell;
            const int to = (rows[0][n + 1] * (cell - part) + rows[1][n + 1] * part) / cell;
            for (int x = 0; x < cell && i * cell + x < m_width; ++x) {
                row[n * cell + static_cast<size_t>(x)] = from + (to - from) * x / cell;
            }
        }
        drawRow(y, grey, row);
    }
    drawLuminous(light, world, grey);
    if (m_key.blur > 0) {
        for (int i = 0; i < m_channels; ++i) {
            spread(m_plane[static_cast<size_t>(i)], m_width, m_height, m_key.blur);
        }
    }
    meter();
}

void View::drawRow(int y, bool grey, const std::vector<int>& lampRow) {
    int number = 0;
    double step = m_step;
    while (step >= 1.5 && number + 1 < Scene::levelCount) {
        step /= 2;
        ++number;
    }
    const Texture& level = Scene::street().level(number);
    const double scale = step / m_step;
    // The middle of a point at this level stands for the middle of its points in the scene.
    const auto fixed = [&](double scene) {
        return static_cast<int>(std::lround(((scene + Scene::margin) * scale - 0.5) * 65536));
    };
    const int stepX = static_cast<int>(std::lround(step * 65536));
    const int sy = std::clamp(fixed(m_top + (y + 0.5) * m_step), 0, (level.height - 1) * 65536 - 1);
    const uint32_t* upper = &level.points[static_cast<size_t>(sy >> 16) * level.width];
    const size_t begin = static_cast<size_t>(y) * m_width;
    const int end = (level.width - 1) * 65536 - 1;
    int sx = fixed(m_left + 0.5 * m_step);
    mixRows(upper, upper + level.width, std::clamp(sx, 0, end) >> 16,
            (std::clamp(sx + (m_width - 1) * stepX, 0, end) >> 16) + 2,
            static_cast<unsigned int>(sy >> 8 & 255));
    for (int x = 0; x < m_width; ++x, sx += stepX) {
        const int at = std::clamp(sx, 0, end);
        const auto fx = static_cast<uint64_t>(at >> 8 & 255);
        const Mixed& left = m_mixed[static_cast<size_t>(at >> 16)];
        const Mixed& next = m_mixed[static_cast<size_t>(at >> 16) + 1];
        // Twelve bits of each: eight, and four between the points.
        const uint64_t even = (left.even * (256 - fx) + next.even * fx) >> 12;
        const uint64_t odd = (left.odd * (256 - fx) + next.odd * fx) >> 12;
        const auto distance = static_cast<size_t>(odd >> 36 & 255);
        const unsigned int albedo[3] = {m_linear[even & 4095], m_linear[odd & 4095],
                                        m_linear[even >> 32 & 4095]};
        const unsigned int fog = m_fog[distance];
        const auto shine = static_cast<unsigned int>(lampRow[static_cast<size_t>(x)]);
        unsigned int seen[3];
        for (int i = 0; i < 3; ++i) {
            const unsigned int lamp = m_lamp[i] * shine >> 12;
            seen[i] = (m_day[i][distance] + lamp) * albedo[i] >> 14;
            if (fog != 0) {
                const unsigned int haze = (m_day[i][0] + lamp / 2) >> 2; // white
                seen[i] = (seen[i] * (256 - fog) + haze * fog) >> 8;
            }
        }
        const size_t to = begin + static_cast<size_t>(x);
        const unsigned int mean = (77 * albedo[0] + 150 * albedo[1] + 29 * albedo[2]) >> 8;
        m_distance[to] = static_cast<uint8_t>(distance);
        m_reflectance[to] = static_cast<uint8_t>(std::min(255U, mean >> 4));
        if (grey) {
            // Leaves are bright in infrared. The sky throws nothing back.
            const unsigned int most = std::max(albedo[0], albedo[2]);
            const unsigned int leaf = albedo[1] > most ? 2 * (albedo[1] - most) : 0;
            const unsigned int own = std::min(4095U, mean + leaf) * m_infrared[distance] >> 14;
            const unsigned int all = (77 * seen[0] + 150 * seen[1] + 29 * seen[2]) >> 8;
            m_plane[0][to] =
                static_cast<uint16_t>(std::min(65535U, all + (own * (256 - fog) >> 8)));
        } else {
            for (size_t i = 0; i < 3; ++i) {
                m_plane[i][to] = static_cast<uint16_t>(std::min(65535U, seen[i]));
            }
        }
    }
}

// What is soft anyway takes half the points, each way.
void View::drawSoft(const PictureSettings& settings, const World& world) {
    if (!m_half) {
        m_half.reset(new View(width() / 2, m_height / 2 - m_pad, m_pad / 2));
    }
    m_half->look(settings, world);
    m_unit = m_half->m_unit;
    const auto line = static_cast<size_t>(m_half->m_width);
    std::vector<uint32_t> row(line + 2); // with one beyond each end
    for (int y = 0; y < m_height; ++y) {
        const int other = std::clamp(y % 2 == 0 ? y / 2 - 1 : y / 2 + 1, 0, m_half->m_height - 1);
        const size_t near = static_cast<size_t>(y / 2) * line;
        const size_t far = static_cast<size_t>(other) * line;
        const size_t to = static_cast<size_t>(y) * m_width;
        for (size_t i = 0; i < static_cast<size_t>(m_channels); ++i) {
            const std::vector<uint16_t>& from = m_half->m_plane[i];
            for (size_t x = 0; x < line; ++x) {
                row[x + 1] = 3U * from[near + x] + from[far + x];
            }
            row[0] = row[1];
            row[line + 1] = row[line];
            for (size_t x = 0; x < line; ++x) {
                uint16_t* pair = &m_plane[i][to + 2 * x];
                pair[0] = static_cast<uint16_t>((3 * row[x + 1] + row[x] + 8) >> 4);
                pair[1] = static_cast<uint16_t>((3 * row[x + 1] + row[x + 2] + 8) >> 4);
            }
        }
        for (size_t x = 0; x < line; ++x) {
            m_distance[to + 2 * x] = m_distance[to + 2 * x + 1] = m_half->m_distance[near + x];
            m_reflectance[to + 2 * x] = m_reflectance[to + 2 * x + 1] =
                m_half->m_reflectance[near + x];
        }
    }
}

// Two channels in one word, so that one product serves both.
void View::mixRows(const uint32_t* upper, const uint32_t* lower, int from, int to,
                   unsigned int part) {
    m_mixed.resize(std::max(m_mixed.size(), static_cast<size_t>(to)));
    const auto wide = [](uint32_t pair) {
        return (pair & 0xffffU) | static_cast<uint64_t>(pair >> 16) << 32;
    };
    for (int x = from; x < to; ++x) {
        const uint32_t even = (upper[x] & 0xff00ffU) * (256 - part) + (lower[x] & 0xff00ffU) * part;
        const uint32_t odd =
            (upper[x] >> 8 & 0xff00ffU) * (256 - part) + (lower[x] >> 8 & 0xff00ffU) * part;
        m_mixed[static_cast<size_t>(x)] = {wide(even), wide(odd)};
    }
}

void View::drawLuminous(const Illumination& light, const World& world, bool grey) {
    const auto weigh = [&](int rgb, double times, double* amount) {
        double sum = 0;
        const double weight[3] = {0.3, 0.59, 0.11};
        for (int i = 0; i < 3; ++i) {
            amount[i] = std::pow((rgb >> (16 - 8 * i) & 255) / 255.0, 2.2) * times * m_unit;
            sum += amount[i] * weight[i];
        }
        amount[0] = grey ? sum : amount[0];
    };
    for (const Luminous& part : Scene::street().luminous()) {
        const double own = part.own < 0 ? 0.02 * world.lamp : part.own;
        const double clear = 1 - light.fogAt(DISTANCE_HOUSES) / 256.0;
        double amount[3];
        weigh(part.rgb, (part.daylight * light.daylight[1] + own) * clear, amount);
        const double x0 = (part.x0 - m_left) / m_step;
        const double x1 = (part.x1 - m_left) / m_step;
        const double y0 = (part.y0 - m_top) / m_step;
        const double y1 = (part.y1 - m_top) / m_step;
        for (int y = std::max(0, static_cast<int>(y0)); y < std::min<double>(m_height, y1); ++y) {
            const double high = std::min(y1, y + 1.0) - std::max<double>(y0, y);
            for (int x = std::max(0, static_cast<int>(x0)); x < std::min<double>(m_width, x1);
                 ++x) {
                const double cover = high * (std::min(x1, x + 1.0) - std::max<double>(x0, x));
                for (int i = 0; i < m_channels; ++i) {
                    uint16_t& p =
                        m_plane[static_cast<size_t>(i)][static_cast<size_t>(y) * m_width + x];
                    p = limited(p + amount[i] * cover);
                }
            }
        }
    }
    double amount[3];
    weigh(0xffd8a0, (0.0007 + 0.0008 * light.fog) * world.lamp, amount);
    addGlow(m_plane.data(), m_channels, m_width, m_height, (Scene::lampX - m_left) / m_step,
            (Scene::lampY - m_top) / m_step, (90 + 150 * light.fog) / m_step, amount);
}

void View::meter() {
    const int across = width();
    const int down = height();
    const auto& plane = m_plane[m_channels == 1 ? 0 : 1];
    double mean = 0;
    double limit = 65535;
    // What shines counts no more than white paper would, or a lamp would darken the whole street.
    for (int pass = 0; pass < 2; ++pass) {
        double total = 0;
        for (int row = 0; row < Metering::down; ++row) {
            for (int column = 0; column < Metering::across; ++column) {
                double sum = 0;
                int count = 0;
                for (int y = row * down / 9; y < (row + 1) * down / 9; y += 3) {
                    for (int x = column * across / 16; x < (column + 1) * across / 16; x += 3) {
                        const size_t at = static_cast<size_t>(y + m_pad) * m_width + x + m_pad;
                        sum += std::min<double>(plane[at], limit);
                        ++count;
                    }
                }
                m_metering.field[row][column] = sum / count;
                total += sum / count;
            }
        }
        mean = total / (Metering::down * Metering::across);
        limit = 4 * mean + 1;
    }
}

void View::copyTo(LightPicture& picture, int right, int down) const {
    picture.width = width();
    picture.height = height();
    picture.channels = m_channels;
    picture.unit = m_unit;
    right = std::clamp(right, -m_pad, m_pad);
    down = std::clamp(down, -m_pad, m_pad);
    const auto line = static_cast<size_t>(picture.width);
    for (int i = 0; i < m_channels; ++i) {
        picture.plane[i].resize(line * static_cast<size_t>(picture.height));
        for (int y = 0; y < picture.height; ++y) {
            std::memcpy(&picture.plane[i][static_cast<size_t>(y) * line],
                        &m_plane[static_cast<size_t>(i)]
                                [static_cast<size_t>(y + m_pad + down) * m_width + m_pad + right],
                        line * sizeof(uint16_t));
        }
    }
}

} // namespace simulated_ia
