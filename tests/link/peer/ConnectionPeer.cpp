// The sending process of the connection tests. What is sent is 0, 1, 2, ... modulo 40,009.
//
//   connection-peer crash    makes a connection, writes 1000, and dies in the midst of another
//                            block
//   connection-peer send     writes until its last listener has left, as fast as it can
#include "link/IOBridge.h"
#include "platform/Clock.h"

#include <csignal>
#include <cstdlib>
#include <numeric>
#include <string>
#include <vector>

namespace {

using namespace tarn;
using platform::systemHighResolutionSeconds;

constexpr std::uint32_t Period = 40'009, LongestBlock = 30'011;

constexpr double MostSeconds = 20.0;  // then it gives up, so that a failing test ends

// Blocks of all lengths.
int send() {
    std::vector<float> table(Period + LongestBlock);
    for (std::uint32_t i = 0; i < table.size(); ++i)
        table[i] = static_cast<float>(i % Period);
    std::string name = "peer *";
    IOBridge<float> bridge(name);
    const double end = systemHighResolutionSeconds() + MostSeconds;
    std::uint64_t sent = 0;
    bool wasHeard = false;
    for (std::uint32_t frames = 1; systemHighResolutionSeconds() < end; sent += frames) {
        frames = frames * 7 % LongestBlock;
        bridge.write(table.data() + sent % Period, frames);
        const bool isHeard = bridge.owner().listeners() > 0;
        if (wasHeard && !isHeard)
            return 0;
        wasHeard = isHeard;
    }
    return 3;
}

[[noreturn]] void crash() {
    std::string name = "peer *";
    IOBridge<float> bridge(name);
    std::vector<float> sent(1000);
    std::iota(sent.begin(), sent.end(), 0.0f);
    bridge.write(sent.data(), 1000);
    std::signal(SIGSEGV, [](int) { std::_Exit(9); });  // nothing is destroyed
    bridge.write(reinterpret_cast<const float*>(64), 500);
    std::abort();
}

}  // namespace

int main(int argc, char** argv) {
    const std::string task = argc > 1 ? argv[1] : "";
    if (task == "crash")
        crash();
    return task == "send" ? send() : 1;
}
