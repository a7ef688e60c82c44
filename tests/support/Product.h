// A product as a test runs it: with files of the test's choice, and a log and preferences of its
// own.
#pragma once

#include "platform/Dialogs.h"
#include "plugin/PluginInfo.h"
#include "support/ScratchStore.h"

#include <memory>
#include <string>
#include <vector>

namespace tarn::test {

/// Collects what the user is told, and answers with the first button, while it lives.
class Product {
public:
    /// Puts an `Info` in place whose files lie in `folder`. Mission takes it away at its end.
    template <typename Info>
    static std::unique_ptr<Product> of(const std::string& folder) {
        struct Tested : Info {
            std::string getRegistryKey() const override { return ScratchStore::key(); }
            std::string getLogFolder() const override { return "tarn-test"; }
        };
        auto made = std::make_unique<Product>();
        made->store.open(platform::PreferencesRoot::LocalMachine).setString("InstallPath", folder);
        PluginInfo::set(std::make_unique<Tested>());
        return made;
    }

    Product() {
        platform::setDialogAnswers({[this](const platform::MessageRequest& request) {
                                        messages.push_back(request.text);
                                        return platform::MessageAnswer::Ok;
                                    },
                                    {}});
    }
    ~Product() { platform::setDialogAnswers({}); }

    ScratchStore store;
    std::vector<std::string> messages;
};

}  // namespace tarn::test
