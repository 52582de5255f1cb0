#pragma once

// Drives a real X server for the window tests, on a connection of its own, as a user and a host
// would: top-level windows for the frame to live in, the pointer and its buttons through the
// server's test extension, and pixels read back from the screen.

#include "toolkit/cbase.h"

#include <cstdint>
#include <string>

namespace xdriver
{
using Plexel::CRect;
using Plexel::PlatformHandle;

// False when no server can be reached through DISPLAY.
bool connect();
// A mapped top-level window at (x, y) of the root; it waits until the server shows it.
PlatformHandle createTopWindow(int x, int y, int width, int height);
void destroyWindow(PlatformHandle window);
// The window's rectangle in its parent's coordinates.
CRect geometry(PlatformHandle window);
// The first child window of a window, or null.
PlatformHandle firstChild(PlatformHandle window);
// Whether the server shows the window now (it and all above it are mapped).
bool isViewable(PlatformHandle window);
// Moves the pointer to a point of the root window.
void movePointer(int x, int y);
// Presses or releases a button: 1 left, 2 middle, 3 right, 4 and 5 the wheel.
void button(unsigned int number, bool press);
// Presses and releases the key that carries keysym, with Shift where the key needs it and with
// Control if asked; a keysym that no key carries is first put on a spare key.
void typeKey(unsigned long keysym, bool control = false);
// Types plain ASCII text.
void typeText(const char* text);
// Takes a selection ("CLIPBOARD", "PRIMARY") with bytes offered as UTF8_STRING.
void ownSelection(const char* selection, const std::string& bytes);
// Answers the requests for the selections this driver owns; a test serves them while it waits.
void serveSelections();
// Asks the owner of a selection for its text as UTF8_STRING; readSelection gives the answer once
// it came, and false until then.
void requestSelection(const char* selection);
bool readSelection(std::string& out);
// The rectangle on screen of the mapped top-level window of that name, or an empty one.
CRect findTopWindow(const char* name);
// Whether another client holds the keyboard and the pointer, as a popup does while it runs. The
// probe takes both for an instant when they are free, which a retrying grabber rides over.
bool inputHeldByAnother();
// The colour of a pixel of a window on screen, as 0xRRGGBB.
uint32_t pixel(PlatformHandle window, int x, int y);

} // namespace xdriver
