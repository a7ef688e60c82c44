// A connection's two ends. Every rival includes the clock calls that the format asks for.
#include "Blocks.h"
#include "Ratios.h"
#include "link/IOBridge.h"
#include "platform/Clock.h"
#include "support/SampleBySample.h"

#include <boost/lockfree/spsc_queue.hpp>
#include <cstring>
#include <vector>

namespace {

using namespace tarn;
using bench::AsInBlock;
using bench::Audio;
using bench::audio;
using bench::RivalRing;
using benchmark::State;

using RingAsInBlock = std::vector<ConnectionRing, AsInBlock<ConnectionRing>>;

struct Master : IOBridge<float> {
    explicit Master(std::string pattern = "bench *") : IOBridge(pattern) {}
};

void write(State& state, std::uint32_t frames) {
    Master master;
    const auto block = audio(frames);
    for (auto _ : state)
        benchmark::DoNotOptimize(master.write(block.data(), frames));
}

// The least that a write can be: the bytes, and the second.
void copyAndClock(State& state, std::uint32_t frames) {
    RivalRing ring(ConnectionRingSamples);
    const auto block = audio(frames);
    std::uint32_t position = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(platform::systemCalendarSeconds());
        std::memcpy(ring.data() + position, block.data(), frames * sizeof(float));
        position = (position + frames) & ConnectionRingMask;  // block sizes divide the ring
        benchmark::ClobberMemory();
    }
}

// Through one view of the block: two views of the same memory in one process, which no connection
// has, defeat the cache.
void writeAndRead(State& state, std::uint32_t frames) {
    Master bridge;
    const auto block = audio(frames);
    Audio received(frames);
    for (auto _ : state) {
        bridge.write(block.data(), frames);
        benchmark::DoNotOptimize(bridge.read(received.data(), frames));
        benchmark::ClobberMemory();
    }
}

void queueAndClocks(State& state, std::uint32_t frames) {
    boost::lockfree::spsc_queue<float, boost::lockfree::allocator<AsInBlock<float>>> queue(
        ConnectionRingSamples - 1);
    const auto block = audio(frames);
    Audio received(frames);
    for (auto _ : state) {
        benchmark::DoNotOptimize(platform::systemCalendarSeconds());
        queue.push(block.data(), frames);
        benchmark::DoNotOptimize(platform::systemCalendarSeconds());
        benchmark::DoNotOptimize(queue.pop(received.data(), frames));
        benchmark::ClobberMemory();
    }
}

// The ring by itself, against the format's own loop: neither takes the time of day. The reader is
// two blocks behind, as the pre-roll rule leaves it.
void putAndGet(State& state, std::uint32_t frames) {
    RingAsInBlock ring(1);
    const auto block = audio(frames);
    Audio received(frames);
    std::uint32_t position = 0;
    ring.front().put(block.data(), frames);
    ring.front().put(block.data(), frames);
    for (auto _ : state) {
        ring.front().put(block.data(), frames);
        benchmark::DoNotOptimize(ring.front().get(received.data(), frames, position));
        benchmark::ClobberMemory();
    }
}

void sampleBySample(State& state, std::uint32_t frames) {
    RingAsInBlock ring(1);
    const auto block = audio(frames);
    Audio received(frames);
    std::uint32_t position = 0;
    test::putSampleBySample(ring.front(), block.data(), frames);
    test::putSampleBySample(ring.front(), block.data(), frames);
    for (auto _ : state) {
        test::putSampleBySample(ring.front(), block.data(), frames);
        benchmark::DoNotOptimize(
            test::getSampleBySample(ring.front(), received.data(), frames, position));
        benchmark::ClobberMemory();
    }
}

using Work = void (*)(State&, std::uint32_t);

void pair(const char* name, std::uint32_t frames, double goal, Work ours, Work rival) {
    bench::compare(
        name + (" " + std::to_string(frames)), goal, [=](State& state) { ours(state, frames); },
        [=](State& state) { rival(state, frames); });
}

const bool registered = [] {
    pair("write", 64, 1.4, write, copyAndClock);
    pair("write", 512, 1.15, write, copyAndClock);
    pair("write", 4096, 1.15, write, copyAndClock);
    pair("write and read, queue", 64, 1.4, writeAndRead, queueAndClocks);
    pair("write and read, queue", 512, 1.2, writeAndRead, queueAndClocks);
    pair("write and read, queue", 4096, 1.1, writeAndRead, queueAndClocks);
    bench::compareAtLeast(
        "put and get, loop 512", 8.0, [](State& state) { putAndGet(state, 512); },
        [](State& state) { sampleBySample(state, 512); });
    return true;
}();

}  // namespace
