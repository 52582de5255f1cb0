#pragma once

// What the editor base needs of the operating system, answered once per platform.

#include <cstdint>

namespace plugbase::platform
{
extern const char* const platformType;
// Runs one paint that the window system holds for the editor's windows, and nothing else.
void dispatchOnePaint();
// Handles every event waiting for the editor's windows; a no-op where the host's own message loop
// reaches them.
void serviceWindows();
// The drag-and-drop and clipboard services that an editor window may use, per editor object.
void enterEditor();
void leaveEditor();
} // namespace plugbase::platform
