#include <algorithm>
#include <cmath>

#include "View.h"

namespace simulated_ia {
namespace {

// The mean over a square, by running sums: its cost does not grow with the radius. A sum is taken
// down to sixteen bits before it is divided, so that the quotient fits a word.
void box(std::vector<uint16_t>& plane, std::vector<uint16_t>& between, int width, int height,
         int radius) {
    const int size = 2 * radius + 1;
    int shift = 0;
    while (1 << shift < size) {
        ++shift;
    }
    const auto share = static_cast<uint32_t>((1 << (15 + shift)) / size);
    between.resize(plane.size());
    for (int y = 0; y < height; ++y) {
        const uint16_t* from = &plane[static_cast<size_t>(y) * width];
        uint16_t* to = &between[static_cast<size_t>(y) * width];
        uint32_t sum = from[0] * static_cast<uint32_t>(radius + 1);
        for (int x = 1; x <= radius; ++x) {
            sum += from[std::min(x, width - 1)];
        }
        const auto step = [&](int x, int in, int out) {
            to[x] = static_cast<uint16_t>((sum >> shift) * share >> 15);
            sum += from[in];
            sum -= from[out];
        };
        int x = 0;
        for (; x < radius; ++x) {
            step(x, std::min(width - 1, x + radius + 1), 0);
        }
        for (; x + radius + 1 < width; ++x) {
            step(x, x + radius + 1, x - radius);
        }
        for (; x < width; ++x) {
            step(x, width - 1, x - radius);
        }
    }
    std::vector<uint32_t> sums(static_cast<size_t>(width));
    for (int x = 0; x < width; ++x) {
        uint32_t& sum = sums[static_cast<size_t>(x)];
        sum = between[static_cast<size_t>(x)] * static_cast<uint32_t>(radius + 1);
        for (int y = 1; y <= radius; ++y) {
            sum += between[static_cast<size_t>(std::min(y, height - 1)) * width + x];
        }
    }
    for (int y = 0; y < height; ++y) {
        const uint16_t* in =
            &between[static_cast<size_t>(std::min(height - 1, y + radius + 1)) * width];
        const uint16_t* out = &between[static_cast<size_t>(std::max(0, y - radius)) * width];
        uint16_t* to = &plane[static_cast<size_t>(y) * width];
        constexpr int block = 16; // that a compiler may take at once
        int x = 0;
        for (; x + block <= width; x += block) {
            uint32_t* sum = &sums[static_cast<size_t>(x)];
            uint16_t mean[block];
            for (int i = 0; i < block; ++i) {
                mean[i] = static_cast<uint16_t>((sum[i] >> shift) * share >> 15);
            }
            for (int i = 0; i < block; ++i) {
                sum[i] += static_cast<uint32_t>(in[x + i] - out[x + i]);
            }
            std::copy(mean, mean + block, to + x);
        }
        for (; x < width; ++x) {
            uint32_t& sum = sums[static_cast<size_t>(x)];
            to[x] = static_cast<uint16_t>((sum >> shift) * share >> 15);
            sum += static_cast<uint32_t>(in[x] - out[x]);
        }
    }
}

} // namespace

void spread(std::vector<uint16_t>& plane, int width, int height, int radius) {
    std::vector<uint16_t> between;
    box(plane, between, width, height, radius);
    if (radius > 1) {
        box(plane, between, width, height, (radius + 1) / 2);
    }
}

void addGlow(std::vector<uint16_t>* planes, int channels, int width, int height, double x, double y,
             double radius, const double* amount) {
    // From the middle to the rim, by the square of the distance.
    constexpr int steps = 512;
    int fall[steps + 1];
    for (int i = 0; i <= steps; ++i) {
        const double part = static_cast<double>(i) / steps;
        fall[i] = static_cast<int>(4096 * (1 - part) * (1 - part) / (1 + 24 * part));
    }
    int64_t most[3];
    for (int i = 0; i < channels; ++i) {
        most[i] = static_cast<int64_t>(std::min(amount[i], 1e6));
    }
    const int left = std::max(0, static_cast<int>(std::floor(x - radius)));
    const int right = std::min(width, static_cast<int>(std::ceil(x + radius)));
    const int end = std::min(height, static_cast<int>(std::ceil(y + radius)));
    // In 1/16 points, so that a small glow moves smoothly.
    const auto middle = static_cast<int64_t>(x * 16);
    const auto scale = static_cast<int64_t>(radius * radius * 256);
    for (int row = std::max(0, static_cast<int>(std::floor(y - radius))); row < end; ++row) {
        const auto down = static_cast<int64_t>((row - y) * 16);
        for (int column = left; column < right; ++column) {
            const int64_t across = int64_t{column} * 16 - middle;
            const int64_t part = (across * across + down * down) * steps / scale;
            if (part >= steps) {
                continue;
            }
            const size_t at = static_cast<size_t>(row) * width + static_cast<size_t>(column);
            for (int i = 0; i < channels; ++i) {
                const int64_t sum = planes[i][at] + (most[i] * fall[part] >> 12);
                planes[i][at] = static_cast<uint16_t>(std::min<int64_t>(sum, 65535));
            }
        }
    }
}

} // namespace simulated_ia
