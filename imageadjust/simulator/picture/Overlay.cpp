#include "Overlay.h"

#include <algorithm>
#include <cctype>
#include <cstdint>

namespace simulated_ia {
namespace {

// A letter's seven rows of five points, the first row and its left point in the highest bits.
struct Letter {
    char character;
    uint64_t points;
};
constexpr Letter letters[] = {
    {'%', 0x672222273}, {'(', 0x088842082}, {')', 0x208210888}, {'+', 0x0084f9080},
    {',', 0x000001888}, {'-', 0x000070000}, {'.', 0x0000000c6}, {'/', 0x042222210},
    {'0', 0x3a33ae62e}, {'1', 0x11842108e}, {'2', 0x3a213221f}, {'3', 0x78217043e},
    {'4', 0x08ca97c42}, {'5', 0x7e1e0862e}, {'6', 0x3a10f462e}, {'7', 0x7c2221084},
    {'8', 0x3a317462e}, {'9', 0x3a317842e}, {':', 0x008000080}, {'<', 0x088882082},
    {'=', 0x001f07c00}, {'>', 0x208208888}, {'A', 0x3a31fc631}, {'B', 0x7a31f463e},
    {'C', 0x3a308422e}, {'D', 0x7a318c63e}, {'E', 0x7e10f421f}, {'F', 0x7e10f4210},
    {'G', 0x3a30bc62f}, {'H', 0x4631fc631}, {'I', 0x38842108e}, {'J', 0x1c4210a4c},
    {'K', 0x4654c5251}, {'L', 0x42108421f}, {'M', 0x4775ac631}, {'N', 0x4739ace71},
    {'O', 0x3a318c62e}, {'P', 0x7a31f4210}, {'Q', 0x3a318d64d}, {'R', 0x7a31f5251},
    {'S', 0x3e107043e}, {'T', 0x7c8421084}, {'U', 0x46318c62e}, {'V', 0x46318a944},
    {'W', 0x4631ad771}, {'X', 0x462a22a31}, {'Y', 0x462a21084}, {'Z', 0x7c222221f},
};
constexpr int letterWidth = 5;
constexpr int letterHeight = 7;

uint64_t pointsOf(char character) {
    const char wanted = static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
    for (const Letter& letter : letters) {
        if (letter.character == wanted) {
            return letter.points;
        }
    }
    return 0;
}

void dot(Frame& frame, int x, int y, uint8_t luma) {
    if (x < 0 || y < 0 || x >= frame.width || y >= frame.height) {
        return;
    }
    frame.luma[static_cast<size_t>(y) * frame.width + x] = luma;
    const size_t at = static_cast<size_t>(y / 2) * (frame.width / 2) + x / 2;
    frame.blue[at] = 128;
    frame.red[at] = 128;
}

void square(Frame& frame, int x, int y, int size, int rim, uint8_t luma) {
    for (int row = -rim; row < size + rim; ++row) {
        for (int column = -rim; column < size + rim; ++column) {
            dot(frame, x + column, y + row, luma);
        }
    }
}

} // namespace

int textWidth(int size, const std::string& text) {
    return static_cast<int>(std::min<size_t>(text.size(), 1000)) * (letterWidth + 1) * size;
}

void writeText(Frame& frame, int x, int y, int size, const std::string& text) {
    x = x < 0 ? frame.width + x - textWidth(size, text) : x;
    y = y < 0 ? frame.height + y - letterHeight * size : y;
    // All rims first, so that none cuts into the letter before it.
    for (const bool rim : {true, false}) {
        int left = x;
        for (const char character : text) {
            if (left >= frame.width) {
                break;
            }
            const uint64_t points = pointsOf(character);
            for (int i = 0; i < letterWidth * letterHeight; ++i) {
                if ((points >> (letterWidth * letterHeight - 1 - i) & 1) != 0) {
                    square(frame, left + i % letterWidth * size, y + i / letterWidth * size, size,
                           rim ? 1 : 0, rim ? 24 : 240);
                }
            }
            left += (letterWidth + 1) * size;
        }
    }
}

} // namespace simulated_ia
