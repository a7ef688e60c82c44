// Images out of PNG files, which may come from anywhere.
#pragma once

#include "drawing/PixelsData.h"
#include "foundation/Error.h"
#include "foundation/SharedObject.h"

#include <cstdint>
#include <istream>

namespace tarn {

/// Images beyond these are refused; they bound what a hostile file takes to 64 MB and a little.
inline constexpr std::int32_t MostPngPixelsASide = 16'384;
inline constexpr std::int32_t MostPngPixels = 1 << 24;

/// Reads the image in a stream that stands at a file's beginning. Grey with alpha and red, green,
/// blue with alpha, of 8 or 16 bits, plain or interlaced, are taken; other colour types aren't.
/// Colours are brought from the file's gamma, 0.45455 where it tells none, to a screen of 2.2.
///
/// A `GeneralError`, with `pixels` as they were, for anything else, for a file in which a single
/// bit is wrong or that is cut off, and where memory is short. What libpng says of it is logged.
Error readPng(std::istream& stream, SharedObjectPtr<PixelsData>& pixels);

}  // namespace tarn
