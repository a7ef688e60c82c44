// An image file from anywhere.
#include "Require.h"
#include "drawing/Bitmap.h"

#include <boost/interprocess/streams/bufferstream.hpp>

using namespace tarn;
using fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    boost::interprocess::ibufferstream stream(reinterpret_cast<const char*>(data), size);
    Bitmap bitmap;
    require(bitmap.load(stream).isOk() == bitmap.isValid());
    const Rect whole = bitmap.getRect();
    for (std::int32_t y = 0; y < whole.bottom; ++y)
        for (std::int32_t x = 0; x < whole.right; ++x) {
            const Color color = bitmap.getPixel({x, y});
            const float most = color.getAlpha();
            require(color.getRed() <= most && color.getGreen() <= most && color.getBlue() <= most);
        }
    return 0;
}
