#include "resources/Resources.h"

#include "diagnostics/System.h"
#include "drawing/FontLibrary.h"
#include "foundation/Logger.h"
#include "foundation/Preferences.h"
#include "resources/MissingFileHandler.h"
#include "samples/Pack.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <locale>
#include <mutex>
#include <optional>
#include <set>
#include <sstream>
#include <string_view>
#include <utility>

namespace tarn {

namespace {

constexpr const char* Load =
    "class tarn::Error __thiscall tarn::Resources::load(const class tarn::File &)";
constexpr const char* LoadSampleFile = "Resources::loadSampleFile";

constexpr const char* DefaultSkin = "default";
constexpr const char* SkinPreference = "DefaultSkin";
constexpr const char* ImagesFolder = "Images";
constexpr const char* FontsFolder = "Fonts";

// Of denser variants of an image: what their files' names end with.
struct Density {
    const char* mark;
    float factor;
};
constexpr Density Densities[] = {{"@150", 1.5f}, {"@200", 2.0f}, {"@300", 3.0f}};
constexpr const char* SamplesKey = "samples";

constexpr std::string_view PackSuffix = ":pack";

// How far a search goes: levels of folders up, and how many of a path's first folders may differ.
constexpr int LevelsUp = 3;
constexpr int FoldersLess = 3;
constexpr std::size_t LongestPath = 32'768;  // that any system takes

// A text of a file for a line of the log, which it must not end.
std::string forLog(std::string text) {
    std::replace_if(
        text.begin(), text.end(),
        [](char character) { return static_cast<unsigned char>(character) < 0x20; }, '?');
    return text;
}

void log(std::int32_t level, std::string_view what, const std::string& text) {
    logLine(level, std::string(what) + forLog(text));
}

// What goes wrong with one sample spoils no other.
template <typename Action>
bool succeeds(Action action) {
    try {
        action();
        return true;
    } catch (const std::exception& exception) {
        logLine(LogError, "caught exception: %s", exception.what());
        return false;
    }
}

// How many pointers there are to the sample, the map's included.
std::int32_t holdersOf(Sample& sample) {
    const std::int32_t count = sample.retain();
    sample.release();
    return count - 1;
}

// The way from one folder to another: so many levels up, then down.
struct Way {
    int up = 0;
    std::string down;

    Folder from(Folder folder) const {
        for (int level = 0; level < up && !folder.equals(folder.getParent()); ++level)
            folder = folder.getParent();
        return folder.join(down);
    }
};

// The way that a folder's path tells, without its first components. An absolute path has its root
// as the first one, and with it is no way from anywhere.
std::optional<Way> wayWithout(const Folder& folder, std::size_t components) {
    const std::vector<std::string>& parts = folder.getParts();
    std::size_t first = components;
    if (!folder.isRelative()) {
        if (components == 0)
            return std::nullopt;
        const bool isRootAPart = !parts.empty() && !Folder(parts.front()).isRelative();
        first -= isRootAPart ? 0 : 1;
    }
    Way way;
    std::vector<std::string_view> names;
    for (; first < parts.size(); ++first) {
        if (parts[first] == ".")
            continue;
        if (parts[first] != "..")
            names.emplace_back(parts[first]);
        else if (names.empty())
            ++way.up;
        else
            names.pop_back();
    }
    for (const std::string_view name : names)
        way.down.append(name).append("/");
    return way;
}

struct Grid {
    std::int32_t columns = 1;
    std::int32_t rows = 1;
};

// Two numbers with any one character between them, as in "4x2".
std::optional<Grid> gridFrom(const std::string& text) {
    std::istringstream stream(text);
    stream.imbue(std::locale::classic());  // whatever the host has made of the global one
    Grid grid;
    char separator = 0;
    if (stream >> grid.columns >> separator >> grid.rows)
        return grid;
    return std::nullopt;
}

std::int32_t saturatedSum(std::int32_t a, std::int32_t b) {
    const std::int64_t sum = std::int64_t{a} + b;
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(
        sum, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()));
}

void describeFrames(Bitmap& bitmap, const Dictionary& keys) {
    const Rect whole = bitmap.getRect();
    Rect frame;
    keys.getInteger("left", frame.left);
    keys.getInteger("top", frame.top);
    frame.right = saturatedSum(frame.left, whole.right);
    frame.bottom = saturatedSum(frame.top, whole.bottom);
    keys.getInteger("right", frame.right);
    keys.getInteger("bottom", frame.bottom);
    // A rectangle alone is the first of as many frames as there is room for.
    Grid grid{std::numeric_limits<std::int32_t>::max(), std::numeric_limits<std::int32_t>::max()};

    std::string text;
    std::int32_t frames = 0;
    keys.getString("frames", text);
    if (const std::optional<Grid> told = gridFrom(text)) {
        grid = *told;
        if (grid.columns > 0 && grid.rows > 0) {
            frame.right = saturatedSum(frame.left, whole.right / grid.columns);
            frame.bottom = saturatedSum(frame.top, whole.bottom / grid.rows);
        }
    } else if (keys.getInteger("frames", frames)) {
        bool isHorizontal = false;
        keys.getBool("horizontal", isHorizontal);
        const Grid strip = isHorizontal ? Grid{frames, 1} : Grid{1, frames};
        const std::int32_t side = isHorizontal ? whole.right : whole.bottom;
        if (frames > 0 && frames <= side) {
            grid = strip;
            frame = {0, 0, whole.right / grid.columns, whole.bottom / grid.rows};
        }
    }
    bitmap.setFrames(frame, grid.columns, grid.rows);
    std::int32_t count = 0;
    if (keys.getInteger("nrframes", count))
        bitmap.setFrameCount(count);
}

// What the list of bitmaps tells of the image itself.
void describeImage(Bitmap& bitmap, const Dictionary& keys) {
    float flicker = 0.0f;
    keys.getFloat("flicker", flicker);
    bitmap.setFlicker(flicker);
    describeFrames(bitmap, keys);
    Point origin;
    keys.getInteger("xorigin", origin.x);
    keys.getInteger("yorigin", origin.y);
    bitmap.setOrigin(origin);
    std::string glyphs;
    if (keys.getString("alphabet", glyphs))
        bitmap.setGlyphs(glyphs);
}

// The images of the default skin: found once a process, for the log.
void logBitmapsPath() {
    static const Folder path = [] {
        Folder folder = System::getFolderLocation(System::Resources).join(ImagesFolder);
        log(LogProgress, "Resources::bitmapsPath = ", folder.getPath());
        return folder;
    }();
    static_cast<void>(path);
}

}  // namespace

Resources::Resources() : Radio(nullptr), currentSkin_(DefaultSkin) {
    const Folder root = System::getFolderLocation(System::Resources);
    samplesPath_ = root.join("Samples");
    log(LogProgress, "Resources::samplesPath = ", samplesPath_.getPath());
    addSearchFolder(System::getFolderLocation(System::CommonData));
    addSearchFolder(System::getFolderLocation(System::UserData));
    skins_.emplace_back(root, DefaultSkin);
    std::vector<Folder> folders;
    root.join("Skins").listFolders(folders);
    for (const Folder& folder : folders)
        skins_.emplace_back(folder, "");
    if (Preferences::user() != nullptr)
        Preferences::user()->getString(SkinPreference, currentSkin_);
    useFonts();
}

Resources::~Resources() {
    disconnect();
}

// Samples, by their ids.

bool Resources::hasSample(const std::string& id) const {
    const std::lock_guard hold(lock_);
    return samples_.contains(id);
}

SharedObjectPtr<Sample> Resources::getSample(const std::string& id) const {
    const std::lock_guard hold(lock_);
    const auto found = samples_.find(id);
    return found != samples_.end() ? found->second.sample : SharedObjectPtr<Sample>();
}

void Resources::addSample(const std::string& id, Sample* sample) {
    if (sample != nullptr)
        storeSample(id, {}, *sample, 0);
}

void Resources::storeSample(const std::string& id, const std::string& fileName, Sample& sample,
                            std::int32_t holds) {
    SharedObjectPtr<Sample> former(&sample);  // which ends outside the lock
    const std::lock_guard hold(lock_);
    SampleEntry& entry = samples_[id];
    std::swap(entry.sample, former);
    if (!fileName.empty())
        entry.fileName = fileName;
    entry.holds = std::max(entry.holds, holds);
}

void Resources::retainAllSamples() {
    const std::lock_guard hold(lock_);
    for (auto& [id, entry] : samples_)
        ++entry.holds;
}

void Resources::releaseAllSamples() {
    SampleMap unheld;  // which ends outside the lock
    const std::lock_guard hold(lock_);
    for (auto& [id, entry] : samples_)
        entry.holds = std::max(entry.holds - 1, 0);
    unheld = takeUnheld(nullptr);
}

void Resources::removeSample(const std::string& id) {
    SampleMap unheld;  // which ends outside the lock
    const std::lock_guard hold(lock_);
    const auto found = samples_.find(id);
    if (found == samples_.end())
        return;
    found->second.holds = std::max(found->second.holds - 1, 0);
    unheld = takeUnheld(found->second.sample.get());
}

Resources::SampleMap Resources::takeUnheld(const Sample* candidate) {
    struct Tally {
        std::int32_t entries = 0;
        std::int32_t holds = 0;
    };
    std::map<Sample*, Tally> tallies;
    for (const auto& [id, entry] : samples_) {
        if (candidate != nullptr && entry.sample.get() != candidate)
            continue;
        Tally& tally = tallies[entry.sample.get()];
        ++tally.entries;
        tally.holds += entry.holds;
    }
    std::erase_if(tallies, [](const auto& tallied) {
        return tallied.second.holds > 0 || holdersOf(*tallied.first) > tallied.second.entries;
    });
    SampleMap unheld;
    for (auto next = samples_.begin(); next != samples_.end();) {
        const auto entry = next++;
        if (tallies.contains(entry->second.sample.get()))
            unheld.insert(samples_.extract(entry));
    }
    return unheld;
}

// The product's samples.

Error Resources::load(const File& file) {
    Dictionary loaded;
    if (!loaded.load(file))
        return ErrorImportFailed(Load, file.getPath());
    std::string message;
    if (!loaded.canLoad(message)) {
        log(LogError, {}, message);
        return ErrorImportFailed(Load, file.getPath());
    }
    dictionary_ = std::move(loaded);
    const auto list = dictionary_.getArray(SamplesKey);
    for (std::int32_t i = 0; list && i < list->count(""); ++i) {
        const auto entry = list->getEntry(i);
        if (entry->isElement() && !loadListedSample(*entry))
            break;
    }
    return NoError();
}

// False where the list is to end: at an entry that tells neither a file nor audio.
bool Resources::loadListedSample(const Dictionary& entry) {
    std::string name;
    std::string fileName;
    entry.getString("name", name);
    entry.getString("filename", fileName);
    File file(fileName);
    if (name.ends_with(PackSuffix)) {
        if (findFile(file))
            loadPack(name.substr(0, name.size() - PackSuffix.size()), file, 1);
        return true;
    }
    if (hasSample(name) || loadSampleFile(name, file, 1, nullptr))
        return true;
    const auto sample = makeShared<Sample>();
    if (!succeeds([&] { sample->read(entry); }))
        return true;
    if (sample->hasData())
        storeSample(name, fileName, *sample, 1);
    return sample->hasData() || !fileName.empty();
}

bool Resources::loadSampleFile(const std::string& id, File file, std::int32_t holds,
                               MissingFileHandler* asker) {
    if (!findFile(file, asker))
        return false;
    SharedObjectPtr<Sample> sample;
    succeeds([&] { sample = Sample::create(file, true); });
    if (!sample || !sample->hasData()) {
        logError(LogError, ErrorImportFailed(LoadSampleFile, forLog(file.getPath())));
        return false;
    }
    storeSample(id, file.getPath(), *sample, holds);
    return true;
}

void Resources::loadPack(const std::string& pack, const File& file, std::int32_t holds) {
    succeeds([&] {
        for (const PackEntry& entry : readPack(file, nullptr))
            storeSample(pack + "/" + entry.name, file.getPath(), *entry.sample, holds);
    });
}

// Samples of states.

void Resources::readSamples(const Dictionary& dictionary, MissingFileHandler* asker) {
    const auto list = dictionary.getArray(SamplesKey);
    for (std::int32_t i = 0; list && i < list->count(""); ++i) {
        const auto entry = list->getEntry(i);
        std::string id;
        if (entry->isElement())
            readSample(id, *entry, asker);
    }
}

void Resources::readSample(std::string& id, const Dictionary& dictionary,
                           MissingFileHandler* asker) {
    std::string fileName;
    dictionary.getString("id", id);
    dictionary.getString("filename", fileName);
    SharedObjectPtr<Sample> sample = getSample(id);
    const bool isRead = succeeds([&] {
        sample = sample ? sample->clone() : makeShared<Sample>();
        sample->read(dictionary);
    });
    if (isRead && sample->hasData()) {
        storeSample(id, fileName, *sample, 0);
    } else {
        sample.reset();
        removeSample(id);
        if (id.find(':') != std::string::npos && Folder(id).isRelative())
            findInPack(id, asker);
        else
            loadSampleFile(id, File(fileName), 0, asker);
    }
    ResourceMessage message(this, ResourceMessage::ResourceLoaded, id, 0);
    transmit(message);
}

void Resources::findInPack(const std::string& id, MissingFileHandler* asker) {
    const std::size_t colon = id.find(':');
    const std::string pack = id.substr(0, colon);
    const std::string entryId = pack + "/" + id.substr(colon + 1);
    MissingFileHandler* const handler = handlerOr(asker);
    File file;
    if (!hasPack(pack) && handler != nullptr && handler->findPackFile(pack, file))
        loadPack(pack, file, 0);
    SampleEntry entry;
    {
        const std::lock_guard hold(lock_);
        if (const auto found = samples_.find(entryId); found != samples_.end())
            entry = found->second;
    }
    if (entry.sample)
        storeSample(id, entry.fileName, *entry.sample, 0);
}

bool Resources::hasPack(const std::string& pack) const {
    const std::lock_guard hold(lock_);
    const std::string prefix = pack + "/";
    const auto first = samples_.lower_bound(prefix);
    return first != samples_.end() && first->first.starts_with(prefix);
}

void Resources::writeSamplesTo(Dictionary& dictionary, bool withData) const {
    const auto list = dictionary.getArray(SamplesKey);
    const std::lock_guard hold(lock_);
    for (std::int32_t i = 0; list && i < list->count(""); ++i) {
        const auto entry = list->getEntry(i);
        std::string id;
        if (!entry->isElement() || !entry->getString("id", id))
            continue;
        const auto found = samples_.find(id);
        if (found == samples_.end())
            continue;
        entry->setName("sample");
        entry->setString("id", id);
        entry->setString("filename", found->second.fileName);
        found->second.sample->write(*entry);
        if (withData)
            found->second.sample->writeData(*entry);
    }
}

// Files.

void Resources::addSearchFolder(const Folder& folder) {
    const auto isSame = [&folder](const Folder& known) { return known.equals(folder); };
    if (!folder.exists())
        return;
    const std::lock_guard hold(lock_);
    if (std::any_of(searchFolders_.begin(), searchFolders_.end(), isSame))
        return;
    log(LogProgress, "adding ", folder.getPath() + " to resources");
    searchFolders_.push_back(folder);
}

MissingFileHandler* Resources::handlerOr(MissingFileHandler* asker) const {
    return asker != nullptr ? asker : dynamic_cast<MissingFileHandler*>(getPlugin());
}

bool Resources::findFile(File& file, MissingFileHandler* asker) {
    if (file.exists())
        return true;
    if (file.getName().empty())
        return false;
    if (file.getPath().size() <= LongestPath && search(file))
        return true;
    log(LogError, "Unable to locate sample file ", file.getName());
    MissingFileHandler* const handler = handlerOr(asker);
    File chosen = file;
    if (handler == nullptr || !handler->reportMissingSample(chosen) || !chosen.exists())
        return false;
    file = chosen;
    return true;
}

bool Resources::search(File& file) {
    std::vector<Folder> roots = {samplesPath_, Folder::current()};
    {
        const std::lock_guard hold(lock_);
        roots.insert(roots.end(), searchFolders_.begin(), searchFolders_.end());
    }
    std::set<std::string> tried;
    for (Folder level : roots) {
        for (int up = 0; up < LevelsUp && !level.isEmpty(); ++up) {
            for (std::size_t less = 0; less < FoldersLess; ++less) {
                const std::optional<Way> way = wayWithout(file, less);
                if (!way)
                    continue;
                const File candidate(way->from(level), file.getName());
                if (!tried.insert(candidate.getPath()).second)
                    continue;
                log(LogDetail, "candidate: ", candidate.getPath());
                if (candidate.exists()) {
                    file = candidate;
                    addSearchFolder(candidate);
                    return true;
                }
            }
            level = level.getParent();
        }
    }
    return false;
}

// Images and skins.

std::unique_ptr<Dictionary> Resources::describe(const std::string& bitmapId) const {
    return dictionary_.getArrayDict("bitmaps", bitmapId);
}

File Resources::findSkinFile(const std::string& name) const {
    const std::lock_guard hold(imagesLock_);
    const Skin* const skin = findSkin(currentSkin_);
    const File file(skin != nullptr ? skin->getFolder() : skins_.front().getFolder(), name);
    return file.exists() ? file : File(skins_.front().getFolder(), name);
}

void Resources::useFonts() const {
    const Skin* const skin = findSkin(currentSkin_);
    std::vector<Folder> folders;
    if (skin != nullptr)
        folders.push_back(skin->getFolder().join(FontsFolder));
    folders.push_back(skins_.front().getFolder().join(FontsFolder));
    FontLibrary::get().setFolders(folders);
}

// The plain image, then its denser variants, there or not, all in the same skin.
std::vector<File> Resources::imageFiles(const File& name, const Skin& skin) const {
    const auto in = [&name](const Skin& place) {
        std::vector<File> files(
            1, File(place.getFolder().join(ImagesFolder).join(name.getFolder()), name.getName()));
        for (const Density& density : Densities) {
            files.push_back(files.front());
            files.back().setStem(files.front().getStem() + density.mark);
        }
        return files;
    };
    std::vector<File> files = in(skin);
    const bool hasAny =
        std::any_of(files.begin(), files.end(), [](File& file) { return file.exists(); });
    return hasAny ? files : in(skins_.front());
}

std::int64_t Resources::imageStamp(const File& name, const Skin& skin) const {
    std::uint64_t stamp = 0;
    for (const File& file : imageFiles(name, skin))
        stamp = stamp * 31 + static_cast<std::uint64_t>(file.getChangeStamp());
    return static_cast<std::int64_t>(stamp);
}

void Resources::loadImage(Bitmap& bitmap, const File& name, const Skin& skin) const {
    std::vector<File> files = imageFiles(name, skin);
    log(LogDetail, "  filename: ", files.front().getPath());
    bitmap.clear();
    if (files.front().exists())
        bitmap.loadFile(files.front());
    for (std::size_t i = 0; i < std::size(Densities); ++i)
        if (File& dense = files[i + 1]; dense.openRead())
            if (const Error error = bitmap.loadVariant(*dense.getStream(), Densities[i].factor);
                !error.isOk())
                logError(LogWarning, error);
}

std::shared_ptr<Bitmap> Resources::getBitmap(const std::string& id) {
    if (id.empty())
        return nullptr;
    const std::lock_guard hold(imagesLock_);
    logBitmapsPath();
    const auto known = bitmaps_.find(id);
    if (known != bitmaps_.end())
        return known->second.bitmap;
    log(LogDetail, "loading on demand: ", id);
    const auto keys = describe(id);
    if (!keys) {
        log(LogWarning, "  bitmap not found ", id);
        return nullptr;
    }
    std::string fileName;
    keys->getString("filename", fileName);
    auto bitmap = std::make_shared<Bitmap>();
    const Skin& skin = getSkin(currentSkin_);
    const std::int64_t stamp = imageStamp(File(fileName), skin);
    loadImage(*bitmap, File(fileName), skin);
    if (!bitmap->isValid()) {
        log(LogWarning, "  failed to load bitmap ", id);
        return nullptr;
    }
    describeImage(*bitmap, *keys);
    bool useAlpha = true;
    if (keys->getBool("usealpha", useAlpha))
        bitmap->setUseAlpha(useAlpha);
    float transparency = 1.0f;
    if (keys->getFloat("transparency", transparency))
        bitmap->setTransparency(transparency);
    bitmaps_[id] = {bitmap, File(fileName), id, stamp};
    return bitmap;
}

const Skin* Resources::findSkin(const std::string& uid) const {
    const auto found = std::find_if(skins_.begin(), skins_.end(),
                                    [&uid](const Skin& skin) { return skin.getUid() == uid; });
    return found != skins_.end() ? &*found : nullptr;
}

const Skin& Resources::getSkin(const std::string& uid) {
    if (const Skin* const skin = findSkin(uid))
        return *skin;
    const std::lock_guard hold(imagesLock_);
    currentSkin_ = DefaultSkin;
    return skins_.front();
}

std::string Resources::getCurrentSkin() const {
    const std::lock_guard hold(imagesLock_);
    return currentSkin_;
}

std::string Resources::reloadImages() {
    std::string broken;
    bool isChanged = false;
    std::unique_lock hold(imagesLock_);
    const Skin& skin = getSkin(currentSkin_);
    for (auto& [id, entry] : bitmaps_) {
        const std::int64_t stamp = imageStamp(entry.file, skin);
        if (stamp != std::exchange(entry.stamp, stamp)) {
            Bitmap loaded = *entry.bitmap;
            loadImage(loaded, entry.file, skin);
            entry.isBroken = !loaded.isValid();
            if (!entry.isBroken) {
                if (const auto keys = describe(id))
                    describeImage(loaded, *keys);
                *entry.bitmap = loaded;
                isChanged = true;
            }
        }
        if (entry.isBroken)
            broken = imageFiles(entry.file, skin).front().getPath();
    }
    const std::string uid = currentSkin_;
    hold.unlock();
    if (isChanged) {
        ResourceMessage message(this, ResourceMessage::SetLoaded, uid, 0);
        transmit(message);
    }
    return broken;
}

void Resources::setCurrentSkin(const std::string& uid) {
    takeSkin(uid);
    if (Preferences::user() == nullptr)
        return;
    const Error error = Preferences::user()->setString(SkinPreference, getCurrentSkin());
    if (!error.isOk())
        logError(LogError, error);
}

void Resources::takeSkin(const std::string& uid) {
    const Skin* skin = findSkin(uid);
    const std::string chosen = skin != nullptr ? uid : DefaultSkin;
    std::unique_lock hold(imagesLock_);
    if (chosen == currentSkin_)
        return;
    if (skin == nullptr)
        skin = &skins_.front();
    for (auto& [id, entry] : bitmaps_) {
        entry.stamp = imageStamp(entry.file, *skin);
        loadImage(*entry.bitmap, entry.file, *skin);
        if (const auto keys = describe(id))
            describeImage(*entry.bitmap, *keys);
    }
    currentSkin_ = chosen;
    useFonts();
    hold.unlock();
    ResourceMessage message(this, ResourceMessage::SetLoaded, chosen, 0);
    transmit(message);
}

}  // namespace tarn
