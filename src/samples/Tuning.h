// A musical scale: frequency factors over a reference frequency.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tarn {

class Dictionary;

/// How a key becomes a frequency is the business of whoever plays it, with what stands here; a
/// table may hold any number of factors, none at first. One thread at a time.
class Tuning {
public:
    Tuning() = default;
    Tuning(const Tuning&) = default;
    Tuning(Tuning&&) = default;
    Tuning& operator=(const Tuning&) = default;
    Tuning& operator=(Tuning&&) = default;
    virtual ~Tuning() = default;

    /// Twelve factors, of the steps from the first above the unison to the octave: 2^(i/12).
    virtual void setEqualTemperament();

    /// True in a class that fills the members with a scale of its own.
    virtual bool isCustom() const { return false; }

    /// Takes "description", "anchor" and "frequency", each left alone where it is absent, as is the
    /// frequency where it is no number above 0, and exactly the factors that are there. A factor
    /// that is no number is 0.
    virtual void read(const Dictionary& dictionary);

    /// Into an element that holds no tuning yet. What is written reads back the same down to the
    /// sixteenth decimal; an empty description reads back as absent.
    virtual void write(Dictionary& dictionary) const;

    const std::string& getDescription() const { return description_; }
    const std::vector<double>& getFactors() const { return factors_; }

    /// The MIDI note at which the scale is anchored, and its frequency in Hz.
    std::int32_t getAnchor() const { return anchor_; }
    double getFrequency() const { return frequency_; }

    /// By the description alone.
    bool operator==(const Tuning& other) const { return description_ == other.description_; }

protected:
    static constexpr double ConcertPitch = 440.0;  // Hz

    std::string description_ = "Equal Temperament";
    std::vector<double> factors_;
    std::int32_t anchor_ = 0;
    double frequency_ = ConcertPitch / 64.0;
};

}  // namespace tarn
