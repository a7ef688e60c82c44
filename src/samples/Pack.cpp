#include "samples/Pack.h"

#include "foundation/File.h"
#include "foundation/Logger.h"

#include <algorithm>
#include <array>
#include <boost/interprocess/streams/bufferstream.hpp>
#include <exception>
#include <limits>

namespace tarn {

namespace {

// A name for a line of the log: whatever could end the line or steer a terminal becomes "?".
std::string forLog(std::string name) {
    std::replace_if(
        name.begin(), name.end(),
        [](char character) {
            const auto byte = static_cast<unsigned char>(character);
            return byte < 0x20 || byte >= 0x7F;
        },
        '?');
    return name;
}

bool isStorable(const PackedFile& entry) {
    return !entry.name.empty() && entry.name.find('\0') == std::string::npos &&
           entry.body.size() <= std::numeric_limits<std::uint32_t>::max();
}

// All of a pack's bytes. Throws std::bad_alloc or std::length_error for more than memory holds.
std::string packed(const std::vector<PackedFile>& entries) {
    std::string bytes(PackMagic);
    bytes += '\0';
    for (const PackedFile& entry : entries) {
        const auto size = static_cast<std::uint32_t>(entry.body.size());
        bytes.append(entry.name).append(1, '\0');
        bytes.append(reinterpret_cast<const char*>(&size), sizeof size).append(entry.body);
    }
    return bytes.append(1, '\0');
}

}  // namespace

PackReader::PackReader(std::istream& stream) : stream_(stream) {
    const std::istream::pos_type begin = stream_.tellg();
    stream_.seekg(0, std::ios::end);
    end_ = stream_.tellg();
    stream_.seekg(begin);
    std::array<char, PackMagic.size()> magic{};
    stream_.read(magic.data(), magic.size());
    isPack_ = stream_ && std::string_view(magic.data(), magic.size()) == PackMagic;
    stream_.ignore(1);
}

bool PackReader::next(PackedFile& entry) {
    entry.body = {};
    if (!isPack_ || !std::getline(stream_, entry.name, '\0') || entry.name.empty())
        return false;
    std::uint32_t size = 0;
    stream_.read(reinterpret_cast<char*>(&size), sizeof size);
    isCutOff_ = !stream_ || size > end_ - stream_.tellg();
    if (isCutOff_)
        return false;
    try {
        entry.body.resize(size);
        stream_.read(entry.body.data(), static_cast<std::streamsize>(size));
    } catch (const std::exception&) {  // std::bad_alloc, or longer than a text can be
        stream_.seekg(size, std::ios::cur);
    }
    isCutOff_ = !stream_;
    return !isCutOff_;
}

SharedObjectPtr<SampleWav> loadPacked(const PackedFile& entry, Radio* owner) {
    boost::interprocess::ibufferstream stream(entry.body.data(), entry.body.size());
    auto sample = makeShared<SampleWav>(owner);
    if (!sample->load(stream, true).isOk())
        sample.reset();
    return sample;
}

std::vector<PackEntry> readPack(const File& file, Radio* owner) {
    File opened = file;
    return opened.openRead() ? readPack(*opened.getStream(), owner) : std::vector<PackEntry>();
}

std::vector<PackEntry> readPack(std::istream& stream, Radio* owner) {
    std::vector<PackEntry> entries;
    PackReader reader(stream);
    for (PackedFile file; reader.next(file);) {
        logLine(LogDetail, "loading %s (%lld bytes)", forLog(file.name).c_str(),
                static_cast<long long>(file.body.size()));
        if (const SharedObjectPtr<SampleWav> sample = loadPacked(file, owner))
            entries.push_back({sample, file.name});
    }
    return entries;
}

bool writePack(const File& file, const std::vector<PackedFile>& entries) {
    if (!std::all_of(entries.begin(), entries.end(), isStorable))
        return false;
    try {
        return file.save(packed(entries));
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace tarn
