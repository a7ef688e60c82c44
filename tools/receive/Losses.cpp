#include "Losses.h"

#include "common/Text.h"
#include "platform/Clock.h"

#include <cstdio>
#include <fstream>
#include <utility>

namespace tarn::receive {

namespace {

constexpr int MostLinesASecond = 3;

std::string inWords(std::uint64_t count, const char* one, const char* many) {
    return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

}  // namespace

void Losses::beginFile(const std::string& listPath) {
    listPath_ = listPath;
    isListBegun_ = false;
}

void Losses::add(std::uint64_t position, std::uint64_t samples, Filling filling,
                 std::uint32_t rate) {
    ++places_;
    samples_ += samples;
    unknownPlaces_ += samples == 0 ? 1 : 0;
    const double seconds = static_cast<double>(position) / rate;
    list(position, samples == 0 ? "unknown" : std::to_string(samples), filling, seconds);
    if (!mayTell()) {
        ++untold_;
        return;
    }
    tellRest();
    const std::string what = samples == 0
                                 ? "an unknown number of samples is missing"
                                 : inWords(samples, "sample is", "samples are") + " missing";
    std::fprintf(stderr, "at %.3f s (sample %s): %s, %s\n", seconds,
                 std::to_string(position).c_str(), what.c_str(),
                 filling == Filling::Silence ? "replaced by silence" : "not replaced by silence");
}

void Losses::tellRest() {
    if (const std::uint64_t untold = std::exchange(untold_, 0); untold > 0)
        std::fprintf(stderr, "... and %s where something is missing\n",
                     inWords(untold, "more place", "more places").c_str());
}

std::string Losses::summary() const {
    std::string text = samples_ > 0 ? inWords(samples_, "sample is", "samples are") + " missing"
                                    : "an unknown number of samples is missing";
    if (samples_ > 0 && unknownPlaces_ > 0)
        text += ", and an unknown number more";
    text += ", in " + inWords(places_, "place", "places");
    return lists_.empty() ? text : text + ", listed in " + lists_;
}

// Tab-separated, for people and programs.
void Losses::list(std::uint64_t position, const std::string& length, Filling filling,
                  double seconds) {
    if (listPath_.empty() || isListBroken_)
        return;
    const bool isFirst = !std::exchange(isListBegun_, true);
    std::ofstream file(tools::pathOf(listPath_), isFirst ? std::ios::trunc : std::ios::app);
    if (isFirst)
        lists_ += (lists_.empty() ? "" : ", ") + listPath_;
    if (isFirst)
        file << "sample\tmissing\tseconds\treplaced by\n";
    char time[32];
    std::snprintf(time, sizeof time, "%.6f", seconds);
    file << position << '\t' << length << '\t' << time << '\t'
         << (filling == Filling::Silence ? "silence" : "nothing") << '\n';
    isListBroken_ = !file.flush();
    if (isListBroken_)
        std::fprintf(stderr, "%s can't be written; the places are told here alone\n",
                     listPath_.c_str());
}

bool Losses::mayTell() {
    const double now = platform::highResolutionSeconds();
    if (told_ == 0 || now - tellingFrom_ >= 1.0) {
        tellingFrom_ = now;
        told_ = 0;
    }
    return ++told_ <= MostLinesASecond;
}

}  // namespace tarn::receive
