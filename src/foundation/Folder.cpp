#include "foundation/Folder.h"

#include "foundation/File.h"
#include "platform/Dialogs.h"
#include "platform/FileSystem.h"

#include <algorithm>
#include <utility>

namespace tarn {

namespace {

constexpr std::string_view Separators = "\\/";

bool isVolume(std::string_view part) {
    return !part.empty() && platform::pathVolume(part) == part;
}

}  // namespace

Folder::Folder(std::string_view path) {
    setFolderPath(path);
}

void Folder::setFolderPath(std::string_view path) {
    parts_.clear();
    isRelative_ = path.empty() || Separators.find(path.front()) == std::string_view::npos;
    const std::string_view volume = platform::pathVolume(path);
    if (!volume.empty()) {
        parts_.emplace_back(volume);
        std::replace(parts_.front().begin(), parts_.front().end(), '/', platform::PathSeparator);
        isRelative_ = false;
    }
    path.remove_prefix(volume.size());
    while (!path.empty()) {
        const std::string_view part = path.substr(0, path.find_first_of(Separators));
        if (!part.empty())
            parts_.emplace_back(part);
        path.remove_prefix(std::min(part.size() + 1, path.size()));
    }
}

Folder Folder::current() {
    return Folder(platform::currentFolderPath());
}

bool Folder::exists() const {
    return platform::folderExists(getPath());
}

bool Folder::browse(const std::string& title) {
    platform::FileRequest request;
    request.purpose = platform::FilePurpose::Folder;
    request.title = title;
    request.folder = getPath();
    const platform::FileAnswer answer = platform::chooseFile(request);
    if (answer.path.empty())
        return false;
    setFolderPath(answer.path);
    return true;
}

bool Folder::create() {
    if (exists())
        return true;
    Folder level;
    level.isRelative_ = isRelative_;
    for (const std::string& part : parts_) {
        level.parts_.push_back(part);
        if (!level.exists())
            platform::createFolder(level.getPath());
    }
    return exists();
}

bool Folder::listFolders(std::vector<Folder>& out) const {
    out.clear();
    platform::FolderEntries entries;
    const bool listed = platform::listFolder(getPath(), entries);
    for (const std::string& name : entries.folders)
        out.push_back(join(name));
    return listed;
}

bool Folder::listFiles(std::vector<File>& out) const {
    out.clear();
    platform::FolderEntries entries;
    const bool listed = platform::listFolder(getPath(), entries);
    for (const std::string& name : entries.files)
        out.emplace_back(*this, name);
    return listed;
}

bool Folder::equals(const Folder& other) const {
    return isRelative_ == other.isRelative_ && parts_ == other.parts_;
}

std::string Folder::getPath() const {
    std::string path;
    if (!isRelative_ && (parts_.empty() || !isVolume(parts_.front())))
        path += platform::PathSeparator;
    for (std::size_t i = 0; i < parts_.size(); ++i) {
        if (i > 0)
            path += platform::PathSeparator;
        path += parts_[i];
    }
    if (parts_.size() == 1 && isVolume(path))
        path += platform::PathSeparator;  // "C:" alone is the current folder of the drive
    return path;
}

std::string Folder::getLeafName() const {
    return parts_.empty() ? std::string() : parts_.back();
}

Folder Folder::getParent() const {
    Folder parent;
    parent.isRelative_ = isRelative_;
    parent.parts_ = parts_;
    if (!parts_.empty() && !(parts_.size() == 1 && isVolume(parts_.front())))
        parent.parts_.pop_back();
    return parent;
}

Folder Folder::join(const Folder& relative) const {
    Folder joined;
    const Folder& root = relative.isRelative_ ? *this : relative;
    joined.isRelative_ = root.isRelative_;
    joined.parts_ = root.parts_;
    if (relative.isRelative_)
        joined.parts_.insert(joined.parts_.end(), relative.parts_.begin(), relative.parts_.end());
    return joined;
}

}  // namespace tarn
