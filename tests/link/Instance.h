// An instance of the product, as its format's boundary has it.
#pragma once

#include "audio/Engine.h"
#include "audio/IOPinConfig.h"
#include "audio/Module.h"
#include "foundation/Dictionary.h"
#include "link/BrimtidePlugin.h"
#include "parameters/Settings.h"

#include <string>
#include <string_view>

namespace tarn::test {

struct Instance {
    explicit Instance(HostInterface* host = nullptr) : plugin(host, 0) { plugin.start(); }
    ~Instance() { plugin.stop(); }

    Parameter& parameter(const char* id) { return *plugin.moduleAt(0)->settings().find(id, 0); }
    float value(const char* id) { return parameter(id).getFloat(); }
    std::string text(const char* id) { return parameter(id).getText(); }
    void set(const char* id, float normalised) {
        parameter(id).setNormalised(normalised, FromUser);
    }
    void idle() { plugin.moduleAt(0)->getEngine()->idle(); }

    std::string state() {
        Dictionary tree;
        std::string text;
        return plugin.writeState(tree, 0) && tree.toString(text) ? text : "not written";
    }
    bool restore(std::string_view text) {
        Dictionary tree;
        return tree.parseWhole(text) && plugin.readState(tree);
    }

    /// Plays the same samples on both inputs.
    void process(float* samples, float* left, float* right, int frames) {
        float* const inputs[] = {samples, samples};
        float* const outputs[] = {left, right};
        in.attach(inputs, frames);
        out.attach(outputs, frames);
        plugin.process(in, out, frames);
    }

    Brimtide::Plugin plugin;
    IOPinConfig in{2, 1}, out{2, 1};
};

}  // namespace tarn::test
