#include "Finish.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace simulated_ia {
namespace {

// Rows are done in pieces of a known length, so that a compiler may take many points at once.
constexpr int block = 32;

uint8_t limited(int value) {
    return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

void flip(std::vector<uint8_t>& plane, int width, int height, bool sideways, bool over) {
    const auto line = static_cast<size_t>(width);
    for (size_t y = 0; sideways && y < static_cast<size_t>(height); ++y) {
        std::reverse(&plane[y * line], &plane[y * line] + line);
    }
    for (size_t y = 0; over && y < static_cast<size_t>(height / 2); ++y) {
        std::swap_ranges(&plane[y * line], &plane[y * line] + line,
                         &plane[(static_cast<size_t>(height) - 1 - y) * line]);
    }
}

void enlarge(std::vector<uint8_t>& plane, int width, int height) {
    const std::vector<uint8_t> from = plane;
    for (int y = 0; y < height; ++y) {
        const uint8_t* upper = &from[static_cast<size_t>(height / 4 + y / 2) * width + width / 4];
        const uint8_t* lower = y % 2 == 0 ? upper : upper + width;
        uint8_t* to = &plane[static_cast<size_t>(y) * width];
        for (int x = 0; x < width; x += 2) {
            const int a = upper[x / 2] + lower[x / 2];
            const int b = upper[x / 2 + 1] + lower[x / 2 + 1];
            to[x] = static_cast<uint8_t>((a + 1) / 2);
            to[x + 1] = static_cast<uint8_t>((a + b + 2) / 4);
        }
    }
}

} // namespace

void reduceNoise(Developed& picture, int strength) {
    if (strength <= 0) {
        return;
    }
    const int width = picture.width;
    const auto limit = static_cast<int16_t>(40 + 5 * strength);
    const auto share = static_cast<int16_t>(strength * 28 / 100 + 1);
    const auto count = static_cast<size_t>(width);
    const size_t line = count + size_t{2} * block;
    // Three rows as they were, each with a neighbour beyond its ends.
    std::vector<int16_t> kept(3 * line);
    const auto keep = [&](int y) {
        int16_t* to = &kept[static_cast<size_t>(y % 3) * line + block];
        const int16_t* from = &picture.luma[static_cast<size_t>(y) * width];
        for (size_t i = 0; i < count; ++i) {
            to[i] = from[i];
        }
        to[-1] = to[0];
        to[width] = to[width - 1];
    };
    keep(0);
    keep(1);
    for (int y = 0; y < picture.height; ++y) {
        if (y > 0 && y + 1 < picture.height) {
            keep(y + 1);
        }
        const int16_t* own = &kept[static_cast<size_t>(y % 3) * line + block];
        const int16_t* above =
            y == 0 ? own : &kept[static_cast<size_t>((y - 1) % 3) * line + block];
        const int16_t* below =
            y + 1 == picture.height ? own : &kept[static_cast<size_t>((y + 1) % 3) * line + block];
        int16_t* to = &picture.luma[static_cast<size_t>(y) * width];
        for (int x = 0; x < width; x += block) {
            int16_t sum[block] = {};
            const int16_t* rows[3] = {above + x, own + x, below + x};
            for (int row = 0; row < 3; ++row) {
                for (int side = -1; side <= 1; ++side) {
                    const int16_t* at = rows[row] + side;
                    for (int i = 0; i < block; ++i) {
                        const auto off = static_cast<int16_t>(at[i] - rows[1][i]);
                        const auto near = static_cast<int16_t>(-(std::abs(off) <= limit));
                        sum[i] = static_cast<int16_t>(sum[i] + (off & near));
                    }
                }
            }
            for (int i = 0; i < block; ++i) {
                const auto quarter = static_cast<int16_t>(sum[i] / 4);
                to[x + i] = static_cast<int16_t>(rows[1][i] + quarter * share / 64);
            }
        }
    }
}

void finish(const Developed& picture, const PictureSettings& s, Frame& frame) {
    const int width = picture.width;
    const int height = picture.height;
    frame.width = width;
    frame.height = height;
    frame.luma.resize(picture.luma.size());
    frame.blue.resize(picture.blue.size());
    frame.red.resize(picture.red.size());

    // Contrast turns the line about a middle grey, brightness shifts it.
    const int slope = s.contrast < 128 ? 64 + s.contrast * 3 / 2 : 256 + (s.contrast - 128) * 3;
    std::array<uint8_t, 4096> curve;
    for (int i = 0; i < 4096; ++i) {
        curve[static_cast<size_t>(i)] =
            limited(((i - 1900) * slope / 256 + 1900 + (s.brightness - 128) * 14) / 16);
    }
    const int sharp =
        s.sharpness < 128 ? (s.sharpness - 128) * 3 / 4 + 16 : 16 + (s.sharpness - 128) * 2;
    const auto line = static_cast<size_t>(width);
    std::vector<int16_t> sums(line + 2); // of three in a column, with one beyond each end
    for (int y = 0; y < height; ++y) {
        const int16_t* own = &picture.luma[static_cast<size_t>(y) * line];
        const int16_t* above = y == 0 ? own : own - line;
        const int16_t* below = y + 1 == height ? own : own + line;
        uint8_t* to = &frame.luma[static_cast<size_t>(y) * line];
        for (size_t x = 0; x < line; x += block) {
            for (size_t i = x; i < x + block; ++i) {
                sums[i + 1] = static_cast<int16_t>(above[i] + own[i] + below[i]);
            }
        }
        sums[0] = sums[1];
        sums[line + 1] = sums[line];
        for (size_t x = 0; x < line; x += block) {
            int value[block];
            for (size_t i = 0; i < block; ++i) {
                const int16_t* column = &sums[x + i];
                const int around = column[0] + column[1] + column[2];
                const int centre = own[x + i];
                value[i] = centre + ((9 * centre - around) * sharp >> 10);
            }
            for (size_t i = 0; i < block; ++i) {
                to[x + i] = curve[static_cast<size_t>(std::clamp(value[i], 0, 4095))];
            }
        }
    }
    for (size_t i = 0; i < frame.blue.size(); ++i) {
        frame.blue[i] = limited(128 + (picture.blue[i] * s.saturation + 896) / 1792);
        frame.red[i] = limited(128 + (picture.red[i] * s.saturation + 896) / 1792);
    }
}

void arrange(const PictureSettings& s, Frame& frame) {
    const bool hanging = s.hanging != 0;
    const bool sideways = ((s.mirror & 1) != 0) != hanging;
    const bool over = ((s.mirror & 2) != 0) != hanging;
    flip(frame.luma, frame.width, frame.height, sideways, over);
    flip(frame.blue, frame.width / 2, frame.height / 2, sideways, over);
    flip(frame.red, frame.width / 2, frame.height / 2, sideways, over);
    if (s.digitalZoom != 0) {
        enlarge(frame.luma, frame.width, frame.height);
        enlarge(frame.blue, frame.width / 2, frame.height / 2);
        enlarge(frame.red, frame.width / 2, frame.height / 2);
    }
}

std::vector<uint8_t> Frame::rgb() const {
    std::vector<uint8_t> out;
    out.reserve(luma.size() * 3);
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int l = luma[static_cast<size_t>(y) * width + x] << 10;
            const size_t at = static_cast<size_t>(y / 2) * (width / 2) + x / 2;
            const int b = blue[at] - 128;
            const int r = red[at] - 128;
            out.push_back(limited((l + 1436 * r) >> 10));
            out.push_back(limited((l - 352 * b - 731 * r) >> 10));
            out.push_back(limited((l + 1815 * b) >> 10));
        }
    }
    return out;
}

} // namespace simulated_ia
