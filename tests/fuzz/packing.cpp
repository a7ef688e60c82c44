// Binary values as they come in a text: both packings, whole and broken, and what is packed here.
#include "foundation/Packing.h"

#include "Require.h"

#include <cryptopp/base64.h>
#include <cryptopp/filters.h>

#include <cstdint>
#include <cstring>
#include <exception>
#include <string>
#include <string_view>

using namespace tarn;
using fuzz::require;

namespace {

// The text wouldn't often be good Base64, so bytes are tried as such.
std::string base64(std::string_view bytes) {
    std::string text;
    const CryptoPP::StringSource encode(
        reinterpret_cast<const CryptoPP::byte*>(bytes.data()), bytes.size(), true,
        new CryptoPP::Base64Encoder(new CryptoPP::StringSink(text), false));
    return text;
}

// No failure is allowed here.
void packAndUnpack(std::string_view bytes) noexcept {
    const std::string text = packData(bytes.data(), bytes.size());
    require(!isOldPacking(text));
    const HeapBytes unpacked = unpackData(text);
    require(unpacked.size == bytes.size() &&
            std::memcmp(unpacked.block.get(), bytes.data(), bytes.size()) == 0);
}

}  // namespace

// A byte that chooses the way, and the text or the bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) try {
    if (size == 0)
        return 0;
    const std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
    const int way = data[0] % 4;
    if (way < 2)
        require(unpackData(way == 0 ? std::string(rest) : base64(rest)).size <= MaxDataBytes);
    else if (const std::size_t old = rest.size() * (data[0] / 4U) / 50; way == 3)
        packAndUnpack(rest);
    else if (isOldPacking(rest))
        require(unpackOldData(rest, old).size == old);
    return 0;
} catch (const std::exception&) {
    return 0;
}
