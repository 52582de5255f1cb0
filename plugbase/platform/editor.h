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
// Calls tick(context) about every `milliseconds` on the thread that serves `window` (the editor's
// own frame window), from the host's message loop: no thread of ours. False where the platform
// has no such loop to lend and the host's periodic call must drive the editor.
bool startIdleTimer(void* window, void (*tick)(void*), void* context, uint32_t milliseconds);
void stopIdleTimer(void* window, void* context);
// The drag-and-drop and clipboard services that an editor window may use, per editor object.
void enterEditor();
void leaveEditor();
} // namespace plugbase::platform
