#pragma once

// The seam between the frame and a platform's window, in both directions. The native window lives
// behind FrameWindow; it translates the system's events and reports them through FrameEvents,
// which the frame answers. The window never sees the view tree, and everything about routing,
// focus and capture stays in the shared frame. Names no platform type.

#include "toolkit/cbase.h"

#include <cstdint>

namespace Plexel
{

struct FrameWindow;
class CDragContainer;

// What a platform's window reports, in the window's coordinates.
class FrameEvents
{
public:
    // Draws `damage` onto the system's device context of the window.
    virtual void windowPaint(PlatformHandle systemContext, const CRect& damage) = 0;
    // The buttons and modifiers with the new button down; kMouseHandled asks the window to keep
    // the pointer until the release.
    virtual int32_t windowMouseDown(CPoint where, int32_t buttons) = 0;
    virtual void windowMouseUp(CPoint where, int32_t buttons) = 0;
    virtual void windowMouseMove(CPoint where, int32_t buttons) = 0;
    virtual void windowMouseLeave() = 0;
    // One notch is 1; positive away from the user.
    virtual void windowWheel(CPoint where, float distance, int32_t modifiers) = 0;
    // The system destroyed the window; it must not be used again.
    virtual void windowDestroyed() = 0;
    // Drags of other programs over the window.
    virtual void windowDragEnter(CDragContainer* drag, CPoint where) = 0;
    virtual void windowDragMove(CDragContainer* drag, CPoint where) = 0;
    virtual void windowDragLeave(CDragContainer* drag, CPoint where) = 0;
    virtual void windowDrop(CDragContainer* drag, CPoint where) = 0;
    // Where the pointer is now, in the window's coordinates.
    virtual CPoint windowPointer() const = 0;

protected:
    ~FrameEvents() = default;
};

// A visible child window of parent at (0, 0) with the size of rect. Null if it cannot be made.
FrameWindow* createFrameWindow(FrameEvents* events, PlatformHandle parent, const CRect& rect);
void destroyFrameWindow(FrameWindow* window);
PlatformHandle frameWindowHandle(const FrameWindow* window);
// Asks for a repaint of rect, in the window's coordinates.
void invalidateFrameWindow(FrameWindow* window, const CRect& rect);
// Asks for one notification when the pointer leaves the window.
void trackFrameMouseLeave(FrameWindow* window);
CPoint frameMouseLocation(const FrameWindow* window);
int32_t frameMouseButtons(const FrameWindow* window);
void setFrameCursor(FrameWindow* window, int32_t type);
// Resizes the window and the host's windows above it, as far as they follow. False when the
// chain stopped at a window much larger than the frame, so that the tree keeps its size.
bool resizeFrameWindowChain(FrameWindow* window, int32_t width, int32_t height);
bool frameWindowPosition(const FrameWindow* window, int32_t& x, int32_t& y);
bool frameWindowOuterSize(const FrameWindow* window, CRect& out);
// Offers the window to drags of other programs, or takes the offer back.
void setFrameDropTarget(FrameWindow* window, bool active);
// Whether painting needs an offscreen copy of the frame (a system that does not compose windows).
bool frameNeedsBackBuffer();

// The toolkit's windows take their events from the process's own connection to the window
// system, which the host's event loop serves through these two calls.

// A descriptor that becomes readable when events are waiting; -1 when there is no connection.
int32_t platformEventDescriptor();
// Dispatches every waiting event to its frame and paints what was damaged, after waiting up to
// waitMilliseconds for the first one. True if anything was dispatched.
bool processPlatformEvents(int32_t waitMilliseconds = 0);
// Paints what was damaged in the toolkit's windows without handling any other event: safe from
// inside an event handler, such as a long mouse loop.
void paintPlatformDamage();

} // namespace Plexel
