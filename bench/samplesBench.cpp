// Loading a file of 60 s in stereo as one channel of floats.
#include "Ratios.h"
#include "foundation/File.h"
#include "samples/Mixdown.h"
#include "samples/SampleWav.h"
#include "support/ScratchFolder.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <fstream>
#include <memory>
#include <sndfile.hh>
#include <string>
#include <vector>

using namespace tarn;

namespace {

constexpr int Channels = 2;
constexpr std::size_t Frames = std::size_t{60} * 44100;

// Noise by the library that is the rival, in the folder of this run.
const std::string& waveFile(int format) {
    static const test::ScratchFolder folder("brimtide-samples-bench");
    static std::array<std::string, 0x10> paths;
    std::string& path = paths[static_cast<std::size_t>(format)];
    if (path.empty()) {
        path = folder.path("format" + std::to_string(format) + ".wav");
        SndfileHandle file(path, SFM_WRITE, SF_FORMAT_WAV | format, Channels, 44100);
        std::vector<float> noise(Channels * Frames);
        std::uint32_t random = 1;
        for (float& value : noise) {
            random = random * 1664525u + 1013904223u;
            value = static_cast<float>(random >> 8) / 16777216.0f - 0.5f;
        }
        file.writef(noise.data(), Frames);
    }
    return path;
}

void loadSample(benchmark::State& state, int format) {
    const File file(waveFile(format));
    for (auto _ : state) {
        SampleWav sample;
        if (!sample.load(file, true).isOk())
            state.SkipWithError("the file doesn't load");
        benchmark::DoNotOptimize(sample.getData());
    }
}

// As a careful user of the library would: a portion at a time, into memory that nobody cleared, and
// mixed down by the same code as ours.
void readAndMixDown(benchmark::State& state, int format) {
    constexpr std::size_t Portion = 4096;
    const std::string& path = waveFile(format);
    for (auto _ : state) {
        SndfileHandle file(path);
        const auto frames = static_cast<std::size_t>(file.frames());
        const auto mono = std::make_unique_for_overwrite<float[]>(frames + 1);
        std::array<float, Channels * Portion> values;
        for (std::size_t done = 0; done < frames;) {
            const auto now = static_cast<std::size_t>(file.readf(values.data(), Portion));
            mixInterleaved(values.data(), Channels, now, mono.get() + done);
            done += now;
        }
        mono[frames] = mono[0];
        benchmark::DoNotOptimize(mono.get());
    }
}

// What no loader can do without: the file's bytes, and memory for the floats that nobody has
// touched yet. On Windows the latter takes most of the time.
void readBytesAndTouchMemory(benchmark::State& state, int format) {
    const std::string& path = waveFile(format);
    std::vector<char> portion(65536);
    for (auto _ : state) {
        const auto mono = std::make_unique_for_overwrite<float[]>(Frames + 1);
        std::fill_n(mono.get(), Frames + 1, 0.0f);
        std::ifstream file(path, std::ios::binary);
        while (file.read(portion.data(), static_cast<std::streamsize>(portion.size()))) {
        }
        benchmark::DoNotOptimize(mono.get());
    }
}

void pair(const char* name, double timesAsFast, int format) {
    bench::compareAtLeast(
        name, timesAsFast, [=](benchmark::State& state) { loadSample(state, format); },
        [=](benchmark::State& state) { readAndMixDown(state, format); });
}

const bool registered = [] {
    pair("load 60 s of 24 bits", 2.0, SF_FORMAT_PCM_24);
    pair("load 60 s of 16 bits", 1.8, SF_FORMAT_PCM_16);
    pair("load 60 s of 8 bits", 2.0, SF_FORMAT_PCM_U8);
    pair("load 60 s of floats", 1.0, SF_FORMAT_FLOAT);
    bench::compare(
        "load 60 s of 8 bits, not bytes alone", 4.0,
        [](benchmark::State& state) { loadSample(state, SF_FORMAT_PCM_U8); },
        [](benchmark::State& state) { readBytesAndTouchMemory(state, SF_FORMAT_PCM_U8); });
    return true;
}();

}  // namespace
