#include "drawing/Canvas.h"
#include "drawing/FontFace.h"
#include "drawing/FontLibrary.h"
#include "drawing/Pictures.h"
#include "support/ScratchFolder.h"

#include <gmock/gmock.h>

#include <cmath>
#include <mutex>
#include <set>
#include <sstream>

namespace tarn {
namespace {

using namespace test;

const Color White(1, 1, 1, 1), Red(1, 0, 0, 1), Blue(0, 0, 1, 1), Ink(0.1f, 0.15f, 0.2f, 1);

struct CanvasTest : testing::Test {
    CanvasTest() { FontLibrary::get().setFolders({Folder(INTER_FONTS)}); }

    static std::string at(const Canvas& canvas, Point point) {
        const std::uint8_t* const pixel = canvas.getPixels()->row(point.y) + point.x * 4;
        std::string text;
        for (const int channel : {2, 1, 0, 3})
            text += std::to_string(pixel[channel]) + " ";
        return text;
    }
};

// A gradient with a hole in it.
Bitmap makeScene() {
    std::string rgba;
    for (int y = 0; y < 24; ++y)
        for (int x = 0; x < 32; ++x)
            for (const int byte : {x * 8, y * 10, 128, x > 10 && x < 20 && y > 8 ? 64 : 255})
                rgba += static_cast<char>(byte);
    Bitmap bitmap;
    std::istringstream stream(pngFile(32, 24, rgba));
    EXPECT_TRUE(bitmap.load(stream).isOk());
    return bitmap;
}

Rect box(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height) {
    return {x, y, x + width, y + height};
}

void ground(Canvas& canvas, const Rect& rect) {
    canvas.beginFrame(rect);
    canvas.setFillColor(White);
    canvas.fillRect(rect);
    canvas.setPenColor(Ink);
    canvas.setTextColor(Ink);
    canvas.setFillColor(Color(0.3f, 0.7f, 1, 0.5f));
}

void drawShapes(Canvas& canvas) {
    const Rect all = box(0, 0, 120, 100);
    ground(canvas, all);
    canvas.fillRect(box(2, 2, 20, 12));
    canvas.frameRect(box(2, 2, 20, 12));
    canvas.frameRect(box(30, 2, 1, 12));
    canvas.ellipse(box(36, 2, 30, 20));
    canvas.arc(box(70, 2, 20, 20), 180, 300);
    canvas.pie(box(94, 2, 20, 20), 300, 180);
    canvas.moveTo({2, 30});
    canvas.lineTo({20, 30});
    canvas.lineTo({30, 45});
    canvas.beginPath();
    canvas.moveTo({40, 30});
    canvas.lineTo({60, 30});
    canvas.arc(box(52, 30, 16, 16), -90, 90);
    canvas.lineTo({40, 46});
    canvas.endPath();
    canvas.strokeOrFillPath();
    canvas.pushChild();
    canvas.offsetOrigin({72, 30});
    canvas.setClip(box(0, 0, 20, 10));
    canvas.ellipse(box(0, 0, 40, 20));
    canvas.popChild();
    for (int times = 0; times < 2; ++times)
        canvas.setGlobalAlpha(0.5f);
    for (const std::int32_t left : {2, 24}) {
        canvas.fillRect(box(left, 50, 20, 20));
        canvas.restoreAlpha();
    }
    canvas.setFillColor(Color::none());
    canvas.ellipse(box(50, 50, 20, 20));
    canvas.setScale(0.5f, 2);
    canvas.frameRect(box(160, 26, 60, 20));
    canvas.setScale(0, NAN);
    canvas.moveTo({0, 99});
    canvas.lineTo({119, 99});
    canvas.present();
}

void drawImages(Canvas& canvas) {
    const Bitmap scene = makeScene();
    ground(canvas, box(0, 0, 130, 90));
    canvas.drawBitmap(scene, scene.getRect(), box(2, 2, 32, 24));
    canvas.drawBitmap(scene, box(8, 6, 16, 12), box(36, 2, 16, 12));
    canvas.drawBitmap(scene, box(8, 6, 16, 12), box(36, 16, 60, 40));
    canvas.drawBitmap(scene, scene.getRect(), box(2, 30, 11, 8));
    canvas.drawBitmap(scene, box(-8, -6, 32, 24), box(98, 2, 32, 24));
    Bitmap opaque = scene, faint = scene, letters = scene;
    opaque.setUseAlpha(false);
    canvas.drawBitmap(opaque, scene.getRect(), box(98, 30, 32, 24));
    faint.setTransparency(0.5f);
    canvas.setGlobalAlpha(0.5f);
    canvas.drawBitmap(faint, scene.getRect(), box(2, 60, 32, 24));
    canvas.restoreAlpha();
    letters.setFrames(box(0, 0, 8, 12), 4, 2);
    letters.setGlyphs("0123\u00e9");
    canvas.drawBitmapText(letters, box(40, 60, 34, 20), "1x\u00e90231");
    const Rect part = box(80, 60, 40, 24);
    Canvas child(canvas, part);
    child.setFillColor(Red);
    child.ellipse(part);
    canvas.setGlobalAlpha(0.4f);
    canvas.copyFrom(child, part, part);
    canvas.restoreAlpha();
    canvas.copyFrom(child, part, box(40, 76, 10, 6));
    canvas.present();
}

void drawTexts(Canvas& canvas) {
    ground(canvas, box(0, 0, 280, 150));
    std::int32_t y = 0;
    for (const float size : {10.0f, 11.5f, 14.0f, 19.0f}) {
        canvas.selectFont(Font("Inter", size, Font::Plain, y % 5));
        canvas.drawText("Lead vocal 44.1 kHz", box(2, y, 274, 24));
        canvas.drawText("-6.0 dB", box(2, y, 274, 24), Font::Right | Font::CenterVertical);
        y += 24;
    }
    canvas.selectFont(Font("Inter", 12, Font::Plain, 2, Font::CenterHorizontal));
    canvas.setTextBackground(Color(1, 0.9f, 0.6f, 1));
    canvas.drawText("Top", box(2, 98, 60, 40));
    canvas.drawText("Middle", box(66, 98, 60, 40), Font::CenteredLine);
    canvas.setTextBackground(Color::none());
    canvas.drawText("Two lines,\ncut off at the edge", box(130, 98, 84, 40),
                    Font::Multiline | Font::CenterVertical);
    canvas.present();
}

// Faults: an interface's file that nests controls takes all memory; a large window stays empty.
TEST_F(CanvasTest, PicturesInOneAnotherAreBounded) {
    EXPECT_TRUE(Canvas(box(0, 0, 4800, 3600)).getPixels());
    EXPECT_FALSE(Canvas(box(0, 0, 8193, 8192)).getPixels());
    const Rect largest = box(0, 0, 4096, 4096);
    const Canvas first(largest), second(first, largest), third(second, largest),
        fourth(third, largest), fifth(fourth, largest), small(fourth, box(0, 0, 1, 1));
    EXPECT_TRUE(fourth.getPixels() && Canvas(third, largest).getPixels());
    EXPECT_FALSE(fifth.getPixels() || small.getPixels());
}

// Faults: a control that fades inside another one off the origin loses a part of itself, or all.
TEST_F(CanvasTest, PicturesInOneAnotherLieInTheirPlaces) {
    const Rect all = box(0, 0, 40, 40), outer = box(9, 7, 20, 20), inner = box(13, 11, 11, 30);
    for (const float scale : {1.0f, 1.5f}) {
        Canvas nested(all, scale), plain(all, scale);
        ground(nested, all);
        ground(plain, all);
        Canvas first(nested, outer), second(first, inner);
        for (Canvas* const canvas : {&second, &plain}) {
            canvas->setClip(outer);
            canvas->setFillColor(Red);
            canvas->fillRect(inner);
        }
        first.copyFrom(second, inner, inner);
        nested.copyFrom(first, outer, outer);
        EXPECT_TRUE(bytesOf(*nested.getPixels()) == bytesOf(*plain.getPixels())) << scale;
    }
}

// Faults: an outline beside its shape, a clip or an origin that stays, alphas that replace each
// other, edges between pixels; a neighbouring frame that bleeds into a stretched one, an alpha that
// counts twice, an image that moves when it is cut; letters of another size, weight or place, text
// outside its rectangle.
TEST_F(CanvasTest, PicturesOfShapesImagesAndTexts) {
    const std::tuple<std::string, void (*)(Canvas&), Rect, std::vector<int>> pictures[] = {
        {"shapes-", drawShapes, box(0, 0, 120, 100), {100, 150, 300}},
        {"images-", drawImages, box(0, 0, 130, 90), {100, 150}},
        {"texts-", drawTexts, box(0, 0, 280, 150), {100, 150, 200}}};
    for (const auto& [name, draw, size, scales] : pictures)
        for (const int percent : scales) {
            Canvas canvas(size, static_cast<float>(percent) / 100);
            draw(canvas);
            expectPicture(*canvas.getPixels(), name + std::to_string(percent));
        }
}

// Faults: drawing without a frame, a part that is shown twice or not at all, a former frame's clip
// that is lost, a clip that grows beyond its frame, a picture that never changes after one drawing
// failed.
TEST_F(CanvasTest, ShowsWhatEachFrameDrew) {
    struct Window : CanvasTarget {
        bool canShow() const override { return isThere; }
        void show(const PixelsData& pixels, const Rect& part) override {
            EXPECT_EQ(pixels.getWidth(), 20);
            shown.push_back(part);
        }
        bool isThere = true;
        std::vector<Rect> shown;
    } window;
    Canvas canvas(box(0, 0, 10, 10), 2);
    canvas.setFillColor(Red);
    canvas.fillRect(box(0, 0, 10, 10));
    EXPECT_EQ(at(canvas, {5, 5}), "0 0 0 0 ");
    canvas.present();
    canvas.flush();
    EXPECT_TRUE(!canvas.attach(nullptr) && canvas.attach(&window));
    canvas.beginFrame(box(1, 1, 8, 8));
    canvas.offsetOrigin({1, 1});
    canvas.setClip(box(0, 0, 4, 4));
    canvas.beginFrame(box(2, 2, 20, 2));
    canvas.setClip(box(-50, -50, 100, 100));
    EXPECT_EQ(canvas.getClip(), box(2, 2, 20, 2));
    canvas.present();
    EXPECT_EQ(canvas.getClip(), box(0, 0, 4, 4));
    canvas.fillRect(box(-9, -9, 99, 99));
    canvas.beginFrame(box(0, 0, 1, 1));
    canvas.flush();
    canvas.present();
    EXPECT_THAT(window.shown, testing::ElementsAre(box(4, 4, 16, 4), box(2, 2, 16, 16)));
    EXPECT_EQ(at(canvas, {9, 9}) + at(canvas, {10, 9}), "255 0 0 255 0 0 0 0 ");
    canvas.beginFrame(box(0, 0, 10, 10));
    canvas.clear();
    EXPECT_EQ(at(canvas, {9, 9}), "0 0 0 0 ");
    PixelsData tooWide(40'000, 1);  // for cairo
    canvas.copyFrom(Canvas(tooWide), box(0, 0, 40'000, 1), box(0, 0, 10, 10));
    canvas.beginFrame(box(0, 0, 10, 10));
    canvas.fillRect(box(4, 4, 3, 3));
    EXPECT_EQ(at(canvas, {9, 9}) + at(canvas, {14, 9}), "255 0 0 255 0 0 0 0 ");
    window.isThere = false;
    EXPECT_FALSE(canvas.attach(&window));
}

// Faults: a line of pixels too many or too few where a rectangle ends between two, a stretched
// image that goes on where its file has ended, a picture of the caller's that takes no drawing.
TEST_F(CanvasTest, EdgesLieOnPixels) {
    PixelsData pixels(8, 8);
    Canvas own(pixels), between(box(0, 0, 8, 8), 1.5f);
    for (Canvas* const canvas : {&own, &between}) {
        ground(*canvas, box(0, 0, 8, 8));
        canvas->setFillColor(Red);
        canvas->fillRect(box(1, 0, 2, 8));
    }
    const std::string white = "255 255 255 255 ", red = "255 0 0 255 ";
    EXPECT_EQ(at(own, {0, 0}) + at(own, {1, 0}) + at(own, {3, 0}), white + red + white);
    EXPECT_EQ(at(between, {1, 0}) + at(between, {2, 0}) + at(between, {4, 0}) + at(between, {5, 0}),
              white + red + red + white);
    EXPECT_EQ(Canvas(between, box(1, 0, 2, 8)).getPixels()->getWidth(), 4);  // all that is touched
    own.drawBitmap(makeScene(), box(30, 20, 4, 8), box(0, 0, 8, 8));
    EXPECT_EQ(at(own, {3, 3}).substr(0, 4), "247 ");
    EXPECT_EQ(at(own, {4, 3}) + at(own, {3, 4}), white + white);
}

// Faults: a crash, a hang or a write outside the picture for numbers of a skin that means no good.
TEST_F(CanvasTest, BearsAnyNumbers) {
    constexpr std::int32_t Least = INT32_MIN, Most = INT32_MAX;
    const Rect rects[] = {{Least, Least, Most, Most},
                          {Most, Most, Least, Least},
                          {0, 0, 1, Most},
                          {Least, 0, Most, 1},
                          {-3, -3, 5, 5},
                          {}};
    const Bitmap bitmap = makeScene();
    PixelsData pixels(8, 8);
    Canvas small(pixels), huge({Least, Least, Most, Most}, 1e9f), none({5, 5, 2, 2}, -1);
    huge.beginFrame(box(0, 0, 8, 8));
    EXPECT_EQ(none.getPixels(), nullptr);
    for (Canvas* const canvas : {&small, &none, &huge})
        for (const Rect& rect : rects)
            for (const float scale : {1.0f, 1e-9f, 1e9f}) {
                canvas->pushChild();
                canvas->setScale(scale, scale);
                canvas->offsetOrigin({rect.left, rect.bottom});
                canvas->setClip(rect);
                canvas->fillRect(rect);
                canvas->frameRect(rect);
                canvas->ellipse(rect);
                canvas->arc(rect, 1e30f, -1e30f);
                canvas->pie(rect, INFINITY, 0);
                canvas->lineTo({rect.right, rect.top});
                canvas->selectFont(Font("Inter", scale));
                canvas->drawText("x", rect, Font::Multiline);
                canvas->drawBitmap(bitmap, rect, box(0, 0, 8, 8));
                canvas->drawBitmap(bitmap, box(0, 0, 8, 8), rect);
                Canvas child(*canvas, rect);
                canvas->copyFrom(child, rect, rect);
                canvas->grab(rect);
                canvas->popChild();
            }
    small.popChild();
    small.setGlobalAlpha(-1);
    small.setGlobalAlpha(5);
    EXPECT_EQ(small.getGlobalAlpha(), 0.0f);
    for (int i = 0; i < 3; ++i)
        small.restoreAlpha();
    EXPECT_EQ(small.getGlobalAlpha(), 1.0f);
}

// Faults: the colour that paints nothing paints; text without smooth edges isn't drawn, nor is
// anything after it; the font's edges count beside a text's own flags.
TEST_F(CanvasTest, DrawsAsColorsAndFlagsSay) {
    const Rect all = box(0, 0, 60, 20);
    Canvas canvas(all);
    const auto shadesOf = [&](const Color& color, std::int32_t own, std::int32_t flags) {
        ground(canvas, all);
        canvas.setTextColor(color);
        canvas.setPenColor(Color::none());
        canvas.selectFont(Font("Inter", 14, Font::Plain, 1, own));
        canvas.drawText("Rose", all, flags);
        canvas.moveTo({-1, 19});
        canvas.lineTo({60, 19});
        const std::string bytes = bytesOf(*canvas.getPixels());
        return std::set<char>(bytes.begin(), bytes.end()).size();
    };
    EXPECT_EQ(shadesOf(Color::none(), Font::Left, 0), 1u);
    EXPECT_EQ(shadesOf(Color(), Font::NotAntialiased, 0), 2u);
    EXPECT_EQ(shadesOf(Color(), Font::Left, Font::Left | Font::NotAntialiased), 2u);
    EXPECT_GT(shadesOf(Color(), Font::NotAntialiased, Font::Left), 2u);
}

// Faults: text that doesn't fit the box that was measured for it, a name in a script that the font
// lacks drawn as boxes, an unknown family without a text, bytes of a file that aren't a font, or
// one that FreeType refuses to draw.
TEST_F(CanvasTest, TextsComeFromTheFontsThatHaveThem) {
    FontLibrary& fonts = FontLibrary::get();
    const Font inter("Inter", 20);
    const std::lock_guard<Mutex> inside(fonts.lock());
    const auto runs = fonts.layOut(inter, 1.0, "Aa\xD7\x90z").runs;
    ASSERT_EQ(runs.size(), 3u);
    EXPECT_NE(runs[1].glyphs[0].number, 0u);
    EXPECT_EQ(runs[0].face, runs[2].face);
    EXPECT_NE(fonts.layOut(Font("Inter", 20, 0, 3), 1.0, "A").runs[0].face, runs[0].face);
    EXPECT_EQ(fonts.layOut(Font("No such family"), 1.0, "A").runs.size(), 1u);
    for (int i = 0; i < 1000; ++i)  // more than are kept
        fonts.layOut(inter, 1.0, std::to_string(i));
    EXPECT_EQ(lettersOf("\xC3\xA9\xE5\xB1\xB1\xF0\x9F\x8E\xB5\xC3(\xED\xA0\x80\xC0\x80"),
              U"\u00E9\u5C71\U0001F3B5\uFFFD(\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD");
    Canvas canvas({}, 1.5f);
    canvas.selectFont(inter);
    EXPECT_EQ(canvas.measureText("Mg\nMgMg"), box(0, 0, canvas.measureText("Mg").right * 2, 44));
    const std::string many(100'000, 'M');
    EXPECT_EQ(canvas.measureText(many), canvas.measureText(many.substr(0, 4'096)));

    const ScratchFolder store;
    const auto weightWith = [&](const char* name, const std::string& bytes) {
        store.write(name, bytes);
        fonts.setFolders({Folder(store.path()), Folder(store.path("none"))});
        const auto& line = fonts.layOut(inter, 1.0, "A").runs;  // none without any font
        return line.empty() ? 0 : line[0].face->getWeight();
    };
    std::string regular, bold;
    ASSERT_TRUE(File(INTER_FONTS "/Inter-Regular.otf").contents(regular, 1 << 20) &&
                File(INTER_FONTS "/Inter-Bold.otf").contents(bold, 1 << 20));
    for (std::size_t size = 1; size < regular.size(); size = size * 3 / 2 + 1)
        EXPECT_GE(weightWith("cut.otf", regular.substr(0, size)), 0);
    EXPECT_EQ(weightWith("cut.otf", bold), 700);
    // Letters too large by a factor of 100 or more are taken from the next face.
    regular.replace(regular.find("\x5F\x0F\x3C\xF5") + 6, 2, {'\0', 16});  // units of a size
    EXPECT_EQ(weightWith("huge.otf", regular), 700);
    store.write("no font.txt", regular);
    for (int i = 0; i < 70; ++i)
        store.write(std::to_string(10 + i) + ".TTF", "");
    fonts.setFolders({Folder(store.path())});
    const std::vector<std::string> files = fonts.getFiles();
    EXPECT_EQ(files.size(), 64u);
    EXPECT_EQ(files[0] + files[63], store.path("10.TTF") + store.path("73.TTF"));
}

}  // namespace
}  // namespace tarn
