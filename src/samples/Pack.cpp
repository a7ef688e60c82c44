#include "samples/Pack.h"

#include "foundation/File.h"
#include "foundation/Logger.h"

#include <array>
#include <boost/interprocess/streams/bufferstream.hpp>
#include <exception>
#include <limits>

namespace tarn {

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
        logLine(LogDetail, "loading %s (%d bytes)", file.name.c_str(),
                static_cast<int>(file.body.size()));
        if (const SharedObjectPtr<SampleWav> sample = loadPacked(file, owner))
            entries.push_back({sample, file.name});
    }
    return entries;
}

bool writePack(const File& file, const std::vector<PackedFile>& entries) {
    std::size_t bodies = 0;
    for (const PackedFile& entry : entries)
        bodies += entry.name.size() + entry.body.size() + sizeof(std::uint32_t) + 1;
    std::string bytes;
    bytes.reserve(PackMagic.size() + bodies + 2);
    bytes.append(PackMagic).append(1, '\0');
    for (const PackedFile& entry : entries) {
        if (entry.name.empty() || entry.name.find('\0') != std::string::npos ||
            entry.body.size() > std::numeric_limits<std::uint32_t>::max())
            return false;
        const auto size = static_cast<std::uint32_t>(entry.body.size());
        bytes.append(entry.name).append(1, '\0');
        bytes.append(reinterpret_cast<const char*>(&size), sizeof size).append(entry.body);
    }
    bytes += '\0';
    return file.save(bytes);
}

}  // namespace tarn
