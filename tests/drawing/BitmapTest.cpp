#include "drawing/Bitmap.h"
#include "drawing/PngFile.h"
#include "foundation/File.h"
#include "support/AllocationCount.h"
#include "support/ScratchFolder.h"

#include <gmock/gmock.h>

#include <cmath>
#include <sstream>

namespace tarn {
namespace {

using namespace test;
using Bytes = std::vector<int>;

std::string load(Bitmap& bitmap, const std::string& png) {
    std::istringstream stream(png);
    const Error error = bitmap.load(stream);
    return error.isOk() ? "" : error.what();
}

// The bytes in memory.
Bytes bytesOf(const Bitmap& bitmap) {
    const PixelsData& pixels = *bitmap.getVariant(1.0f)->pixels;
    const std::uint8_t* const first = pixels.row(pixels.getHeight() - 1);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(first) % 16, 0u);
    return {first, first + pixels.getWidth() * pixels.getHeight() * 4};
}

// Faults: channels in the wrong order, rows upside down, colours not multiplied or with a gamma of
// their own, a kind of file that comes out garbled.
TEST(Bitmap, ShowsEveryKindOfFileWithAlpha) {
    std::string many;
    for (int i = 0; i < 5 * 9 * 4; ++i)
        many += static_cast<char>(i % 4 == 3 ? 255 : i);
    const std::string two("\xC8\x64\x32\x80\xFF\xFF\xFF\x00", 8);  // one above the other
    Bitmap bitmap;
    EXPECT_EQ(load(bitmap, pngFile(5, 9, many)), "");
    const std::pair<std::string, Bytes> files[] = {
        {pngFile(5, 9, many, {.interlace = PNG_INTERLACE_ADAM7}), bytesOf(bitmap)},
        {pngFile(1, 1, "\xC8\x80", {PNG_COLOR_TYPE_GRAY_ALPHA}), {100, 100, 100, 128}},
        {pngFile(1, 1, "\xC8\xC8\x64\x64\x32\x32\x80\x80", {.bits = 16}), {25, 50, 100, 128}},
        // 0.5 to the power of 1 / 2.2
        {pngFile(1, 1, "\x80\x80\x80\xFF", {.gamma = 1.0}), {185, 185, 185, 255}},
        {pngFile(1, 2, two), {0, 0, 0, 0, 25, 50, 100, 128}}};
    for (const auto& [file, bytes] : files) {
        EXPECT_EQ(load(bitmap, file), "");
        EXPECT_EQ(bytesOf(bitmap), bytes);
    }
    EXPECT_EQ(bitmap.getPixel({0, 0}), Color::fromBytes(100, 50, 25, 128));
    EXPECT_TRUE(bitmap.isOpaqueAt({0, 0}));
    for (const Point clear : {Point{0, 1}, {-1, 0}, {0, -1}, {1, 0}, {0, 2}})
        EXPECT_FALSE(bitmap.isOpaqueAt(clear));
    EXPECT_EQ(bitmap.getPixel({1, 0}), Color::fromBytes(0, 0, 0, 0));
}

// Faults: half an image, an image of a file that is no such image, memory by a header's word.
TEST(Bitmap, IsEmptyAfterAFileThatIsntWhole) {
    const std::string good = pngFile(2, 2, "abcdefghijklmnop", {.gamma = 0.5});
    std::vector<std::pair<std::string, std::string>> files = {
        {"PN", "signature read error"},
        {"RIFF", "signature mismatch"},
        {pngFile(1, 1, "xyz", {PNG_COLOR_TYPE_RGB}), "colour type without alpha"},
        {plainPng(1, 16'385), "failed to install error handler"},
        {pngFile(16'384, 1'025, ""), "too large"},
        {pngFile(16'384, 1'024, ""), "out of memory"}};
    for (std::size_t at = 0; at < good.size(); ++at) {
        std::string broken = good;
        broken[at] ^= 0x10;
        files.insert(files.end(), {{broken, ""}, {good.substr(0, at), ""}});
    }
    Bitmap bitmap;
    for (const auto& [file, error] : files) {
        EXPECT_EQ(load(bitmap, good), "");
        const AllocationLimit limit(1'000'000);
        EXPECT_THAT(load(bitmap, file), testing::StartsWith("PNG::" + error));
        EXPECT_EQ(std::pair(bitmap.getRect(), bitmap.getFrameRect(0)), std::pair(Rect(), Rect()));
    }
    const ScratchFolder folder;
    for (const auto& [name, code] : {std::pair("a.PNG", "EAOK"), {"b.bmp", "EIFL"}}) {
        folder.write(name, good);
        EXPECT_EQ(bitmap.loadFile(File(folder.path(name))).code, code);
        EXPECT_EQ(bitmap.isValid(), name[0] == 'a');
    }
}

// Fault: a frame that reaches beyond the pixels, whatever numbers a file tells.
TEST(Bitmap, FramesLieInsideTheImage) {
    const std::int32_t numbers[] = {INT32_MIN, -1, 0, 2, 7, 10, 11, INT32_MAX};
    Bitmap bitmap, empty;
    ASSERT_EQ(load(bitmap, plainPng(10, 7)), "");
    for (int i = 0; i < 2 * 8 * 8 * 8 * 8; ++i) {
        const std::int32_t a = numbers[i / 2 % 8], b = numbers[i / 16 % 8];
        const std::int32_t c = numbers[i / 128 % 8], d = numbers[i / 1024];
        for (Bitmap* const checked : {&bitmap, &empty}) {
            checked->setFrames({a, b, c, d}, b, d);
            if (i % 2 == 0)
                checked->setFrameCount(a);
        }
        const Rect whole = bitmap.getRect();
        const std::int32_t count = bitmap.getFrameCount();
        ASSERT_TRUE(count >= 1 && count <= 70 && empty.getFrameCount() == 1);
        ASSERT_EQ(empty.getFrameRect(0), Rect());
        for (std::int32_t index = -1; index <= count; ++index) {
            const Rect frame = bitmap.getFrameRect(index);
            ASSERT_EQ(frame.unitedWith(whole), whole);
            ASSERT_EQ(frame.width() > 0 && frame.height() > 0, index >= 0 && index < count);
        }
    }
    bitmap.setFrames({1, 2, 4, 4}, INT32_MAX, INT32_MAX);
    EXPECT_EQ(bitmap.getFrameCount(), 6);
    EXPECT_EQ(bitmap.getFrameRect(4), (Rect{4, 4, 7, 6}));
    bitmap.setFrames({1, 2, 4, 4}, 1, INT32_MAX);
    EXPECT_EQ(bitmap.getFrameCount(), 2);
    for (const auto& [opacity, kept] : {std::pair(NAN, 0.0f), {-1.0f, 0.0f}, {2.0f, 1.0f}}) {
        bitmap.setTransparency(opacity);
        EXPECT_EQ(bitmap.getOpacity(), kept);
    }
}

TEST(Color, TakesSevenCharactersAndNothingElse) {
    Color color(-1.0f, 2.0f, NAN, 0.5f);
    for (const char* text : {"", "#fff", "#12345", "#1234567", "x123456", "#12345g", "#-12345"})
        EXPECT_FALSE(color.parse(text)) << text;
    EXPECT_EQ(color, Color(0.0f, 1.0f, 0.0f, 0.5f));
    EXPECT_TRUE(color.parse("#01fE80"));
    EXPECT_FLOAT_EQ(color.getRed(), 1.0f / 255.0f);
    EXPECT_FLOAT_EQ(color.getGreen(), 254.0f / 255.0f);
    EXPECT_EQ(color, Color::fromBytes(1, 254, 128, 255));
    EXPECT_TRUE(Color::none().isNone() && !color.isNone());
}

// Faults: a mean over what lies outside, a window that slides wrongly, colours above their alpha.
TEST(Bitmap, BlursAsTheMeanOfEachSquare) {
    constexpr int Width = 7, Height = 5;
    std::string rgba;
    for (int i = 0; i < Width * Height; ++i)
        for (const int byte : {i * 37, i * 11, i, 255})
            rgba += static_cast<char>(byte);
    Bitmap image;
    for (const float radius : {0.0f, 2.9f, 3.0f, 14.0f, 1e9f, -1.0f, std::nanf("")}) {
        EXPECT_EQ(load(image, pngFile(Width, Height, rgba)), "");
        const Bytes before = bytesOf(image);
        const Bitmap copy = image;
        image.blur(radius, 1.5f);
        EXPECT_EQ(bytesOf(copy), before);
        const long reach = radius >= 3 ? std::lround(std::min(radius / 6, 9.0f)) : 0;
        Bytes expected;
        for (int byte = 0; byte < Width * Height * 4; ++byte) {
            const int x = byte / 4 % Width, y = byte / 4 / Width;
            int sum = 0, count = 0;
            for (int i = byte % 4; i < Width * Height * 4; i += 4)
                if (std::abs(i / 4 % Width - x) <= reach && std::abs(i / 4 / Width - y) <= reach) {
                    sum += before[static_cast<std::size_t>(i)];
                    ++count;
                }
            const int mean = (sum + count / 2) / count;
            expected.push_back(byte % 4 == 3 ? mean : std::min(255, mean * 3 / 2));
        }
        EXPECT_EQ(bytesOf(image), expected) << radius;
    }
    Bitmap().blur(6, 1);
}

// Faults: a dense variant that is drawn at its own size, or not taken; a pixel in the wrong place.
TEST(Bitmap, HoldsVariantsOfOneSize) {
    Bitmap image;
    std::istringstream two(plainPng(20, 10)), plain(plainPng(10, 5)), broken("x");
    EXPECT_EQ(image.getVariant(1), nullptr);
    EXPECT_TRUE(image.loadVariant(two, 2).isOk());
    EXPECT_EQ(image.getRect(), (Rect{0, 0, 10, 5}));
    EXPECT_EQ(image.getFrameSize(), (Point{10, 5}));
    EXPECT_TRUE(image.isOpaqueAt({9, 4}) && !image.isOpaqueAt({10, 4}));
    image.setPixel({7, 4}, Color(1, 0, 0, 1));
    EXPECT_EQ(image.getPixel({7, 4}), Color(1, 0, 0, 1));
    EXPECT_EQ(image.getPixel({6, 4}), image.getPixel({7, 3}));
    EXPECT_TRUE(image.loadVariant(plain, 1).isOk() && !image.loadVariant(broken, 1.5f).isOk());
    for (const auto& [needed, density] :
         {std::pair{0.5f, 1.0f}, {1.0f, 1.0f}, {1.1f, 2.0f}, {3.0f, 2.0f}})
        EXPECT_EQ(image.getVariant(needed)->density, density);
    for (const int x : {3, 10})
        image.setPixel({x, 2}, Color(1, 0.5f, 0, 0.5f));
    EXPECT_EQ(image.getPixel({3, 2}), Color::fromBytes(128, 128, 0, 128));
    EXPECT_EQ(image.getVariant(2)->density, 1.0f);
    EXPECT_EQ(image.getPixel({4, 2}), image.getPixel({3, 3}));
}

}  // namespace
}  // namespace tarn
