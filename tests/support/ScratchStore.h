// Stores of preferences of a test's own, for the user and for the machine; they go with the object.
// On Linux they lie in its folder; on Windows their key is one that no product has.
#pragma once

#include "foundation/Preferences.h"
#include "support/ScratchFolder.h"

namespace tarn::test {

class ScratchStore : public ScratchFolder {
public:
    ScratchStore();
    ~ScratchStore();

    /// Of this process, below either root, so that tests may run at once.
    static std::string key();

    static constexpr std::uint32_t ReadWrite = Preferences::Read | Preferences::Write;

    Preferences open(platform::PreferencesRoot root, std::uint32_t flags = ReadWrite) const {
        return Preferences(root, key(), flags);
    }
    Preferences openUser(std::uint32_t flags = ReadWrite) const {
        return open(platform::PreferencesRoot::CurrentUser, flags);
    }
};

}  // namespace tarn::test
