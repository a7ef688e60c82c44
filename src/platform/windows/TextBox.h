// A borderless box over a window, in which the user edits one line of text.
#pragma once

#include "platform/SystemWindow.h"
#include "platform/windows/ResourceCount.h"
#include "platform/windows/WindowClass.h"

#include <windows.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarn::platform {

class ChildWindow;

class TextBox {
public:
    /// As SystemWindow::editText.
    static std::optional<std::string> edit(const std::shared_ptr<ChildWindow>& window,
                                           const TextRequest& request);

    TextBox(const TextBox&) = delete;
    TextBox& operator=(const TextBox&) = delete;

    /// Ends the wait without a text.
    void cancel();

private:
    // Known to this process as long as it lives.
    class FontFile {
    public:
        explicit FontFile(const std::string& path);
        FontFile(const FontFile&) = delete;
        FontFile& operator=(const FontFile&) = delete;
        ~FontFile();

    private:
        std::wstring path_;  // empty if the system can't read it
    };

    explicit TextBox(const TextRequest& request);
    ~TextBox();

    bool open(HWND above, const TextRequest& request);
    HWND add(const wchar_t* kind, DWORD style, const std::string& text, Area area) const;
    std::optional<std::string> waitForUser();
    bool take(const MSG& message);

    static LRESULT CALLBACK procedure(HWND handle, UINT message, WPARAM wParam, LPARAM lParam);
    std::optional<LRESULT> receive(UINT message, WPARAM wParam);
    HBRUSH groundOf(HDC context) const;

    enum class End { StillOpen, Accepted, Cancelled };

    WindowClass class_;
    std::vector<std::unique_ptr<FontFile>> fontFiles_;
    OwnedFont font_;
    COLORREF ink_, ground_;
    HWND handle_ = nullptr;  // null once the box is gone
    HWND field_ = nullptr;
    End end_ = End::StillOpen;
};

}  // namespace tarn::platform
