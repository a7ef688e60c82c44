// What is dragged over a window, for those who play the user.
#pragma once

#include <windows.h>

#include <ole2.h>

#include <cstring>
#include <string>
#include <utility>

namespace tarn::platform {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"  // of the system's interface

/// One format, as its bytes. Stands on the stack: nobody owns it.
class Dragged final : public IDataObject {
public:
    Dragged(CLIPFORMAT format, std::string bytes) : format_(format), bytes_(std::move(bytes)) {}
    STDMETHODIMP GetData(FORMATETC* wanted, STGMEDIUM* medium) override {
        if (wanted->cfFormat != format_)
            return DV_E_FORMATETC;
        *medium = {};
        medium->tymed = TYMED_HGLOBAL;
        medium->hGlobal = ::GlobalAlloc(GMEM_MOVEABLE, bytes_.size());
        std::memcpy(::GlobalLock(medium->hGlobal), bytes_.data(), bytes_.size());
        ::GlobalUnlock(medium->hGlobal);
        return S_OK;
    }
    STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    STDMETHODIMP GetDataHere(FORMATETC*, STGMEDIUM*) override { return E_NOTIMPL; }
    STDMETHODIMP QueryGetData(FORMATETC*) override { return E_NOTIMPL; }
    STDMETHODIMP GetCanonicalFormatEtc(FORMATETC*, FORMATETC*) override { return E_NOTIMPL; }
    STDMETHODIMP SetData(FORMATETC*, STGMEDIUM*, BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP EnumFormatEtc(DWORD, IEnumFORMATETC**) override { return E_NOTIMPL; }
    STDMETHODIMP DAdvise(FORMATETC*, DWORD, IAdviseSink*, DWORD*) override { return E_NOTIMPL; }
    STDMETHODIMP DUnadvise(DWORD) override { return E_NOTIMPL; }
    STDMETHODIMP EnumDAdvise(IEnumSTATDATA**) override { return E_NOTIMPL; }

private:
    CLIPFORMAT format_;
    std::string bytes_;
};

#pragma GCC diagnostic pop

}  // namespace tarn::platform
