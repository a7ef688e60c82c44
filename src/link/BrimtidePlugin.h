// The product's instance.
#pragma once

#include "plugin/Plugin.h"

namespace tarn::Brimtide {

/// Signed in at Mission from the end of its start to the beginning of its end.
class Plugin : public tarn::Plugin {
public:
    using tarn::Plugin::Plugin;
    ~Plugin() override;

    void start() override;
    std::int32_t getUniqueID() const override;

    /// The modules alone: the product has no use for what the base class does beside that.
    void process(IOPinConfig& in, IOPinConfig& out, int frames) noexcept override;
};

}  // namespace tarn::Brimtide
