// A pack: many WAV files in one.
//
//   "Quorl.pack"    10 bytes, without a terminator
//   a byte that says nothing
//   entries: a name that ends in a zero byte; the body's size, 4 bytes, little-endian, unsigned;
//            the body, a whole RIFF WAVE file
//   a zero byte in place of a name, or the end of the file
#pragma once

#include "foundation/SharedObject.h"
#include "samples/SampleWav.h"

#include <cstdint>
#include <istream>
#include <string>
#include <string_view>
#include <vector>

namespace tarn {

class File;
class Radio;

inline constexpr std::string_view PackMagic = "Quorl.pack";

struct PackEntry {
    SharedObjectPtr<Sample> sample;  // loaded, with its audio
    std::string name;                // as the pack has it: any bytes but zero, of any number
};

/// The samples of a pack, whose parent `owner` becomes; it may be null, and must outlive them or be
/// replaced. Entries that are no WAV files, or for which memory is short, are left out, and one
/// that is cut off ends the pack. Empty if the file can't be opened or is no pack. Takes no more
/// memory than the samples and the bytes of the longest entry. Interface thread, as all here.
std::vector<PackEntry> readPack(const File& file, Radio* owner);

/// The same from a stream that stands at a pack's beginning and can be moved in.
std::vector<PackEntry> readPack(std::istream& stream, Radio* owner);

/// An entry's bytes.
struct PackedFile {
    std::string name;  // not empty, without a zero byte
    std::string body;  // below 4 GB
};

/// Goes through a pack without decoding it.
class PackReader {
public:
    /// The stream stands at a pack's beginning, can be moved in, and outlives the reader.
    explicit PackReader(std::istream& stream);

    bool isPack() const { return isPack_; }

    /// Reads the next entry; false at the end of the pack, and where it is cut off. Where memory is
    /// too short for its body, the body is empty.
    bool next(PackedFile& entry);

    /// Whether the file ended inside an entry.
    bool isCutOff() const { return isCutOff_; }

private:
    std::istream& stream_;
    std::int64_t end_ = 0;
    bool isPack_ = false;
    bool isCutOff_ = false;
};

/// Replaces the file by a pack of these entries, in this order. False, with the file as it was, if
/// it can't be written, an entry isn't as PackedFile says, or there is no memory for a copy of all.
bool writePack(const File& file, const std::vector<PackedFile>& entries);

/// The sample in an entry's body, with `owner` as in `readPack`; null if it is no WAV file.
SharedObjectPtr<SampleWav> loadPacked(const PackedFile& entry, Radio* owner);

}  // namespace tarn
