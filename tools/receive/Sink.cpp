#include "Sink.h"

#include "ExitStatus.h"
#include "common/Text.h"
#include "platform/StandardOutput.h"

#include <fstream>
#include <utility>

namespace tarn::receive {

namespace {

bool exists(const std::string& path) {
    std::error_code failure;
    return std::filesystem::exists(tools::pathOf(path), failure);
}

// Leaves everything as it was.
bool canBeWritten(const std::string& path) {
    const bool isThere = exists(path);
    const bool isOpen = std::ofstream(tools::pathOf(path), std::ios::app).is_open();
    std::error_code ignored;
    if (isOpen && !isThere)
        std::filesystem::remove(tools::pathOf(path), ignored);
    return isOpen;
}

}  // namespace

FileSink::FileSink(std::string path, bool replaces)
    : wanted_(std::move(path)), replaces_(replaces), path_(wanted_) {
    for (const std::string& file : {path_, listPath()})
        if (!replaces && exists(file))
            throw Failure(ExitBadUse, file + " is there already; -f replaces it");
    if (!canBeWritten(path_))
        throw Failure(ExitBadUse, path_ + " can't be written");
}

void FileSink::setRate(std::uint32_t rate) {
    rate_ = rate;
    if (file_)
        file_->setRate(rate);
}

void FileSink::open() {
    if (file_)
        return;
    file_ = std::make_unique<Recording>(path_, rate_, replaces_);
    made_.push_back(path_);
    std::error_code ignored;
    std::filesystem::remove(tools::pathOf(listPath()), ignored);  // of a file that is replaced
}

void FileSink::append(std::span<const float> samples) {
    open();
    if (!file_->append(samples))
        throw Failure(ExitBadUse, file_->error());
}

bool FileSink::next() {
    file_.reset();
    do
        path_ = numbered(++number_);
    while (!isFree(path_));
    return true;
}

std::string FileSink::words() const {
    std::string words;
    for (const std::string& path : made_)
        words += (words.empty() ? "" : ", ") + path;
    return words;
}

std::string FileSink::numbered(int number) const {
    const std::filesystem::path path = tools::pathOf(wanted_);
    std::filesystem::path name = path.stem();
    name += " " + std::to_string(number);
    name += path.extension();
    const std::u8string text = (path.parent_path() / name).u8string();
    return {text.begin(), text.end()};
}

bool FileSink::isFree(const std::string& path) const {
    return replaces_ || (!exists(path) && !exists(listOf(path)));
}

StreamSink::StreamSink(bool isRaw) : stream_(platform::takeStandardOutput()), isReady_(isRaw) {
    if (stream_ == nullptr)
        throw Failure(ExitBadUse, "standard output can't be written to");
}

StreamSink::~StreamSink() {
    std::fclose(stream_);
}

void StreamSink::setRate(std::uint32_t rate) {
    if (isReady_)
        return;
    const auto header = wavStreamHeader(rate);
    write(header.data(), header.size());
    isReady_ = true;
    append(std::exchange(held_, {}));
}

void StreamSink::append(std::span<const float> samples) {
    if (isReady_)
        write(samples.data(), samples.size_bytes());
    else
        held_.insert(held_.end(), samples.begin(), samples.end());
}

void StreamSink::write(const void* bytes, std::size_t size) {
    if (std::fwrite(bytes, 1, size, stream_) != size)
        throw Failure(ExitBadUse,
                      "standard output can't be written to any more: the disk is full, or the "
                      "program that read it has ended");
}

}  // namespace tarn::receive
