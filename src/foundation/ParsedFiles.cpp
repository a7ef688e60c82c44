#include "foundation/ParsedFiles.h"

#include "foundation/File.h"

#include <mutex>
#include <utility>

namespace tarn {

bool ParsedFiles::load(const File& file, Dictionary& tree) {
    std::string text;
    if (!file.contents(text, Dictionary::MaxTextBytes))
        return false;
    const std::string path = file.getPath();
    const std::lock_guard guard(lock_);
    auto found = entries_.find(path);
    if (found == entries_.end() || found->second.text != text) {
        Dictionary parsed;
        if (!parsed.parseWhole(text))
            return false;
        found = entries_.insert_or_assign(path, Entry{std::move(text), std::move(parsed)}).first;
    }
    tree = found->second.tree;
    return true;
}

}  // namespace tarn
