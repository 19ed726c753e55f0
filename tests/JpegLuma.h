#pragma once

#include <cstddef>
#include <cstdio>
#include <vector>

#include <jpeglib.h>

/// The mean luma of a JPEG file, as a viewer decodes it.
inline double lumaOf(const unsigned char* jpeg, std::size_t size, int& width, int& height) {
    jpeg_decompress_struct info = {};
    jpeg_error_mgr errors = {};
    info.err = jpeg_std_error(&errors);
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, jpeg, size);
    jpeg_read_header(&info, TRUE);
    info.out_color_space = JCS_GRAYSCALE;
    jpeg_start_decompress(&info);
    width = static_cast<int>(info.output_width);
    height = static_cast<int>(info.output_height);
    std::vector<unsigned char> row(info.output_width);
    double sum = 0;
    while (info.output_scanline < info.output_height) {
        JSAMPROW rows = row.data();
        jpeg_read_scanlines(&info, &rows, 1);
        for (const unsigned char value : row) {
            sum += value;
        }
    }
    jpeg_finish_decompress(&info);
    jpeg_destroy_decompress(&info);
    return sum / (width * height);
}
