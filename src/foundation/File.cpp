#include "foundation/File.h"

#include "foundation/Logger.h"
#include "foundation/Preferences.h"
#include "foundation/ProductIdentity.h"
#include "platform/Dialogs.h"
#include "platform/FileSystem.h"

#include <algorithm>
#include <array>
#include <limits>
#include <locale>
#include <sstream>

namespace tarn {

namespace {

// Where the last folder is remembered, in the user's store.
const char* const PreferencesSection = "Preferences";
const char* const LastFolderName = "LastFolder";

std::string rememberedFolder() {
    const Preferences* user = Preferences::user();
    std::string folder;
    if (user == nullptr || !user->hasSection(PreferencesSection))
        return folder;
    const auto section = user->openSection(PreferencesSection, Preferences::Read);
    if (section)
        section->getString(LastFolderName, folder);
    return folder;
}

void rememberFolder(const Folder& folder) {
    if (Preferences::user() == nullptr)
        return;
    const auto section = Preferences::user()->openSection(PreferencesSection,
                                                          Preferences::Read | Preferences::Write);
    if (section)
        section->setString(LastFolderName, folder.getPath());
}

platform::FileAnswer choose(platform::FilePurpose purpose, const FileDialog& dialog,
                            const File& proposal) {
    const Folder folder = proposal.getFolder();
    platform::FileRequest request;
    request.purpose = purpose;
    request.title = dialog.title;
    request.prompt = dialog.prompt;
    request.folder = folder.isEmpty() ? rememberedFolder() : folder.getPath();
    request.name = proposal.getName();
    request.kind = dialog.kind;
    request.wildcards = dialog.wildcards;
    platform::FileAnswer answer = platform::chooseFile(request);
    if (answer.error != 0)
        logLine(LogError, "%s() returned %u",
                purpose == platform::FilePurpose::Open ? "GetOpenFileName" : "GetSaveFileName",
                static_cast<unsigned>(answer.error));
    return answer;
}

platform::MessageAnswer askToOverwrite(const std::string& name) {
    platform::MessageRequest question;
    question.kind = platform::MessageKind::Ask;
    question.title = ProductIdentity::get().getDisplayName();
    question.text = "'" + name + "' already exists.  Overwrite?";
    question.parented = true;
    return platform::showMessage(question);
}

}  // namespace

File::File(std::string_view path) {
    File::setPath(path);
}

File::File(const Folder& folder, std::string_view name) : Folder(folder), name_(name) {}

File::File(const File& other) : IOStream(other), Folder(other), name_(other.name_) {}

File& File::operator=(const File& other) {
    IOStream::operator=(other);
    Folder::operator=(other);
    name_ = other.name_;
    stream_.reset();
    return *this;
}

bool File::read(void* buffer, std::size_t size, std::size_t count) {
    if (!isOpen() || stream_->fail())
        return false;
    constexpr auto Most = static_cast<std::size_t>(std::numeric_limits<std::streamsize>::max());
    if (size > 0 && count > Most / size)
        return false;
    char* bytes = static_cast<char*>(buffer);
    const std::size_t wanted = size * count;
    stream_->read(bytes, static_cast<std::streamsize>(wanted));
    const auto came = static_cast<std::size_t>(stream_->gcount());
    std::fill(bytes + came, bytes + wanted, '\0');
    return true;
}

bool File::matches(const void* bytes, std::size_t size) {
    return IOStream::matches(bytes, size) && !stream_->fail();  // not even with zeros
}

bool File::exists() const {
    return platform::fileExists(getPath());
}

void File::setPath(std::string_view path) {
    const std::size_t name = path.find_last_of("\\/") + 1;  // 0 when there is no separator
    setFolderPath(path.substr(0, name));
    name_ = path.substr(name);
}

std::string File::getPath() const {
    std::string path = Folder::getPath();
    if (!path.empty() && path.back() != platform::PathSeparator)
        path += platform::PathSeparator;
    return path + name_;
}

bool File::isInFolder(std::string_view folderPath) const {
    const Folder folder(folderPath);
    const std::vector<std::string>& front = folder.getParts();
    const std::vector<std::string>& parts = getParts();
    return front.size() <= parts.size() && std::equal(front.begin(), front.end(), parts.begin());
}

bool File::browseOpen(const FileDialog& dialog) {
    const platform::FileAnswer answer = choose(platform::FilePurpose::Open, dialog, *this);
    if (answer.path.empty())
        return false;
    setPath(answer.path);
    rememberFolder(getFolder());
    return true;
}

bool File::browseSave(const FileDialog& dialog) {
    File chosen = *this;
    for (;;) {
        const platform::FileAnswer answer = choose(platform::FilePurpose::Save, dialog, chosen);
        if (answer.path.empty())
            return false;
        chosen.setPath(answer.path);
        const auto overwrite =
            chosen.exists() ? askToOverwrite(chosen.getName()) : platform::MessageAnswer::Yes;
        if (overwrite == platform::MessageAnswer::Cancel)
            return false;
        if (overwrite == platform::MessageAnswer::Yes)
            break;
    }
    setPath(chosen.getPath());
    return true;
}

std::string File::getStem() const {
    return name_.substr(0, name_.rfind('.'));
}

void File::setStem(std::string_view stem) {
    setName(std::string(stem) + "." + getExtension());
}

std::string File::getExtension() const {
    const std::size_t dot = name_.rfind('.');
    return dot == std::string::npos ? std::string() : name_.substr(dot + 1);
}

void File::setExtension(std::string_view extension) {
    setName(getStem() + "." + std::string(extension));
}

void File::makeUnique(std::string_view marker) {
    const std::string stem = getStem();
    const std::string extension = getExtension();
    const std::size_t cut = std::min(stem.find(marker), stem.size());
    const std::string front = stem.substr(0, cut);
    const std::string back =
        stem.substr(std::min(cut + marker.size(), stem.size())).append(".").append(extension);
    for (int i = 1; i == 1 || exists(); ++i)
        setName(std::string(front).append(std::to_string(i)).append(back));
}

bool File::create() {
    return platform::createFile(getPath());
}

std::int64_t File::getModificationTime() const {
    const auto status = platform::fileStatus(getPath());
    return status ? status->modificationTime : 0;
}

std::int64_t File::getChangeStamp() const {
    const auto status = platform::fileStatus(getPath());
    return status ? status->changeStamp : 0;
}

std::int64_t File::getDiskSize() const {
    const auto status = platform::fileStatus(getPath());
    return status ? status->bytes : 0;
}

std::string File::getSizeText() const {
    constexpr std::array<const char*, 4> Units = {"bytes", "KB", "MB", "GB"};
    auto size = static_cast<double>(getDiskSize());
    std::size_t unit = 0;
    for (; size > 1024.0 && unit + 1 < Units.size(); ++unit)
        size *= 0.0009765625;
    std::ostringstream text;
    text.imbue(std::locale::classic());  // whatever the host has made of the global one
    text << std::fixed << size << " " << Units[unit];
    return text.str();
}

bool File::openStream(std::ios::openmode mode) {
    close();
    if (!exists())  // a pipe would make its opener wait
        return false;
    stream_ = std::make_unique<std::fstream>();
    platform::openStream(*stream_, getPath(), mode);
    if (!isOpen())
        close();
    return isOpen();
}

bool File::openRead() {
    return openStream(std::ios::in);
}

bool File::open(bool readOnly) {
    if (readOnly)
        return openRead();
    if (!exists())
        create();
    return openStream(std::ios::in | std::ios::out);
}

bool File::seek(std::int64_t position) {
    if (isOpen())
        stream_->seekg(position);
    return true;
}

std::int64_t File::getSize() {
    if (!isOpen())
        return -1;
    std::filebuf& buffer = *stream_->rdbuf();
    const std::streampos position = buffer.pubseekoff(0, std::ios::cur);
    const std::streamoff size = buffer.pubseekoff(0, std::ios::end);
    buffer.pubseekpos(position);
    return size;
}

bool File::contents(std::string& bytes, std::size_t most) const {
    File file(*this);
    if (!file.openRead())
        return false;
    const std::int64_t size = file.getSize();
    if (size <= 0 || static_cast<std::uint64_t>(size) > most)
        return false;
    std::string content(static_cast<std::size_t>(size), '\0');
    if (!file.read(content.data(), 1, content.size()))
        return false;
    bytes = std::move(content);
    return true;
}

bool File::save(std::string_view bytes) const {
    return platform::replaceFile(getPath(), bytes);
}

bool File::remove() const {
    return platform::removeFile(getPath());
}

}  // namespace tarn
