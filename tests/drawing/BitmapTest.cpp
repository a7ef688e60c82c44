#include "drawing/Bitmap.h"
#include "drawing/Font.h"
#include "drawing/PngFile.h"
#include "foundation/File.h"
#include "foundation/LogFolder.h"
#include "support/AllocationCount.h"
#include "support/ScratchFolder.h"

#include <gmock/gmock.h>

#include <limits>
#include <sstream>

namespace tarn {
namespace {

using namespace test;
using testing::ElementsAre;
using testing::HasSubstr;

std::string load(Bitmap& bitmap, const std::string& png) {
    std::istringstream stream(png);
    const Error error = bitmap.load(stream);
    return error.isOk() ? "" : error.what();
}

// The bytes in memory.
std::vector<int> bytesOf(const Bitmap& bitmap) {
    const PixelsData& pixels = *bitmap.getPixels();
    const std::uint8_t* const first = pixels.row(pixels.getHeight() - 1);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(first) % 16, 0u);
    return {first, first + pixels.getWidth() * pixels.getHeight() * 4};
}

// Faults: channels in the wrong order, rows upside down, colours not multiplied or with a gamma of
// their own, a kind of file that comes out garbled.
TEST(Bitmap, ShowsEveryKindOfFileWithAlpha) {
    Bitmap bitmap;
    const std::string two("\xC8\x64\x32\x80\xFF\xFF\xFF\x00", 8);  // one above the other
    EXPECT_EQ(load(bitmap, pngFile(1, 2, two)), "");
    EXPECT_THAT(bytesOf(bitmap), ElementsAre(0, 0, 0, 0, 25, 50, 100, 128));
    EXPECT_EQ(bitmap.getPixel({0, 0}), Color::fromBytes(100, 50, 25, 128));
    EXPECT_EQ(bitmap.getPixel({1, 0}), Color::fromBytes(0, 0, 0, 0));
    for (const Point clear : {Point{0, 1}, {-1, 0}, {0, -1}, {1, 0}, {0, 2}})
        EXPECT_FALSE(bitmap.isOpaqueAt(clear));
    EXPECT_TRUE(bitmap.isOpaqueAt({0, 0}));

    const std::string gray("\xC8\x80", 2), deep("\xC8\xC8\x64\x64\x32\x32\x80\x80", 8);
    EXPECT_EQ(load(bitmap, pngFile(1, 1, gray, {PNG_COLOR_TYPE_GRAY_ALPHA})), "");
    EXPECT_THAT(bytesOf(bitmap), ElementsAre(100, 100, 100, 128));
    EXPECT_EQ(load(bitmap, pngFile(1, 1, deep, {PNG_COLOR_TYPE_RGB_ALPHA, 16})), "");
    EXPECT_THAT(bytesOf(bitmap), ElementsAre(25, 50, 100, 128));
    const std::string half("\x80\x80\x80\xFF", 4);
    EXPECT_EQ(load(bitmap, pngFile(1, 1, half, {.gamma = 1.0})), "");
    EXPECT_THAT(bytesOf(bitmap), ElementsAre(185, 185, 185, 255));  // 0.5 to the power of 1 / 2.2

    std::string many;
    for (int i = 0; i < 5 * 9 * 4; ++i)
        many += static_cast<char>(i % 4 == 3 ? 255 : i);
    EXPECT_EQ(load(bitmap, pngFile(5, 9, many)), "");
    const std::vector<int> plain = bytesOf(bitmap);
    EXPECT_EQ(load(bitmap, pngFile(5, 9, many, {.interlace = PNG_INTERLACE_ADAM7})), "");
    EXPECT_EQ(bytesOf(bitmap), plain);
}

// Faults: half an image, an image of a file that is no such image, memory by a header's word.
TEST(Bitmap, IsEmptyAfterAFileThatIsntWhole) {
    Bitmap bitmap;
    const std::string good = pngFile(2, 2, "abcdefghijklmnop", {.gamma = 0.5});
    for (std::size_t at = 0; at < good.size(); ++at) {
        std::string broken = good;
        broken[at] ^= 0x10;
        for (const std::string& file : {broken, good.substr(0, at)}) {
            EXPECT_EQ(load(bitmap, good), "");
            EXPECT_NE(load(bitmap, file), "") << at;
            EXPECT_EQ(bitmap.getRect(), Rect());
            EXPECT_EQ(bitmap.getFrameRect(0), Rect());
            EXPECT_EQ(bitmap.getPixel({0, 0}), Color::fromBytes(0, 0, 0, 0));
        }
    }
    EXPECT_EQ(load(bitmap, "PN"), "PNG::signature read error");
    EXPECT_EQ(load(bitmap, "RIFF"), "PNG::signature mismatch");
    const std::pair<std::string, std::string> refused[] = {
        {pngFile(1, 1, "x", {PNG_COLOR_TYPE_GRAY}), "PNG::colour type without alpha"},
        {pngFile(1, 1, "xyz", {PNG_COLOR_TYPE_RGB}), "PNG::colour type without alpha"},
        {pngFile(1, 1, "\1", {PNG_COLOR_TYPE_PALETTE}), "PNG::colour type without alpha"},
        {pngFile(100'000, 1, ""), "PNG::failed to install error handler"},
        {pngFile(1, 16'385, ""), "PNG::failed to install error handler"},
        {pngFile(16'384, 1'025, ""), "PNG::too large"},
        {pngFile(16'384, 1'024, ""), "PNG::out of memory"}};
    const AllocationLimit limit(1'000'000);
    for (const auto& [file, text] : refused)
        EXPECT_EQ(load(bitmap, file), text);
}

TEST(Bitmap, LogsAFileThatItCantLoad) {
    LogFolder log;
    log.open(LogDetail);
    const ScratchFolder folder;
    folder.write("a.PNG", plainPng(3, 2));
    folder.write("b.png", "GIF89a");
    folder.write("c.bmp", plainPng(3, 2));
    Bitmap bitmap;
    for (const char* name : {"b.png", "c.bmp", "none.png"}) {
        EXPECT_TRUE(bitmap.loadFile(File(folder.path("a.PNG"))).isOk());
        EXPECT_EQ(bitmap.getRect(), (Rect{0, 0, 3, 2}));
        EXPECT_FALSE(bitmap.loadFile(File(folder.path(name))).isOk());
        EXPECT_FALSE(bitmap.isValid());
    }
    EXPECT_THAT(log.lines(), ElementsAre("!! PNG::signature mismatch [EGEN] at Bitmap::loadFile",
                                         HasSubstr("c.bmp [EIFL]"), HasSubstr("none.png [EIFL]")));
}

// Fault: a frame that reaches beyond the pixels, whatever numbers a file tells.
TEST(Bitmap, FramesLieInsideTheImage) {
    constexpr std::int32_t Least = std::numeric_limits<std::int32_t>::min();
    constexpr std::int32_t Most = std::numeric_limits<std::int32_t>::max();
    const std::int32_t numbers[] = {Least, -1, 0, 2, 7, 10, 11, Most};
    Bitmap bitmap, empty;
    ASSERT_EQ(load(bitmap, plainPng(10, 7)), "");
    const auto check = [](const Bitmap& checked) {
        const Rect whole = checked.getRect();
        const std::int32_t count = checked.getFrameCount();
        ASSERT_TRUE(count >= 1 && count <= 70);
        for (const std::int32_t i : {Least, -1, count, Most})
            ASSERT_EQ(checked.getFrameRect(i), Rect());
        for (std::int32_t i = 0; i < count; ++i) {
            const Rect frame = checked.getFrameRect(i);
            ASSERT_EQ(frame.unitedWith(whole), whole);
            ASSERT_TRUE(whole.isEmpty() || (frame.left < frame.right && frame.top < frame.bottom));
        }
    };
    for (const auto a : numbers)
        for (const auto b : numbers)
            for (const auto c : numbers)
                for (const auto d : numbers)
                    for (Bitmap* each : {&bitmap, &empty}) {
                        each->setFrames({a, b, c, d}, b, d);
                        check(*each);
                        each->setFrameCount(a);
                        check(*each);
                    }
    bitmap.setFrames({1, 2, 4, 4}, Most, Most);
    EXPECT_EQ(bitmap.getFrameCount(), 6);
    EXPECT_EQ(bitmap.getFrameRect(4), (Rect{4, 4, 7, 6}));
    EXPECT_EQ(bitmap.getFrameSize(), (Point{3, 2}));
    for (const float value : {-1.0f, 0.25f, 2.0f, std::numeric_limits<float>::quiet_NaN()}) {
        bitmap.setTransparency(value);
        EXPECT_EQ(bitmap.getOpacity(), value == 0.25f ? 0.25f : value == 2.0f ? 1.0f : 0.0f);
    }
}

TEST(Color, TakesSevenCharactersAndNothingElse) {
    Color color(-1.0f, 2.0f, std::numeric_limits<float>::quiet_NaN(), 0.5f);
    EXPECT_EQ(color, Color(0.0f, 1.0f, 0.0f, 0.5f));
    for (const char* text :
         {"", "#fff", "white", "#12345", "#1234567", "x123456", "#12345g", "#-12345"})
        EXPECT_FALSE(color.parse(text)) << text;
    EXPECT_EQ(color, Color(0.0f, 1.0f, 0.0f, 0.5f));
    EXPECT_TRUE(color.parse("#01fF80"));
    EXPECT_EQ(color, Color::fromBytes(1, 255, 128, 255));
    EXPECT_FALSE(color.isNone());
    EXPECT_TRUE(Color::none().isNone());
    EXPECT_EQ(Font("Verdana", 8.0f).lineHeight, 10.0f);
}

}  // namespace
}  // namespace tarn
