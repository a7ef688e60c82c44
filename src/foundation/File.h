// The path of a file, there or not, and while it is open the stream behind it.
// Everything rests on one rule: a file that is saved goes through `save`, so that its path never
// leads to half a content.
#pragma once

#include "foundation/Folder.h"
#include "foundation/IOStream.h"

#include <cstdint>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>

namespace tarn {

/// The texts of a dialog that lets the user choose a file.
struct FileDialog {
    std::string title;
    std::string prompt;     // shown where the system's dialog has a place for it
    std::string kind;       // of the files, for people: "Brimtide Banks"
    std::string wildcards;  // each ended by a semicolon: "*.wav;"; empty for all files
};

/// One thread at a time, and not the audio thread. A copy is the path alone, closed. Nothing here
/// throws: what can't be done answers false, 0 or -1, and has changed nothing.
class File : public IOStream, public Folder {
public:
    File() = default;
    explicit File(std::string_view path);
    File(const Folder& folder, std::string_view name);
    File(const File& other);
    File& operator=(const File& other);
    File(File&&) = default;
    File& operator=(File&&) = default;
    ~File() override = default;

    bool read(void* buffer, std::size_t size, std::size_t count) override;
    bool matches(const void* bytes, std::size_t size) override;

    /// Whether the path leads to a file; folders and devices are none.
    virtual bool exists() const;

    /// The last separator of either kind stands between the folder and the name; without one the
    /// folder is the empty one.
    virtual void setPath(std::string_view path);
    virtual std::string getPath() const;

    /// Whether the components of `folderPath` lead those of the file's folder.
    virtual bool isInFolder(std::string_view folderPath) const;

    /// The folder in which the file lies.
    Folder getFolder() const { return *this; }
    void setFolder(const Folder& folder) { Folder::operator=(folder); }

    /// Let the user choose in the system's dialog, which proposes this file's name and begins in
    /// its folder, else in the one where a file was last opened; false, with the path as it was, if
    /// the user cancels or the dialog fails. A file that would be overwritten is asked about first.
    /// Interface thread.
    virtual bool browseOpen(const FileDialog& dialog);
    virtual bool browseSave(const FileDialog& dialog);

    /// The name with its extension. The extension is what follows the last ".", the stem what
    /// stands before it.
    virtual std::string getName() const { return name_; }
    virtual void setName(std::string_view name) { name_ = name; }
    virtual std::string getStem() const;
    virtual void setStem(std::string_view stem);
    virtual std::string getExtension() const;
    virtual void setExtension(std::string_view extension);

    /// Puts a number from 1 up in the place of the stem's first `marker`, or behind a stem without
    /// one, until no file of that name exists.
    virtual void makeUnique(std::string_view marker);

    /// Makes an empty file; false if something stands there, or it can't be made.
    bool create() override;

    /// Seconds since 1 January 1970 UTC and bytes, from the file system; 0 if they can't be had.
    virtual std::int64_t getModificationTime() const;
    virtual std::int64_t getDiskSize() const;

    /// Another number after each change that the file system tells apart; 0 if there is no file.
    std::int64_t getChangeStamp() const;

    /// The size on disk in bytes, KB, MB or GB.
    virtual std::string getSizeText() const;

    /// Opens for reading, shared with all; whether it is open then.
    virtual bool openRead();

    /// Opens for reading, or for reading and writing, for which a missing file is made.
    virtual bool open(bool readOnly);
    virtual void close() { stream_.reset(); }
    virtual bool isOpen() const { return stream_ && stream_->is_open(); }

    /// Moves to an absolute position in an open file. Always true: an impossible position shows
    /// when reading.
    virtual bool seek(std::int64_t position);

    /// The bytes of the open file, -1 when it is closed.
    virtual std::int64_t getSize();

    /// The stream of an open file, for code that reads from or writes to streams; null when closed.
    /// The file owns it.
    std::iostream* getStream() const { return isOpen() ? stream_.get() : nullptr; }

    /// The content on disk, of whichever file the path leads to now; false, with `bytes` as they
    /// were, if it can't be read, is empty, or longer than `most` bytes.
    bool contents(std::string& bytes, std::size_t most) const;

    /// Replaces the content on disk by `bytes`, making the file where it is missing: whole or, on
    /// failure, not at all. The folder must exist, the file not be write-protected, and on Windows
    /// be closed.
    bool save(std::string_view bytes) const;

    bool remove() const;

private:
    bool openStream(std::ios::openmode mode);

    std::string name_;
    std::unique_ptr<std::fstream> stream_;
};

}  // namespace tarn
