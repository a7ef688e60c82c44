// The process-wide store of what a product loads beside its parameters: images, samples and skins,
// with the folders in which they are looked for. `Resources.xml` lists them; docs/resources.md has
// its form.
// Everything rests on one rule: a sample that was handed out isn't changed any more. Whatever is
// read under its id later becomes a sample of its own.
#pragma once

#include "drawing/Bitmap.h"
#include "foundation/Dictionary.h"
#include "foundation/Error.h"
#include "foundation/File.h"
#include "foundation/Folder.h"
#include "foundation/Mutex.h"
#include "foundation/Radio.h"
#include "foundation/SharedObject.h"
#include "resources/Skin.h"
#include "samples/Sample.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace tarn {

class MissingFileHandler;

/// One a process, shared by all instances. An operation that may miss a file asks `asker` about it,
/// which lives as long as the call: an instance that loads its state names itself. Without one the
/// parent is asked, if its instance is a MissingFileHandler; it may be null, and doesn't go while a
/// search is under way.
///
/// Samples are looked up, added and removed, files searched, search folders added and bitmaps asked
/// for on any thread, since hosts may make two instances, or load their states, at once; everything
/// else is for the interface thread. The audio thread uses nothing here: it holds its samples by
/// their counts.
class Resources : public Radio {
public:
    /// Finds the skins in the product's folder of resources, and takes the user's last skin from
    /// the preference "DefaultSkin".
    Resources();
    ~Resources() override;

    // A plug-in's state is loaded between `retainAllSamples` and `releaseAllSamples`: samples that
    // are let go meanwhile stay, in case the new state asks for them again.

    /// Holds each sample that is here once more.
    virtual void retainAllSamples();

    /// Calls `readSample` for each entry of the list "samples".
    virtual void readSamples(const Dictionary& dictionary, MissingFileHandler* asker = nullptr);

    /// Holds each sample once less, and drops those that nobody holds, neither this nor others.
    virtual void releaseAllSamples();

    virtual void writeSamples(Dictionary& dictionary) { writeSamplesTo(dictionary, true); }

    /// Takes over a product's `Resources.xml` and its samples, which are held from then on. An
    /// `ErrorImportFailed`, with everything as it was, if the file can't be read, is another
    /// product's or of a newer format. A sample that can't be loaded is left out.
    Error load(const File& file);

    /// The image of that id in the current skin, or else in the default one, with its variants for
    /// denser screens, as in "name@150.png"; loaded on first use, and the same for all callers.
    /// Null for an id that isn't listed, and where the image can't be loaded.
    std::shared_ptr<Bitmap> getBitmap(const std::string& id);

    /// Null if there is no such sample.
    SharedObjectPtr<Sample> getSample(const std::string& id) const;

    /// Keeps the sample under the id, in place of another one; null is ignored.
    void addSample(const std::string& id, Sample* sample);

    /// Holds the sample once less. If nobody else holds it either, it goes, under all of its ids.
    void removeSample(const std::string& id);

    /// Looks for a file that doesn't exist where its path says: in the folder "Samples" of the
    /// resources, in the current folder and in all search folders, in each one and in the two
    /// above it, with the path's folders or without the first one or two; an absolute path's root
    /// counts as one of them. Where it is found joins the search folders. Else the missing file is
    /// reported. True if `file` names an existing one then.
    bool findFile(File& file, MissingFileHandler* asker = nullptr);

    /// The first skin of that uid. If there is none, the default skin, which becomes the current
    /// one.
    const Skin& getSkin(const std::string& uid);
    const std::vector<Skin>& getSkins() const { return skins_; }

    /// A file of that name in the current skin's folder, or else in the default skin's, there or
    /// not.
    File findSkinFile(const std::string& name) const;

    /// Brings all bitmaps to that skin's images, in place, transmits `ResourceMessage::SetLoaded`
    /// with the uid, and remembers it for the next start. A uid that there is no skin of means the
    /// default skin.
    void setCurrentSkin(const std::string& uid);
    std::string getCurrentSkin() const;

    /// The same of the default skin, until the process ends: what the user chose is kept for the
    /// next start.
    void useDefaultSkin() { takeSkin({}); }

    /// Loads anew the bitmaps in use whose files have changed since they were loaded, in place, and
    /// transmits `ResourceMessage::SetLoaded` if there are any. One that can't be loaded stays as
    /// it was; the result is such a file's path, for as long as the file can't be loaded, or empty.
    std::string reloadImages();

    /// If it exists and isn't one already.
    void addSearchFolder(const Folder& folder);

    /// Reads an entry of a state's list: "id", which is put into `id`, "filename" and what
    /// `Sample::read` takes. Without audio in the entry, the sample comes from the file, or, for an
    /// id of the form "pack:entry", from the pack. If there is none, the sample of that id goes.
    /// Transmits `ResourceMessage::ResourceLoaded` with the id.
    void readSample(std::string& id, const Dictionary& dictionary,
                    MissingFileHandler* asker = nullptr);

    /// Completes the entries of the list "samples", which are found by their "id": with "filename"
    /// and the sample's description, and `withData` with its audio. Ids without a sample stay as
    /// they are.
    void writeSamplesTo(Dictionary& dictionary, bool withData) const;

private:
    struct SampleEntry {
        std::string fileName;
        SharedObjectPtr<Sample> sample;
        std::int32_t holds = 0;  // by this object, beside the pointer
    };
    struct BitmapEntry {
        std::shared_ptr<Bitmap> bitmap;
        File file;  // as listed
        std::string id;
        std::int64_t stamp;     // of the files that it came from
        bool isBroken = false;  // as these are now
    };
    using SampleMap = std::map<std::string, SampleEntry>;

    bool loadListedSample(const Dictionary& entry);
    bool loadSampleFile(const std::string& id, File file, std::int32_t holds,
                        MissingFileHandler* asker);
    void loadPack(const std::string& pack, const File& file, std::int32_t holds);
    void findInPack(const std::string& id, MissingFileHandler* asker);
    bool hasPack(const std::string& pack) const;
    bool hasSample(const std::string& id) const;
    void storeSample(const std::string& id, const std::string& fileName, Sample& sample,
                     std::int32_t holds);
    SampleMap takeUnheld(const Sample* candidate);

    bool search(File& file);
    MissingFileHandler* handlerOr(MissingFileHandler* asker) const;
    std::unique_ptr<Dictionary> describe(const std::string& bitmapId) const;
    const Skin* findSkin(const std::string& uid) const;
    std::vector<File> imageFiles(const File& name, const Skin& skin) const;
    std::int64_t imageStamp(const File& name, const Skin& skin) const;
    void takeSkin(const std::string& uid);
    void loadImage(Bitmap& bitmap, const File& name, const Skin& skin) const;
    void useFonts() const;

    Dictionary dictionary_;
    std::vector<Folder> searchFolders_;
    SampleMap samples_;
    Folder samplesPath_;
    mutable Mutex lock_;        // guards samples_ and searchFolders_
    mutable Mutex imagesLock_;  // guards bitmaps_ and currentSkin_
    std::map<std::string, BitmapEntry> bitmaps_;
    std::vector<Skin> skins_;  // never empty; the first one is the default skin
    std::string currentSkin_;  // may name a skin that is gone
};

}  // namespace tarn
