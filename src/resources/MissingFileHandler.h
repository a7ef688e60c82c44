// Whom the resources ask about files that they can't find by themselves: the plug-in instance that
// is the parent of the Resources, if its class is one of these.
#pragma once

#include <string>

namespace tarn {

class File;

/// On the thread that searches, which may be any.
class MissingFileHandler {
public:
    virtual ~MissingFileHandler() = default;

    /// Tells the user that `file` was searched for in vain. True if the user chose another one,
    /// which then stands in `file`.
    virtual bool reportMissingSample(File& file) = 0;

    /// Puts the file of a pack, by the pack's name, into `file`. False if there is no such pack.
    virtual bool findPackFile(const std::string& pack, File& file) = 0;
};

}  // namespace tarn
