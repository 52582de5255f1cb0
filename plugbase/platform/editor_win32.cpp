// The editor's system services on Windows: the tick count, Sleep, the paint message of the
// thread's queue, and OLE for the frame's drop target.

#include "plugbase/platform/editorplatform.h"

#include <ole2.h>
#include <windows.h>

namespace editorplatform
{
const char* const platformType = "HWND";

uint32_t tickCount()
{
    return GetTickCount();
}

void sleepMilliseconds(uint32_t milliseconds)
{
    Sleep(milliseconds);
}

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
} // namespace editorplatform
