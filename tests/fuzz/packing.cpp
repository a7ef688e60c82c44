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

void unpack(std::string_view text) {
    try {
        require(unpackData(text).size <= MaxDataBytes);
    } catch (const std::exception&) {
    }
}

// The text wouldn't often be good Base64, so bytes behind it are tried as such.
void unpackBytes(std::string_view bytes) {
    std::string text;
    const CryptoPP::StringSource encode(
        reinterpret_cast<const CryptoPP::byte*>(bytes.data()), bytes.size(), true,
        new CryptoPP::Base64Encoder(new CryptoPP::StringSink(text), false));
    unpack(text);
}

void unpackOld(std::string_view text, std::size_t size) {
    try {
        if (isOldPacking(text))
            require(unpackOldData(text, size).size == size);
    } catch (const std::exception&) {
    }
}

void packAndUnpack(std::string_view bytes) {
    const std::string text = packData(bytes.data(), bytes.size());
    require(!isOldPacking(text));
    const HeapBytes unpacked = unpackData(text);
    require(unpacked.size == bytes.size() &&
            std::memcmp(unpacked.block.get(), bytes.data(), bytes.size()) == 0);
}

}  // namespace

// A byte that chooses the way, and the text or the bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0)
        return 0;
    const std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
    switch (data[0] % 4) {
        case 0:
            unpack(rest);
            break;
        case 1:
            unpackBytes(rest);
            break;
        case 2:
            unpackOld(rest, rest.size() * (data[0] / 4U) / 50);
            break;
        default:
            packAndUnpack(rest);
    }
    return 0;
}
