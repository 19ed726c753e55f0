#include "Painter.h"

#include <algorithm>
#include <cmath>

namespace simulated_ia {
namespace {

unsigned int coded(unsigned int screen, double times) {
    const double linear = std::pow(screen / 255.0, 2.2) * times;
    return static_cast<unsigned int>(std::lround(std::clamp(127 * std::sqrt(linear), 0.0, 255.0)));
}

uint32_t pointOf(Paint paint, int fourth) {
    return std::min(255U, coded(paint.rgb >> 16 & 255, paint.times)) |
           std::min(255U, coded(paint.rgb >> 8 & 255, paint.times)) << 8 |
           std::min(255U, coded(paint.rgb & 255, paint.times)) << 16 |
           static_cast<uint32_t>(fourth) << 24;
}

double overlap(double from, double to, int cell) {
    return std::min(to, cell + 1.0) - std::max<double>(from, cell);
}

} // namespace

Texture::Texture(int width_, int height_)
    : width(width_), height(height_), points(static_cast<size_t>(width_) * height_) {}

Painter::Painter(Texture& texture, int left, int top)
    : m_texture(texture), m_left(left), m_top(top) {}

void Painter::blend(int x, int y, uint32_t point, double part) {
    uint32_t& there = m_texture.points[static_cast<size_t>(y) * m_texture.width + x];
    if (part >= 0.999) {
        there = point;
        return;
    }
    uint32_t mixed = 0;
    for (int shift = 0; shift < 32; shift += 8) {
        const double old = there >> shift & 255;
        const double fresh = point >> shift & 255;
        mixed |= static_cast<uint32_t>(std::lround(old + (fresh - old) * part)) << shift;
    }
    there = mixed;
}

void Painter::fill(double x0, double y0, double x1, double y1, Paint paint) {
    fade(x0, y0, x1, y1, paint, paint);
}

void Painter::fade(double x0, double y0, double x1, double y1, Paint top, Paint bottom) {
    x0 = std::max(0.0, x0 + m_left);
    x1 = std::min<double>(m_texture.width, x1 + m_left);
    const double first = y0 + m_top;
    const double last = y1 + m_top;
    const int end = static_cast<int>(std::ceil(std::min<double>(m_texture.height, last)));
    const bool plain = top.rgb == bottom.rgb && top.times == bottom.times;
    const uint32_t point = pointOf(top, m_fourth);
    for (int y = std::max(0, static_cast<int>(std::floor(first))); y < end; ++y) {
        const double down = std::clamp((y + 0.5 - first) / (last - first), 0.0, 1.0);
        const double cover = top.cover + (bottom.cover - top.cover) * down;
        // A shade between two steps falls to one or the other by chance: a sky without rings.
        uint32_t shade[2] = {point, point};
        double chance = 0;
        if (!plain) {
            const double steps = down * 64;
            chance = steps - std::floor(steps);
            for (int i = 0; i < 2; ++i) {
                const double part = std::min(1.0, (std::floor(steps) + i) / 64);
                uint32_t mixed = static_cast<uint32_t>(m_fourth) << 24;
                for (int channel = 0; channel < 3; ++channel) {
                    const int shift = 16 - 8 * channel;
                    const double a = coded(top.rgb >> shift & 255, top.times);
                    const double b = coded(bottom.rgb >> shift & 255, bottom.times);
                    mixed |= static_cast<uint32_t>(std::lround(a + (b - a) * part))
                             << (8 * channel);
                }
                shade[i] = mixed;
            }
        }
        for (int x = static_cast<int>(std::floor(x0)); x < x1; ++x) {
            const uint32_t chosen = plain || random(256) >= chance * 256 ? shade[0] : shade[1];
            blend(x, y, chosen, overlap(x0, x1, x) * overlap(first, last, y) * cover);
        }
    }
}

void Painter::polygon(const Outline& outline, Paint paint) {
    constexpr int lines = 4; // scan lines in one point's height
    const uint32_t point = pointOf(paint, m_fourth);
    double low = m_texture.height;
    double high = 0;
    for (const auto& corner : outline) {
        low = std::min(low, corner.second + m_top);
        high = std::max(high, corner.second + m_top);
    }
    const auto width = static_cast<size_t>(m_texture.width);
    std::vector<double> cover(width);
    std::vector<double> crossings;
    const int end = std::min(m_texture.height, static_cast<int>(std::ceil(high)));
    for (int y = std::max(0, static_cast<int>(low)); y < end; ++y) {
        std::fill(cover.begin(), cover.end(), 0.0);
        for (int line = 0; line < lines; ++line) {
            const double at = y + (line + 0.5) / lines;
            crossings.clear();
            for (size_t i = 0; i < outline.size(); ++i) {
                const auto& a = outline[i];
                const auto& b = outline[(i + 1) % outline.size()];
                if ((a.second + m_top <= at) != (b.second + m_top <= at)) {
                    crossings.push_back(m_left + a.first +
                                        (at - m_top - a.second) * (b.first - a.first) /
                                            (b.second - a.second));
                }
            }
            std::sort(crossings.begin(), crossings.end());
            for (size_t i = 0; i + 1 < crossings.size(); i += 2) {
                const double from = std::max(0.0, crossings[i]);
                const double to = std::min<double>(m_texture.width, crossings[i + 1]);
                for (int x = static_cast<int>(from); x < to; ++x) {
                    cover[static_cast<size_t>(x)] += overlap(from, to, x) / lines;
                }
            }
        }
        for (int x = 0; x < m_texture.width; ++x) {
            if (cover[static_cast<size_t>(x)] > 0) {
                blend(x, y, point, cover[static_cast<size_t>(x)] * paint.cover);
            }
        }
    }
}

void Painter::ellipse(double x, double y, double across, double down, Paint paint) {
    Outline outline;
    for (int i = 0; i < 48; ++i) {
        const double angle = i * 3.14159265358979 / 24;
        outline.emplace_back(x + across * std::cos(angle), y + down * std::sin(angle));
    }
    polygon(outline, paint);
}

void Painter::grain(int x0, int y0, int x1, int y1, int percent, int across, int down) {
    for (int top = y0; top < y1; top += down) {
        for (int left = x0; left < x1; left += across) {
            const int times = 256 + (random(513) - 256) * percent / 200;
            for (int y = std::max(0, top + m_top);
                 y < std::min({m_texture.height, y1 + m_top, top + down + m_top}); ++y) {
                for (int x = std::max(0, left + m_left);
                     x < std::min({m_texture.width, x1 + m_left, left + across + m_left}); ++x) {
                    uint32_t& p = m_texture.points[static_cast<size_t>(y) * m_texture.width + x];
                    uint32_t changed = p & 0xff000000U;
                    for (int shift = 0; shift < 24; shift += 8) {
                        const int value = static_cast<int>(p >> shift & 255) * times / 256;
                        changed |= static_cast<uint32_t>(std::min(255, value)) << shift;
                    }
                    p = changed;
                }
            }
        }
    }
}

int Painter::random(int below) {
    m_random = m_random * 1664525U + 1013904223U;
    return static_cast<int>((m_random >> 8) % static_cast<unsigned int>(below));
}

} // namespace simulated_ia
