#include "Jpeg.h"

#include <cstdio> // jpeglib.h needs FILE

#include <jpeglib.h>

#include <algorithm>
#include <csetjmp>
#include <cstdlib>

namespace image_adjust::v4l2 {
namespace {

// The tables of the JPEG standard, annex K.3, as one segment.
constexpr unsigned char huffmanTables[] = {
    0xff, 0xc4, 0x01, 0xa2, 0x00, 0x00, 0x01, 0x05, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0a,
    0x0b, 0x10, 0x00, 0x02, 0x01, 0x03, 0x03, 0x02, 0x04, 0x03, 0x05, 0x05, 0x04, 0x04, 0x00, 0x00,
    0x01, 0x7d, 0x01, 0x02, 0x03, 0x00, 0x04, 0x11, 0x05, 0x12, 0x21, 0x31, 0x41, 0x06, 0x13, 0x51,
    0x61, 0x07, 0x22, 0x71, 0x14, 0x32, 0x81, 0x91, 0xa1, 0x08, 0x23, 0x42, 0xb1, 0xc1, 0x15, 0x52,
    0xd1, 0xf0, 0x24, 0x33, 0x62, 0x72, 0x82, 0x09, 0x0a, 0x16, 0x17, 0x18, 0x19, 0x1a, 0x25, 0x26,
    0x27, 0x28, 0x29, 0x2a, 0x34, 0x35, 0x36, 0x37, 0x38, 0x39, 0x3a, 0x43, 0x44, 0x45, 0x46, 0x47,
    0x48, 0x49, 0x4a, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5a, 0x63, 0x64, 0x65, 0x66, 0x67,
    0x68, 0x69, 0x6a, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7a, 0x83, 0x84, 0x85, 0x86, 0x87,
    0x88, 0x89, 0x8a, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99, 0x9a, 0xa2, 0xa3, 0xa4, 0xa5,
    0xa6, 0xa7, 0xa8, 0xa9, 0xaa, 0xb2, 0xb3, 0xb4, 0xb5, 0xb6, 0xb7, 0xb8, 0xb9, 0xba, 0xc2, 0xc3,
    0xc4, 0xc5, 0xc6, 0xc7, 0xc8, 0xc9, 0xca, 0xd2, 0xd3, 0xd4, 0xd5, 0xd6, 0xd7, 0xd8, 0xd9, 0xda,
    0xe1, 0xe2, 0xe3, 0xe4, 0xe5, 0xe6, 0xe7, 0xe8, 0xe9, 0xea, 0xf1, 0xf2, 0xf3, 0xf4, 0xf5, 0xf6,
    0xf7, 0xf8, 0xf9, 0xfa, 0x01, 0x00, 0x03, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01, 0x01,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0a,
    0x0b, 0x11, 0x00, 0x02, 0x01, 0x02, 0x04, 0x04, 0x03, 0x04, 0x07, 0x05, 0x04, 0x04, 0x00, 0x01,
    0x02, 0x77, 0x00, 0x01, 0x02, 0x03, 0x11, 0x04, 0x05, 0x21, 0x31, 0x06, 0x12, 0x41, 0x51, 0x07,
    0x61, 0x71, 0x13, 0x22, 0x32, 0x81, 0x08, 0x14, 0x42, 0x91, 0xa1, 0xb1, 0xc1, 0x09, 0x23, 0x33,
    0x52, 0xf0, 0x15, 0x62, 0x72, 0xd1, 0x0a, 0x16, 0x24, 0x34, 0xe1, 0x25, 0xf1, 0x17, 0x18, 0x19,
    0x1a, 0x26, 0x27, 0x28, 0x29, 0x2a, 0x35, 0x36, 0x37, 0x38, 0x39, 0x3a, 0x43, 0x44, 0x45, 0x46,
    0x47, 0x48, 0x49, 0x4a, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5a, 0x63, 0x64, 0x65, 0x66,
    0x67, 0x68, 0x69, 0x6a, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7a, 0x82, 0x83, 0x84, 0x85,
    0x86, 0x87, 0x88, 0x89, 0x8a, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99, 0x9a, 0xa2, 0xa3,
    0xa4, 0xa5, 0xa6, 0xa7, 0xa8, 0xa9, 0xaa, 0xb2, 0xb3, 0xb4, 0xb5, 0xb6, 0xb7, 0xb8, 0xb9, 0xba,
    0xc2, 0xc3, 0xc4, 0xc5, 0xc6, 0xc7, 0xc8, 0xc9, 0xca, 0xd2, 0xd3, 0xd4, 0xd5, 0xd6, 0xd7, 0xd8,
    0xd9, 0xda, 0xe2, 0xe3, 0xe4, 0xe5, 0xe6, 0xe7, 0xe8, 0xe9, 0xea, 0xf2, 0xf3, 0xf4, 0xf5, 0xf6,
    0xf7, 0xf8, 0xf9, 0xfa};

enum Marker : unsigned char { SOI = 0xd8, EOI = 0xd9, SOS = 0xda, DHT = 0xc4 };

// A picture tells its brightness by some of its pixels.
constexpr int lightStep = 8;

/// The codec's errors end the call that met them, and are told by its caller.
struct Guard {
    jpeg_error_mgr manager;
    std::jmp_buf back;
};

void jumpBack(j_common_ptr codec) {
    std::longjmp(reinterpret_cast<Guard*>(codec->err)->back, 1);
}

void sayNothing(j_common_ptr /*codec*/) {}

jpeg_error_mgr* prepare(Guard& guard) {
    jpeg_error_mgr* manager = jpeg_std_error(&guard.manager);
    manager->error_exit = jumpBack;
    manager->output_message = sayNothing;
    return manager;
}

void splitLine(const RawPicture& picture, int y, unsigned char* line) {
    const unsigned char* from = picture.pixels + static_cast<std::ptrdiff_t>(y) * picture.stride;
    for (int x = 0; x + 1 < picture.width; x += 2, from += 4) {
        for (const unsigned char light : {from[0], from[2]}) {
            *line++ = light;
            *line++ = from[1];
            *line++ = from[3];
        }
    }
}

/// Nothing with a destructor may live here: the codec leaves by a jump.
bool run(const RawPicture& picture, int quality, unsigned char* line, unsigned char*& memory,
         unsigned long& bytes) {
    Guard guard;
    jpeg_compress_struct codec = {};
    codec.err = prepare(guard);
    if (setjmp(guard.back) != 0) {
        jpeg_destroy_compress(&codec);
        return false;
    }
    jpeg_create_compress(&codec);
    jpeg_mem_dest(&codec, &memory, &bytes);
    codec.image_width = static_cast<JDIMENSION>(picture.width);
    codec.image_height = static_cast<JDIMENSION>(picture.height);
    codec.input_components = picture.grey ? 1 : 3;
    codec.in_color_space = picture.grey ? JCS_GRAYSCALE : JCS_YCbCr;
    jpeg_set_defaults(&codec);
    jpeg_set_quality(&codec, quality, TRUE);
    codec.dct_method = JDCT_IFAST;
    jpeg_start_compress(&codec, TRUE);
    for (int y = 0; y < picture.height; ++y) {
        JSAMPROW row = line;
        if (picture.grey) {
            row = const_cast<unsigned char*>(picture.pixels) +
                  static_cast<std::ptrdiff_t>(y) * picture.stride;
        } else {
            splitLine(picture, y, line);
        }
        jpeg_write_scanlines(&codec, &row, 1);
    }
    jpeg_finish_compress(&codec);
    jpeg_destroy_compress(&codec);
    return true;
}

} // namespace

bool compress(const RawPicture& picture, int quality, std::vector<unsigned char>& jpeg) {
    jpeg.clear();
    if (picture.width < 2 || picture.height < 1) {
        return false;
    }
    std::vector<unsigned char> line(static_cast<std::size_t>(picture.width) * 3);
    unsigned char* memory = nullptr;
    unsigned long bytes = 0;
    const bool done = run(picture, std::clamp(quality, 1, 100), line.data(), memory, bytes);
    if (done) {
        jpeg.assign(memory, memory + bytes);
    }
    std::free(memory);
    return done;
}

bool completeJpeg(const unsigned char* frame, std::size_t bytes, std::vector<unsigned char>& jpeg) {
    jpeg.clear();
    if (bytes < 4 || frame[0] != 0xff || frame[1] != SOI) {
        return false;
    }
    bool hasTables = false;
    std::size_t at = 2;
    while (at + 4 <= bytes && frame[at] == 0xff && frame[at + 1] != SOS) {
        hasTables = hasTables || frame[at + 1] == DHT;
        at += 2U + (static_cast<std::size_t>(frame[at + 2]) << 8U) + frame[at + 3];
    }
    if (at + 4 > bytes || frame[at] != 0xff) {
        return false;
    }
    // Buffers are filled up behind the end.
    std::size_t end = bytes;
    while (end >= at + 2 && (frame[end - 2] != 0xff || frame[end - 1] != EOI)) {
        --end;
    }
    if (end < at + 2) {
        return false;
    }
    jpeg.reserve(end + sizeof huffmanTables);
    jpeg.assign(frame, frame + at);
    if (!hasTables) {
        jpeg.insert(jpeg.end(), std::begin(huffmanTables), std::end(huffmanTables));
    }
    jpeg.insert(jpeg.end(), frame + at, frame + end);
    return true;
}

int lightOf(const RawPicture& picture) {
    const int pixel = picture.grey ? 1 : 2;
    unsigned long long sum = 0;
    unsigned long long count = 0;
    for (int y = 0; y < picture.height; y += lightStep) {
        const unsigned char* line =
            picture.pixels + static_cast<std::ptrdiff_t>(y) * picture.stride;
        for (int x = 0; x < picture.width; x += lightStep) {
            sum += line[static_cast<std::ptrdiff_t>(x) * pixel];
            ++count;
        }
    }
    return count == 0 ? 0 : static_cast<int>((sum * 100 + count * 255 / 2) / (count * 255));
}

namespace {

int lightOfFile(const unsigned char* file, std::size_t bytes, unsigned char* line,
                std::size_t lineBytes) {
    Guard guard;
    jpeg_decompress_struct codec = {};
    codec.err = prepare(guard);
    if (setjmp(guard.back) != 0) {
        jpeg_destroy_decompress(&codec);
        return -1;
    }
    jpeg_create_decompress(&codec);
    jpeg_mem_src(&codec, file, static_cast<unsigned long>(bytes));
    jpeg_read_header(&codec, TRUE);
    codec.out_color_space = JCS_GRAYSCALE;
    codec.scale_num = 1;
    codec.scale_denom = 8;
    jpeg_start_decompress(&codec);
    unsigned long long sum = 0;
    const bool fits = codec.output_width <= lineBytes;
    while (fits && codec.output_scanline < codec.output_height) {
        JSAMPROW row = line;
        jpeg_read_scanlines(&codec, &row, 1);
        for (JDIMENSION x = 0; x < codec.output_width; ++x) {
            sum += line[x];
        }
    }
    const unsigned long long count = 1ULL * codec.output_width * codec.output_height;
    jpeg_destroy_decompress(&codec);
    return !fits || count == 0 ? -1
                               : static_cast<int>((sum * 100 + count * 255 / 2) / (count * 255));
}

} // namespace

int lightOf(const std::vector<unsigned char>& jpeg) {
    std::vector<unsigned char> line(16384);
    return lightOfFile(jpeg.data(), jpeg.size(), line.data(), line.size());
}

} // namespace image_adjust::v4l2
