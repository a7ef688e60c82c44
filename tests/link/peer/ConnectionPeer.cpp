// The sending process of the connection tests. What is sent is 0, 1, 2, ... modulo 40,009.
//
//   connection-peer crash     makes a connection, writes 1000 samples, and dies in the midst of
//                             another block
//   connection-peer send      writes blocks of all lengths until its last listener has left, at
//                             some speed that leaves a listener something
#include "link/IOBridge.h"
#include "platform/Clock.h"

#include <csignal>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace {

using tarn::platform::systemHighResolutionSeconds;

constexpr std::uint32_t Period = 40'009, LongestBlock = 30'011;

constexpr double SamplesPerSecond = 1e7;
constexpr double MostSeconds = 20.0;  // then it gives up, so that a failing test ends

int send(tarn::IOBridge<float>& bridge, const float* table) {
    const double start = systemHighResolutionSeconds(), end = start + MostSeconds;
    std::uint64_t sent = 0;
    bool wasHeard = false;
    for (std::uint32_t frames = 1; systemHighResolutionSeconds() < end; sent += frames) {
        while (static_cast<double>(sent) >
               SamplesPerSecond * (systemHighResolutionSeconds() - start))
            std::this_thread::yield();
        frames = frames * 7 % LongestBlock;
        bridge.write(table + sent % Period, frames);
        const bool isHeard = bridge.owner().listeners() > 0;
        if (wasHeard && !isHeard)
            return 0;
        wasHeard = isHeard;
    }
    return 3;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<float> table(Period + LongestBlock);
    for (std::uint32_t i = 0; i < table.size(); ++i)
        table[i] = static_cast<float>(i % Period);
    std::string name = "peer *";
    tarn::IOBridge<float> bridge(name);
    if (argc < 2 || std::string(argv[1]) != "crash")
        return send(bridge, table.data());
    bridge.write(table.data(), 1000);
    std::signal(SIGSEGV, [](int) { std::_Exit(9); });  // nothing is destroyed
    bridge.write(reinterpret_cast<const float*>(64), 500);
    std::abort();
}
