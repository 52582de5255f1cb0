// The entry field on Windows: a child window of the system's edit class over the control, with
// its window procedure replaced by one that reports Return, Escape, Tab and the loss of focus.

#include "toolkit/platform/textedit_win32.h"
#include "foundation/textcodec.h"
#include "toolkit/platform/textedit.h"
#include "toolkit/platform/types_gdiplus.h"

#include <algorithm>

namespace Plexel
{

struct TextField
{
    HWND window;
    HFONT font;
    HBRUSH brush;
    TextFieldEvents* events;
    TextFieldLook look;
};

namespace
{
// The edit class's own procedure: the same for every field of the process.
WNDPROC editProcedure = nullptr;

COLORREF colourOf(const CColor& c)
{
    return RGB(c.red, c.green, c.blue);
}

LRESULT CALLBACK fieldProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    auto* field = reinterpret_cast<TextField*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (!field) return CallWindowProcW(editProcedure, window, message, wParam, lParam);
    switch (message)
    {
    case WM_GETDLGCODE:
        return DLGC_WANTALLKEYS;
    case WM_KEYDOWN:
        // Each of these may destroy the field: nothing touches it afterwards.
        if (wParam == VK_RETURN)
        {
            field->events->fieldReturn();
            return 0;
        }
        if (wParam == VK_ESCAPE)
        {
            field->events->fieldEscape();
            return 0;
        }
        if (wParam == VK_TAB)
        {
            field->events->fieldTab(GetKeyState(VK_SHIFT) < 0);
            return 0;
        }
        break;
    case WM_CHAR:
        // Their characters would only beep.
        if (wParam == '\r' || wParam == '\t' || wParam == 27) return 0;
        break;
    case WM_KILLFOCUS:
    {
        const LRESULT result = CallWindowProcW(editProcedure, window, message, wParam, lParam);
        field->events->fieldFocusLost();
        return result;
    }
    default:
        break;
    }
    return CallWindowProcW(editProcedure, window, message, wParam, lParam);
}
} // namespace

HBRUSH textFieldColours(HWND edit, HDC dc)
{
    if (GetWindowLongPtrW(edit, GWLP_WNDPROC) != reinterpret_cast<LONG_PTR>(fieldProcedure)) return nullptr;
    auto* field = reinterpret_cast<TextField*>(GetWindowLongPtrW(edit, GWLP_USERDATA));
    if (!field) return nullptr;
    SetTextColor(dc, colourOf(field->look.fontColor));
    SetBkColor(dc, colourOf(field->look.backColor));
    return field->brush;
}

TextField* createTextField(TextFieldEvents* events, PlatformHandle parent, const CRect& rect,
                           const char* text, const TextFieldLook& look)
{
    if (!parent) return nullptr;
    std::wstring wide;
    widen(text ? text : "", wide);
    DWORD style = WS_CHILD | WS_VISIBLE | ES_AUTOHSCROLL;
    style |= look.align == 2 ? ES_RIGHT : look.align == 0 ? ES_LEFT : ES_CENTER;
    HWND window = CreateWindowExW(0, L"EDIT", wide.c_str(), style, rect.left, rect.top, rect.width() + 1,
                                  rect.height() + 1, static_cast<HWND>(parent), nullptr,
                                  static_cast<HINSTANCE>(getModuleHandle()), nullptr);
    if (!window) return nullptr;
    std::wstring face;
    widen(look.fontName ? look.fontName : "", face);
    face.resize(std::min<size_t>(face.size(), LF_FACESIZE - 1));
    const int height = -std::min(rect.height() - 2, int(look.fontSize));
    HFONT font = CreateFontW(height, 0, 0, 0, FW_NORMAL, FALSE, FALSE, FALSE, ANSI_CHARSET, OUT_STRING_PRECIS,
                             CLIP_STROKE_PRECIS, DEFAULT_QUALITY, VARIABLE_PITCH | FF_SWISS, face.c_str());
    auto* field = new TextField{window, font, CreateSolidBrush(colourOf(look.backColor)), events, look};
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(field));
    SendMessageW(window, WM_SETFONT, WPARAM(font), TRUE);
    SendMessageW(window, EM_SETMARGINS, EC_LEFTMARGIN | EC_RIGHTMARGIN, 0);
    SendMessageW(window, EM_SETSEL, 0, -1);
    SendMessageW(window, EM_LIMITTEXT, kTextFieldLimit, 0);
    SetFocus(window);
    const auto old = reinterpret_cast<WNDPROC>(
        SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(fieldProcedure)));
    if (!editProcedure) editProcedure = old;
    return field;
}

void destroyTextField(TextField* field)
{
    if (!field) return;
    // The window's own procedure takes over again, so that destroying it reports nothing.
    SetWindowLongPtrW(field->window, GWLP_USERDATA, 0);
    DestroyWindow(field->window);
    if (field->font) DeleteObject(field->font);
    if (field->brush) DeleteObject(field->brush);
    delete field;
}

std::string textFieldText(const TextField* field)
{
    if (!field) return {};
    wchar_t buffer[kTextFieldLimit + 1] = {};
    const int length = GetWindowTextW(field->window, buffer, int(kTextFieldLimit + 1));
    std::u16string wide(reinterpret_cast<const char16_t*>(buffer), size_t(std::max(length, 0)));
    std::string text = foundation::text::utf16ToUtf8(wide);
    text.resize(cutUtf8(text.c_str(), text.size(), kTextFieldLimit));
    return text;
}

void setTextFieldText(TextField* field, const char* text)
{
    if (!field) return;
    std::wstring wide;
    widen(text ? text : "", wide);
    SetWindowTextW(field->window, wide.c_str());
}

} // namespace Plexel
