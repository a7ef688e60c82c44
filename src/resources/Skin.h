// A folder with images that replace those of the product's own look, and with an "info.xml" that
// says whose they are.
#pragma once

#include "foundation/Dictionary.h"
#include "foundation/Folder.h"

#include <string>

namespace tarn {

/// Doesn't change, and reads nothing but "info.xml", once. Texts come from there as they are.
/// Interface thread.
class Skin {
public:
    /// Without an "info.xml" that can be read the skin has a name alone. An empty `name` means the
    /// file's name, or else the folder's.
    Skin(const Folder& folder, const std::string& name);
    virtual ~Skin() = default;
    Skin(const Skin&) = default;
    Skin& operator=(const Skin&) = default;

    Folder getFolder() const { return folder_; }

    /// For people.
    std::string getName() const { return name_; }

    /// What the skin is told apart by; its name if the file gives none.
    std::string getUid() const;

    std::string getAuthor() const { return getText("author"); }
    std::string getUrl() const { return getText("url"); }

private:
    std::string getText(const char* key) const;

    Folder folder_;
    Dictionary info_;
    std::string name_;
};

}  // namespace tarn
