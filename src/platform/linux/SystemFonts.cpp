#include "platform/SystemFonts.h"

#include "platform/FileSystem.h"

#include <fontconfig/fontconfig.h>

#include <iterator>
#include <memory>

namespace tarn::platform {

namespace {

struct Destroy {
    void operator()(FcPattern* pattern) const { FcPatternDestroy(pattern); }
    void operator()(FcCharSet* set) const { FcCharSetDestroy(set); }
};

// Its data are of no use to the process once nobody asks any more.
struct Library {
    Library() { FcInit(); }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library() { FcFini(); }
};

using Pattern = std::unique_ptr<FcPattern, Destroy>;

// Of the kinds that can be drawn at any size.
Pattern match(Pattern pattern) {
    static const Library library;
    FcPatternAddBool(pattern.get(), FC_SCALABLE, FcTrue);
    FcConfigSubstitute(nullptr, pattern.get(), FcMatchPattern);
    FcDefaultSubstitute(pattern.get());
    FcResult result = FcResultMatch;
    return Pattern(FcFontMatch(nullptr, pattern.get(), &result));
}

std::string textOf(const Pattern& pattern, const char* key) {
    FcChar8* text = nullptr;
    if (!pattern || FcPatternGetString(pattern.get(), key, 0, &text) != FcResultMatch)
        return {};
    return reinterpret_cast<const char*>(text);
}

}  // namespace

bool loadSystemFont(const std::string& family, std::int32_t weight, SystemFont& font) {
    Pattern wanted(FcPatternCreate());
    FcPatternAddString(wanted.get(), FC_FAMILY, reinterpret_cast<const FcChar8*>(family.c_str()));
    FcPatternAddInteger(wanted.get(), FC_WEIGHT, FcWeightFromOpenType(weight));
    const Pattern found = match(std::move(wanted));
    std::fstream stream;
    openStream(stream, textOf(found, FC_FILE), std::ios::in);
    if (!stream)
        return false;
    font.file.assign(std::istreambuf_iterator<char>(stream), {});
    int face = 0;
    FcPatternGetInteger(found.get(), FC_INDEX, 0, &face);
    font.face = face & 0xFFFF;  // the rest names an instance of a variable font
    return !font.file.empty();
}

std::string familyWithCharacter(char32_t character) {
    Pattern wanted(FcPatternCreate());
    const std::unique_ptr<FcCharSet, Destroy> set(FcCharSetCreate());
    FcCharSetAddChar(set.get(), character);
    FcPatternAddCharSet(wanted.get(), FC_CHARSET, set.get());
    const Pattern found = match(std::move(wanted));
    FcCharSet* has = nullptr;
    if (!found || FcPatternGetCharSet(found.get(), FC_CHARSET, 0, &has) != FcResultMatch ||
        !FcCharSetHasChar(has, character))
        return {};
    return textOf(found, FC_FAMILY);
}

}  // namespace tarn::platform
