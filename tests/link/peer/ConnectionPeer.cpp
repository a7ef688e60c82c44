// The other process of the connection tests.
//
//   connection-peer crash SAMPLES            makes a connection, writes 1, 2, 3, ... and dies as if
//   killed connection-peer probe SLOT               exits with the slot's status connection-peer
//   send SLOT SAMPLES        takes a slot, which must be SLOT, and writes 1, 2, 3, ... no faster
//   than a
//                                            reader takes them
//   connection-peer receive SLOT SAMPLES     attaches itself, reads SAMPLES and exits with 0 if
//   they rise by one each
#include "link/IOBridge.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace tarn;

constexpr std::uint32_t BlockFrames = 480;

// Everything that waits gives up in the end, so that a failing test ends.
template <typename Condition>
bool waitFor(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::yield();
    }
    return true;
}

void writeRamp(IOBridge<float>& bridge, std::uint32_t from, std::uint32_t frames) {
    std::vector<float> block(frames);
    for (std::uint32_t i = 0; i < frames; ++i)
        block[i] = static_cast<float>(from + i + 1);
    bridge.write(block.data(), frames);
}

[[noreturn]] void die() {
#if defined(SIGKILL)
    std::raise(SIGKILL);
#endif
    std::_Exit(9);
}

int send(std::uint32_t slot, std::uint32_t samples) {
    std::string name = "peer *";
    IOBridge<float> bridge(name);
    if (bridge.name() != "peer " + std::to_string(slot + 1))
        return 2;
    bridge.resync(ConnectionPreroll);
    if (!waitFor([&] { return bridge.isAttached(); }))
        return 3;
    for (std::uint32_t sent = 0; sent < samples;) {
        const std::uint32_t frames = std::min(BlockFrames, samples - sent);
        writeRamp(bridge, sent, frames);
        sent += frames;
        if (!waitFor([&] { return bridge.available() < ConnectionPreroll / 2; }))
            return 4;
    }
    return waitFor([&] { return !bridge.isAttached(); }) ? 0 : 5;
}

int receive(std::uint32_t slot, std::uint32_t samples) {
    std::unique_ptr<IOBridge<float>> bridge;
    if (!waitFor([&] {
            bridge = std::make_unique<IOBridge<float>>(OpenSlot{slot});
            return bridge->hasBlock();
        }))
        return 2;
    float expected = 1.0f;
    std::uint32_t received = 0;
    std::vector<float> block(ConnectionRingSamples);
    const bool complete = waitFor([&] {
        if (!bridge->isAttached())
            bridge->attach();  // a master that was just making the block has wiped the mark
        const std::uint32_t frames = bridge->isLive() ? bridge->available() : 0;
        const std::uint32_t got = frames > 0 ? bridge->read(block.data(), frames) : 0;
        for (std::uint32_t i = 0; i < got; ++i) {
            // What stands before the sender's first sample is silence.
            if (block[i] == expected)
                expected += 1.0f, ++received;
            else if (received > 0 || block[i] != 0.0f)
                std::exit(4);
        }
        return received >= samples;
    });
    return complete ? 0 : 3;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string task = argc > 1 ? argv[1] : "";
    const auto number = [&](int i) {
        return argc > i ? static_cast<std::uint32_t>(std::strtoul(argv[i], nullptr, 10)) : 0;
    };
    if (task == "crash") {
        std::string name = "peer *";
        IOBridge<float> bridge(name);
        writeRamp(bridge, 0, number(2));
        die();
    }
    if (task == "probe")
        return static_cast<int>(connectionStatus(number(2)));
    if (task == "send")
        return send(number(2), number(3));
    if (task == "receive")
        return receive(number(2), number(3));
    return 1;
}
