#pragma once

// A user at the desktop of the window tests: finds a program's window by its title, points into
// it, types and closes it as a window manager does; and reads PNG pictures back. On X11 on a
// connection of their own, typing through the server's test extension (desktop_x11.cpp); on
// Windows by posting the keys' and the close's messages to the program's windows
// (desktop_win32.cpp).

#include <cstdint>
#include <string>
#include <vector>

namespace desktop
{
// False when no desktop can be reached: on X11, no server with the test extension through
// DISPLAY.
bool connect();
// A top-level window whose title starts with `prefix`, waiting up to `seconds` for it; 0 if none
// came.
uint64_t findWindow(const std::string& prefix, double seconds);
// The window's width and height.
void size(uint64_t window, int& width, int& height);
// Moves the pointer into the middle of the window, where its keys go.
void pointInto(uint64_t window);
// Presses and releases a key by its X name ("Up", "bracketright", "Escape", "x"), for the window
// the pointer is in (or, on Windows, the window found last when the pointer was not moved).
void typeKey(const std::string& name);
// A left click at (x, y) of the window's client area: through the server's test extension on X11;
// on Windows as the press and release messages of the innermost child window at that point.
void click(uint64_t window, int x, int y);
// Gives the window a new client size, as a user dragging its edge does.
void resize(uint64_t window, int width, int height);
// The window manager's close: WM_DELETE_WINDOW on X11, WM_CLOSE on Windows.
void requestClose(uint64_t window);

struct Picture
{
    int width = 0;
    int height = 0;
    std::vector<uint32_t> pixels; // 0xRRGGBB
};
bool readPng(const std::string& path, Picture& picture);
} // namespace desktop
