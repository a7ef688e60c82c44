// The fonts that text is drawn in: those of the skins' folders first, then those of the machine.
// Everything rests on one rule: a font file may hold anything. One that can't be used counts as
// missing, and a missing family or letter is replaced, not reported.
#pragma once

#include "drawing/Font.h"
#include "foundation/Folder.h"
#include "foundation/Mutex.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

using cairo_scaled_font_t = struct _cairo_scaled_font;  // NOLINT: cairo's name

namespace tarn {

class File;
class FontFace;

/// One a process. Any thread; its users hold the lock for as long as they use what `layOut` gave.
class FontLibrary {
public:
    struct Glyph {
        std::uint32_t number;  // in the face; 0 is the box of a missing letter
        double x;              // of its origin, from the line's left
    };

    /// Letters side by side from one face.
    struct Run {
        const FontFace* face;
        std::shared_ptr<cairo_scaled_font_t> font;  // the face in the text's size
        std::vector<Glyph> glyphs;
    };

    /// A line of text, ready to be drawn from its top left, in the screen's pixels.
    struct Line {
        std::vector<Run> runs;
        double width = 0.0;
        double ascent = 0.0;
        double descent = 0.0;

        // What the letters touch; above the baseline it is less than 0.
        double inkLeft = 0.0, inkRight = 0.0, inkTop = 0.0, inkBottom = 0.0;
    };

    static FontLibrary& get();
    FontLibrary(const FontLibrary&) = delete;
    FontLibrary& operator=(const FontLibrary&) = delete;

    /// Takes the font files of these folders, in place of those so far, when the next text is laid
    /// out: the first one that has a family serves it. At most 64 files of at most 64 MB each;
    /// others are passed over.
    void setFolders(const std::vector<Folder>& folders);

    /// The paths of the folders' files that a text may come from.
    std::vector<std::string> getFiles();

    /// Lays out a line of UTF-8 text, of which 4,096 bytes are taken, with `scale` pixels of the
    /// screen for one of the font's. `flags` replace the font's alignment unless they are 0.
    /// Letters that its family doesn't have come from another one that does; a family that isn't
    /// there, or whose letters can't be drawn, is replaced by "Arial", or else by any. Empty if
    /// there is no font at all. What isn't UTF-8 is drawn as U+FFFD, and a line's control
    /// characters as spaces. The answer is for a thread that holds the lock, until it lets it go or
    /// lays out another line. Up to 256 lines are kept, so that asking again is quick.
    const Line& layOut(const Font& font, double scale, std::string_view line,
                       std::int32_t flags = 0);

    Mutex& lock() { return lock_; }

private:
    using Faces = std::vector<const FontFace*>;
    using Key = std::pair<std::string, std::int32_t>;  // a family in lower case, its weight
    // How large, smooth or not, the weight, the family, the text.
    template <typename String>
    using LineKey = std::tuple<double, bool, std::int32_t, String, String>;
    using LineKeyView = LineKey<std::string_view>;
    struct LineOrder {
        using is_transparent = void;
        bool operator()(const LineKeyView& a, const LineKeyView& b) const { return a < b; }
    };

    struct FreeType;

    FontLibrary();
    ~FontLibrary();

    Line makeLine(const LineKeyView& key);
    const FontFace* makeLineWithout(const Faces& refused, const LineKeyView& key, Line& line);
    const FontFace* find(const std::string& family, std::int32_t weight, const Faces& refused);
    const FontFace* findInstalled(const std::string& family, std::int32_t weight);
    const FontFace* findWith(char32_t character, std::int32_t weight);
    void readFolders();
    template <typename Visit>
    void visitFiles(const Visit& visit) const;
    void addFile(const File& file);
    const FontFace* nearest(const std::vector<std::unique_ptr<FontFace>>& faces,
                            const std::string& family, std::int32_t weight,
                            const Faces& refused) const;

    Mutex lock_;
    std::unique_ptr<FreeType> freetype_;
    std::vector<Folder> folders_;
    bool areFoldersRead_ = true;
    std::vector<std::unique_ptr<FontFace>> folderFaces_;
    std::map<Key, std::unique_ptr<FontFace>> installed_;  // null where there is none
    std::map<std::pair<char32_t, std::int32_t>, const FontFace*> others_;
    std::map<LineKey<std::string>, Line, LineOrder> lines_;  // that were laid out last
    std::size_t keptBytes_ = 0;                              // of their texts, at most
};

/// The letters of a text, one after the other, of UTF-8; U+FFFD for each byte that fits nowhere.
std::u32string lettersOf(std::string_view text);

}  // namespace tarn
