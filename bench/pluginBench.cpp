// Whole instances, as a host has them: the product with its own files, through the record alone.
#include "Blocks.h"
#include "HeapBytes.h"
#include "Ratios.h"
#include "link/BrimtidePluginInfo.h"
#include "link/IOBridge.h"
#include "platform/Clock.h"
#include "plugin/Mission.h"
#include "support/Product.h"
#include "vst/VSTPlugin.h"

#include <tinyxml.h>
#include <xmmintrin.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace tarn;
using benchmark::State;
using platform::highResolutionSeconds;

constexpr const char* Files[] = {"Settings.xml", "Resources.xml",
                                 "Brimtide Resources/Factory Presets.xml"};

// The product in a folder of its own, where the files may change.
class Installation {
public:
    static Installation& get() {
        static Installation one;
        return one;
    }

    /// No text is any more what it was at the last parsing, and means the same.
    void changeFiles() {
        ending_ += '\n';
        for (const char* file : Files)
            folder_.write(file, source(file) + ending_);
    }

    /// From the load of the library to the end of the first instance's start, in seconds.
    double secondsOfFirstStart = 0.0;

private:
    Installation();

    static std::string source(const std::string& file) {
        std::ifstream stream(std::string(PRODUCT_FOLDER "/") + file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    test::ScratchFolder folder_;
    std::string ending_;
    std::unique_ptr<test::Product> product_;
};

VstIntPtr VSTCALLBACK host(AEffect*, VstInt32 opcode, VstInt32, VstIntPtr, void*, float) {
    return opcode == audioMasterVersion ? kVstVersion : 0;
}

IOConfig stereo() {
    return {IOPinConfig(2, 1), IOPinConfig(2, 1)};
}

class Instance {
public:
    Instance() : record((Installation::get(), new VSTPlugin(0, host, stereo()))->getAeffect()) {}
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;
    ~Instance() { call(effClose); }

    VstIntPtr call(VstInt32 opcode, VstIntPtr value = 0, void* ptr = nullptr) const {
        return record->dispatcher(record, opcode, 0, value, ptr, 0.0f);
    }

    AEffect* const record;
};

Installation::Installation() {
    changeFiles();
    product_ = test::Product::of<BrimtidePluginInfo>(folder_.path());
    const double begin = highResolutionSeconds();
    Mission::get().start();
    AEffect* const first = (new VSTPlugin(0, host, stereo()))->getAeffect();
    secondsOfFirstStart = highResolutionSeconds() - begin;
    first->dispatcher(first, effClose, 0, 0, nullptr, 0.0f);
}

struct Stereo {
    explicit Stereo(std::uint32_t frames)
        : left(bench::audio(frames)), right(left), out0(frames), out1(frames) {}
    bench::Audio left, right, out0, out1;
    float* inputs[2] = {left.data(), right.data()};
    float* outputs[2] = {out0.data(), out1.data()};
};

void process(State& state, std::uint32_t frames) {
    const Instance instance;
    instance.call(effMainsChanged, 1);
    Stereo stereo(frames);
    for (auto _ : state) {
        instance.record->processReplacing(instance.record, stereo.inputs, stereo.outputs,
                                          static_cast<VstInt32>(frames));
        benchmark::ClobberMemory();
    }
}

// The same work with nothing around it: what a pause is told by included, the time at a block's
// beginning and end.
void copiesPeakAndClock(State& state, std::uint32_t frames) {
    bench::RivalRing ring(ConnectionRingSamples);
    Stereo stereo(frames);
    std::uint32_t position = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(platform::systemCalendarSeconds());
        benchmark::DoNotOptimize(platform::systemHighResolutionSeconds());
        std::memcpy(ring.data() + position, stereo.left.data(), frames * sizeof(float));
        position = (position + frames) & ConnectionRingMask;
        __m128 peak = _mm_setzero_ps();
        __m128 other = _mm_setzero_ps();
        const __m128 sign = _mm_set1_ps(-0.0f);
        for (std::uint32_t i = 0; i < frames; i += 8) {
            peak = _mm_max_ps(_mm_andnot_ps(sign, _mm_loadu_ps(stereo.inputs[0] + i)), peak);
            other = _mm_max_ps(_mm_andnot_ps(sign, _mm_loadu_ps(stereo.inputs[0] + i + 4)), other);
        }
        benchmark::DoNotOptimize(peak = _mm_max_ps(peak, other));
        std::memcpy(stereo.outputs[0], stereo.inputs[0], frames * sizeof(float));
        std::memcpy(stereo.outputs[1], stereo.inputs[1], frames * sizeof(float));
        benchmark::DoNotOptimize(platform::systemHighResolutionSeconds());
        benchmark::ClobberMemory();
    }
}

void pairOfBlocks(std::uint32_t frames, double goal) {
    bench::compare(
        "process " + std::to_string(frames), goal, [=](State& state) { process(state, frames); },
        [=](State& state) { copiesPeakAndClock(state, frames); });
}

double secondsOf(const auto& work) {
    const double begin = highResolutionSeconds();
    work();
    return highResolutionSeconds() - begin;
}

// One start, its end not counted.
void start(State& state, bool areFilesNew) {
    Installation& installation = Installation::get();
    for (auto _ : state) {
        if (areFilesNew)
            installation.changeFiles();
        std::unique_ptr<Instance> instance;
        state.SetIterationTime(secondsOf([&] { instance = std::make_unique<Instance>(); }));
    }
}

// What a host does to save a project and load it.
void saveAndLoad(State& state) {
    const Instance instance;
    for (auto _ : state) {
        char* text = nullptr;
        const VstIntPtr size = instance.call(effGetChunk, 0, &text);
        const std::string saved(text, static_cast<std::size_t>(size));
        instance.record->dispatcher(instance.record, effSetChunk, 0, size,
                                    const_cast<char*>(saved.data()), 0.0f);
    }
}

// The library's part alone: the tree is there, and none is made of it.
void printAndParse(State& state) {
    const Instance instance;
    char* text = nullptr;
    instance.call(effGetChunk, 0, &text);
    TiXmlDocument tree;
    tree.Parse(text);
    for (auto _ : state) {
        TiXmlPrinter printer;
        tree.Accept(&printer);
        TiXmlDocument read;
        read.Parse(printer.CStr());
        benchmark::DoNotOptimize(read);
    }
}

// What takes the first free slot looks at all that are taken, and isn't the instance's doing.
double secondsOfBridge() {
    std::unique_ptr<IOBridge<float>> bridge;
    std::string name = "bench *";
    return secondsOf([&] { bridge = std::make_unique<IOBridge<float>>(name); });
}

void printStarts() {
    constexpr int Rounds = 9;
    struct Fastest {
        double bridge = 1.0, whole = 1.0;
        double own() const { return whole - bridge; }
    };
    std::array<Fastest, ConnectionSlots> fastest;
    for (int round = 0; round < Rounds; ++round) {
        std::vector<std::unique_ptr<Instance>> instances;
        for (auto& [bridge, whole] : fastest) {
            bridge = std::min(bridge, secondsOfBridge());
            whole = std::min(whole,
                             secondsOf([&] { instances.push_back(std::make_unique<Instance>()); }));
        }
    }
    std::printf("first start of the process, with all that instances share: %.0f us\n",
                Installation::get().secondsOfFirstStart * 1e6);
    for (const std::size_t count : {1, 8, 32}) {
        const Fastest& one = fastest[count - 1];
        std::printf("start of instance %2d: %.0f us, without its slot %.0f us\n",
                    static_cast<int>(count), one.whole * 1e6, one.own() * 1e6);
    }
}

void printMemory() {
    const Instance before;
    const std::size_t begin = bench::heapBytes();
    const Instance one;
    std::printf("heap of an instance: %d KiB\n",
                static_cast<int>((bench::heapBytes() - begin) / 1024));
}

const bool registered = [] {
    pairOfBlocks(64, 2.5);
    pairOfBlocks(512, 1.3);
    bench::compareOwnTimesAtLeast(
        "start, files parsed before", 1.2, [](State& state) { start(state, false); },
        [](State& state) { start(state, true); });
    bench::compare("save and load, TinyXML", 3.0, saveAndLoad, printAndParse);
    bench::printAtTheEnd(printStarts);
    bench::printAtTheEnd(printMemory);
    return true;
}();

}  // namespace
