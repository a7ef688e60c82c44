// Binary values as they come in a text: both packings, whole and broken, and what is packed here.
#include "foundation/Packing.h"

#include "Require.h"

#include <cryptopp/base64.h>

#include <cstdint>
#include <exception>
#include <string>

using namespace tarn;
using fuzz::require;

namespace {

std::string base64(const std::string& bytes) {
    std::string text;
    const CryptoPP::StringSource encode(
        bytes, true, new CryptoPP::Base64Encoder(new CryptoPP::StringSink(text), false));
    return text;
}

// No failure is allowed here.
void packAndUnpack(const std::string& bytes) noexcept {
    const HeapBytes unpacked = unpackData(packData(bytes.data(), bytes.size()));
    require(bytes.compare(0, bytes.size(), reinterpret_cast<const char*>(unpacked.block.get()),
                          unpacked.size) == 0);
}

}  // namespace

// A byte that chooses the way, and the text or the bytes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) try {
    if (size == 0)
        return 0;
    const std::string rest(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::size_t way = data[0] % 4, old = rest.size() * (data[0] / 4U) / 50;
    if (way == 3)
        packAndUnpack(rest);
    else if (way == 2)
        require(!isOldPacking(rest) || unpackOldData(rest, old).size == old);
    else
        // The text wouldn't often be good Base64, so bytes are tried as such.
        require(unpackData(way == 0 ? rest : base64(rest)).size <= MaxDataBytes);
    return 0;
} catch (const std::exception&) {
    return 0;
}
