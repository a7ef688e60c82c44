// Where the samples of a recording go: files, or standard output.
#pragma once

#include "RateFinder.h"
#include "Recording.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace tarn::receive {

/// All throw a `Failure` when something can't be written.
class Sink {
public:
    virtual ~Sink() = default;

    /// Tells or corrects the rate, in Hz, of what was appended since the last `next`.
    virtual void setRate(std::uint32_t rate) = 0;

    /// Makes the place for samples, if it isn't there yet, and clears it of what it held before.
    virtual void open() {}

    /// Opens by itself.
    virtual void append(std::span<const float> samples) = 0;

    /// Ends what was begun, so that the next samples may have another rate. False where there is
    /// no room for others.
    virtual bool next() = 0;

    /// For a list beside the present samples; empty if there is no place for one.
    virtual std::string listPath() const { return {}; }

    /// Where everything has gone, for a sentence such as "recorded 3 s to take.wav".
    virtual std::string words() const = 0;
};

/// Files that are made when their first samples come: "take.wav", and then "take 2.wav" and on.
class FileSink : public Sink {
public:
    /// Refuses at once what could not be written later. Existing files are left alone unless
    /// `replaces`, and so are lists of what is missing from them.
    FileSink(std::string path, bool replaces);

    void setRate(std::uint32_t rate) override;
    void open() override;
    void append(std::span<const float> samples) override;
    bool next() override;
    std::string listPath() const override { return listOf(path_); }
    std::string words() const override;

private:
    static std::string listOf(const std::string& path) { return path + ".missed.txt"; }
    std::string numbered(int number) const;
    bool isFree(const std::string& path) const;

    const std::string wanted_;
    const bool replaces_;
    std::string path_;  // of the present file
    int number_ = 1;
    std::uint32_t rate_ = AssumedRate;  // before it is told
    std::unique_ptr<Recording> file_;   // null before its first samples
    std::vector<std::string> made_;
};

/// Standard output. With a header nothing is written before the rate is known.
class StreamSink : public Sink {
public:
    explicit StreamSink(bool isRaw);
    ~StreamSink() override;

    void setRate(std::uint32_t rate) override;
    void append(std::span<const float> samples) override;
    bool next() override { return false; }
    std::string words() const override { return "standard output"; }

private:
    void write(const void* bytes, std::size_t size);

    std::FILE* stream_;
    bool isReady_;  // the header is written, or none is wanted
    std::vector<float> held_;
};

}  // namespace tarn::receive
