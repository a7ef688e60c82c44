#include "platform/windows/DropTarget.h"

#include "platform/windows/ChildWindow.h"
#include "platform/windows/ResourceCount.h"
#include "platform/windows/Text.h"

#include <ole2.h>
#include <shlobj.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <utility>

namespace tarn::platform {

namespace {

constexpr std::size_t MostFiles = 1000;
constexpr std::size_t MostTextBytes = 16 << 20;

// Calls of other programs into this thread's drop targets.
thread_local int callsUnderWay = 0;

class CallUnderWay {
public:
    CallUnderWay() { ++callsUnderWay; }
    CallUnderWay(const CallUnderWay&) = delete;
    CallUnderWay& operator=(const CallUnderWay&) = delete;
    ~CallUnderWay() { --callsUnderWay; }
};

// What a source offers in one format, as bytes; none if it doesn't.
class OfferedBytes {
public:
    OfferedBytes(IDataObject& source, CLIPFORMAT format) {
        FORMATETC wanted{format, nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
        hasMedium_ = source.GetData(&wanted, &medium_) == S_OK;
        if (!hasMedium_ || medium_.tymed != TYMED_HGLOBAL || medium_.hGlobal == nullptr)
            return;
        if (const auto* begin = static_cast<const char*>(::GlobalLock(medium_.hGlobal)))
            bytes_ = {begin, ::GlobalSize(medium_.hGlobal)};
    }
    OfferedBytes(const OfferedBytes&) = delete;
    OfferedBytes& operator=(const OfferedBytes&) = delete;
    ~OfferedBytes() {
        if (bytes_.data() != nullptr)
            ::GlobalUnlock(medium_.hGlobal);
        if (hasMedium_)
            ::ReleaseStgMedium(&medium_);
    }

    bool isThere() const { return bytes_.data() != nullptr; }
    std::string_view bytes() const { return bytes_; }
    std::wstring_view units() const { return unitsFrom(0); }
    std::wstring_view unitsFrom(std::size_t offset) const {
        // Shell and sources align what they share; one that doesn't has no text for us.
        if (offset > bytes_.size() || offset % sizeof(wchar_t) != 0)
            return {};
        return {reinterpret_cast<const wchar_t*>(bytes_.data() + offset),
                (bytes_.size() - offset) / sizeof(wchar_t)};
    }

private:
    STGMEDIUM medium_{};
    bool hasMedium_ = false;
    std::string_view bytes_;
};

std::wstring wideFromLocal(std::string_view text) {
    const int bytes = static_cast<int>(text.size());
    std::wstring result(
        static_cast<std::size_t>(::MultiByteToWideChar(CP_ACP, 0, text.data(), bytes, nullptr, 0)),
        L'\0');
    ::MultiByteToWideChar(CP_ACP, 0, text.data(), bytes, result.data(),
                          static_cast<int>(result.size()));
    return result;
}

std::string toUtf8(std::wstring_view text) {
    return utf8(text);
}

std::string toUtf8(std::string_view text) {
    return utf8(wideFromLocal(text));
}

// Up to its zero, or to the end of what was offered.
template <typename Letter>
std::optional<std::string> readText(std::basic_string_view<Letter> offered) {
    const auto text = offered.substr(0, offered.find(Letter{}));
    if (text.size() > MostTextBytes / sizeof(Letter))
        return std::nullopt;
    return toUtf8(text);
}

// Paths with a zero after each, and one more at the end.
template <typename Letter>
std::vector<std::string> readPaths(std::basic_string_view<Letter> offered) {
    std::vector<std::string> paths;
    while (paths.size() < MostFiles) {
        const std::size_t length = offered.find(Letter{});
        if (length == 0 || length == std::basic_string_view<Letter>::npos)
            break;
        paths.push_back(toUtf8(offered.substr(0, length)));
        offered.remove_prefix(length + 1);
    }
    return paths;
}

std::vector<std::string> readFiles(const OfferedBytes& offered) {
    DROPFILES header{};
    const std::string_view bytes = offered.bytes();
    if (bytes.size() < sizeof(header))
        return {};
    std::memcpy(&header, bytes.data(), sizeof(header));
    if (header.pFiles > bytes.size())
        return {};
    return header.fWide != 0 ? readPaths(offered.unitsFrom(header.pFiles))
                             : readPaths(bytes.substr(header.pFiles));
}

// Another program's answers may take their time, in which the window may end.
DroppedData readData(IDataObject* source) {
    DroppedData data;
    if (source == nullptr)
        return data;
    if (const OfferedBytes text(*source, CF_UNICODETEXT); text.isThere())
        data.text = readText(text.units());
    else if (const OfferedBytes local(*source, CF_TEXT); local.isThere())
        data.text = readText(local.bytes());
    else if (const OfferedBytes files(*source, CF_HDROP); files.isThere())
        data.files = readFiles(files);
    return data;
}

// The interface has no virtual destructor: an object of it ends itself, with its last reference.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
class DropTarget final : public IDropTarget {
#pragma GCC diagnostic pop
public:
    explicit DropTarget(std::weak_ptr<ChildWindow> window) : window_(std::move(window)) {
        countTaken();
    }
    DropTarget(const DropTarget&) = delete;
    DropTarget& operator=(const DropTarget&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID wanted, void** result) override {
        if (result == nullptr)
            return E_POINTER;
        const bool isKnown = wanted == IID_IUnknown || wanted == IID_IDropTarget;
        *result = isKnown ? static_cast<IDropTarget*>(this) : nullptr;
        if (!isKnown)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }

    ULONG STDMETHODCALLTYPE AddRef() override {
        return ++references_;
    }

    ULONG STDMETHODCALLTYPE Release() override {
        const ULONG left = --references_;
        if (left == 0)
            delete this;
        return left;
    }

    HRESULT STDMETHODCALLTYPE DragEnter(IDataObject* source, DWORD, POINTL place,
                                        DWORD* effect) override {
        return answer(effect, [&](const ChildWindow& window) {
            const DroppedData data = readData(source);
            return window.owner != nullptr && window.owner->dragEnter(data, inside(window, place));
        });
    }

    HRESULT STDMETHODCALLTYPE DragOver(DWORD, POINTL place, DWORD* effect) override {
        return answer(effect, [&](const ChildWindow& window) {
            return window.owner->dragOver(inside(window, place));
        });
    }

    HRESULT STDMETHODCALLTYPE DragLeave() override {
        DWORD effect = DROPEFFECT_NONE;
        return answer(&effect, [](const ChildWindow& window) {
            window.owner->dragEnd();
            return false;
        });
    }

    HRESULT STDMETHODCALLTYPE Drop(IDataObject* source, DWORD, POINTL place,
                                   DWORD* effect) override {
        return answer(effect, [&](const ChildWindow& window) {
            const DroppedData data = readData(source);
            return window.owner != nullptr && window.owner->drop(data, inside(window, place));
        });
    }

private:
    ~DropTarget() {
        countGivenBack(true);
    }

    static Spot inside(const ChildWindow& window, POINTL place) {
        return window.toClient(
            {static_cast<std::int32_t>(place.x), static_cast<std::int32_t>(place.y)});
    }

    // The owner may end the window, with which the system lets go of this object.
    template <typename Ask>
    HRESULT answer(DWORD* effect, Ask ask) {
        if (effect == nullptr)
            return E_POINTER;
        *effect = DROPEFFECT_NONE;
        const CallUnderWay here;
        const std::shared_ptr<ChildWindow> window = window_.lock();
        if (window == nullptr || window->owner == nullptr)
            return S_OK;
        AddRef();
        try {
            if (ask(*window))
                *effect = DROPEFFECT_COPY;
        } catch (...) {  // the source's program knows no exceptions of ours
        }
        Release();
        return S_OK;
    }

    std::weak_ptr<ChildWindow> window_;
    std::atomic<ULONG> references_{1};
};

}  // namespace

DropRegistration::DropRegistration(std::weak_ptr<ChildWindow> window, HWND handle)
    : isInitialised_(SUCCEEDED(::OleInitialize(nullptr))) {
    if (!isInitialised_)
        return;
    countTaken();
    auto* target = new DropTarget(std::move(window));
    if (::RegisterDragDrop(handle, target) == S_OK) {
        registered_ = handle;
        countTaken();
    }
    target->Release();
}

DropRegistration::~DropRegistration() {
    if (!isInitialised_)
        return;
    if (callsUnderWay == 0)  // or else the thread keeps it, since the call goes through it
        ::OleUninitialize();
    countGivenBack(true);
}

void DropRegistration::revoke() {
    if (registered_ != nullptr)
        countGivenBack(::RevokeDragDrop(std::exchange(registered_, nullptr)) == S_OK);
}

}  // namespace tarn::platform
