// A path of folders, there or not.
// Everything rests on one rule: the path is UTF-8 and is cut at slashes and backslashes alike, on
// every system; `getPath` puts it together with the system's own separator.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tarn {

class File;

class Folder {
public:
    /// The empty path, which leads nowhere.
    Folder() = default;
    explicit Folder(std::string_view path);
    virtual ~Folder() = default;
    Folder(const Folder&) = default;
    Folder(Folder&&) = default;
    Folder& operator=(const Folder&) = default;
    Folder& operator=(Folder&&) = default;

    /// The process's current folder.
    static Folder current();

    bool exists() const;

    /// Lets the user choose a folder in the system's dialog, which shows `title` and begins here;
    /// false, with the path as it was, if the user cancels. Interface thread.
    virtual bool browse(const std::string& title);

    /// Makes the folder and those above it, as far as they are missing; whether it exists then.
    virtual bool create();

    /// Put the subfolders or the files into `out`, in the order of the system, in place of what was
    /// there; false if the folder can't be read.
    virtual bool listFolders(std::vector<Folder>& out) const;
    virtual bool listFiles(std::vector<File>& out) const;

    /// Whether the components are the same, byte by byte.
    virtual bool equals(const Folder& other) const;

    /// Without a separator at its end, but for a root's; empty for the empty path.
    std::string getPath() const;

    /// The components; a drive ("C:") or share ("\\server\name") is the first one.
    const std::vector<std::string>& getParts() const { return parts_; }
    bool isRelative() const { return isRelative_; }
    bool isEmpty() const { return isRelative_ && parts_.empty(); }

    /// The last component; empty without one.
    std::string getLeafName() const;

    /// The folder one level up; a root, and the empty path, are their own parents.
    Folder getParent() const;

    /// The folder that a relative path leads to from here; an absolute one stands as it is.
    Folder join(const Folder& relative) const;
    Folder join(std::string_view relative) const { return join(Folder(relative)); }

protected:
    void setFolderPath(std::string_view path);

private:
    std::vector<std::string> parts_;
    bool isRelative_ = true;
};

}  // namespace tarn
