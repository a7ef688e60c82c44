// A listener that does what a test tells it.
#pragma once

#include "foundation/Radio.h"

#include <functional>
#include <utility>

namespace tarn {

/// Hears one station until it ends.
struct Hearer : Radio {
    Hearer(Radio& station, std::function<void(Message&)> what)
        : Radio(nullptr), answer(std::move(what)) {
        tuneIn(&station);
    }
    ~Hearer() override { disconnect(); }
    bool receive(Message& heard) override {
        answer(heard);
        return true;
    }

    std::function<void(Message&)> answer;
};

}  // namespace tarn
