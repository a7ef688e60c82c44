// What was drawn, against the stored pictures in tests/pictures and docs/pictures. scripts/pictures
// makes them anew.
#pragma once

#include "drawing/Canvas.h"
#include "drawing/PngFile.h"
#include "foundation/File.h"
#include "platform/FileSystem.h"

#include <gtest/gtest.h>
#include <png.h>

#include <cstdlib>
#include <string>

namespace tarn::test {

/// The picture's bytes, red, green, blue, alpha, from the top; colours multiplied by alpha.
inline std::string bytesOf(const PixelsData& pixels) {
    std::string bytes;
    for (std::int32_t y = 0; y < pixels.getHeight(); ++y)
        for (std::int32_t x = 0; x < pixels.getWidth(); ++x)
            for (const int channel : {2, 1, 0, 3})
                bytes += static_cast<char>(pixels.row(y)[x * 4 + channel]);
    return bytes;
}

/// Equal to the last bit on all systems. What differs is written beside the test program, to be
/// looked at. Pictures are opaque, so that a file keeps every bit.
inline void expectPicture(const PixelsData& pixels, const std::string& name,
                          const std::string& folder = PICTURES) {
    const std::string bytes = bytesOf(pixels);
    const std::string png = pngFile(static_cast<png_uint_32>(pixels.getWidth()),
                                    static_cast<png_uint_32>(pixels.getHeight()), bytes);
    const std::string path = folder + "/" + name + ".png";
    if (std::getenv("BRIMTIDE_RENEW_PICTURES") != nullptr) {
        EXPECT_TRUE(File(path).save(png));
        return;
    }
    std::string file, stored;
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (File(path).contents(file, std::size_t{1} << 24) &&
        png_image_begin_read_from_memory(&image, file.data(), file.size()) != 0) {
        image.format = PNG_FORMAT_RGBA;
        stored.resize(PNG_IMAGE_SIZE(image));
        png_image_finish_read(&image, nullptr, &stored[0], 0, nullptr);
    }
    if (stored == bytes)
        return;
    const std::string actual = "differs-" + name + ".png";
    File(platform::currentFolderPath() + "/" + actual).save(png);
    ADD_FAILURE() << "the picture " << name << " differs from the stored one: see " << actual;
}

}  // namespace tarn::test
