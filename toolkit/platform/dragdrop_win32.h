#pragma once

// Drags of other programs into a frame's window: the OLE drop target and the drag's data as the
// views see it. Shared by the Win32 half of the frame and its tests.

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <ole2.h>

namespace Plexel
{

class CDragContainer;
class FrameEvents;

// The drop target of a frame's window, with one reference for the caller.
IDropTarget* createDropTarget(FrameEvents* frame);
// The items of a drag, with one reference for the caller; the data object is not retained and
// must outlive it.
CDragContainer* createDragContainer(IDataObject* data);

} // namespace Plexel
