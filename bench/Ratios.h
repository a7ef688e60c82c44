// Pairs of benchmarks, ours and its rival, run in turn in one process; what counts is the ratio.
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>

namespace tarn::bench {

/// Registers a pair. The run ends with a table of the ratios of the fastest times, ours to the
/// rival's, beside the goal: at most `goal` times the rival's, or with `atLeast` at least that many
/// times as fast as it.
void compare(const std::string& name, double goal, std::function<void(benchmark::State&)> ours,
             std::function<void(benchmark::State&)> rival);
void compareAtLeast(const std::string& name, double timesAsFast,
                    std::function<void(benchmark::State&)> ours,
                    std::function<void(benchmark::State&)> rival);

/// The same of functions that tell the time by `SetIterationTime`, once in a repetition.
void compareOwnTimesAtLeast(const std::string& name, double timesAsFast,
                            std::function<void(benchmark::State&)> ours,
                            std::function<void(benchmark::State&)> rival);

/// Runs after the table, for what is a figure and no ratio.
void printAtTheEnd(std::function<void()> print);

}  // namespace tarn::bench
