#include "platform/SystemFonts.h"

#include "platform/windows/Text.h"

#include <windows.h>

#include <cwctype>
#include <memory>
#include <string_view>
#include <type_traits>

namespace tarn::platform {

namespace {

struct Delete {
    void operator()(HDC context) const { DeleteDC(context); }
    void operator()(HFONT font) const { DeleteObject(font); }
};

constexpr DWORD WholeFile = 0;
constexpr DWORD WholeCollection = 0x66637474;  // "ttcf"

// Chosen into a context of its own.
class ChosenFont {
public:
    ChosenFont(const std::wstring& family, std::int32_t weight)
        : context_(CreateCompatibleDC(nullptr)),
          font_(CreateFontW(-16, 0, 0, 0, weight, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                            OUT_OUTLINE_PRECIS, CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY,
                            DEFAULT_PITCH | FF_DONTCARE, family.c_str())) {
        former_ = SelectObject(context_.get(), font_.get());
        // A family that isn't installed gives another one without a word.
        GetTextFaceW(context_.get(), LF_FACESIZE, name_);
        isThere_ = lower(name_) == lower(family.substr(0, LF_FACESIZE - 1));
    }
    ChosenFont(const ChosenFont&) = delete;
    ChosenFont& operator=(const ChosenFont&) = delete;
    ~ChosenFont() { SelectObject(context_.get(), former_); }

    bool isThere() const { return isThere_; }
    HDC context() const { return context_.get(); }

    /// As the system calls it, which may be in the user's language.
    const wchar_t* name() const { return name_; }

    bool read(DWORD table, std::string& bytes) const {
        const DWORD size = GetFontData(context_.get(), table, 0, nullptr, 0);
        if (size == GDI_ERROR || size == 0)
            return false;
        bytes.resize(size);
        return GetFontData(context_.get(), table, 0, &bytes[0], size) == size;
    }

private:
    static std::wstring lower(std::wstring text) {
        for (wchar_t& letter : text)
            letter = static_cast<wchar_t>(std::towlower(letter));
        return text;
    }

    std::unique_ptr<std::remove_pointer_t<HDC>, Delete> context_;
    std::unique_ptr<std::remove_pointer_t<HFONT>, Delete> font_;
    HGDIOBJ former_ = nullptr;
    wchar_t name_[LF_FACESIZE] = L"";
    bool isThere_ = false;
};

}  // namespace

bool loadSystemFont(const std::string& family, std::int32_t weight, SystemFont& font) {
    const ChosenFont chosen(wide(family), weight);
    if (!chosen.isThere())
        return false;
    // The collection first: where there is one, Wine answers the plain question with rubbish.
    font.face = -1;
    if (chosen.read(WholeCollection, font.file))
        return true;
    font.face = 0;
    return chosen.read(WholeFile, font.file);
}

std::string familyWithCharacter(char32_t character) {
    // Those that Windows has brought along since its versions 6 and 10, by scripts.
    static constexpr const wchar_t* Families[] = {
        L"Segoe UI",        L"Yu Gothic",          L"Meiryo",        L"MS Gothic",
        L"Microsoft YaHei", L"Microsoft JhengHei", L"Malgun Gothic", L"Nirmala UI",
        L"Leelawadee UI",   L"Segoe UI Historic",  L"Ebrima",        L"Gadugi",
        L"Segoe UI Symbol", L"Segoe UI Emoji",     L"Arial",         L"Tahoma",
        L"DejaVu Sans"};
    if (character > 0xFFFF)
        return "Segoe UI Emoji";  // GDI answers no question about those; the caller looks itself
    const auto unit = static_cast<wchar_t>(character);
    for (const wchar_t* const family : Families) {
        const ChosenFont chosen(family, FW_NORMAL);
        WORD glyph = 0xFFFF;
        if (GetGlyphIndicesW(chosen.context(), &unit, 1, &glyph, GGI_MARK_NONEXISTING_GLYPHS) ==
                1 &&
            glyph != 0xFFFF)
            return utf8(chosen.name());
    }
    return {};
}

}  // namespace tarn::platform
