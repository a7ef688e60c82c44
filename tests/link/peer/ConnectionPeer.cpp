// The other process of the connection tests.
//
//   connection-peer crash SAMPLES          makes a connection, writes 1, 2, 3, ... and dies at once
//   connection-peer send SLOT SAMPLES      writes 1, 2, 3, ... into SLOT, but no ring ahead
//   connection-peer flood                  writes 0, 1, 2, ... (modulo 40,009) until it is killed
//   connection-peer listen SLOT            listens to SLOT until it is killed
//   connection-peer receive SLOT SAMPLES   exits with 0 if what it reads rises by one each
#include "link/ConnectionListener.h"
#include "link/IOBridge.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace tarn;
using Bridge = IOBridge<float>;

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

void writeRamp(Bridge& bridge, std::uint32_t from, std::uint32_t frames) {
    std::vector<float> block(frames);
    std::iota(block.begin(), block.end(), static_cast<float>(from + 1));
    bridge.write(block.data(), frames);
}

int crash(std::uint32_t samples) {
    std::string name = "peer *";
    Bridge bridge(name);
    writeRamp(bridge, 0, samples);
    std::_Exit(9);  // nothing is destroyed
}

int send(std::uint32_t slot, std::uint32_t samples) {
    std::string name = "peer *";
    Bridge bridge(name);
    if (name != "peer " + std::to_string(slot + 1))
        return 2;
    bridge.resync(ConnectionPreroll);
    if (!waitFor([&] { return bridge.isAttached(); }))
        return 3;
    for (std::uint32_t sent = 0; sent < samples; sent += 500) {
        writeRamp(bridge, sent, 500);
        if (!waitFor([&] { return bridge.available() < ConnectionPreroll / 2; }))
            return 4;
    }
    return waitFor([&] { return !bridge.isAttached(); }) ? 0 : 5;
}

// Blocks of all lengths, so fast that it is killed in one as a rule.
int flood() {
    constexpr std::uint32_t Period = 40'009, Longest = 30'011;
    std::vector<float> table(Period + Longest);
    for (std::uint32_t i = 0; i < table.size(); ++i)
        table[i] = static_cast<float>(i % Period);
    std::string name = "peer *";
    Bridge bridge(name);
    std::uint32_t at = 0, frames = 1;
    waitFor([&] {
        for (int i = 0; i < 1000; ++i, at = (at + frames) % Period) {
            frames = frames * 7 % Longest;
            bridge.write(table.data() + at, frames);
        }
        return false;
    });
    return 6;
}

int listen(std::uint32_t slot) {
    ConnectionListener listener(slot);
    std::vector<float> buffer;
    waitFor([&] {
        listener.beat();
        listener.take(listener.session(), 0, buffer);
        return false;
    });
    return 7;
}

int receive(std::uint32_t slot, std::uint32_t samples) {
    std::unique_ptr<Bridge> bridge;
    std::vector<float> block(ConnectionRingSamples);
    std::uint32_t received = 0;
    const bool isComplete = waitFor([&] {
        if (!bridge || !bridge->hasBlock())
            bridge = std::make_unique<Bridge>(OpenSlot{slot});
        if (!bridge->isAttached())
            bridge->attach();  // a master that was just making the block has wiped the mark
        const std::uint32_t frames = bridge->isLive() ? bridge->available() : 0;
        const std::uint32_t got = frames > 0 ? bridge->read(block.data(), frames) : 0;
        for (std::uint32_t i = 0; i < got; ++i) {
            if (block[i] == static_cast<float>(received + 1))
                ++received;
            else if (received > 0 || block[i] != 0.0f)  // before the first one is silence
                std::exit(4);
        }
        return received >= samples;
    });
    return isComplete ? 0 : 3;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string task = argc > 1 ? argv[1] : "";
    const auto number = [&](int i) {
        return argc > i ? static_cast<std::uint32_t>(std::strtoul(argv[i], nullptr, 10)) : 0;
    };
    return task == "crash"     ? crash(number(2))
           : task == "flood"   ? flood()
           : task == "listen"  ? listen(number(2))
           : task == "send"    ? send(number(2), number(3))
           : task == "receive" ? receive(number(2), number(3))
                               : 1;
}
