// PNG files of all kinds, as libpng writes them.
#pragma once

#include <png.h>

#include <string>

namespace tarn::test {

struct PngKind {
    int colorType = PNG_COLOR_TYPE_RGB_ALPHA;
    int bits = 8;
    int interlace = PNG_INTERLACE_NONE;
    double gamma = 0.0;  // none
};

/// Of rows from the top; with fewer bytes than the size needs the file ends where the pixels begin.
inline std::string pngFile(png_uint_32 width, png_uint_32 height, std::string bytes,
                           const PngKind& kind = {}) {
    std::string file;
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(png);
    const auto append = [](png_structp writer, png_bytep data, png_size_t size) {
        static_cast<std::string*>(png_get_io_ptr(writer))->append(data, data + size);
    };
    png_set_write_fn(png, &file, append, nullptr);
    png_set_IHDR(png, info, width, height, kind.bits, kind.colorType, kind.interlace,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (kind.gamma != 0.0)
        png_set_gAMA(png, info, kind.gamma);
    png_write_info(png, info);
    const std::size_t rowBytes = png_get_rowbytes(png, info);
    if (bytes.size() == rowBytes * height) {
        const auto passes = static_cast<png_uint_32>(png_set_interlace_handling(png));
        for (png_uint_32 row = 0; row < height * passes; ++row)
            png_write_row(png, reinterpret_cast<png_bytep>(&bytes[row % height * rowBytes]));
        png_write_end(png, info);
    } else {
        file.append("\0\0\1\0IDAT", 8);
    }
    png_destroy_write_struct(&png, &info);
    return file;
}

/// Of one colour and opaque.
inline std::string plainPng(png_uint_32 width, png_uint_32 height) {
    return pngFile(width, height, std::string(std::size_t{width} * height * 4, '\xFF'));
}

}  // namespace tarn::test
