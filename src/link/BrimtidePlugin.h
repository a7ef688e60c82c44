// The product's instance.
#pragma once

#include "link/BrimtideEngine.h"
#include "plugin/Plugin.h"

#include <memory>

namespace tarn::Brimtide {

class Plugin : public tarn::Plugin {
public:
    /// `host` must outlive the instance.
    explicit Plugin(HostInterface& host) : engine_(std::make_unique<BrimtideEngine>(host)) {}

    std::int32_t getUniqueID() const override;
    void setSampleRate(int rate) override { engine_->setSampleRate(rate); }
    void setBlockSize(int frames) override { engine_->setBlockSize(frames); }
    void resume() override { engine_->resume(); }
    void process(IOPinConfig& in, IOPinConfig& out, int frames) noexcept override;

    // One parameter: "MuteOutput", off below 0.5.
    int getParameterCount() const noexcept override;
    std::string_view getParameterName(int index) const noexcept override;
    std::string_view getParameterDisplay(int index) const noexcept override;
    float getParameter(int index) const noexcept override;
    void setParameter(int index, float value) noexcept override;

private:
    std::unique_ptr<BrimtideEngine> engine_;
};

}  // namespace tarn::Brimtide
