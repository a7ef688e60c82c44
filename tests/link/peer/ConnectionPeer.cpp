// The sending process of the connection tests. What is sent is 0, 1, 2, ... modulo 40,009.
//
//   connection-peer crash SAMPLES          makes a connection, writes SAMPLES, and dies in the
//   midst
//                                          of another block
//   connection-peer send [SPEED]           writes until its last listener has left, SPEED samples a
//                                          second or as fast as it can
#include "link/IOBridge.h"
#include "platform/Clock.h"

#include <csignal>
#include <cstdlib>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace tarn;
using platform::systemHighResolutionSeconds;

constexpr std::uint32_t Period = 40'009, LongestBlock = 30'011;

constexpr double MostSeconds = 20.0;  // then it gives up, so that a failing test ends

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

}  // namespace

int main(int argc, char** argv) {
    const std::string task = argc > 1 ? argv[1] : "";
    const auto number =
        static_cast<std::uint32_t>(argc > 2 ? std::strtoul(argv[2], nullptr, 10) : 0);
    if (task == "crash")
        crash(number);
    return task == "send" ? send(number) : 1;
}
