// The other process of the connection tests. What is sent is 0, 1, 2, ... modulo 40,009.
//
//   connection-peer crash SAMPLES          makes a connection, writes SAMPLES, and dies in the
//   midst
//                                          of another block
//   connection-peer send [SPEED]           writes until its last listener has left, SPEED samples a
//                                          second or as fast as it can
//   connection-peer receive SLOT SAMPLES   listens until SAMPLES were sent, and exits with 0 if
//                                          all that came were right
#include "link/ConnectionListener.h"
#include "link/IOBridge.h"
#include "platform/Clock.h"

#include <csignal>
#include <cstdlib>
#include <memory>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace tarn;
using platform::systemHighResolutionSeconds;

constexpr std::uint32_t Period = 40'009, LongestBlock = 30'011;

// Everything that waits gives up after this, so that a failing test ends.
constexpr double MostSeconds = 20.0;

// Blocks of all lengths.
int send(double speed) {
    std::vector<float> table(Period + LongestBlock);
    for (std::uint32_t i = 0; i < table.size(); ++i)
        table[i] = static_cast<float>(i % Period);
    std::string name = "peer *";
    IOBridge<float> bridge(name);
    const double start = systemHighResolutionSeconds(), end = start + MostSeconds;
    std::uint64_t sent = 0;
    bool wasHeard = false;
    for (std::uint32_t frames = 1; systemHighResolutionSeconds() < end; sent += frames) {
        while (speed > 0.0 &&
               static_cast<double>(sent) > speed * (systemHighResolutionSeconds() - start))
            std::this_thread::yield();
        frames = frames * 7 % LongestBlock;
        bridge.write(table.data() + sent % Period, frames);
        const bool isHeard = bridge.owner().listeners() > 0;
        if (wasHeard && !isHeard)
            return 0;
        wasHeard = isHeard;
    }
    return 3;
}

[[noreturn]] void crash(std::uint32_t samples) {
    std::string name = "peer *";
    IOBridge<float> bridge(name);
    std::vector<float> sent(samples);
    std::iota(sent.begin(), sent.end(), 0.0f);
    bridge.write(sent.data(), samples);
    std::signal(SIGSEGV, [](int) { std::_Exit(9); });  // nothing is destroyed
    bridge.write(reinterpret_cast<const float*>(64), 500);
    std::abort();
}

int receive(std::uint32_t slot, std::uint64_t samples) {
    std::unique_ptr<ConnectionListener> listener;
    std::vector<float> buffer;
    std::uint64_t position = 0, received = 0, wrong = 0;
    const double end = systemHighResolutionSeconds() + MostSeconds;
    for (; position < samples || received == 0; std::this_thread::yield()) {
        if (systemHighResolutionSeconds() > end)
            return 4;
        if (!listener || listener->session() == 0)
            listener = std::make_unique<ConnectionListener>(slot);
        if (!listener->hasBlock() || listener->session() == 0)
            continue;
        listener->beat();
        const TakenSamples taken = listener->take(listener->session(), position, buffer);
        if (taken.result != TakenSamples::Result::Taken)
            continue;
        position = taken.end - taken.samples.size();
        for (const float sample : taken.samples)
            wrong += sample != static_cast<float>(position++ % Period);
        received += taken.samples.size();
    }
    return wrong == 0 ? 0 : 4;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string task = argc > 1 ? argv[1] : "";
    const auto number = [&](int i) {
        return argc > i ? static_cast<std::uint32_t>(std::strtoul(argv[i], nullptr, 10)) : 0;
    };
    if (task == "crash")
        crash(number(2));
    return task == "send" ? send(number(2)) : task == "receive" ? receive(number(2), number(3)) : 1;
}
