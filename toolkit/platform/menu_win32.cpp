// The popup menu on Windows: a menu tree built for one popup, run modally by the system with the
// frame's window as owner, and destroyed again. The choice comes back as the command message the
// system leaves in the owner's queue.

#include "toolkit/cbitmap.h"
#include "toolkit/platform/menu.h"
#include "toolkit/platform/types_gdiplus.h"

namespace Plexel
{

namespace
{
// A bitmap of the system's kind for an icon; null if the image has none.
HBITMAP menuBitmapOf(CBitmap* icon)
{
    NativeImage* image = icon ? icon->platformImage() : nullptr;
    if (!image || !image->bitmap) return nullptr;
    HBITMAP bitmap = nullptr;
    if (Gdiplus::DllExports::GdipCreateHBITMAPFromBitmap(image->bitmap, &bitmap, 0) != Gdiplus::Ok)
        return nullptr;
    return bitmap;
}

HMENU buildMenu(const std::vector<PopupEntry>& entries, std::vector<HBITMAP>& bitmaps)
{
    HMENU menu = CreatePopupMenu();
    if (!menu) return nullptr;
    for (size_t p = 0; p < entries.size(); ++p)
    {
        const PopupEntry& e = entries[p];
        if (e.separator)
        {
            AppendMenuW(menu, MF_SEPARATOR, 0, nullptr);
            continue;
        }
        std::wstring text;
        widen(e.text.c_str(), text);
        UINT flags = e.columnBreak ? MF_MENUBARBREAK : 0;
        if (e.hasSubmenu)
        {
            if (HMENU submenu = buildMenu(e.submenu, bitmaps))
                AppendMenuW(menu, flags | MF_POPUP, reinterpret_cast<UINT_PTR>(submenu), text.c_str());
            continue;
        }
        if (e.disabled) flags |= MF_GRAYED;
        if (e.title) flags |= MF_DISABLED;
        if (e.checked) flags |= MF_CHECKED;
        AppendMenuW(menu, flags | MF_STRING, UINT_PTR(e.id), text.c_str());
        if (HBITMAP bitmap = menuBitmapOf(e.icon))
        {
            MENUITEMINFOW info{};
            info.cbSize = sizeof info;
            info.fMask = MIIM_BITMAP;
            info.hbmpItem = bitmap;
            SetMenuItemInfoW(menu, UINT(p), TRUE, &info);
            bitmaps.push_back(bitmap);
        }
    }
    return menu;
}
} // namespace

int32_t runPopupMenu(const std::vector<PopupEntry>& entries, PlatformHandle owner, CPoint at,
                     bool rightButton)
{
    if (entries.empty()) return -1;
    std::vector<HBITMAP> bitmaps;
    HMENU menu = buildMenu(entries, bitmaps);
    if (!menu) return -1;
    HWND window = static_cast<HWND>(owner);
    int32_t result = -1;
    if (TrackPopupMenu(menu, rightButton ? TPM_RIGHTBUTTON : 0, at.x, at.y, 0, window, nullptr))
    {
        MSG message;
        if (PeekMessageW(&message, window, WM_COMMAND, WM_COMMAND, PM_REMOVE) && HIWORD(message.wParam) == 0)
            result = LOWORD(message.wParam);
    }
    // Destroying the top menu destroys its submenus; the bitmaps are the caller's to delete.
    DestroyMenu(menu);
    for (HBITMAP bitmap : bitmaps)
        DeleteObject(bitmap);
    return result;
}

} // namespace Plexel
