// Where interfaces are drawn: shapes, text and images, in one software renderer for all systems.
// Everything rests on one rule: coordinates are a skin's pixels, whole numbers from an origin that
// moves with the control that draws; how many of the screen's pixels one of them takes is known
// here alone.
#pragma once

#include "drawing/Bitmap.h"
#include "drawing/Color.h"
#include "drawing/Font.h"
#include "foundation/Point.h"
#include "foundation/Rect.h"

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

using cairo_t = struct _cairo;  // NOLINT: cairo's name

namespace tarn {

/// What shows a finished picture: a window.
class CanvasTarget {
public:
    virtual ~CanvasTarget() = default;

    /// Whether `show` has anything to show a picture in.
    virtual bool canShow() const = 0;

    /// Copies that part of the picture to the same place of the window's area; both are in the
    /// screen's pixels.
    virtual void show(const PixelsData& picture, const Rect& part) = 0;
};

/// Rectangles and points are in the skin's pixels. Edges of fills, frames, images and clips fall on
/// whole pixels of the screen; lines, ellipses and text are antialiased. Every operation that draws
/// is bounded by the clip, multiplies its alpha by the global one, and does nothing outside a
/// frame. One thread at a time.
class Canvas {
public:
    enum PathMode : std::int32_t { Fill = 1, Stroke = 2 };

    /// For a window's area, whose top left is the origin. It may be empty; more than 16,384 pixels
    /// of the screen a side are cut off, and where more than 67,108,864 in all are left, it is
    /// empty, and the log says so. `deviceScale` is the screen's pixels for one of the skin, 0.25
    /// to 16; others are clamped. Throws std::bad_alloc.
    explicit Canvas(const Rect& area, float deviceScale = 1.0f);

    /// A picture of its own, transparent at first, for what is drawn within `rect` of `parent`'s
    /// present coordinates, which are its own too. It is in a frame until it ends. Where it would
    /// have more than 67,108,864 pixels of the screen together with the parents' pictures, it is
    /// empty.
    Canvas(const Canvas& parent, const Rect& rect);

    /// Draws into these pixels, which outlive the canvas. It is in a frame until it ends.
    explicit Canvas(PixelsData& pixels);

    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;
    ~Canvas();

    /// Where `present` shows the picture; null for nowhere. Not owned. False, and a line in the
    /// log, if there is no window that could show it.
    bool attach(CanvasTarget* window);

    /// Frames may stand in one another. Each starts with the origin at the area's top left and is
    /// clipped to `rect`. A drawing that failed, as where there is no memory, makes those after it
    /// fail until the next frame starts; the log says so.
    void beginFrame(const Rect& rect);

    /// Ends the innermost frame: shows its rectangle, and the former frame's origin and clip hold.
    void present();

    /// Ends all frames, and shows the outermost one's rectangle.
    void flush();

    /// Ends all frames and children, and shows nothing; the alpha is 1.0 again. For a drawing that
    /// an exception has ended.
    void abandon();

    /// Save the origin, the clip and the scale, and bring them back. Pops without a push do
    /// nothing.
    void pushChild();
    void popChild();

    /// Moves the origin by so much; what is drawn moves along.
    void offsetOrigin(Point by);

    /// Within the frame, whatever it was before.
    void setClip(const Rect& rect);
    Rect getClip() const;

    /// Makes all that lies in the clip transparent again.
    void clear();

    /// Factors for all coordinates from now on, clamped to 1 / 256 to 256; one that isn't above 0
    /// is 1.
    void setScale(float x, float y);

    /// Multiplies the global alpha until the matching `restoreAlpha`; the value and the product are
    /// clamped to 0.0 to 1.0.
    void setGlobalAlpha(float value);
    void restoreAlpha();
    float getGlobalAlpha() const { return alphas_.back(); }

    void setPenColor(const Color& color) { pen_ = color; }
    void setFillColor(const Color& color) { fill_ = color; }
    void setTextColor(const Color& color) { text_ = color; }

    /// Behind each text's rectangle; none at first.
    void setTextBackground(const Color& color) { textBackground_ = color; }

    void selectFont(const Font& font) { font_ = font; }
    static Font getDefaultFont(float pixels) { return Font("Arial", pixels); }

    /// Draws UTF-8 text inside the rectangle, cut at its edges. `flags` replace the font's
    /// alignment unless they are 0. It is one line unless `Font::Multiline` is among them.
    void drawText(std::string_view text, const Rect& rect, std::int32_t flags = 0);

    /// What the text takes in the font, from 0, 0; of several lines where it has line ends.
    Rect measureText(std::string_view text) const;

    /// The same on a canvas with `scale` pixels of the screen for one of the skin; above 0.
    static Rect measureText(const Font& font, std::string_view text, double scale);

    /// Puts the frames that stand for the text's characters side by side from the rectangle's top
    /// left, without gaps for those that have none, until one would pass its right edge.
    void drawBitmapText(const Bitmap& bitmap, const Rect& rect, std::string_view text);

    /// Draws a part of the image, in the image's coordinates, over `targetRect`. The densest of its
    /// variants that the screen needs is taken.
    void drawBitmap(const Bitmap& bitmap, const Rect& sourceRect, const Rect& targetRect);

    /// Composites a part of another canvas's picture, in that one's coordinates.
    void copyFrom(const Canvas& canvas, const Rect& sourceRect, const Rect& targetRect);

    /// What the picture shows in the rectangle so far, as an image of that size; empty if a part of
    /// it lies outside the picture.
    Bitmap grab(const Rect& rect) const;

    void fillRect(const Rect& rect);

    /// A line of 1 just inside the rectangle.
    void frameRect(const Rect& rect);

    /// A line in the pen's colour from where the last one ended, or `moveTo` led, through the
    /// middle of both points' pixels.
    void lineTo(Point point);
    void moveTo(Point point);

    /// Between these, `moveTo`, `lineTo` and `arc` collect a path, and draw nothing. A path's
    /// points are the corners of pixels where it is filled, and their middles where it is stroked.
    void beginPath();
    void endPath();
    void strokeOrFillPath(std::int32_t mode = Fill | Stroke);

    // Within the rectangle, their outlines included. Angles are in degrees, clockwise from the
    // right; those that aren't finite draw nothing.

    void ellipse(const Rect& rect);
    void arc(const Rect& rect, float from, float to);
    void pie(const Rect& rect, float from, float to);

    float getDeviceScale() const { return deviceScale_; }

    /// The picture, in the screen's pixels; null for an empty canvas.
    const PixelsData* getPixels() const { return pixels_; }

private:
    struct Cairo;
    struct View {  // what a frame or a child leaves as it found it
        Point origin;
        Rect bounds;  // of the frame; this and the clip from the area's top left
        Rect clip;
        float scaleX = 1.0f;
        float scaleY = 1.0f;
    };
    enum class Rounding { Nearest, Outward };

    Canvas();
    void create(const Rect& device);
    void useContext();
    void recover();
    bool canDraw() const { return !frames_.empty() && cairo_ != nullptr; }
    void setView(const View& view);
    Rect toArea(const Rect& rect) const;
    Rect toDevice(const Rect& rect, Rounding rounding) const;
    Rect toDevice(const Rect& rect, Rounding rounding, const View& view) const;
    cairo_t* context() const;
    void useSkinPixels(double shift) const;
    void setSource(const Color& color) const;
    void fillDevice(const Rect& device, const Color& color) const;
    void drawLine(std::string_view text, const Rect& device, std::int32_t flags, const Rect& box);
    void composite(const PixelsData& pixels, const Rect& source, const Rect& device, bool isOpaque,
                   float alpha) const;
    void addPoint(Point point, double shift, bool isStart) const;
    void addArc(const Rect& rect, float from, float to) const;
    void drawPath(std::int32_t mode) const;
    template <typename AddPath>
    void drawShape(const Rect& any, std::int32_t mode, AddPath addPath);

    SharedObjectPtr<PixelsData> own_;
    PixelsData* pixels_ = nullptr;
    std::unique_ptr<Cairo> cairo_;
    CanvasTarget* window_ = nullptr;
    float deviceScale_ = 1.0f;
    std::int64_t pixelsAbove_ = 0;  // of the parents' pictures, which are there meanwhile
    Point deviceOrigin_;            // of the picture's top left, in the screen's pixels
    View view_;
    std::vector<View> frames_;    // what held before each one
    std::vector<View> children_;  // the same
    std::vector<float> alphas_{1.0f};
    bool isInPath_ = false;
    Point last_;  // where the next line starts
    Font font_;
    Color pen_;
    Color fill_;
    Color text_;
    Color textBackground_ = Color::none();
};

}  // namespace tarn
