#include "Ratios.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <utility>
#include <vector>

namespace tarn::bench {

namespace {

struct Pair {
    std::string name;
    double goal;
    bool atLeast;
    bool ownTimes = false;
};

std::vector<Pair>& pairs() {
    static std::vector<Pair> all;
    return all;
}

std::vector<std::function<void()>>& prints() {
    static std::vector<std::function<void()>> all;
    return all;
}

void registerOne(const Pair& pair, const char* side, std::function<void(benchmark::State&)> run) {
    auto* const one = benchmark::RegisterBenchmark((pair.name + side).c_str(), std::move(run));
    if (pair.ownTimes)
        one->UseManualTime()->Iterations(1);
}

void registerPair(Pair pair, std::function<void(benchmark::State&)> ours,
                  std::function<void(benchmark::State&)> rival) {
    registerOne(pair, "/ours", std::move(ours));
    registerOne(pair, "/rival", std::move(rival));
    pairs().push_back(std::move(pair));
}

// Collects the time of every repetition.
class Collector : public benchmark::BenchmarkReporter {
public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            if (run.run_type == Run::RT_Iteration && !run.error_occurred)
                times_[run.run_name.function_name].push_back(run.GetAdjustedRealTime());
    }

    // The fastest, since whatever else the machine does only adds to the time.
    double fastest(const std::string& name) const {
        const auto found = times_.find(name);
        return found != times_.end() ? *std::min_element(found->second.begin(), found->second.end())
                                     : 0.0;
    }

private:
    std::map<std::string, std::vector<double>> times_;
};

void print(const Pair& pair, double ours, double rival) {
    if (ours <= 0.0 || rival <= 0.0)
        return;  // filtered out
    const double ratio = pair.atLeast ? rival / ours : ours / rival;
    const bool met = pair.atLeast ? ratio >= pair.goal : ratio <= pair.goal;
    std::printf("%-34s %12.1f ns %12.1f ns %8.2f  %s %.2f  %s\n", pair.name.c_str(), ours, rival,
                ratio, pair.atLeast ? ">=" : "<=", pair.goal, met ? "met" : "MISSED");
}

}  // namespace

void compare(const std::string& name, double goal, std::function<void(benchmark::State&)> ours,
             std::function<void(benchmark::State&)> rival) {
    registerPair({name, goal, false}, std::move(ours), std::move(rival));
}

void compareAtLeast(const std::string& name, double timesAsFast,
                    std::function<void(benchmark::State&)> ours,
                    std::function<void(benchmark::State&)> rival) {
    registerPair({name, timesAsFast, true}, std::move(ours), std::move(rival));
}

void compareOwnTimesAtLeast(const std::string& name, double timesAsFast,
                            std::function<void(benchmark::State&)> ours,
                            std::function<void(benchmark::State&)> rival) {
    registerPair({name, timesAsFast, true, true}, std::move(ours), std::move(rival));
}

void printAtTheEnd(std::function<void()> print) {
    prints().push_back(std::move(print));
}

namespace {

int run(int argc, char** argv) {
    // Repetitions in random order, so that a machine that changes its speed changes it for both.
    std::vector<char*> arguments(argv, argv + argc);
    char repetitions[] = "--benchmark_repetitions=25";
    char interleaving[] = "--benchmark_enable_random_interleaving=true";
    char shortest[] = "--benchmark_min_time=0.02";
    arguments.insert(arguments.begin() + 1, {repetitions, interleaving, shortest});
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
        return 1;

    Collector collector;
    benchmark::RunSpecifiedBenchmarks(&collector);
    std::printf("%-34s %15s %15s %8s  goal\n", "fastest of 25", "ours", "rival", "ratio");
    for (const Pair& pair : pairs())
        print(pair, collector.fastest(pair.name + "/ours"),
              collector.fastest(pair.name + "/rival"));
    for (const auto& one : prints())
        one();
    return 0;
}

}  // namespace

}  // namespace tarn::bench

int main(int argc, char** argv) {
    return tarn::bench::run(argc, argv);
}
