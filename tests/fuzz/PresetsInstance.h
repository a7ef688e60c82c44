// An instance with two modules of all classes, and its presets.
#pragma once

#include "Parameters.h"
#include "foundation/ProductIdentity.h"
#include "parameters/ModuleDirectory.h"
#include "parameters/PresetsLibrary.h"

namespace tarn::fuzz {

struct Product : ProductIdentity {
    Product() { set(this); }
    std::string getVendorName() const override { return "Maker"; }
    std::string getProductName() const override { return "Product"; }
    std::string getVersionText() const override { return "1.2.0"; }
    std::string getFileFormatText() const override { return "0.7"; }
    std::string getLogFolder() const override { return ""; }
    std::string getBanner() const override { return ""; }
};

class PresetsInstance : public ModuleDirectory, public PresetsLibrary {
public:
    PresetsInstance() {
        static const Product product;
        for (int i = 0; i < getModuleCount(); ++i) {
            require(load(settings_[i], AllClasses));
            modules_[i].setSettings(&settings_[i]);
        }
        init(this);
    }
    int getModuleCount() const override { return 2; }
    Radio* getModule(int index) const override { return &modules_[index]; }
    std::string getModuleName(const Radio& /*module*/) const override { return {}; }
    std::int32_t getProgramCount() const override { return 2; }

    /// All presets, as a file holds them.
    std::string saved() {
        require(saveAll(file_.file(), message_));
        return file_.read();
    }

    /// Whether a file with this text was taken.
    bool loads(std::string_view text) {
        file_.write(text);
        return loadFile(file_.file(), message_);
    }

private:
    const ParameterManager manager_;
    Settings settings_[2]{{nullptr, manager_}, {nullptr, manager_}};
    mutable Radio modules_[2]{Radio(nullptr), Radio(nullptr)};
    PassingFile file_;
    std::string message_;
};

}  // namespace tarn::fuzz
