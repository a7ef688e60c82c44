// The two modules of an instance, "A" and "B".
#pragma once

#include "foundation/Radio.h"
#include "parameters/ModuleDirectory.h"

#include <string>

namespace tarn {

class Modules : public Radio, public ModuleDirectory {
public:
    Modules() : Radio(nullptr), modules_{Radio(this), Radio(this)} {}
    Radio* getPlugin() const override { return const_cast<Modules*>(this); }
    int getModuleCount() const override { return count; }
    Radio* getModule(int index) const override { return index < 2 ? &modules_[index] : nullptr; }
    std::string getModuleName(const Radio& module) const override {
        return &module == &modules_[0] ? "A" : &module == &modules_[1] ? "B" : "";
    }

    int count = 2;

private:
    mutable Radio modules_[2];
};

}  // namespace tarn
