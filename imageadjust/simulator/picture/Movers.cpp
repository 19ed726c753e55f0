#include "Movers.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "Movers_figures.h"

namespace simulated_ia {
namespace {

// What is nearer by so much hides what moves.
constexpr int inFront = 12;

} // namespace

Sprite::Sprite(const Texture& painted)
    : m_width(painted.width),
      m_height(painted.height),
      m_sums(static_cast<size_t>(m_width + 1) * (m_height + 1) * 4) {
    const size_t line = static_cast<size_t>(m_width + 1) * 4;
    for (int y = 0; y < m_height; ++y) {
        for (int x = 0; x < m_width; ++x) {
            const uint32_t point = painted.points[static_cast<size_t>(y) * m_width + x];
            const double cover = (point >> 24) / 255.0;
            uint64_t* to =
                &m_sums[static_cast<size_t>(y + 1) * line + static_cast<size_t>(x + 1) * 4];
            for (int i = 0; i < 4; ++i) {
                long long here = std::llround(cover * 4096);
                if (i < 3 && cover > 0) {
                    // An edge was painted on black; the colour is what is left of it.
                    const double root = (point >> (8 * i) & 255) / 127.0 / cover;
                    here = std::llround(std::min(root * root, 4.0) * cover * 4096);
                }
                to[i] =
                    static_cast<uint64_t>(here) + to[i - 4] + (to - line)[i] - (to - line)[i - 4];
            }
        }
    }
}

void Sprite::mean(int x0, int y0, int x1, int y1, int (&mean)[4]) const {
    const auto area = static_cast<uint64_t>(x1 - x0) * static_cast<uint64_t>(y1 - y0);
    const auto left = static_cast<size_t>(std::clamp(x0, 0, m_width));
    const auto right = static_cast<size_t>(std::clamp(x1, 0, m_width));
    const size_t line = static_cast<size_t>(m_width) + 1;
    const size_t top = static_cast<size_t>(std::clamp(y0, 0, m_height)) * line;
    const size_t bottom = static_cast<size_t>(std::clamp(y1, 0, m_height)) * line;
    for (size_t i = 0; i < 4; ++i) {
        mean[i] =
            static_cast<int>((m_sums[(bottom + right) * 4 + i] - m_sums[(bottom + left) * 4 + i] -
                              m_sums[(top + right) * 4 + i] + m_sums[(top + left) * 4 + i]) /
                             area);
    }
}

Movers::Movers() : m_red(paintCar(0xb3262b)), m_blue(paintCar(0x31518e)) {
    for (int i = 0; i < 8; ++i) {
        m_steps.emplace_back(paintWalker(i));
    }
}

void Movers::drawSprite(LightPicture& picture, const View& view, const Illumination& light,
                        const Sprite& sprite, const Place& place, int right, int down, double smear,
                        int part) const {
    // Around it lies what the lens and the movement spread it over.
    const double soft = view.blur() * 1.5 * view.step();
    const double behind = place.mirrored ? 0 : smear;
    const double ahead = place.mirrored ? smear : 0;
    const double width = sprite.width() * place.scale;
    const double height = sprite.height() * place.scale;
    const auto from = [](double at, int least) {
        return std::max(least, static_cast<int>(std::floor(at)));
    };
    const int x0 = from(view.across(place.x - behind - soft) - right, 0);
    const int x1 =
        std::min(picture.width, 1 + from(view.across(place.x + width + ahead + soft) - right, -1));
    const int y0 = from(view.down(place.foot - height - soft) - down, 0);
    const int y1 = std::min(picture.height, 1 + from(view.down(place.foot + soft) - down, -1));
    const double shine = Scene::lampLight(place.x + width / 2, place.foot);
    const int fog = light.fogAt(place.distance);
    const double own = light.infraredAt(place.distance);
    int falls[3];
    int haze[3];
    for (int i = 0; i < 3; ++i) {
        const double all = light.daylight[i] + light.lamp[i] * shine;
        falls[i] = static_cast<int>((all + own) * picture.unit);
        haze[i] = static_cast<int>((light.daylight[i] + light.lamp[i] * shine / 2) * picture.unit);
    }
    const double pitch = view.step() / place.scale;
    const double around = soft / place.scale;
    const double length = pitch + 2 * around + smear / place.scale;
    std::vector<std::pair<int, int>> columns;
    for (int x = x0; x < x1; ++x) {
        double begin = (x + right - view.across(place.x)) * pitch - around;
        if (place.mirrored) {
            begin = sprite.width() - begin - pitch - 2 * around;
        }
        const int first = static_cast<int>(std::floor(begin));
        columns.emplace_back(first, std::max(first + 1, static_cast<int>(begin + length)));
    }
    for (int y = y0; y < y1; ++y) {
        const double top = sprite.height() - (view.down(place.foot) - down - y) * pitch - around;
        const int sy0 = static_cast<int>(std::floor(top));
        const int sy1 = std::max(sy0 + 1, static_cast<int>(top + pitch + 2 * around));
        if (sy1 <= 0 || sy0 >= sprite.height()) {
            continue;
        }
        for (int x = x0; x < x1; ++x) {
            const auto [sx0, sx1] = columns[static_cast<size_t>(x - x0)];
            if (sx1 <= 0 || sx0 >= sprite.width() ||
                view.distance(x + right, y + down) < place.distance - inFront) {
                continue;
            }
            int mean[4];
            sprite.mean(sx0, sy0, sx1, sy1, mean);
            if (mean[3] == 0) {
                continue;
            }
            const int cover = mean[3] * part >> 8; // of 4096
            const size_t at = static_cast<size_t>(y) * picture.width + static_cast<size_t>(x);
            int seen[3];
            for (int i = 0; i < 3; ++i) {
                const int clear = static_cast<int>(int64_t{falls[i]} * mean[i] * part >> 20);
                const int hidden = static_cast<int>(int64_t{haze[i]} * cover >> 12);
                seen[i] = (clear * (256 - fog) + hidden * fog) >> 8;
            }
            if (picture.channels == 1) {
                seen[0] = (77 * seen[0] + 150 * seen[1] + 29 * seen[2]) >> 8;
            }
            for (int i = 0; i < picture.channels; ++i) {
                const int64_t ground = int64_t{picture.plane[i][at]} * (4096 - cover) >> 12;
                picture.plane[i][at] =
                    static_cast<uint16_t>(std::min<int64_t>(ground + seen[i], 65535));
            }
        }
    }
}

void Movers::drawLights(LightPicture& picture, const View& view, const Illumination& light,
                        const Place& place, int right, int down) const {
    const double way = place.mirrored ? -1 : 1;
    const double length = carLength * place.scale;
    const double front = place.mirrored ? place.x : place.x + length;
    const double back = place.mirrored ? place.x + length : place.x;
    const double high = place.foot - 31 * place.scale;
    const double clear = (1 - light.fogAt(place.distance) / 256.0) * picture.unit;

    // On the road ahead.
    const double reach = 330 * place.scale;
    const double middleX = front + way * (reach * 0.5 + 8);
    const double middleY = place.foot - 2;
    const int x0 = std::max(0, static_cast<int>(view.across(middleX - reach * 0.55)) - right);
    const int x1 =
        std::min(picture.width, static_cast<int>(view.across(middleX + reach * 0.55)) - right);
    const int y0 = std::max(0, static_cast<int>(view.down(middleY - 26 * place.scale)) - down);
    const int y1 =
        std::min(picture.height, static_cast<int>(view.down(middleY + 26 * place.scale)) - down);
    const double step = view.step();
    // An oval, brighter on the car's side; in 1/1024 of its half axes.
    const int strong = static_cast<int>(std::min(0.014 * clear, 4e4));
    const auto part = [](double value) { return static_cast<int>(1024 * value); };
    for (int y = y0; y < y1; ++y) {
        const int dy = part((y + down - view.down(middleY)) * step / (26 * place.scale));
        for (int x = x0; x < x1; ++x) {
            const int dx = part((x + right - view.across(middleX)) * step / (reach * 0.55));
            const int near = 1024 - (dx * dx + dy * dy) / 1024;
            if (near <= 0 || view.distance(x + right, y + down) < place.distance - inFront) {
                continue;
            }
            const int64_t fall = int64_t{near} * near * (1024 - dx * (place.mirrored ? -3 : 3) / 5);
            const auto add = static_cast<int>(
                (fall >> 20) * strong * view.reflectance(x + right, y + down) >> 16);
            const size_t at = static_cast<size_t>(y) * picture.width + static_cast<size_t>(x);
            for (int i = 0; i < picture.channels; ++i) {
                const int sum = picture.plane[i][at] + (i == 2 ? add * 3 / 4 : add);
                picture.plane[i][at] = static_cast<uint16_t>(std::min(65535, sum));
            }
        }
    }
    const double lampX = view.across(front - way * 6 * place.scale) - right;
    const double lampY = view.down(high) - down;
    const auto within = [&](double value, int end) {
        return std::clamp(static_cast<int>(value), 0, end - 1);
    };
    if (view.distance(within(lampX, picture.width) + right, within(lampY, picture.height) + down) <
        place.distance - inFront) {
        return;
    }
    // Out of focus a light grows, and no more of it comes.
    const double soft = 1 + view.blur() * 0.5;
    const double spot = clear / (soft * soft);
    const double white[3] = {spot * 2.6, spot * 2.3, spot * 1.8};
    const double red[3] = {spot * 0.06, spot * 0.004, spot * 0.003};
    const double haze = clear * (0.010 + light.fog * 0.03);
    const double halo[3] = {haze, haze * 0.95, haze * 0.85};
    addGlow(picture.plane, picture.channels, picture.width, picture.height, lampX, lampY,
            10 * place.scale / step * soft, white);
    addGlow(picture.plane, picture.channels, picture.width, picture.height, lampX, lampY,
            (70 + 70 * light.fog) * place.scale / step, halo);
    addGlow(picture.plane, picture.channels, picture.width, picture.height,
            view.across(back + way * 7 * place.scale) - right,
            view.down(place.foot - 36 * place.scale) - down, 13 * place.scale / step * soft, red);
}

void Movers::draw(LightPicture& picture, const View& view, const Illumination& light,
                  long long milliseconds, int right, int down, double shutter, int trail) const {
    const auto at = [&](long long period, long long begin, double speed) {
        return static_cast<double>(((milliseconds % period + begin) % period + period) % period) *
               speed / 1000;
    };
    constexpr double edge = Scene::margin + 40;
    // The far lane first: the near one hides it.
    const double walked = at(24000, 8200, 78);
    const Place walker = {walked - edge, 488, 0.88, DISTANCE_PAVEMENT, false, 78};
    const Place blue = {
        Scene::middleWidth + edge - at(9000, 2000, 330), 560, 0.94, DISTANCE_FAR_LANE, true, 330};
    const Place red = {
        at(6000, 2200, 420) - edge - carLength * 1.22, 648, 1.22, DISTANCE_NEAR_LANE, false, 420};
    const auto phase = static_cast<size_t>(walked / 6.5) % m_steps.size();
    const bool dark = light.daylight[1] < 0.16;
    struct Figure {
        const Sprite& sprite;
        Place place;
        bool car;
    };
    for (const Figure& figure : {Figure{m_steps[phase], walker, false}, Figure{m_blue, blue, true},
                                 Figure{m_red, red, true}}) {
        const double smear = figure.place.speed * shutter;
        // What was there a twenty-fifth of a second ago, and before.
        for (int i = 3; i > 0 && trail > 0; --i) {
            Place before = figure.place;
            before.x += (before.mirrored ? 1 : -1) * before.speed * 0.04 * i;
            const int part = 256 * trail / 100 * (4 - i) / 8;
            drawSprite(picture, view, light, figure.sprite, before, right, down, smear, part);
        }
        drawSprite(picture, view, light, figure.sprite, figure.place, right, down, smear, 256);
        if (figure.car && dark) {
            drawLights(picture, view, light, figure.place, right, down);
        }
    }
}

} // namespace simulated_ia
