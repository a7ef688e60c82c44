// An image, and how a skin's author means it: as one picture or a strip of frames, as the letters
// of a font, with which opacity.
// Everything rests on one rule: a frame never lies outside the pixels, whatever was asked for.
#pragma once

#include "drawing/Color.h"
#include "drawing/PixelsData.h"
#include "foundation/Error.h"
#include "foundation/Point.h"
#include "foundation/Rect.h"
#include "foundation/SharedObject.h"

#include <cstdint>
#include <istream>
#include <string>
#include <string_view>
#include <vector>

namespace tarn {

class File;

/// Empty until a load succeeds: no pixels, and all rectangles are empty. A copy shares the pixels.
/// Points and rectangles are in a skin's pixels from the image's top left. For screens that take
/// more of their own for each of those there may be denser variants of the same image. Interface
/// thread.
class Bitmap {
public:
    Bitmap() = default;

    /// Transparent, of a size of at least 1 by 1 and at most 16,384 a side: `pixels`, which have
    /// `density` of their own for each of the image's. Null pixels make an empty bitmap.
    Bitmap(SharedObjectPtr<PixelsData> pixels, float density);

    /// Replaces the image by the file's, as one frame; the rest of the description stays. Of PNG
    /// files alone, by their extension: other formats end as a missing file does. An
    /// `ErrorImportFailed` if there is no such file, or else what `readPng` says: it is logged, and
    /// the bitmap is empty.
    Error loadFile(const File& file);

    /// The same from a stream that stands at a PNG file's beginning, without a line in the log.
    Error load(std::istream& stream);

    /// Adds a variant with `density` pixels for each of the image's, from the same kind of stream;
    /// above 0 and at most 16. An empty bitmap takes its size from the first one. What `load` says
    /// on failure, with everything as it was.
    Error loadVariant(std::istream& stream, float density);

    /// Makes it empty; the description but for the frames stays.
    void clear();

    bool isValid() const { return !variants_.empty(); }

    struct Variant {
        SharedObjectPtr<PixelsData> pixels;
        float density;
    };

    /// The least dense one that has `density`, or else the densest; null while empty.
    const Variant* getVariant(float density) const;

    /// The whole image.
    Rect getRect() const;

    /// Cuts the image into frames, row by row, of the size of the first one, which is cut to the
    /// image. There are so many in a row and so many rows, or as many as there is room for, if that
    /// is less. If nothing is left of `first`, or there are less than 1, the image is one frame.
    void setFrames(const Rect& first, std::int32_t columns, std::int32_t rows);

    /// So many frames: side by side if the image is one frame so far, or else the first ones of
    /// those there are. Never more than there is room for; below 1 nothing changes.
    void setFrameCount(std::int32_t count);

    /// At least 1, also while empty.
    std::int32_t getFrameCount() const { return frameCount_; }

    /// Empty for an index that isn't from 0 to the count - 1.
    Rect getFrameRect(std::int32_t index) const;

    /// Width and height.
    Point getFrameSize() const;

    /// Of a pixel as it is stored, its colours multiplied by alpha; all zero outside the image.
    Color getPixel(Point point) const;

    /// Stores a colour as `getPixel` answers it, none of its channels above alpha; outside the
    /// image nothing. A copy of the bitmap changes too, and denser variants are dropped.
    void setPixel(Point point, const Color& color);

    /// Whether there is a pixel whose alpha isn't 0.
    bool isOpaqueAt(Point point) const;

    /// Each pixel becomes the mean of those inside the image in the square around it of side 2 r +
    /// 1, where r is `radius` / 6 rounded, and 0 for less; rounded to the nearest, half up. The
    /// mean's colours are multiplied by `strength` and cut off at its alpha. Takes the same time
    /// for each radius. The bitmap has pixels of its own from then on. Throws std::bad_alloc, and
    /// is as it was then.
    void blur(float radius, float strength);

    /// Whether drawing heeds the pixels' alpha; true at first.
    void setUseAlpha(bool use) { useAlpha_ = use; }
    bool usesAlpha() const { return useAlpha_; }

    /// From 0.0, which can't be seen, to 1.0, the first value; clamped, and NaN is 0.0.
    void setTransparency(float opacity);
    float getOpacity() const { return opacity_; }

    /// Of a skin's own meaning; 0.0 at first.
    void setFlicker(float flicker) { flicker_ = flicker; }
    float getFlicker() const { return flicker_; }

    /// The place in the image that stands where it is drawn; any numbers.
    void setOrigin(Point origin) { origin_ = origin; }
    Point getOrigin() const { return origin_; }

    /// The characters that the frames show, in their order, of a bitmap that is a font; empty
    /// otherwise.
    void setGlyphs(std::string_view glyphs) { glyphs_ = glyphs; }
    const std::string& getGlyphs() const { return glyphs_; }

private:
    void setOneFrame();
    std::uint8_t* pixelAt(Point point) const;

    std::vector<Variant> variants_;  // in the order of their densities
    Point size_;
    Rect firstFrame_;
    std::int32_t columns_ = 1;  // frames in a row
    std::int32_t frameCount_ = 1;
    bool useAlpha_ = true;
    float opacity_ = 1.0f;
    float flicker_ = 0.0f;
    Point origin_;
    std::string glyphs_;
};

}  // namespace tarn
