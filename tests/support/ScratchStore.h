// Stores of preferences of a test's own, for the user and for the machine; they go with the object.
#pragma once

#include "foundation/Preferences.h"
#include "support/ScratchFolder.h"

#include <cstdint>

namespace tarn::test {

/// On Linux both roots lead into a scratch folder; on Windows the key is one that no product has.
class ScratchStore {
public:
    ScratchStore();
    ScratchStore(const ScratchStore&) = delete;
    ScratchStore& operator=(const ScratchStore&) = delete;
    ~ScratchStore();

    /// The tests' key below either root.
    static const char* const Key;

    Preferences open(platform::PreferencesRoot root, std::uint32_t flags) const {
        return Preferences(root, Key, flags);
    }
    Preferences openUser(std::uint32_t flags) const {
        return open(platform::PreferencesRoot::CurrentUser, flags);
    }

    const ScratchFolder& folder() const { return folder_; }

private:
    ScratchFolder folder_;
};

}  // namespace tarn::test
