#pragma once

// Shared between the GDI+ halves of drawing and images and the Win32 half of the frame.

#include "toolkit/platform/draw.h"

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>
// GDI+ is called through its flat functions; the C++ wrappers of the header are not used.
#include <gdiplus.h>

#include <string>

namespace Plexel
{

namespace gdip
{
using namespace Gdiplus;
using namespace Gdiplus::DllExports;
} // namespace gdip

struct NativeImage
{
    Gdiplus::GpBitmap* bitmap; // 32 bits per pixel with straight alpha; null for an empty image
    int32_t width;
    int32_t height;
};

// The platform font is made on first use by a surface and made anew when the drawing library
// has been restarted since: objects of an earlier start are gone with it.
struct NativeFont
{
    std::wstring family;
    float size;
    int32_t style;  // a Gdiplus::FontStyle value
    bool underline; // drawn by the graphics, not by the font
    Gdiplus::GpFont* font;
    uint32_t generation;
};

// The font of a description at the drawing library's current start; null when it cannot be
// made or the library is not running.
Gdiplus::GpFont* usableFont(NativeFont* font);
// Counts the starts of the drawing library; 0 while it is down.
uint32_t drawingGeneration();

// UTF-8 to UTF-16; false, with empty text, when the bytes are no valid UTF-8.
bool widen(const char* utf8, std::wstring& out);
std::wstring drawableText(const char* utf8);

} // namespace Plexel
