// How a module gets its engine without knowing the product's class.
#pragma once

#include <memory>

namespace tarn {

class Engine;
class Module;

class EngineFactory {
public:
    virtual ~EngineFactory() = default;

    /// A new engine whose parent is the module. Control thread.
    virtual std::unique_ptr<Engine> createEngine(Module* module) const = 0;
};

}  // namespace tarn
