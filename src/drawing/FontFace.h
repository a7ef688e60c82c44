// One face of a font file, as FreeType and cairo know it; for this room alone.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

using cairo_font_face_t = struct _cairo_font_face;  // NOLINT: cairo's name
using FT_Face = struct FT_FaceRec_*;
using FT_Library = struct FT_LibraryRec_*;

namespace tarn {

/// Of the letters A to Z.
std::string lowerCase(std::string text);

/// Used by one thread at a time.
class FontFace {
public:
    /// All faces in a file's bytes that can be used: outlines of letters known by their Unicode
    /// numbers. Empty for anything else.
    static std::vector<std::unique_ptr<FontFace>> readAll(FT_Library library, std::string bytes);

    FontFace(const FontFace&) = delete;
    FontFace& operator=(const FontFace&) = delete;
    ~FontFace();

    /// Its number in the file, from 0.
    std::int32_t getIndex() const { return index_; }

    /// In lower case.
    const std::string& getFamily() const { return family_; }

    /// 100 to 900; 400 is normal.
    std::int32_t getWeight() const { return weight_; }

    bool isUpright() const { return isUpright_; }

    /// The letter's glyph; 0 if there is none.
    std::uint32_t getGlyph(char32_t letter) const;

    /// Stays the face's own.
    cairo_font_face_t* getCairo() const { return cairo_; }

private:
    FontFace(FT_Face face, std::shared_ptr<const std::string> bytes);

    FT_Face face_;
    cairo_font_face_t* cairo_;  // owns the face, and its bytes
    std::int32_t index_;
    std::string family_;
    std::int32_t weight_;
    bool isUpright_;
};

}  // namespace tarn
