#include "drawing/Canvas.h"

#include "drawing/FontLibrary.h"
#include "foundation/Logger.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <mutex>
#include <numbers>
#include <utility>

namespace tarn {

namespace {

constexpr std::int32_t MostPixelsASide = 16'384;
constexpr std::int64_t MostPixels = std::int64_t{1} << 26;  // with all parents' pictures
constexpr double Farthest = 1e6;                            // that a rectangle reaches
constexpr double FarthestPoint = 32'768;  // of a path: what the products of cairo's numbers hold
constexpr float FullAlpha = 0.99f;        // from here on a copy is drawn as it is
constexpr double MiddleOfPixel = 0.5;
constexpr float MostScale = 256.0f;

struct Destroy {
    void operator()(cairo_t* context) const { cairo_destroy(context); }
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_pattern_t* pattern) const { cairo_pattern_destroy(pattern); }
    void operator()(cairo_path_t* path) const { cairo_path_destroy(path); }
};
template <typename T>
using Handle = std::unique_ptr<T, Destroy>;

std::int32_t whole(double value) {
    return static_cast<std::int32_t>(std::clamp(value, -Farthest, Farthest));
}

// Numbers of a skin may be any.
Rect bounded(const Rect& rect) {
    return {whole(rect.left), whole(rect.top), whole(rect.right), whole(rect.bottom)};
}

std::int32_t widthOf(const Rect& any) {
    const Rect rect = bounded(any);
    return std::max(0, rect.right - rect.left);
}

std::int32_t heightOf(const Rect& any) {
    const Rect rect = bounded(any);
    return std::max(0, rect.bottom - rect.top);
}

bool isNothing(const Rect& rect) {
    return rect.left >= rect.right || rect.top >= rect.bottom;
}

Rect common(const Rect& a, const Rect& b) {
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

Handle<cairo_surface_t> surfaceOf(const PixelsData& pixels, const Rect& part,
                                  cairo_format_t format) {
    // cairo never writes to a surface that is only drawn from.
    auto* const first =
        const_cast<std::uint8_t*>(pixels.row(part.top)) + part.left * PixelsData::BytesPerPixel;
    const std::int32_t rowBytes = pixels.getWidth() * PixelsData::BytesPerPixel;
    return Handle<cairo_surface_t>(cairo_image_surface_create_for_data(first, format, widthOf(part),
                                                                       heightOf(part), -rowBytes));
}

}  // namespace

struct Canvas::Cairo {
    Handle<cairo_surface_t> surface;
    Handle<cairo_t> context;
    bool isClipped = false;
};

Canvas::Canvas() = default;
Canvas::~Canvas() = default;

Canvas::Canvas(const Rect& area, float deviceScale) {
    deviceScale_ = deviceScale > 0.25f ? std::min(deviceScale, 16.0f) : 0.25f;
    const Rect device = toDevice(area, Rounding::Outward);
    create(device);
    if (pixels_ == nullptr && !isNothing(device))
        logLine(LogError, "Canvas of %d x %d pixels is too large: nothing is drawn",
                widthOf(device), heightOf(device));
}

Canvas::Canvas(const Canvas& parent, const Rect& rect) {
    deviceScale_ = parent.deviceScale_;
    pixelsAbove_ = parent.pixelsAbove_;
    if (parent.pixels_ != nullptr)
        pixelsAbove_ += std::int64_t{parent.pixels_->getWidth()} * parent.pixels_->getHeight();
    view_ = parent.view_;
    font_ = parent.font_;
    const Rect picture = parent.toArea(rect);
    create(toDevice(rect, Rounding::Outward));
    frames_.push_back(view_);
    setView({view_.origin, picture, picture, view_.scaleX, view_.scaleY});
}

Canvas::Canvas(PixelsData& pixels) : pixels_(&pixels) {
    useContext();
    beginFrame({0, 0, pixels.getWidth(), pixels.getHeight()});
}

void Canvas::create(const Rect& device) {
    deviceOrigin_ = {device.left, device.top};
    const std::int32_t width = std::min(widthOf(device), MostPixelsASide);
    const std::int32_t height = std::min(heightOf(device), MostPixelsASide);
    const std::int64_t count = std::int64_t{width} * height;
    if (count == 0 || pixelsAbove_ + count > MostPixels)
        return;
    own_ = makeShared<PixelsData>(width, height);
    pixels_ = own_.get();
    const std::size_t rowBytes = static_cast<std::size_t>(width) * PixelsData::BytesPerPixel;
    for (std::int32_t y = 0; y < height; ++y)
        std::memset(pixels_->row(y), 0, rowBytes);
    useContext();
}

void Canvas::useContext() {
    FontLibrary::get();  // makes the process's first call of cairo
    cairo_ = std::make_unique<Cairo>();
    cairo_->surface =
        surfaceOf(*pixels_, {0, 0, pixels_->getWidth(), pixels_->getHeight()}, CAIRO_FORMAT_ARGB32);
    cairo_->context.reset(cairo_create(cairo_->surface.get()));
    cairo_set_line_width(cairo_->context.get(), 1.0);
}

// A context that has failed once, as where there is no memory, refuses all that follows.
void Canvas::recover() {
    if (cairo_ == nullptr)
        return;
    const cairo_status_t status = cairo_status(cairo_->context.get());
    if (status == CAIRO_STATUS_SUCCESS)
        return;
    logLine(LogError, "Canvas failed to draw: %s", cairo_status_to_string(status));
    useContext();
}

bool Canvas::attach(CanvasTarget* window) {
    window_ = window;
    if (window != nullptr && window->canShow())
        return true;
    logLine(LogError, "Canvas failed to acquire drawing port");
    return false;
}

void Canvas::beginFrame(const Rect& rect) {
    recover();
    frames_.push_back(view_);
    setView({{}, rect, rect, 1.0f, 1.0f});
}

void Canvas::present() {
    if (frames_.empty())
        return;
    const View former = frames_.back();
    const Rect whole{0, 0, pixels_ ? pixels_->getWidth() : 0, pixels_ ? pixels_->getHeight() : 0};
    const Rect part = common(toDevice(view_.bounds, Rounding::Outward, {}), whole);
    frames_.pop_back();
    setView(former);
    if (window_ != nullptr && !isNothing(part))
        window_->show(*pixels_, part);
}

void Canvas::flush() {
    while (frames_.size() > 1) {
        setView(frames_.back());
        frames_.pop_back();
    }
    present();
}

void Canvas::abandon() {
    if (!frames_.empty())
        setView(frames_.front());
    frames_.clear();
    children_.clear();
    alphas_.resize(1);
    isInPath_ = false;
}

void Canvas::pushChild() {
    children_.push_back(view_);
}

void Canvas::popChild() {
    if (children_.empty())
        return;
    setView(children_.back());
    children_.pop_back();
}

void Canvas::setView(const View& view) {
    view_ = view;
    if (cairo_ != nullptr)
        cairo_->isClipped = false;
}

// Clipped by what the view says now, which changes more often than anything is drawn in it.
cairo_t* Canvas::context() const {
    cairo_t* const cr = cairo_->context.get();
    if (cairo_->isClipped)
        return cr;
    cairo_->isClipped = true;
    const Rect clip = common(view_.bounds, view_.clip);
    const Rect device = toDevice(clip, Rounding::Outward, {});
    cairo_reset_clip(cr);
    cairo_identity_matrix(cr);
    cairo_rectangle(cr, device.left, device.top, widthOf(device), heightOf(device));
    cairo_clip(cr);
    return cr;
}

void Canvas::offsetOrigin(Point by) {
    view_.origin = {whole(view_.origin.x + double{view_.scaleX} * by.x),
                    whole(view_.origin.y + double{view_.scaleY} * by.y)};
}

void Canvas::setClip(const Rect& rect) {
    View view = view_;
    view.clip = toArea(rect);
    setView(view);
}

Rect Canvas::getClip() const {
    const Rect clip = common(view_.bounds, view_.clip);
    const auto x = [this](std::int32_t value) {
        return whole(std::round((double{1} * value - view_.origin.x) / view_.scaleX));
    };
    const auto y = [this](std::int32_t value) {
        return whole(std::round((double{1} * value - view_.origin.y) / view_.scaleY));
    };
    return {x(clip.left), y(clip.top), x(clip.right), y(clip.bottom)};
}

void Canvas::clear() {
    if (!canDraw())
        return;
    cairo_t* const cr = context();
    cairo_set_operator(cr, CAIRO_OPERATOR_CLEAR);
    cairo_paint(cr);
    cairo_set_operator(cr, CAIRO_OPERATOR_OVER);
}

void Canvas::setScale(float x, float y) {
    const auto factor = [](float value) {
        return value > 0.0f ? std::clamp(value, 1.0f / MostScale, MostScale) : 1.0f;
    };
    view_.scaleX = factor(x);
    view_.scaleY = factor(y);
}

void Canvas::setGlobalAlpha(float value) {
    const float product = value * alphas_.back();
    alphas_.push_back(product > 0.0f ? std::min(product, 1.0f) : 0.0f);
}

void Canvas::restoreAlpha() {
    if (alphas_.size() > 1)
        alphas_.pop_back();
}

Rect Canvas::toArea(const Rect& rect) const {
    const auto x = [this](std::int32_t value) {
        return view_.origin.x + double{view_.scaleX} * value;
    };
    const auto y = [this](std::int32_t value) {
        return view_.origin.y + double{view_.scaleY} * value;
    };
    return {whole(std::floor(x(rect.left))), whole(std::floor(y(rect.top))),
            whole(std::ceil(x(rect.right))), whole(std::ceil(y(rect.bottom)))};
}

Rect Canvas::toDevice(const Rect& rect, Rounding rounding) const {
    return toDevice(rect, rounding, view_);
}

Rect Canvas::toDevice(const Rect& rect, Rounding rounding, const View& view) const {
    const double scale = deviceScale_;
    const auto x = [&](std::int32_t value) {
        return (view.origin.x + double{view.scaleX} * value) * scale - deviceOrigin_.x;
    };
    const auto y = [&](std::int32_t value) {
        return (view.origin.y + double{view.scaleY} * value) * scale - deviceOrigin_.y;
    };
    if (rounding == Rounding::Nearest)
        return {whole(std::floor(x(rect.left) + 0.5)), whole(std::floor(y(rect.top) + 0.5)),
                whole(std::floor(x(rect.right) + 0.5)), whole(std::floor(y(rect.bottom) + 0.5))};
    return {whole(std::floor(x(rect.left))), whole(std::floor(y(rect.top))),
            whole(std::ceil(x(rect.right))), whole(std::ceil(y(rect.bottom)))};
}

void Canvas::useSkinPixels(double shift) const {
    cairo_matrix_t matrix;
    const double scale = deviceScale_;
    cairo_matrix_init(&matrix, scale * view_.scaleX, 0, 0, scale * view_.scaleY,
                      (view_.origin.x + shift * view_.scaleX) * scale - deviceOrigin_.x,
                      (view_.origin.y + shift * view_.scaleY) * scale - deviceOrigin_.y);
    cairo_set_matrix(context(), &matrix);
}

void Canvas::setSource(const Color& color) const {
    cairo_set_source_rgba(context(), color.getRed(), color.getGreen(), color.getBlue(),
                          color.getAlpha() * getGlobalAlpha());
}

void Canvas::fillDevice(const Rect& device, const Color& color) const {
    if (color.isNone() || isNothing(device))
        return;
    cairo_t* const cr = context();
    cairo_identity_matrix(cr);
    setSource(color);
    cairo_new_path(cr);
    cairo_rectangle(cr, device.left, device.top, widthOf(device), heightOf(device));
    cairo_fill(cr);
}

void Canvas::fillRect(const Rect& rect) {
    if (canDraw())
        fillDevice(toDevice(rect, Rounding::Nearest), fill_);
}

void Canvas::frameRect(const Rect& rect) {
    if (!canDraw())
        return;
    const Rect outer = toDevice(rect, Rounding::Nearest);
    const auto line = [this](float scale) {
        return std::max(1, static_cast<std::int32_t>(std::lround(deviceScale_ * scale)));
    };
    const Rect inner{outer.left + line(view_.scaleX), outer.top + line(view_.scaleY),
                     outer.right - line(view_.scaleX), outer.bottom - line(view_.scaleY)};
    if (isNothing(inner)) {
        fillDevice(outer, pen_);
        return;
    }
    fillDevice({outer.left, outer.top, outer.right, inner.top}, pen_);
    fillDevice({outer.left, inner.bottom, outer.right, outer.bottom}, pen_);
    fillDevice({outer.left, inner.top, inner.left, inner.bottom}, pen_);
    fillDevice({inner.right, inner.top, outer.right, inner.bottom}, pen_);
}

// Text

namespace {

template <typename Visit>
void forEachLine(std::string_view text, Visit visit) {
    for (std::size_t from = 0; from <= text.size();) {
        const std::size_t end = std::min(text.find('\n', from), text.size());
        visit(text.substr(from, end - from));
        from = end + 1;
    }
}

// Without smooth edges, which our FreeType can't do: it has no renderer of single bits.
void fillGlyphs(cairo_t* cr, const cairo_glyph_t* glyphs, int count) {
    cairo_new_path(cr);
    cairo_glyph_path(cr, glyphs, count);
    cairo_set_antialias(cr, CAIRO_ANTIALIAS_NONE);
    cairo_fill(cr);
    cairo_set_antialias(cr, CAIRO_ANTIALIAS_DEFAULT);
}

}  // namespace

void Canvas::drawText(std::string_view text, const Rect& rect, std::int32_t flags) {
    const Rect device = toDevice(rect, Rounding::Nearest);
    if (!canDraw() || isNothing(device))
        return;
    fillDevice(device, textBackground_);
    if (text_.isNone())
        return;
    if (flags == 0)
        flags = font_.alignment;
    if ((flags & Font::Multiline) == 0) {
        drawLine(text, device, flags, device);
    } else {
        const double height = double{font_.lineHeight} * deviceScale_ * view_.scaleY;
        double count = 0.0;
        forEachLine(text, [&count](std::string_view) { ++count; });
        const bool isCentered = (flags & Font::CenterVertical) != 0;
        double top = device.top + (isCentered ? (heightOf(device) - count * height) / 2 : 0.0);
        forEachLine(text, [&](std::string_view line) {
            if (top < device.bottom && top + height > device.top)
                drawLine(line,
                         {device.left, whole(std::round(top)), device.right,
                          whole(std::round(top + height))},
                         flags | Font::CenterVertical, device);
            top += height;
        });
    }
}

// Places the line in the rectangle, and cuts it at the box's edges, where it reaches them.
void Canvas::drawLine(std::string_view text, const Rect& device, std::int32_t flags,
                      const Rect& box) {
    FontLibrary& fonts = FontLibrary::get();
    const std::lock_guard<Mutex> inside(fonts.lock());
    const FontLibrary::Line& line =
        fonts.layOut(font_, double{deviceScale_} * view_.scaleY, text, flags);
    double x = device.left;
    if ((flags & Font::Right) != 0)
        x = device.right - line.width;
    else if ((flags & Font::CenterHorizontal) != 0)
        x += std::floor((widthOf(device) - line.width) / 2);
    const double height = line.ascent + line.descent;
    const bool isCentered =
        (flags & (Font::CenterVertical | (Font::CenteredLine & ~Font::CenterHorizontal))) != 0;
    const double top = isCentered ? std::floor((heightOf(device) - height) / 2) : 0.0;
    const double baseline = std::round(device.top + top + line.ascent);
    constexpr double Smoothing = 1.0;  // what an edge may add to the ink
    const bool isCut = x + line.inkLeft - Smoothing < box.left ||
                       x + line.inkRight + Smoothing > box.right ||
                       baseline + line.inkTop - Smoothing < box.top ||
                       baseline + line.inkBottom + Smoothing > box.bottom;
    cairo_t* const cr = context();
    cairo_identity_matrix(cr);
    setSource(text_);
    if (isCut) {
        cairo_save(cr);
        cairo_new_path(cr);
        cairo_rectangle(cr, box.left, box.top, widthOf(box), heightOf(box));
        cairo_clip(cr);
    }
    std::vector<cairo_glyph_t> glyphs;
    for (const FontLibrary::Run& run : line.runs) {
        glyphs.clear();
        for (const FontLibrary::Glyph& glyph : run.glyphs)
            glyphs.push_back({glyph.number, x + glyph.x, baseline});
        cairo_set_scaled_font(cr, run.font.get());
        const int count = static_cast<int>(glyphs.size());
        if ((flags & Font::NotAntialiased) == 0)
            cairo_show_glyphs(cr, glyphs.data(), count);
        else
            fillGlyphs(cr, glyphs.data(), count);
    }
    if (isCut)
        cairo_restore(cr);
    recover();  // a font may hold letters that can't be drawn: only this line is missing
}

Rect Canvas::measureText(std::string_view text) const {
    return measureText(font_, text, double{deviceScale_} * view_.scaleY);
}

Rect Canvas::measureText(const Font& font, std::string_view text, double scale) {
    FontLibrary& fonts = FontLibrary::get();
    const std::lock_guard<Mutex> inside(fonts.lock());
    double width = 0.0, height = 0.0;
    forEachLine(text, [&](std::string_view line) {
        width = std::max(width, fonts.layOut(font, scale, line).width);
        height += font.lineHeight;
    });
    return {0, 0, whole(std::ceil(width / scale)), whole(std::ceil(height))};
}

// Images

void Canvas::drawBitmapText(const Bitmap& bitmap, const Rect& rect, std::string_view text) {
    const std::u32string glyphs = lettersOf(bitmap.getGlyphs());
    const Point size = bitmap.getFrameSize();
    std::int32_t x = rect.left;
    for (const char32_t letter : lettersOf(text)) {
        const std::size_t index = glyphs.find(letter);
        if (index == std::u32string::npos)
            continue;
        if (std::int64_t{x} + size.x > rect.right)
            return;
        const Rect frame = bitmap.getFrameRect(static_cast<std::int32_t>(index));
        if (frame.isEmpty())
            continue;
        drawBitmap(bitmap, frame, {x, rect.top, x + size.x, rect.top + size.y});
        x += size.x;
    }
}

void Canvas::drawBitmap(const Bitmap& bitmap, const Rect& sourceRect, const Rect& targetRect) {
    const Rect device = toDevice(targetRect, Rounding::Nearest);
    if (!canDraw() || !bitmap.isValid() || isNothing(device))
        return;
    const double needed = double{deviceScale_} * view_.scaleX * widthOf(targetRect) /
                          std::max(1, widthOf(sourceRect));
    const Bitmap::Variant& variant = *bitmap.getVariant(static_cast<float>(needed));
    const auto inVariant = [&variant](std::int32_t place) {
        return whole(std::round(double{variant.density} * place));
    };
    const Rect source = {inVariant(sourceRect.left), inVariant(sourceRect.top),
                         inVariant(sourceRect.right), inVariant(sourceRect.bottom)};
    composite(*variant.pixels, source, device, !bitmap.usesAlpha(),
              getGlobalAlpha() * bitmap.getOpacity());
}

void Canvas::copyFrom(const Canvas& canvas, const Rect& sourceRect, const Rect& targetRect) {
    if (!canDraw() || canvas.pixels_ == nullptr)
        return;
    // The same place in both: rounded as the other canvas's picture was.
    const Rounding rounding = sourceRect == targetRect ? Rounding::Outward : Rounding::Nearest;
    composite(*canvas.pixels_, canvas.toDevice(sourceRect, Rounding::Outward),
              toDevice(targetRect, rounding), false,
              getGlobalAlpha() < FullAlpha ? getGlobalAlpha() : 1.0f);
}

void Canvas::composite(const PixelsData& pixels, const Rect& source, const Rect& device,
                       bool isOpaque, float alpha) const {
    const Rect there = common(source, {0, 0, pixels.getWidth(), pixels.getHeight()});
    if (isNothing(there) || isNothing(device) || isNothing(source))
        return;
    // What lies outside the picture stays undrawn, and doesn't move the rest.
    const double scaleX = double{1} * widthOf(device) / widthOf(source);
    const double scaleY = double{1} * heightOf(device) / heightOf(source);
    const Rect target = {
        whole(std::round(device.left + (there.left - source.left) * scaleX)),
        whole(std::round(device.top + (there.top - source.top) * scaleY)),
        whole(std::round(device.right - (source.right - there.right) * scaleX)),
        whole(std::round(device.bottom - (source.bottom - there.bottom) * scaleY))};
    if (isNothing(target))
        return;
    const Handle<cairo_surface_t> surface =
        surfaceOf(pixels, there, isOpaque ? CAIRO_FORMAT_RGB24 : CAIRO_FORMAT_ARGB32);
    const Handle<cairo_pattern_t> pattern(cairo_pattern_create_for_surface(surface.get()));
    cairo_matrix_t matrix;
    cairo_matrix_init_scale(&matrix, double{1} * widthOf(there) / widthOf(target),
                            double{1} * heightOf(there) / heightOf(target));
    cairo_matrix_translate(&matrix, -target.left, -target.top);
    cairo_pattern_set_matrix(pattern.get(), &matrix);
    const bool isScaled = widthOf(there) != widthOf(target) || heightOf(there) != heightOf(target);
    cairo_pattern_set_filter(pattern.get(), isScaled ? CAIRO_FILTER_GOOD : CAIRO_FILTER_NEAREST);
    cairo_pattern_set_extend(pattern.get(), isScaled ? CAIRO_EXTEND_PAD : CAIRO_EXTEND_NONE);
    cairo_t* const cr = context();
    cairo_identity_matrix(cr);
    cairo_new_path(cr);
    cairo_rectangle(cr, target.left, target.top, widthOf(target), heightOf(target));
    cairo_set_source(cr, pattern.get());
    if (alpha < 1.0f) {
        cairo_save(cr);
        cairo_clip(cr);
        cairo_paint_with_alpha(cr, alpha);
        cairo_restore(cr);
    } else {
        cairo_fill(cr);
    }
}

Bitmap Canvas::grab(const Rect& rect) const {
    const Rect device = toDevice(rect, Rounding::Nearest);
    if (pixels_ == nullptr || isNothing(device) ||
        common(device, {0, 0, pixels_->getWidth(), pixels_->getHeight()}) != device)
        return {};
    auto pixels = makeShared<PixelsData>(widthOf(device), heightOf(device));
    const std::size_t rowBytes =
        static_cast<std::size_t>(widthOf(device)) * PixelsData::BytesPerPixel;
    for (std::int32_t y = 0; y < heightOf(device); ++y)
        std::memcpy(
            pixels->row(y),
            std::as_const(*pixels_).row(device.top + y) + device.left * PixelsData::BytesPerPixel,
            rowBytes);
    return Bitmap(std::move(pixels), deviceScale_);
}

// Lines and shapes

void Canvas::addPoint(Point point, double shift, bool isStart) const {
    const double scale = deviceScale_;
    const double x = (view_.origin.x + (point.x + shift) * view_.scaleX) * scale - deviceOrigin_.x;
    const double y = (view_.origin.y + (point.y + shift) * view_.scaleY) * scale - deviceOrigin_.y;
    cairo_t* const cr = context();
    cairo_identity_matrix(cr);
    (isStart ? cairo_move_to : cairo_line_to)(cr, std::clamp(x, -FarthestPoint, FarthestPoint),
                                              std::clamp(y, -FarthestPoint, FarthestPoint));
}

void Canvas::moveTo(Point point) {
    last_ = point;
    if (canDraw() && isInPath_)
        addPoint(point, 0.0, true);
}

void Canvas::lineTo(Point point) {
    const Point from = std::exchange(last_, point);
    if (!canDraw())
        return;
    if (isInPath_) {
        addPoint(point, 0.0, false);
        return;
    }
    if (pen_.isNone())
        return;
    cairo_t* const cr = context();
    cairo_new_path(cr);
    addPoint(from, MiddleOfPixel, true);
    addPoint(point, MiddleOfPixel, false);
    useSkinPixels(0.0);
    setSource(pen_);
    cairo_stroke(cr);
}

void Canvas::beginPath() {
    if (!canDraw())
        return;
    cairo_new_path(context());
    isInPath_ = true;
}

void Canvas::endPath() {
    isInPath_ = false;
}

void Canvas::strokeOrFillPath(std::int32_t mode) {
    if (canDraw())
        drawPath(mode);
}

void Canvas::drawPath(std::int32_t mode) const {
    cairo_t* const cr = context();
    useSkinPixels(0.0);
    const Handle<cairo_path_t> path(cairo_copy_path(cr));
    if ((mode & Fill) != 0 && !fill_.isNone()) {
        setSource(fill_);
        cairo_fill(cr);
    }
    if ((mode & Stroke) != 0 && !pen_.isNone()) {
        cairo_new_path(cr);
        useSkinPixels(MiddleOfPixel);
        cairo_append_path(cr, path.get());
        setSource(pen_);
        cairo_stroke(cr);
    }
    cairo_new_path(cr);
}

void Canvas::addArc(const Rect& rect, float from, float to) const {
    const Rect device = toDevice(rect, Rounding::Outward);
    if (std::max({-device.left, -device.top, device.right, device.bottom}) > whole(FarthestPoint))
        return;
    cairo_t* const cr = context();
    const double degree = std::numbers::pi / 180.0;
    const double width = widthOf(rect), height = heightOf(rect);
    if (width == 0.0 || height == 0.0 || !std::isfinite(from) || !std::isfinite(to))
        return;  // as thin as a line, or no angle
    useSkinPixels(0.0);
    cairo_translate(cr, rect.left + width / 2, rect.top + height / 2);
    cairo_scale(cr, width / 2, height / 2);
    // More than once around is once around.
    const double start = std::remainder(double{from}, 360.0);
    const double sweep = std::clamp(double{to} - from, -360.0, 360.0);
    if (sweep >= 0.0)
        cairo_arc(cr, 0, 0, 1, start * degree, (start + sweep) * degree);
    else
        cairo_arc_negative(cr, 0, 0, 1, start * degree, (start + sweep) * degree);
}

void Canvas::ellipse(const Rect& rect) {
    drawShape(rect, Fill | Stroke, [this](const Rect& outline) { addArc(outline, 0.0f, 360.0f); });
}

void Canvas::arc(const Rect& rect, float from, float to) {
    if (isInPath_ && canDraw())
        addArc(rect, from, to);
    else
        drawShape(rect, Stroke, [=, this](const Rect& outline) { addArc(outline, from, to); });
}

void Canvas::pie(const Rect& rect, float from, float to) {
    drawShape(rect, Fill | Stroke, [=, this](const Rect& outline) {
        useSkinPixels(0.0);
        cairo_move_to(context(), (outline.left + outline.right) / 2.0,
                      (outline.top + outline.bottom) / 2.0);
        addArc(outline, from, to);
        cairo_close_path(context());
    });
}

template <typename AddPath>
void Canvas::drawShape(const Rect& any, std::int32_t mode, AddPath addPath) {
    const Rect rect = bounded(any);
    if (!canDraw() || isNothing(rect))
        return;
    cairo_t* const cr = context();
    cairo_new_path(cr);
    if ((mode & Fill) != 0) {
        addPath(rect);
        drawPath(Fill);
    }
    addPath({rect.left, rect.top, rect.right - 1, rect.bottom - 1});
    drawPath(Stroke);
}

}  // namespace tarn
