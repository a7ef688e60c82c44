// A product that is installed in a folder of a test's own.
#pragma once

#include "foundation/Folder.h"
#include "foundation/LogFolder.h"
#include "support/ScratchStore.h"

#include <string>

namespace tarn::test {

struct ScratchProduct {
    ScratchProduct() {
        machine.setString("InstallPath", store.path());
        Preferences::setStores(&machine, &user);
    }
    ~ScratchProduct() { Preferences::setStores(nullptr, nullptr); }
    ScratchProduct(const ScratchProduct&) = delete;
    ScratchProduct& operator=(const ScratchProduct&) = delete;

    /// A file in the folder of its resources.
    std::string place(const std::string& file) const {
        return log.getProductName() + " Resources/" + file;
    }
    void write(const std::string& file, const std::string& bytes) const {
        store.write(place(file), bytes);
    }

    LogFolder log;
    ScratchStore store;
    Preferences machine = store.open(platform::PreferencesRoot::LocalMachine);
    Preferences user = store.openUser();
};

}  // namespace tarn::test
