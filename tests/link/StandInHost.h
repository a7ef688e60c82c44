// A host that tells a name and a latency, and nothing else.
#pragma once

#include "plugin/HostInterface.h"

#include <string>

namespace tarn::test {

struct StandInHost : HostInterface {
    explicit StandInHost(std::string hostName = "A host") : name(std::move(hostName)) {}

    Radio* getPlugin() const override { return nullptr; }
    std::int32_t getInputLatency() noexcept override { return latency; }
    std::int32_t getLatency() const override { return 0; }
    void setLatency(std::int32_t) override {}
    double getTempo() noexcept override { return 0.0; }
    double getBeatPosition() noexcept override { return 0.0; }
    bool isPlaying() noexcept override { return false; }
    std::string getHostName() override { return name; }
    bool isOffline() noexcept override { return false; }

    std::string name;
    std::int32_t latency = 0;
};

}  // namespace tarn::test
