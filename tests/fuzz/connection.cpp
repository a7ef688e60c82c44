// What another process may have left in a connection's two blocks, and changes while they are read:
// the input is written over them, part by part, between one look and the next.
#include "Receiver.h"
#include "Require.h"
#include "link/IOBridge.h"
#include "platform/Clock.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <iterator>

using namespace tarn;
using fuzz::require;
using platform::SharedMemory;

namespace {

double now = 0.0;

// The places that anything is read from, but for the ring.
constexpr std::size_t BlockFields[] = {0x00,    0x04,    0x24,    0x28,    0x30,   0x34,
                                       0x20038, 0x2003C, 0x20040, 0x20044, 0x20054};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    platform::setCalendarClock([]() noexcept { return static_cast<std::int64_t>(now); });
    platform::setHighResolutionClock([]() noexcept { return now; });
    now = 1000.0;
    const auto blockMemory = SharedMemory::create(connectionMappingName(0), ConnectionBlockSize);
    const auto stateMemory = SharedMemory::create(connectionStateName(0), ConnectionStateSize);
    auto* block = static_cast<std::uint8_t*>(blockMemory.data());
    auto* state = static_cast<std::uint8_t*>(stateMemory.data());
    std::memset(block, 0, ConnectionBlockSize);
    std::memset(state, 0, ConnectionStateSize);

    FuzzedDataProvider input(data, size);
    const auto takeByte = [&input] {
        std::uint8_t byte = 0;
        input.ConsumeData(&byte, 1);
        return byte;
    };
    receive::Receiver byNumber({0, {}}, 48000.0), byName({{}, ""}, 48000.0), any({}, 48000.0);
    std::string name;
    std::optional<IOBridge<float>> sender;
    const std::vector<float> samples(1000);
    while (input.remaining_bytes() > 0) {
        const std::uint8_t action = takeByte();
        switch (action % 8) {
            case 0:
            case 1:
                input.ConsumeData(block + BlockFields[takeByte() % std::size(BlockFields)], 4);
                break;
            case 2:
            case 3:
                input.ConsumeData(state + takeByte() % 0x60 * 8, 8);  // up to the places
                break;
            case 4: {
                auto& receiver = action & 0x80 ? byName : action & 0x40 ? any : byNumber;
                const receive::Delivery delivery = receiver.look();
                require(delivery.samples.size() <= ConnectionRingSamples);
                fuzz::touch(delivery.samples);
                require(delivery.rate >= 0.0 && delivery.rate <= ConnectionHighestRate);
                break;
            }
            case 5:
                for (const ConnectionInfo& info : presentConnections())
                    require(info.name.size() <= ConnectionNameBytes && info.level >= 0.0f &&
                            (!info.sender || info.sender->host.size() < ConnectionStateTextBytes));
                break;
            case 6:
                sender.reset();
                if (action & 0x80)
                    sender.emplace(name = "*");
                break;
            default:
                now += action / 16.0;
                if (sender)
                    sender->write(samples.data(), action);
        }
    }
    return 0;
}
