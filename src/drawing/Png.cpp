#include "drawing/Png.h"

#include "foundation/Logger.h"

#include <png.h>

#include <array>
#include <csetjmp>
#include <new>
#include <string>

namespace tarn {

namespace {

constexpr int SignatureBytes = 4;  // that are tested here; libpng tests all 8
constexpr std::array<png_byte, 10> GammaChunks = {'g', 'A', 'M', 'A', 0, 's', 'R', 'G', 'B', 0};
constexpr double DefaultFileGamma = 0.45455;
constexpr double ScreenGamma = 2.2;

GeneralError failure(const char* text) {
    return GeneralError("Bitmap::loadFile", std::string("PNG::") + text);
}

void readBytes(png_structp png, png_bytep bytes, png_size_t size) {
    auto& stream = *static_cast<std::istream*>(png_get_io_ptr(png));
    stream.read(reinterpret_cast<char*>(bytes), static_cast<std::streamsize>(size));
    if (static_cast<png_size_t>(stream.gcount()) != size)
        png_error(png, "the file is cut off");
}

[[noreturn]] void leave(png_structp png, png_const_charp message) {
    logLine(LogWarning, "libpng: %s", message);
    png_longjmp(png, 1);
}

void ignoreWarning(png_structp /*png*/, png_const_charp /*message*/) {}

// libpng's two structures. It leaves a step that fails by a longjmp to `run`, so steps hold nothing
// that has a destructor.
class PngDecoder {
public:
    PngDecoder()
        : png_(png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, &leave, &ignoreWarning)),
          info_(png_ != nullptr ? png_create_info_struct(png_) : nullptr) {}
    PngDecoder(const PngDecoder&) = delete;
    PngDecoder& operator=(const PngDecoder&) = delete;
    ~PngDecoder() { png_destroy_read_struct(&png_, &info_, nullptr); }

    bool isOpen() const { return png_ != nullptr; }
    bool hasInfo() const { return info_ != nullptr; }

    /// The stream stands behind the bytes of the signature that were tested.
    bool readHeader(std::istream& stream) {
        png_set_read_fn(png_, &stream, &readBytes);
        return run(&PngDecoder::header);
    }
    bool readRows(PixelsData& pixels) {
        pixels_ = &pixels;
        return run(&PngDecoder::rows);
    }

    std::int32_t width() const {
        return static_cast<std::int32_t>(png_get_image_width(png_, info_));
    }
    std::int32_t height() const {
        return static_cast<std::int32_t>(png_get_image_height(png_, info_));
    }
    bool hasAlpha() const { return (png_get_color_type(png_, info_) & PNG_COLOR_MASK_ALPHA) != 0; }

private:
    bool run(void (PngDecoder::*step)()) {
        if (setjmp(png_jmpbuf(png_)) != 0)
            return false;
        (this->*step)();
        return true;
    }

    void header() {
        png_set_sig_bytes(png_, SignatureBytes);
        png_set_user_limits(png_, MostPngPixelsASide, MostPngPixelsASide);
        // All other chunks beside the pixels are passed over, which takes no memory.
        png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
        png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_AS_DEFAULT, GammaChunks.data(), 2);
        png_set_crc_action(png_, PNG_CRC_ERROR_QUIT, PNG_CRC_ERROR_QUIT);
        png_read_info(png_, info_);
    }

    void rows() {
        double gamma = DefaultFileGamma;
        png_get_gAMA(png_, info_, &gamma);  // also that of an sRGB chunk
        png_set_gamma(png_, ScreenGamma, gamma);
        png_set_scale_16(png_);
        png_set_gray_to_rgb(png_);
        png_set_bgr(png_);
        const int passes = png_set_interlace_handling(png_);
        png_read_update_info(png_, info_);
        if (png_get_rowbytes(png_, info_) !=
            static_cast<png_size_t>(pixels_->getWidth()) * PixelsData::BytesPerPixel)
            png_error(png_, "unexpected length of rows");
        for (int pass = 0; pass < passes; ++pass)
            for (std::int32_t y = 0; y < pixels_->getHeight(); ++y)
                png_read_row(png_, pixels_->row(y), nullptr);
        png_read_end(png_, nullptr);
    }

    png_structp png_;
    png_infop info_;
    PixelsData* pixels_ = nullptr;
};

}  // namespace

Error readPng(std::istream& stream, SharedObjectPtr<PixelsData>& pixels) {
    std::array<png_byte, SignatureBytes> signature{};
    if (!stream.read(reinterpret_cast<char*>(signature.data()), SignatureBytes))
        return failure("signature read error");
    if (png_sig_cmp(signature.data(), 0, SignatureBytes) != 0)
        return failure("signature mismatch");
    PngDecoder decoder;
    if (!decoder.isOpen())
        return failure("failed to create read struct");
    if (!decoder.hasInfo())
        return failure("failed to create info struct");
    if (!decoder.readHeader(stream))
        return failure("failed to install error handler");
    if (!decoder.hasAlpha())
        return failure("colour type without alpha");
    if (decoder.width() > MostPngPixels / decoder.height())
        return failure("too large");
    try {
        const auto image = makeShared<PixelsData>(decoder.width(), decoder.height());
        if (!decoder.readRows(*image))
            return failure("failed to install error handler");
        image->premultiply();
        pixels = image;
        return NoError();
    } catch (const std::bad_alloc&) {
        return failure("out of memory");
    }
}

}  // namespace tarn
