#include "foundation/ProductIdentity.h"

#include <atomic>

namespace tarn {

namespace {

class NamelessProduct final : public ProductIdentity {
public:
    std::string getVendorName() const override { return "tarn"; }
    std::string getProductName() const override { return "tarn"; }
    std::string getVersionText() const override { return "0.0.0"; }
    std::string getFileFormatText() const override { return "0.0"; }
    std::string getLogFolder() const override { return "tarn"; }
    std::string getBanner() const override { return "tarn"; }
};

constinit const NamelessProduct nameless{};
constinit std::atomic<const ProductIdentity*> current{&nameless};

}  // namespace

const ProductIdentity& ProductIdentity::get() noexcept {
    return *current.load(std::memory_order_acquire);
}

void ProductIdentity::set(const ProductIdentity* product) noexcept {
    current.store(product != nullptr ? product : &nameless, std::memory_order_release);
}

}  // namespace tarn
