#pragma once

// Shared between the Cairo halves of drawing and images and the X11 half of the frame.

#include "toolkit/platform/draw.h"

#include <cairo.h>

namespace Plexel
{

struct NativeImage
{
    cairo_surface_t* surface; // ARGB32, premultiplied
};

struct NativeFont
{
    cairo_font_face_t* face;
    double size;
    bool underline;
};

// A Cairo surface over an X11 window of the toolkit's connection, sized as the window; null
// when there is no such window. Lives in the X11 half.
cairo_surface_t* createWindowSurface(PlatformHandle window);

} // namespace Plexel
