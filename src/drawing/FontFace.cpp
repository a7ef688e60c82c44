#include "drawing/FontFace.h"

#include "foundation/Mutex.h"

#include <cairo-ft.h>
#include <freetype/freetype.h>
#include <freetype/tttables.h>

#include <algorithm>
#include <mutex>
#include <utility>

namespace tarn {

namespace {

constexpr FT_Long MostFaces = 64;  // of a file

// Held while FreeType's list of faces changes. It is held inside cairo's locks, since cairo may be
// the last to let go of a face; nothing but FreeType may be called under it.
Mutex listOfFaces;  // NOLINT: nothing here throws

// Lives as long as cairo needs the face, which may be longer than the FontFace.
struct OpenFace {
    FT_Face face;
    std::shared_ptr<const std::string> bytes;
};

void closeFace(void* data) {
    const std::unique_ptr<OpenFace> open(static_cast<OpenFace*>(data));
    const std::lock_guard<Mutex> inside(listOfFaces);
    FT_Done_Face(open->face);
}

constexpr cairo_user_data_key_t OpenFaceKey = {};

std::int32_t weightOf(FT_Face face) {
    if (const auto* const table = static_cast<const TT_OS2*>(FT_Get_Sfnt_Table(face, FT_SFNT_OS2));
        table != nullptr && table->usWeightClass >= 100 && table->usWeightClass <= 900)
        return table->usWeightClass;
    return (face->style_flags & FT_STYLE_FLAG_BOLD) != 0 ? 700 : 400;
}

}  // namespace

std::string lowerCase(std::string text) {
    for (char& letter : text)
        if (letter >= 'A' && letter <= 'Z')
            letter = static_cast<char>(letter - 'A' + 'a');
    return text;
}

std::vector<std::unique_ptr<FontFace>> FontFace::readAll(FT_Library library, std::string bytes) {
    std::vector<std::unique_ptr<FontFace>> faces;
    const auto shared = std::make_shared<const std::string>(std::move(bytes));
    FT_Long count = 1;
    for (FT_Long index = 0; index < count; ++index) {
        FT_Face face = nullptr;
        std::unique_lock<Mutex> inside(listOfFaces);
        if (FT_New_Memory_Face(library, reinterpret_cast<const FT_Byte*>(shared->data()),
                               static_cast<FT_Long>(shared->size()), index, &face) != 0)
            break;
        inside.unlock();
        count = std::min(face->num_faces, MostFaces);
        if (FT_IS_SCALABLE(face) && FT_Select_Charmap(face, FT_ENCODING_UNICODE) == 0 &&
            face->family_name != nullptr)
            faces.emplace_back(new FontFace(face, shared));
        else {
            inside.lock();
            FT_Done_Face(face);
        }
    }
    return faces;
}

FontFace::FontFace(FT_Face face, std::shared_ptr<const std::string> bytes)
    : face_(face),
      cairo_(cairo_ft_font_face_create_for_ft_face(face, 0)),
      index_(static_cast<std::int32_t>(face->face_index & 0xFFFF)),  // above it, an instance's
      family_(lowerCase(face->family_name)),
      weight_(weightOf(face)),
      isUpright_((face->style_flags & FT_STYLE_FLAG_ITALIC) == 0) {
    cairo_font_face_set_user_data(cairo_, &OpenFaceKey, new OpenFace{face, std::move(bytes)},
                                  closeFace);
}

FontFace::~FontFace() {
    cairo_font_face_destroy(cairo_);
}

std::uint32_t FontFace::getGlyph(char32_t letter) const {
    return FT_Get_Char_Index(face_, letter);
}

}  // namespace tarn
