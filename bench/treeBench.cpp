// The typed tree beside the libraries that it stands on.
#include "Ratios.h"
#include "foundation/Dictionary.h"

#include <cryptopp/base64.h>
#include <cryptopp/filters.h>
#include <cryptopp/gzip.h>
#include <tinyxml.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

using namespace tarn;

namespace {

// A bank of presets, 1 MB of it.
const std::string& document() {
    static const std::string text = [] {
        Dictionary bank;
        bank.setInfo("Brimtide", "1.2.0");
        bank.setString("file-format", "1.0");
        std::string printed;
        for (int preset = 0; printed.size() < 1'000'000; ++preset) {
            const auto parameters = bank.addDict("preset")->addDict("parameters");
            for (int i = 0; i < 100; ++i)
                parameters->setFloat("Parameter" + std::to_string(i),
                                     static_cast<float>(i * preset % 101) / 100.0F, i % 3);
            if (preset % 32 == 0)
                bank.toString(printed);
        }
        return printed;
    }();
    return text;
}

// A tone, as samples are stored.
const std::vector<float>& mebibyte() {
    static const std::vector<float> samples = [] {
        std::vector<float> tone(1 << 18);
        for (std::size_t i = 0; i < tone.size(); ++i)
            tone[i] = std::sin(static_cast<float>(i) * 0.05F);
        return tone;
    }();
    return samples;
}

constexpr std::size_t Mebibyte = std::size_t{1} << 20;

void parseDictionary(benchmark::State& state) {
    for (auto _ : state) {
        Dictionary tree(document());
        benchmark::DoNotOptimize(tree);
    }
}

void parseTinyXml(benchmark::State& state) {
    for (auto _ : state) {
        TiXmlDocument tree;
        tree.Parse(document().c_str());
        benchmark::DoNotOptimize(tree);
    }
}

void setDataOf1MiB(benchmark::State& state) {
    Dictionary tree;
    for (auto _ : state)
        tree.setData("d", mebibyte().data(), Mebibyte);
}

std::string packBare() {
    std::string text;
    const CryptoPP::StringSource source(
        reinterpret_cast<const CryptoPP::byte*>(mebibyte().data()), Mebibyte, true,
        new CryptoPP::Gzip(new CryptoPP::Base64Encoder(new CryptoPP::StringSink(text), false), 3,
                           15, true));
    return text;
}

void packBare1MiB(benchmark::State& state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(packBare());
}

void getDataOf1MiB(benchmark::State& state) {
    Dictionary tree;
    tree.setData("d", mebibyte().data(), Mebibyte);
    for (auto _ : state) {
        void* data = nullptr;
        std::size_t size = 0;
        tree.getData("d", data, size);
        benchmark::DoNotOptimize(data);
        std::free(data);
    }
}

void unpackBare1MiB(benchmark::State& state) {
    const std::string text = packBare();
    for (auto _ : state) {
        std::string bytes;
        const CryptoPP::StringSource source(
            text, true,
            new CryptoPP::Base64Decoder(new CryptoPP::Gunzip(new CryptoPP::StringSink(bytes))));
        benchmark::DoNotOptimize(bytes);
    }
}

const std::vector<std::string>& keys() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (int i = 0; i < 10'000; ++i)
            all.push_back("Parameter" + std::to_string(i));
        return all;
    }();
    return names;
}

// 10,000 keys in trees of so many: each is written, overwritten and read.
template <std::size_t Each>
void useKeys(benchmark::State& state) {
    for (auto _ : state) {
        for (std::size_t from = 0; from < keys().size(); from += Each) {
            Dictionary tree;
            float sum = 0;
            for (std::size_t i = from; i < from + Each; ++i)
                tree.setFloat(keys()[i], 0.5F);
            for (std::size_t i = from; i < from + Each; ++i)
                tree.setFloat(keys()[i], 0.25F);
            for (std::size_t i = from; i < from + Each; ++i)
                if (float value = 0; tree.getFloat(keys()[i], value))
                    sum += value;
            benchmark::DoNotOptimize(sum);
        }
    }
}

// 40,000 children, walked by their index, in trees of so many.
template <int Each>
void walkChildren(benchmark::State& state) {
    Dictionary tree;
    for (int i = 0; i < Each; ++i)
        tree.addDict("zone");
    for (auto _ : state)
        for (int walked = 0; walked < 40'000; walked += Each)
            for (int i = 0; i < Each; ++i)
                benchmark::DoNotOptimize(tree.getEntry(i, "zone"));
}

const bool registered = [] {
    bench::compare("load 1 MB of XML", 1.15, parseDictionary, parseTinyXml);
    bench::compare("setData of 1 MiB", 1.2, setDataOf1MiB, packBare1MiB);
    bench::compare("getData of 1 MiB", 1.2, getDataOf1MiB, unpackBare1MiB);
    bench::compare("10,000 keys, not 10 x 1,000", 2.0, useKeys<10'000>, useKeys<1'000>);
    bench::compare("10,000 keys, not 100 x 100", 2.0, useKeys<10'000>, useKeys<100>);
    bench::compare("40,000 children, not 400 x 100", 2.0, walkChildren<40'000>, walkChildren<100>);
    return true;
}();

}  // namespace
