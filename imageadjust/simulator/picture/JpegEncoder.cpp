#include "JpegEncoder.h"

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

namespace simulated_ia {
namespace {

struct Errors {
    jpeg_error_mgr base;
    jmp_buf back;
    char text[JMSG_LENGTH_MAX];
};

// The library's own way out would end the process.
void leave(j_common_ptr info) {
    auto* errors = reinterpret_cast<Errors*>(info->err);
    info->err->format_message(info, errors->text);
    std::longjmp(errors->back, 1);
}

void writeRows(jpeg_compress_struct& info, const Frame& frame) {
    // Rows go in sixteens; the last ones are repeated where the height is none.
    constexpr int lines = 16;
    JSAMPROW luma[lines];
    JSAMPROW blue[lines / 2];
    JSAMPROW red[lines / 2];
    JSAMPARRAY planes[3] = {luma, blue, red};
    const auto row = [](const std::vector<uint8_t>& plane, int y, int height, int width) {
        const size_t at = static_cast<size_t>(std::min(y, height - 1)) * static_cast<size_t>(width);
        return const_cast<JSAMPROW>(&plane[at]);
    };
    for (int y = 0; y < frame.height; y += lines) {
        for (int i = 0; i < lines; ++i) {
            luma[i] = row(frame.luma, y + i, frame.height, frame.width);
        }
        for (int i = 0; i < lines / 2; ++i) {
            blue[i] = row(frame.blue, y / 2 + i, frame.height / 2, frame.width / 2);
            red[i] = row(frame.red, y / 2 + i, frame.height / 2, frame.width / 2);
        }
        jpeg_write_raw_data(&info, planes, lines);
    }
}

// No object with a destructor may live here: an error jumps out of the middle.
bool compress(const Frame& frame, int quality, Errors& errors, unsigned char** memory,
              unsigned long* size) {
    jpeg_compress_struct info = {};
    info.err = jpeg_std_error(&errors.base);
    errors.base.error_exit = leave;
    if (setjmp(errors.back) != 0) {
        jpeg_destroy_compress(&info);
        return false;
    }
    jpeg_create_compress(&info);
    jpeg_mem_dest(&info, memory, size);
    info.image_width = static_cast<JDIMENSION>(frame.width);
    info.image_height = static_cast<JDIMENSION>(frame.height);
    info.input_components = 3;
    info.in_color_space = JCS_YCbCr;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, quality, TRUE);
    info.raw_data_in = TRUE;
    info.comp_info[0].h_samp_factor = 2;
    info.comp_info[0].v_samp_factor = 2;
    jpeg_start_compress(&info, TRUE);
    writeRows(info, frame);
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    return true;
}

} // namespace

bool encodeJpeg(const Frame& frame, int quality, std::vector<unsigned char>& jpeg,
                std::string& problem) {
    Errors errors = {};
    unsigned char* memory = nullptr;
    unsigned long size = 0;
    const bool done = compress(frame, std::clamp(quality, 1, 100), errors, &memory, &size);
    if (done) {
        jpeg.assign(memory, memory + size);
    } else {
        problem = errors.text;
    }
    std::free(memory);
    return done;
}

} // namespace simulated_ia
