// The product's instance.
#pragma once

#include "link/BrimtideEngine.h"
#include "plugin/Plugin.h"

namespace tarn::Brimtide {

class Plugin : public tarn::Plugin {
public:
    /// `host` must outlive the instance.
    explicit Plugin(HostInterface& host) : engine_(host) {}

    std::int32_t getUniqueID() const override;
    void process(InputChannels in, OutputChannels out, int frames) noexcept override;

    // One parameter: "MuteOutput", off below 0.5.
    int getParameterCount() const noexcept override;
    std::string_view getParameterName(int index) const noexcept override;
    std::string_view getParameterDisplay(int index) const noexcept override;
    float getParameter(int index) const noexcept override;
    void setParameter(int index, float value) noexcept override;

private:
    BrimtideEngine engine_;
};

}  // namespace tarn::Brimtide
