// The editor's system services on Windows: the paint message of the thread's queue, OLE for the
// frame's drop target, and a timer on the frame's window that keeps the editor idling.

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

namespace
{
// One tick function serves every editor of the module; the timer's identifier is the editor.
void (*timerTick)(void*) = nullptr;

void CALLBACK onTimer(HWND, UINT, UINT_PTR id, DWORD)
{
    if (timerTick) timerTick(reinterpret_cast<void*>(id));
}
} // namespace

bool startIdleTimer(void* window, void (*tick)(void*), void* context, uint32_t milliseconds)
{
    if (!window || !tick) return false;
    timerTick = tick;
    return SetTimer(static_cast<HWND>(window), reinterpret_cast<UINT_PTR>(context), milliseconds, onTimer) !=
           0;
}

void stopIdleTimer(void* window, void* context)
{
    if (window && IsWindow(static_cast<HWND>(window)))
        KillTimer(static_cast<HWND>(window), reinterpret_cast<UINT_PTR>(context));
}

void enterEditor()
{
    OleInitialize(nullptr);
}

void leaveEditor()
{
    OleUninitialize();
}
} // namespace plugbase::platform
