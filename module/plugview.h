#pragma once

// The editor's side of the boundary: how a host places the module's editor into one of its own
// windows, resizes it and hands it wheel and key events. The host owns the view by reference
// count.

#include "module/effectinterfaces.h"

#include <cstdint>

// The native window a host hands to attachToParent: an HWND on Windows, an X11 Window id on
// Linux, carried in a pointer-sized value.
typedef void* PNativeWindow;

// Platform type names that attachToParent accepts.
#define kPlatformTypeHWND "HWND"
#define kPlatformTypeX11Window "X11Window"

// Table: the three of FUnknown, then supportsPlatformType, attachToParent, detachFromParent,
// onHostWheel, onKeyDown, serviceIdle, reservedOperation2, resizeTo, reservedOperation3 to
// reservedOperation6. The reserved slots only hold their place in the table; hosts call them with
// no arguments and read the fixed result.
class IPlugView : public FUnknown
{
public:
    // 0 when the view can live in a window of that type, 1 when not.
    virtual tresult supportsPlatformType(const char* type) = 0;
    virtual tresult attachToParent(PNativeWindow parent, const char* type) = 0;
    virtual tresult detachFromParent() = 0;
    // A wheel turn of the host's, in notches; positive is away from the user.
    virtual tresult onHostWheel(float distance) = 0;
    // 0 when the key was used, 1 when the host may use it.
    virtual tresult onKeyDown(char16_t character, int16_t virtualKey, int16_t modifiers) = 0;
    // A host whose event loop does not reach the editor's window by itself (any X11 host: the
    // editor keeps its own connection to the display) calls this every few tens of milliseconds
    // on its user-interface thread. The editor then handles its window's waiting events and
    // repaints what is dirty. Gives 1, which hosts that never call it expect of this slot.
    virtual tresult serviceIdle() = 0;
    virtual tresult reservedOperation2() = 0;
    // The host's window for the view has a new size; only the width and height count.
    virtual tresult resizeTo(const PViewRect* rect) = 0;
    virtual tresult reservedOperation3() = 0;
    virtual tresult reservedOperation4() = 0;
    virtual tresult reservedOperation5() = 0;
    virtual tresult reservedOperation6() = 0;

    static inline const FUID iid{0x5BC32507, 0xD06049EA, 0xA6151B52, 0x2B755B29};
};

// Virtual keys of onKeyDown that the editor uses.
enum : int16_t
{
    kPlugKeyLeft = 11,
    kPlugKeyUp = 12,
    kPlugKeyRight = 13,
    kPlugKeyDown = 14,
};
