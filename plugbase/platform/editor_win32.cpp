// The editor's system services on Windows: the paint message of the thread's queue, and OLE for
// the frame's drop target.

#include "plugbase/platform/editor.h"

#include <ole2.h>
#include <windows.h>

namespace plugbase::platform
{
const char* const platformType = "HWND";

void dispatchOnePaint()
{
    MSG message;
    if (PeekMessageW(&message, nullptr, WM_PAINT, WM_PAINT, PM_REMOVE)) DispatchMessageW(&message);
}

void serviceWindows() {}

void enterEditor()
{
    OleInitialize(nullptr);
}

void leaveEditor()
{
    OleUninitialize();
}
} // namespace plugbase::platform
