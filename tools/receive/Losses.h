// The places of a recording where something is missing: told at once, and kept in a list beside
// each file that has any.
#pragma once

#include <cstdint>
#include <string>

namespace tarn::receive {

class Losses {
public:
    enum class Filling { Silence, Nothing };

    /// From now on, what is lost is lost from this file. No list for an empty path.
    void beginFile(const std::string& listPath);

    /// `samples` are missing at a position in the file, 0 if their number isn't known; what the
    /// file has there instead. `rate` in Hz.
    void add(std::uint64_t position, std::uint64_t samples, Filling filling, std::uint32_t rate);

    /// Tells what was held back because the places came too thick.
    void tellRest();

    bool isEmpty() const noexcept { return places_ == 0; }

    /// All of it in a few words.
    std::string summary() const;

private:
    void list(std::uint64_t position, const std::string& length, Filling filling, double seconds);
    bool mayTell();

    std::string listPath_;
    std::string lists_;  // the paths of all, for a sentence
    bool isListBegun_ = false;
    bool isListBroken_ = false;
    std::uint64_t places_ = 0;
    std::uint64_t samples_ = 0;
    std::uint64_t unknownPlaces_ = 0;

    std::uint64_t untold_ = 0;  // places, since the last line
    double tellingFrom_ = 0.0;  // high-resolution seconds
    int told_ = 0;              // lines in the second that began there
};

}  // namespace tarn::receive
