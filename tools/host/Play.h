// A run: a signal or a file through one or more instances of a plug-in, block by block.
#pragma once

#include "host/Findings.h"
#include "host/Schedule.h"
#include "host/Signal.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarn::host {

struct PlayOptions {
    std::string plugin;

    std::string input;  // a file; empty: the signal
    SignalSettings signal;
    std::string output;  // files; empty: none
    std::string sent;
    std::optional<double> rate;          // Hz; the file's, or 44100
    std::optional<std::int64_t> frames;  // the file's, or 10 seconds
    std::optional<double> seconds;       // the same in another unit

    int inputs = 0;  // channels asked for; 0: the file's, at most 2, or 2
    int outputs = 0;
    BlockSizes block;
    int announcedBlock = 0;  // 0: the largest block
    std::uint64_t seed = 1;
    bool isRealTime = false;
    bool isInPlace = false;
    int instances = 1;
    int inputLatency = 0;  // samples
    double linger = 0.0;   // seconds

    std::vector<Setting> settings;
    std::vector<TextSetting> textSettings;
    std::string loadChunk;  // files; empty: none
    std::string saveChunk;
};

/// Plays to the end, or until `stopPlaying`, and tells on standard error how it went. What the
/// plug-in did wrong goes into `findings`, what ends the run early is a `Failure`.
void play(const PlayOptions& options, Findings& findings);

/// Lets the run end with the present block, and everything be completed. Any thread, signal
/// handlers included.
void stopPlaying() noexcept;

}  // namespace tarn::host
