#include <cmath>

#include "Scene.h"

namespace simulated_ia {
namespace {

constexpr double left = -Scene::margin;
constexpr double right = Scene::middleWidth + Scene::margin;
constexpr double bottom = Scene::middleHeight + Scene::margin;
constexpr double footOfHouses = 452;
constexpr double storey = 98;
constexpr double gateLeft = 424;
constexpr double gateRight = 580;

struct House {
    double x, width;
    int storeys;
    unsigned int wall, trim, roof;
    int windows; // on each floor
    bool bricks;
    double doorAt; // from the house's left; negative: no door
};

constexpr House houses[] = {
    {-90, 236, 3, 0xc8a98a, 0xe8dfd0, 0x6d4438, 4, false, 150},
    {146, 214, 2, 0xa35a45, 0xe6e0d6, 0x4c4a50, 3, true, 30},
    {360, 268, 3, 0xd8c48f, 0xf0e8d4, 0x7a4a38, 4, false, -1},
    {628, 252, 2, 0x8fa3ae, 0xe9eef0, 0x4d525c, 4, false, -1},
    {1012, 210, 3, 0xb4705c, 0xe9e2d8, 0x55403c, 3, true, 92},
    {1222, 220, 2, 0xcfcbbd, 0xf2efe6, 0x6a4a3c, 3, false, 140},
};

// A window's panes, with the sky in the upper part; some rooms have light on.
void paintWindow(Painter& p, double x, double y, const House& house, bool lit,
                 std::vector<Luminous>& luminous) {
    p.fill(x - 5, y - 5, x + 35, y + 57, house.trim);
    p.fade(x, y, x + 30, y + 52, 0x6f8698, 0x28323c);
    if (lit) {
        p.fade(x, y, x + 30, y + 52, 0xc79a5a, 0x96683a);
        p.fill(x, y, x + 8, y + 52, 0xe0c99b);
        p.fill(x + 23, y, x + 30, y + 52, 0xe0c99b);
        luminous.push_back({x, y, x + 14, y + 52, 0xffc878, 0, 0.012});
        luminous.push_back({x + 16, y, x + 30, y + 52, 0xffc070, 0, 0.012});
    } else {
        p.polygon({{x, y + 34}, {x + 22, y}, {x + 30, y}, {x, y + 48}}, 0x8fa6b6);
    }
    p.fill(x + 14, y, x + 16.5, y + 52, house.trim);
    p.fill(x, y + 17, x + 30, y + 19, house.trim);
    p.fade(x, y, x + 30, y + 7, Paint(0, 1, 0.45), Paint(0, 1, 0));
    p.fill(x - 8, y + 57, x + 38, y + 61, 0xc9c3b8);
    p.fade(x - 8, y + 61, x + 38, y + 68, Paint(0, 1, 0.3), Paint(0, 1, 0));
}

void paintRoof(Painter& p, const House& house, double top) {
    const double x0 = house.x - 8;
    const double x1 = house.x + house.width + 8;
    const double height = house.storeys == 2 ? 74 : 52;
    p.polygon({{x0, top}, {x0 + 34, top - height}, {x1 - 34, top - height}, {x1, top}}, house.roof);
    for (int i = 0; top - height + 6 + i * 7 < top; ++i) {
        const double y = top - height + 6 + i * 7;
        const double in = 34 * (top - y) / height;
        p.fill(x0 + in, y, x1 - in, y + 1.4, Paint(house.roof, 0.7));
    }
    p.fill(house.x + house.width * 0.7, top - height - 26, house.x + house.width * 0.7 + 24,
           top - height + 16, Paint(house.roof, 1.25));
    p.fill(house.x + house.width * 0.7 - 3, top - height - 30, house.x + house.width * 0.7 + 27,
           top - height - 24, 0x8a8580);
    p.fill(x0, top - 3, x1, top + 5, house.trim);
}

void paintHouse(Painter& p, const House& house, int number, std::vector<Luminous>& luminous) {
    const double top = footOfHouses - house.storeys * storey;
    p.fade(house.x, top, house.x + house.width, footOfHouses, Paint(house.wall, 1.06),
           Paint(house.wall, 0.86));
    if (house.bricks) {
        for (int i = 0; top + i * 7 < footOfHouses; ++i) {
            const double y = top + i * 7;
            p.fill(house.x, y, house.x + house.width, y + 1.2, Paint(house.wall, 1.5));
        }
    }
    p.grain(static_cast<int>(house.x), static_cast<int>(top),
            static_cast<int>(house.x + house.width), static_cast<int>(footOfHouses),
            house.bricks ? 16 : 5, house.bricks ? 14 : 3, house.bricks ? 7 : 3);
    for (int floor = 1; floor < house.storeys; ++floor) {
        const double y = footOfHouses - floor * storey;
        p.fill(house.x, y - 3, house.x + house.width, y + 2, Paint(house.trim, 0.85));
    }
    paintRoof(p, house, top);
    p.fade(house.x, top + 5, house.x + house.width, top + 20, Paint(0, 1, 0.34), Paint(0, 1, 0));
    const double gap = house.width / house.windows;
    for (int floor = 0; floor < house.storeys; ++floor) {
        for (int i = 0; i < house.windows; ++i) {
            const double x = house.x + gap * (i + 0.5) - 15;
            const double y = top + floor * storey + 22;
            const bool ground = floor == house.storeys - 1;
            const double door = house.x + house.doorAt;
            const bool entry = ground && (house.doorAt < 0 || (x + 40 > door && x < door + 50));
            const bool gateway = floor > 0 && x + 40 > gateLeft && x - 10 < gateRight;
            if (!entry && !gateway) {
                // No light where the tree would hide it.
                const bool lit = (number * 5 + floor * 3 + i * 2) % 7 < 2 && (x < 1030 || x > 1290);
                paintWindow(p, x, y, house, lit, luminous);
            }
        }
    }
    p.fill(house.x + house.width - 5, top + 5, house.x + house.width, footOfHouses,
           Paint(0, 1, 0.22));
    p.fade(house.x, footOfHouses - 14, house.x + house.width, footOfHouses, 0x8b857c, 0x6b665f);
    if (house.doorAt >= 0) {
        const double x = house.x + house.doorAt;
        p.fill(x - 5, footOfHouses - 92, x + 47, footOfHouses, house.trim);
        p.fade(x, footOfHouses - 87, x + 42, footOfHouses, 0x375048, 0x24352f);
        p.fill(x + 6, footOfHouses - 80, x + 18, footOfHouses - 48, 0x2b3f39);
        p.fill(x + 24, footOfHouses - 80, x + 36, footOfHouses - 48, 0x2b3f39);
        p.ellipse(x + 36, footOfHouses - 40, 2.2, 2.2, 0xd9b65a);
    }
}

void paintPerson(Painter& p, double x, double foot, unsigned int coat, unsigned int trousers,
                 double times) {
    p.polygon({{x - 11, foot - 40},
               {x + 11, foot - 40},
               {x + 9, foot},
               {x + 2, foot},
               {x, foot - 34},
               {x - 2, foot},
               {x - 9, foot}},
              Paint(trousers, times));
    p.polygon({{x - 9, foot - 70},
               {x + 9, foot - 70},
               {x + 14, foot - 64},
               {x + 15, foot - 36},
               {x - 15, foot - 36},
               {x - 14, foot - 64}},
              Paint(coat, times));
    p.ellipse(x, foot - 79, 7, 8.5, Paint(0xd0a184, times));
    p.ellipse(x, foot - 83, 7.5, 5.5, Paint(0x3a2a20, times));
}

// Deep shade with a person in it, and something to make out once the shade is lifted.
void paintGateway(Painter& p) {
    constexpr double x0 = gateLeft;
    constexpr double x1 = gateRight;
    constexpr double spring = 318;
    Painter::Outline arch = {{x1, footOfHouses}, {x0, footOfHouses}};
    Painter::Outline rim = {{x1 + 12, footOfHouses}, {x0 - 12, footOfHouses}};
    for (int i = 0; i <= 24; ++i) {
        const double angle = 3.14159265358979 * (1 + i / 24.0);
        arch.emplace_back(502 + 78 * std::cos(angle), spring + 56 * std::sin(angle));
        rim.emplace_back(502 + 90 * std::cos(angle), spring + 68 * std::sin(angle));
    }
    p.polygon(rim, 0xd9d0bd);
    p.polygon(arch, Paint(0x2c2a2c, 0.55));
    p.fade(446, 330, 558, footOfHouses, Paint(0x3a3532, 0.5), Paint(0x2a2725, 0.5));
    for (int i = 0; 342 + i * 16 < footOfHouses - 8; ++i) {
        const double y = 342 + i * 16;
        p.fill(446, y, 558, y + 1.5, Paint(0x4c443e, 0.5));
    }
    p.fill(462, 352, 486, footOfHouses, Paint(0x4b3526, 0.5));
    p.fill(530, 384, 556, footOfHouses - 6, Paint(0x35503f, 0.6));
    paintPerson(p, 508, footOfHouses - 1, 0x7a3038, 0x343c58, 0.42);
}

// A shop whose pane throws the sun back.
void paintShop(Painter& p, std::vector<Luminous>& luminous) {
    p.fill(652, 356, 856, footOfHouses, 0x2f4f46);
    p.fill(652, 350, 856, 372, 0x24423a);
    for (int i = 0; i < 9; ++i) { // letters too far away to be read
        p.fill(690 + i * 14, 356, 698 + i * 14, 366, 0xe6d9a8);
    }
    p.fade(662, 378, 776, 438, Paint(0xffffff, 1.7), Paint(0xffffff, 0.8));
    p.fill(790, 378, 846, footOfHouses, 0x46685e);
    p.fade(796, 384, 840, 432, 0x7c98a4, 0x394850);
    p.fill(718, 378, 721, 438, 0x24423a);
    // Bands of what it throws back: what only shows when highlights are kept.
    constexpr double bands[] = {0.6, 1.5, 2.6, 3.8, 4.6, 3.4, 2.2, 0.9};
    double begin = 662;
    for (const double band : bands) {
        const double end = begin > 700 && begin < 722 ? 718 : begin + 13.5;
        luminous.push_back({begin, 378, end, 438, 0xfff4e0, band, 0.010});
        begin = end == 718 ? 721 : end;
    }
    p.fade(652, 372, 856, 384, Paint(0, 1, 0.4), Paint(0, 1, 0));
    // The awning's stripes.
    for (int i = 0; i < 10; ++i) {
        const double x = 652 + i * 20.4;
        p.polygon({{x, 352}, {x + 20.4, 352}, {x + 18, 332}, {x + 2, 332}},
                  i % 2 == 0 ? 0xb53a34 : 0xf0e9de);
    }
}

} // namespace

void paintSky(Painter& p, std::vector<Luminous>& luminous) {
    p.fourth(DISTANCE_SKY);
    p.fade(left, left, right, 330, Paint(0x7fb0e2, 1.5), Paint(0xdfe9f0, 1.7));
    p.fill(left, 330, right, bottom, Paint(0xdfe9f0, 1.7));
    const double clouds[][3] = {{180, 60, 1.0}, {560, 34, 0.8}, {930, 84, 1.1}, {1220, 40, 0.7}};
    for (const auto& cloud : clouds) {
        for (int i = 0; i < 7; ++i) {
            const double size = cloud[2] * (26 + (i * 37) % 22);
            p.ellipse(cloud[0] + (i - 3) * 30 * cloud[2], cloud[1] + (i * 29) % 16 - 8 + size / 5,
                      size * 1.3, size * 0.42, Paint(0xf4f6f8, 1.75));
        }
    }
    for (int i = 0; i < 70; ++i) { // stars; what stands in front of one hides it
        const double x = left + p.random(static_cast<int>(right - left));
        const double y = left + p.random(330);
        const double size = 1.6 + p.random(10) * 0.12;
        luminous.push_back({x, y, x + size, y + size, 0xe8ecff, 0, 0.0006 + p.random(9) * 0.0003});
    }
    // The town behind, seen where there is no house.
    p.fourth(DISTANCE_TOWN);
    Painter::Outline hills = {{right, footOfHouses}, {left, footOfHouses}};
    for (int i = 0; left + i * 20 <= right; ++i) {
        const double x = left + i * 20;
        hills.emplace_back(x, 300 + 26 * std::sin(x / 130) + 12 * std::sin(x / 47));
    }
    p.polygon(hills, 0x7f9a86);
    for (int i = 0; i < 9; ++i) {
        const double x = 866 + i * 18;
        const double top = 268 + (i * 53) % 74;
        p.fill(x, top, x + 16, footOfHouses, i % 2 == 0 ? 0x9aa4ae : 0xb0a79c);
        for (int row = 0; top + 8 + row * 14 < 430; ++row) {
            const double y = top + 8 + row * 14;
            p.fill(x + 3, y, x + 6, y + 6, 0x5d6872);
            p.fill(x + 10, y, x + 13, y + 6, 0x5d6872);
        }
    }
    p.polygon({{936, 262}, {944, 190}, {952, 262}, {956, 452}, {932, 452}}, 0x8d949c);
}

void paintHouses(Painter& p, std::vector<Luminous>& luminous) {
    p.fourth(DISTANCE_HOUSES);
    int number = 0;
    for (const House& house : houses) {
        paintHouse(p, house, number++, luminous);
    }
    paintGateway(p);
    paintShop(p, luminous);
}

void paintGround(Painter& p) {
    p.fourth(DISTANCE_PAVEMENT);
    p.fade(left, footOfHouses, right, 494, 0xa8a49c, 0xb7b3ab);
    for (int i = 0; left + i * 34 < right; ++i) {
        const double x = left + i * 34;
        p.polygon({{x, footOfHouses}, {x + 1.5, footOfHouses}, {x - 8, 494}, {x - 10, 494}},
                  0x8d8981);
    }
    p.fill(left, 474, right, 475.5, 0x908c84);
    p.fade(left, footOfHouses, right, footOfHouses + 8, Paint(0, 1, 0.4), Paint(0, 1, 0));
    p.ellipse(1196, 487, 96, 6, Paint(0, 1, 0.35));
    p.ellipse(1068, 489, 24, 2.5, Paint(0, 1, 0.35));
    p.fill(left, 494, right, 500, 0xcac6bd);
    p.fill(left, 500, right, 505, 0x6f6c68);
    // The road comes nearer line by line, which fog and infrared show.
    for (int y = 505; y < 672; ++y) {
        p.fourth(DISTANCE_PAVEMENT - 6 - (y - 505) * 46 / 167);
        p.fill(left, y, right, y + 1, Paint(0x62636a, 0.92 + (y - 505) * 0.0009));
    }
    p.grain(static_cast<int>(left), 505, static_cast<int>(right), 672, 20, 3, 2);
    p.fourth(85);
    for (const double y : {528.0, 556.0, 604.0, 640.0}) { // where wheels have polished it
        p.fade(left, y - 7, right, y, Paint(0x8a8b90, 1, 0), Paint(0x8a8b90, 1, 0.16));
        p.fade(left, y, right, y + 7, Paint(0x8a8b90, 1, 0.16), Paint(0x8a8b90, 1, 0));
    }
    p.ellipse(790, 616, 26, 7, Paint(0x303236, 1, 0.8)); // a manhole
    p.ellipse(790, 615, 22, 5.5, Paint(0x55575c, 1, 0.8));
    for (int i = 0; left + 20 + i * 130 < right; ++i) {
        const double x = left + 20 + i * 130;
        p.polygon({{x, 572}, {x + 66, 572}, {x + 62, 580}, {x - 6, 580}}, 0xe2e0d6);
    }
    p.fourth(55);
    p.fill(left, 672, right, 678, 0x716e69);
    p.fill(left, 678, right, 686, 0xcfcbc2);
    p.fade(left, 686, right, bottom, 0xb4b0a7, 0xa19d95);
    for (int i = 0; left - 60 + i * 58 < right + 60; ++i) {
        const double x = left - 60 + i * 58;
        p.polygon({{x, 686}, {x + 2, 686}, {x - 22, bottom}, {x - 25, bottom}}, 0x8f8b83);
    }
    p.fill(left, 716, right, 718, 0x918d85);
    p.fill(left, 758, right, 760.5, 0x918d85);
    p.grain(static_cast<int>(left), 686, static_cast<int>(right), static_cast<int>(bottom), 9, 3,
            3);
    p.ellipse(216, 732, 178, 10, Paint(0, 1, 0.32)); // of the chart's board
}

void paintStreetLamp(Painter& p, std::vector<Luminous>& luminous) {
    p.fourth(DISTANCE_PAVEMENT);
    const double x = Scene::lampX;
    const double y = Scene::lampY;
    p.fill(x + 64, y - 6, x + 70, 490, 0x4a4f52);
    p.fill(x + 60, 462, x + 74, 490, 0x3f4447);
    p.polygon({{x + 66, y - 2},
               {x + 70, y - 10},
               {x + 6, y - 22},
               {x - 18, y - 18},
               {x - 18, y - 14},
               {x + 6, y - 15}},
              0x4a4f52);
    p.polygon({{x - 26, y - 2}, {x - 18, y - 18}, {x + 14, y - 18}, {x + 22, y - 2}}, 0x3a3f42);
    p.fill(x - 22, y - 2, x + 18, y + 3, 0xe8e2d0);
    luminous.push_back({x - 22, y - 2, x + 18, y + 3, 0xffcf90, 0, -1});
}

void paintTree(Painter& p) {
    p.fourth(DISTANCE_TREE);
    p.polygon({{1146, 486}, {1154, 330}, {1168, 330}, {1178, 486}}, 0x55422f);
    p.polygon({{1158, 380}, {1120, 318}, {1126, 314}, {1164, 366}}, 0x55422f);
    p.polygon({{1164, 370}, {1206, 312}, {1212, 318}, {1168, 386}}, 0x55422f);
    for (int i = 0; i < 900; ++i) { // dark leaves first, those that the sun reaches last
        const double angle = p.random(6283) / 1000.0;
        const double out = std::sqrt(p.random(1000) / 1000.0);
        const double x = 1162 + 96 * out * std::cos(angle);
        const double y = 268 + 84 * out * std::sin(angle) + 10 * std::sin(x / 17);
        const double sun = 0.35 + 0.5 * i / 900 + (268 - y) / 340;
        p.ellipse(x, y, 5 + p.random(7), 4 + p.random(5),
                  Paint(i % 3 == 0   ? 0x6f9a4a
                        : i % 3 == 1 ? 0x5c8a3e
                                     : 0x86a95a,
                        sun));
    }
}

} // namespace simulated_ia
