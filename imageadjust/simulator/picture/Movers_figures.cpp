#include "Movers_figures.h"

#include <cmath>

namespace simulated_ia {
namespace {

void paintWheel(Painter& p, double x) {
    p.ellipse(x, carHeight - 17, 19, 17, Paint(0x202124, 0.5));
    p.ellipse(x, carHeight - 15.5, 15.5, 15.5, 0x1c1c1e);
    p.ellipse(x, carHeight - 15.5, 9.5, 9.5, 0xa9adb2);
    p.ellipse(x, carHeight - 15.5, 6.5, 6.5, 0x54585d);
    p.ellipse(x, carHeight - 15.5, 2.5, 2.5, 0xc8ccd0);
}

void paintLeg(Painter& p, double swing, Paint paint) {
    const double hip = 54;
    const double knee = 76 + 14 * swing * 0.4;
    const double footX = 22 + 17 * swing;
    const double kneeX = 22 + 10 * swing + 2;
    p.polygon({{18, hip}, {27, hip}, {kneeX + 4, knee}, {kneeX - 4, knee}}, paint);
    p.polygon({{kneeX - 4, knee - 2}, {kneeX + 4, knee - 2}, {footX + 3, 96}, {footX - 3, 96}},
              paint);
    p.polygon({{footX - 4, 95}, {footX + 5, 95}, {footX + 9, 99.5}, {footX - 4, 99.5}}, 0x2a2420);
}

} // namespace

Texture paintCar(unsigned int body) {
    Texture texture(carLength, carHeight);
    Painter p(texture, 0, 0);
    // Sills, bonnet, cabin, boot: one outline, with a lighter edge along the top.
    const Painter::Outline outline = {{4, 60},   {2, 40},   {8, 32},   {40, 27},  {62, 6},
                                      {76, 2},   {124, 2},  {138, 6},  {164, 28}, {200, 34},
                                      {212, 42}, {213, 58}, {206, 63}, {10, 63}};
    p.ellipse(106, carHeight - 4, 104, 4, Paint(0, 1, 0.55)); // its shadow
    p.polygon(outline, body);
    p.polygon({{8, 33}, {40, 28}, {164, 29}, {202, 35}, {202, 38}, {164, 32}, {40, 31}, {8, 36}},
              Paint(body, 2.0));
    p.polygon({{3, 50}, {213, 50}, {213, 58}, {206, 63}, {10, 63}, {4, 60}}, Paint(body, 0.55));
    // Glass, with the sky in it.
    p.polygon({{50, 27}, {67, 9}, {98, 6}, {98, 27}}, 0x2b3640);
    p.polygon({{104, 27}, {104, 6}, {128, 8}, {152, 27}}, 0x2b3640);
    p.polygon({{56, 24}, {68, 11}, {80, 9}, {64, 26}}, 0x8a9eac);
    p.polygon({{112, 25}, {112, 9}, {122, 9}, {138, 25}}, 0x8a9eac);
    p.ellipse(126, 18, 6, 7, 0x6b5242); // who drives
    p.fill(100, 30, 101.5, 60, Paint(body, 0.4));
    p.fill(160, 33, 161.5, 52, Paint(body, 0.4));
    p.fill(86, 38, 95, 40.5, Paint(body, 0.4));
    p.fill(146, 38, 155, 40.5, Paint(body, 0.4));
    p.polygon({{200, 37}, {211, 43}, {212, 49}, {198, 46}}, 0xf4f4ee); // headlight
    p.polygon({{3, 36}, {12, 34}, {12, 46}, {3, 45}}, 0xc81e1e);
    p.fill(203, 54, 214, 59, 0x303236);
    p.fill(0, 54, 10, 59, 0x303236);
    p.fill(66, 44, 96, 53, 0xf2f2ec); // a plate to be read
    for (int i = 0; i < 6; ++i) {
        p.fill(69 + i * 4.4, 46, 71.6 + i * 4.4, 51, 0x222222);
    }
    paintWheel(p, 44);
    paintWheel(p, 168);
    return texture;
}

Texture paintWalker(int phase) {
    Texture texture(46, 100);
    Painter p(texture, 0, 0);
    const double swing = std::sin(phase * 3.14159265358979 / 4);
    p.polygon({{20, 28}, {26, 28}, {24 - 15 * swing, 56}, {19 - 15 * swing, 54}}, 0x1f5a78);
    paintLeg(p, -swing, 0x23272f);
    paintLeg(p, swing, 0x2f3440);
    p.polygon({{15, 24}, {29, 24}, {33, 32}, {31, 60}, {13, 60}, {12, 32}}, 0x2f7fa6);
    p.polygon({{20, 28}, {27, 28}, {27 + 15 * swing, 55}, {22 + 15 * swing, 57}}, 0x276b8d);
    p.ellipse(23, 12, 7.5, 9, 0xd6a98c);
    p.ellipse(21.5, 8.5, 8, 6.5, 0x4a3020);
    return texture;
}

} // namespace simulated_ia
