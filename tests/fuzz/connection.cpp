// What another process may have left in a connection's two blocks, and changes while they are read:
// the input is written over them, part by part, between one look and the next.
#include "Receiver.h"
#include "Require.h"
#include "link/ConnectionInfo.h"
#include "link/IOBridge.h"
#include "platform/Clock.h"
#include "platform/SharedMemory.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

using namespace tarn;
using fuzz::require;
using platform::SharedMemory;

namespace {

double now = 0.0;

// The next number of the input, of zeros after its end.
template <typename Number>
Number take(FuzzedDataProvider& input) {
    Number number{};
    input.ConsumeData(&number, sizeof number);
    return number;
}

// The places that anything is read from, but for the ring.
constexpr std::size_t BlockFields[] = {0x00,    0x04,    0x24,    0x28,    0x30,   0x34,
                                       0x20038, 0x2003C, 0x20040, 0x20044, 0x20054};

void look(receive::Receiver& receiver) {
    const receive::Delivery delivery = receiver.look();
    require(delivery.samples.size() <= ConnectionRingSamples);
    if (!delivery.samples.empty())
        fuzz::touch(delivery.samples.data(), static_cast<long long>(delivery.samples.size()));
    require(delivery.rate >= 0.0 && delivery.rate <= ConnectionHighestRate);
    if (delivery.isComplete)
        require(receiver.isComplete());
}

void list() {
    for (const ConnectionInfo& info : presentConnections()) {
        require(info.name.size() <= ConnectionNameBytes && info.level >= 0.0f);
        if (info.sender)
            require(info.sender->host.size() < ConnectionStateTextBytes &&
                    info.sender->listeners <= static_cast<int>(ConnectionListeners));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    platform::setCalendarClock([]() noexcept { return static_cast<std::int64_t>(now); });
    platform::setHighResolutionClock([]() noexcept { return now; });
    now = 1000.0;
    const SharedMemory blockMemory =
        SharedMemory::create(connectionMappingName(0), ConnectionBlockSize);
    const SharedMemory stateMemory =
        SharedMemory::create(connectionStateName(0), ConnectionStateSize);
    if (!blockMemory || !stateMemory)
        return 0;
    auto* block = static_cast<std::uint8_t*>(blockMemory.data());
    auto* state = static_cast<std::uint8_t*>(stateMemory.data());
    std::memset(block, 0, ConnectionBlockSize);
    std::memset(state, 0, ConnectionStateSize);

    FuzzedDataProvider input(data, size);
    receive::Receiver byNumber({0, {}}, 48000.0), byName({{}, ""}, 48000.0), any({}, 48000.0);
    std::unique_ptr<IOBridge<float>> sender;
    std::vector<float> samples(1000);
    while (input.remaining_bytes() > 0) {
        const auto action = take<std::uint8_t>(input);
        switch (action % 8) {
            case 0:
            case 1: {
                const std::size_t field =
                    BlockFields[take<std::uint8_t>(input) % std::size(BlockFields)];
                const auto value = take<std::uint32_t>(input);
                std::memcpy(block + field, &value, sizeof value);
                break;
            }
            case 2:
            case 3: {
                const std::size_t field = take<std::uint8_t>(input) % 0x60 * 8;  // up to the places
                const auto value = take<std::uint64_t>(input);
                std::memcpy(state + field, &value, sizeof value);
                break;
            }
            case 4:
                look(action & 0x80 ? byName : action & 0x40 ? any : byNumber);
                break;
            case 5:
                list();
                break;
            case 6: {
                std::string name = "*";
                sender.reset();
                if (action & 0x80)
                    sender = std::make_unique<IOBridge<float>>(name);
                break;
            }
            default:
                now += action / 16.0;
                if (sender)
                    sender->write(samples.data(), action);
        }
    }
    return 0;
}
