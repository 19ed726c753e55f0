#include <cmath>

#include "Scene.h"

namespace simulated_ia {
namespace {

constexpr double left = 56;
constexpr double top = 352;
constexpr double width = 306;

// Eleven greys, even steps to the eye.
void paintGreys(Painter& p) {
    for (int i = 0; i < 11; ++i) {
        const auto grey = static_cast<unsigned int>(24 + i * 23);
        const double x = left + 10 + i * 26;
        p.fill(x, top + 12, x + 26, top + 52, grey * 0x10101);
    }
}

void paintColours(Painter& p) {
    const unsigned int colours[] = {0xb03a34, 0x4a8f4a, 0x3c4f9e, 0xe3c23a,
                                    0xa8508c, 0x2f88a0, 0xc98d70, 0x9da3a8};
    for (int i = 0; i < 8; ++i) {
        const double x = left + 10 + (i % 4) * 72;
        const double y = i < 4 ? top + 62 : top + 104;
        p.fill(x, y, x + 68, y + 37, colours[i]);
    }
}

// Wedges that meet in the middle, and lines ever closer: what the eye judges focus by.
void paintLines(Painter& p) {
    const double x = left + 76;
    const double y = top + 222;
    p.ellipse(x, y, 67, 67, 0xf2f2f0);
    for (int i = 0; i < 36; ++i) {
        const double a = i * 3.14159265358979 / 18;
        const double b = a + 3.14159265358979 / 36;
        p.polygon({{x + 4 * std::cos(a), y + 4 * std::sin(a)},
                   {x + 66 * std::cos(a), y + 66 * std::sin(a)},
                   {x + 66 * std::cos(b), y + 66 * std::sin(b)},
                   {x + 4 * std::cos(b), y + 4 * std::sin(b)}},
                  0x181818);
    }
    for (int block = 0; block < 5; ++block) {
        const double pitch = 2 + block * 1.5;
        const double down = top + 156 + block * 27;
        for (double line = left + 156; line + pitch < left + 296; line += 2 * pitch) {
            p.fill(line, down, line + pitch, down + 20, 0x181818);
        }
    }
}

} // namespace

void paintChart(Painter& p) {
    p.fourth(DISTANCE_CHART);
    for (double x : {left + 34, left + width - 46}) {
        p.fill(x, top + 280, x + 12, top + 380, 0x6a4e36);
        p.fill(x, top + 280, x + 4, top + 380, 0x7d5f44);
    }
    p.fill(left - 6, top - 6, left + width + 6, top + 306, 0x54402e);
    p.fill(left, top, left + width, top + 300, 0xe9e9e6);
    paintGreys(p);
    paintColours(p);
    paintLines(p);
}

} // namespace simulated_ia
