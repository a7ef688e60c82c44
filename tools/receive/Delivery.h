// What one look at a connection brings.
#pragma once

#include <cstdint>
#include <span>

namespace tarn::receive {

struct Delivery {
    std::span<const float> samples;  // valid until the next look
    std::uint64_t missed = 0;        // samples of the sender that are missing before these
    bool isMissedUnknown = false;    // more are missing before these, and their number isn't known
    bool isBeginning = false;        // these are the first of a sender, or of one that came back
    bool isComplete = false;  // what is missing is told to the last sample: the sender tells its
                              // position. Otherwise more may be missing unseen
    double rate = 0.0;        // Hz of these samples, as the sender tells it; 0 if it doesn't
};

}  // namespace tarn::receive
