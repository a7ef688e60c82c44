// What the parameters' room must know of a plug-in instance: its modules.
#pragma once

#include <string>

namespace tarn {

class Radio;
class Settings;

/// Implemented by the instance; its own modules, never another instance's. They stay the same
/// from the end of the instance's start on. Any thread.
class ModuleDirectory {
public:
    virtual ~ModuleDirectory() = default;

    virtual int getModuleCount() const = 0;

    /// In the order of their creation, from 0; null for any other index. Its settings are found
    /// with `settingsOf`.
    virtual Radio* getModule(int index) const = 0;

    /// The short name that tells it from the others, such as "A"; empty for a radio that is none
    /// of these modules.
    virtual std::string getModuleName(const Radio& module) const = 0;
};

/// The modules of the plug-in instance that a radio belongs to; null where there is none.
ModuleDirectory* modulesOf(const Radio& radio);

}  // namespace tarn
