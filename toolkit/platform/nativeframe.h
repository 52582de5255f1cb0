#pragma once

// What the frame needs of a platform's windows. The native window lives behind FrameWindow and
// calls the frame back (paint, mouse, leave, destruction); everything else about the frame is
// shared. Names no platform type.

#include "toolkit/cbase.h"

#include <cstdint>

namespace Plexel
{

class CFrame;
struct FrameWindow;

// A visible child window of parent at (0, 0) with the size of rect. Null if it cannot be made.
FrameWindow* createFrameWindow(CFrame* frame, PlatformHandle parent, const CRect& rect);
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

uint32_t nativeTickCount();

} // namespace Plexel
