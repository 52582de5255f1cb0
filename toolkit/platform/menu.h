#pragma once

// The seam between the option menu and a platform's popup menu. The shared menu describes one
// popup as a tree of plain entries with their identifiers already given; the platform shows it
// modally and answers with the identifier chosen. Names no platform type.

#include "toolkit/cbase.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Plexel
{

class CBitmap;

struct PopupEntry
{
    // UTF-8, with the position number in front where the menu asks for one.
    std::string text;
    // What a choice of the entry answers; -1 for separators and entries that open a submenu.
    int32_t id = -1;
    bool separator = false;
    bool disabled = false; // grey and not choosable
    bool title = false;    // a heading, not choosable, not grey
    bool checked = false;
    // The entry starts a new column.
    bool columnBreak = false;
    // Not owned; lives as long as the menu that described the entry.
    CBitmap* icon = nullptr;
    bool hasSubmenu = false;
    std::vector<PopupEntry> submenu;
};

// Shows the entries at a point of the screen, owned by a native window, and returns when the user
// chose or gave up: the chosen identifier, or -1. rightButton lets the right button choose too.
int32_t runPopupMenu(const std::vector<PopupEntry>& entries, PlatformHandle owner, CPoint at,
                     bool rightButton);

} // namespace Plexel
