#pragma once

#include <cstddef>
#include <vector>

/// Pictures of cameras as JPEG files, and their brightness.
namespace image_adjust::v4l2 {

/// An uncompressed picture in memory. Of YUYV, width is even and a line has two bytes a pixel.
struct RawPicture {
    const unsigned char* pixels;
    int width;
    int height;
    int stride; ///< bytes from line to line
    bool grey;  ///< one byte a pixel; else YUYV
};

/// Compresses. @return false when it cannot be; jpeg is empty then
bool compress(const RawPicture& picture, int quality, std::vector<unsigned char>& jpeg);

/// A camera's frame as a whole file: without what follows its end, and with the tables that cameras
/// leave out because everybody knows them.
/// @return false when it is no JPEG
bool completeJpeg(const unsigned char* frame, std::size_t bytes, std::vector<unsigned char>& jpeg);

/// Mean brightness, 0 (black) .. 100 (white).
int lightOf(const RawPicture& picture);

/// The same of a JPEG file. @return -1 when it cannot be read
int lightOf(const std::vector<unsigned char>& jpeg);

} // namespace image_adjust::v4l2
