#pragma once

// Renders any view tree offscreen: for tests that probe pixels, and for snapshots of the editor.

#include "toolkit/cbitmap.h"
#include "toolkit/cview.h"

namespace Plexel
{

// The view drawn into a new bitmap of its size, its top left corner at (0, 0). The caller owns
// one reference. Parts that the view does not paint stay transparent.
CBitmap* renderToBitmap(CView* view);
// The same, written as a PNG file. False if the view is null or the file cannot be written.
bool renderToPng(CView* view, const char* path);

} // namespace Plexel
