#include "drawing/FontLibrary.h"

#include "drawing/FontFace.h"
#include "foundation/File.h"
#include "platform/SystemFonts.h"

#include <cairo.h>
#include <freetype/freetype.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <initializer_list>
#include <mutex>

namespace tarn {

namespace {

constexpr std::size_t MostFiles = 64;
constexpr std::size_t MostFileBytes = std::size_t{64} << 20;
constexpr std::size_t MostInstalled = 64;  // families and weights that are kept
constexpr std::size_t MostOthers = 4096;   // letters of other families that are known
constexpr std::size_t MostLines = 256;     // that are kept
constexpr std::size_t MostKept = 65536;    // bytes of text of these
constexpr std::size_t MostLetters = 4096;  // bytes of a line
constexpr double MostPixels = 1000.0;      // that letters are high
constexpr double MostSizes = 16.0;         // of a text that a letter of it may take
constexpr std::size_t MostRefused = 16;    // faces for a line, before it stays empty

constexpr char32_t Replacement = 0xFFFD;

bool isFontFile(const File& file) {
    const std::string extension = lowerCase(file.getExtension());
    return extension == "ttf" || extension == "otf" || extension == "ttc" || extension == "otc";
}

std::shared_ptr<cairo_scaled_font_t> scaledFont(const FontFace& face, double pixels,
                                                bool isSmooth) {
    cairo_font_options_t* const options = cairo_font_options_create();
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_SLIGHT);
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_ON);
    cairo_font_options_set_antialias(options,
                                     isSmooth ? CAIRO_ANTIALIAS_GRAY : CAIRO_ANTIALIAS_NONE);
    cairo_matrix_t size, identity;
    cairo_matrix_init_scale(&size, pixels, pixels);
    cairo_matrix_init_identity(&identity);
    cairo_scaled_font_t* const font =
        cairo_scaled_font_create(face.getCairo(), &size, &identity, options);
    cairo_font_options_destroy(options);
    return {font, cairo_scaled_font_destroy};
}

bool contains(const std::vector<const FontFace*>& faces, const FontFace* face) {
    return std::find(faces.begin(), faces.end(), face) != faces.end();
}

// What FreeType refuses to draw would be an error of the context, and so of all that follows.
bool canDraw(cairo_scaled_font_t* font, double pixels, std::initializer_list<double> extents) {
    return cairo_scaled_font_status(font) == CAIRO_STATUS_SUCCESS &&
           std::all_of(extents.begin(), extents.end(),
                       [pixels](double extent) { return std::abs(extent) <= MostSizes * pixels; });
}

}  // namespace

struct FontLibrary::FreeType {
    FT_Library library = nullptr;
};

FontLibrary& FontLibrary::get() {
    static FontLibrary library;
    return library;
}

FontLibrary::FontLibrary() : freetype_(std::make_unique<FreeType>()) {
    // cairo's locks on Windows are made by its first plain call, which no other may precede.
    cairo_pattern_destroy(cairo_pattern_create_rgba(0, 0, 0, 0));
    if (FT_Init_FreeType(&freetype_->library) != 0)
        freetype_->library = nullptr;
}

FontLibrary::~FontLibrary() {
    lines_.clear();
    others_.clear();
    installed_.clear();
    folderFaces_.clear();
    cairo_debug_reset_static_data();
    FT_Done_FreeType(freetype_->library);
}

void FontLibrary::setFolders(const std::vector<Folder>& folders) {
    const std::lock_guard<Mutex> inside(lock_);
    folders_ = folders;
    areFoldersRead_ = false;
}

// In the order of their names, since that of a folder differs between machines.
template <typename Visit>
void FontLibrary::visitFiles(const Visit& visit) const {
    std::size_t count = 0;
    for (const Folder& folder : folders_) {
        std::vector<File> files;
        if (!folder.listFiles(files))
            continue;
        std::sort(files.begin(), files.end(),
                  [](const File& a, const File& b) { return a.getName() < b.getName(); });
        for (const File& file : files)
            if (isFontFile(file) && ++count <= MostFiles)
                visit(file);
    }
}

void FontLibrary::readFolders() {
    areFoldersRead_ = true;
    lines_.clear();
    folderFaces_.clear();
    visitFiles([this](const File& file) { addFile(file); });
}

std::vector<std::string> FontLibrary::getFiles() {
    const std::lock_guard<Mutex> inside(lock_);
    std::vector<std::string> paths;
    visitFiles([&paths](const File& file) { paths.push_back(file.getPath()); });
    return paths;
}

void FontLibrary::addFile(const File& file) {
    std::string bytes;
    if (!freetype_->library || !file.contents(bytes, MostFileBytes))
        return;
    for (auto& face : FontFace::readAll(freetype_->library, std::move(bytes)))
        folderFaces_.push_back(std::move(face));
}

const FontFace* FontLibrary::nearest(const std::vector<std::unique_ptr<FontFace>>& faces,
                                     const std::string& family, std::int32_t weight,
                                     const Faces& refused) const {
    const std::string name = lowerCase(family);
    const FontFace* best = nullptr;
    std::int32_t least = 0;
    for (const auto& face : faces) {
        const std::int32_t distance =
            std::abs(face->getWeight() - weight) + (face->isUpright() ? 0 : 1000);
        if (face->getFamily() == name && (best == nullptr || distance < least) &&
            !contains(refused, face.get())) {
            best = face.get();
            least = distance;
        }
    }
    return best;
}

const FontFace* FontLibrary::findInstalled(const std::string& family, std::int32_t weight) {
    const auto [place, isNew] = installed_.try_emplace({lowerCase(family), weight});
    platform::SystemFont font;
    if (!isNew || !freetype_->library || !platform::loadSystemFont(family, weight, font))
        return place->second.get();
    auto faces = FontFace::readAll(freetype_->library, std::move(font.file));
    if (faces.empty())
        return nullptr;
    // Not by its place: faces that can't be used are left out.
    auto chosen = std::find_if(faces.begin(), faces.end(),
                               [&font](const auto& face) { return face->getIndex() == font.face; });
    if (chosen == faces.end())
        chosen = std::find_if(faces.begin(), faces.end(),
                              [named = nearest(faces, family, weight, {})](const auto& face) {
                                  return face.get() == named;
                              });
    if (chosen == faces.end())
        chosen = faces.begin();  // the system may have another name for it
    place->second = std::move(*chosen);
    return place->second.get();
}

const FontFace* FontLibrary::find(const std::string& family, std::int32_t weight,
                                  const Faces& refused) {
    for (const std::string& name : {family, std::string("Arial")}) {
        if (const FontFace* const face = nearest(folderFaces_, name, weight, refused))
            return face;
        const FontFace* const face = findInstalled(name, weight);
        if (face != nullptr && !contains(refused, face))
            return face;
    }
    const auto any = std::find_if(folderFaces_.begin(), folderFaces_.end(),
                                  [&](const auto& face) { return !contains(refused, face.get()); });
    return any == folderFaces_.end() ? nullptr : any->get();
}

const FontFace* FontLibrary::findWith(char32_t character, std::int32_t weight) {
    const auto [place, isNew] = others_.try_emplace({character, weight}, nullptr);
    if (isNew) {
        const std::string family = platform::familyWithCharacter(character);
        const FontFace* const face = family.empty() ? nullptr : findInstalled(family, weight);
        if (face != nullptr && face->getGlyph(character) != 0)
            place->second = face;
    }
    return place->second;
}

const FontLibrary::Line& FontLibrary::layOut(const Font& font, double scale, std::string_view line,
                                             std::int32_t flags) {
    if (!areFoldersRead_)
        readFolders();
    if (installed_.size() > MostInstalled || others_.size() > MostOthers) {
        lines_.clear();
        others_.clear();
        installed_.clear();
    }
    const double pixels = font.size * scale;
    line = line.substr(0, MostLetters);
    if (flags == 0)
        flags = font.alignment;
    const LineKeyView key(pixels > 1.0 ? std::min(pixels, MostPixels) : 1.0,
                          (flags & Font::NotAntialiased) == 0, font.getWeightClass(), font.name,
                          line);
    if (const auto known = lines_.find(key); known != lines_.end())
        return known->second;
    if (lines_.size() >= MostLines || keptBytes_ + line.size() > MostKept) {
        lines_.clear();
        keptBytes_ = 0;
    }
    keptBytes_ += line.size();
    return lines_.emplace(key, makeLine(key)).first->second;
}

FontLibrary::Line FontLibrary::makeLine(const LineKeyView& key) {
    Faces refused;
    while (refused.size() < MostRefused) {
        Line line;
        const FontFace* const bad = makeLineWithout(refused, key, line);
        if (bad == nullptr)
            return line;
        refused.push_back(bad);
    }
    return {};
}

// Null when the line is done, or else the face that can't draw it.
const FontFace* FontLibrary::makeLineWithout(const Faces& refused, const LineKeyView& key,
                                             Line& line) {
    const auto [pixels, isSmooth, weight, family, text] = key;
    const FontFace* const own = find(std::string(family), weight, refused);
    if (own == nullptr)
        return nullptr;
    for (char32_t letter : lettersOf(text)) {
        if (letter < U' ')
            letter = U' ';
        const FontFace* face = own;
        std::uint32_t number = own->getGlyph(letter);
        if (number == 0)
            if (const FontFace* const other = findWith(letter, weight);
                other != nullptr && !contains(refused, other)) {
                face = other;
                number = other->getGlyph(letter);
            }
        if (line.runs.empty() || line.runs.back().face != face) {
            line.runs.push_back({face, scaledFont(*face, pixels, isSmooth), {}});
            cairo_font_extents_t extents{};
            cairo_scaled_font_extents(line.runs.back().font.get(), &extents);
            if (!canDraw(line.runs.back().font.get(), pixels, {extents.ascent, extents.descent}))
                return face;
            line.ascent = std::max(line.ascent, extents.ascent);
            line.descent = std::max(line.descent, extents.descent);
        }
        Run& run = line.runs.back();
        run.glyphs.push_back({number, line.width});
        const cairo_glyph_t glyph{number, 0.0, 0.0};
        cairo_text_extents_t size{};
        cairo_scaled_font_glyph_extents(run.font.get(), &glyph, 1, &size);
        if (!canDraw(run.font.get(), pixels,
                     {size.x_bearing, size.y_bearing, size.width, size.height, size.x_advance}))
            return face;
        const double left = line.width + size.x_bearing;
        line.inkLeft = std::min(line.inkLeft, left);
        line.inkRight = std::max(line.inkRight, left + size.width);
        line.inkTop = std::min(line.inkTop, size.y_bearing);
        line.inkBottom = std::max(line.inkBottom, size.y_bearing + size.height);
        line.width += std::round(size.x_advance);
    }
    return nullptr;
}

std::u32string lettersOf(std::string_view text) {
    std::u32string letters;
    for (std::size_t at = 0; at < text.size();) {
        const auto first = static_cast<std::uint8_t>(text[at]);
        std::size_t length = 1;
        char32_t letter = first;
        char32_t least = 0;  // what needs so many bytes
        if (first >= 0xC0 && first < 0xF8) {
            length = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
            letter = first & (0x7Fu >> length);
            least = length == 2 ? 0x80 : length == 3 ? 0x800 : 0x10000;
        }
        bool isGood = first < 0x80 || length > 1;
        for (std::size_t i = 1; i < length; ++i) {
            const bool isThere = at + i < text.size();
            const auto next = isThere ? static_cast<std::uint8_t>(text[at + i]) : std::uint8_t{0};
            isGood = isGood && (next & 0xC0) == 0x80;
            letter = (letter << 6) | (next & 0x3Fu);
        }
        isGood = isGood && letter >= least && letter <= 0x10FFFF && (letter & ~0x7FFu) != 0xD800;
        letters.push_back(isGood ? letter : Replacement);
        at += isGood ? length : 1;
    }
    return letters;
}

}  // namespace tarn
