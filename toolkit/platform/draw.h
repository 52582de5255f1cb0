#pragma once

// What the draw context, the fonts and the bitmaps need of a platform's drawing library. Each
// platform gives one implementation (Cairo on Linux, GDI+ on Windows); the shared logic of the
// toolkit sees only this header. It names no platform type, so it may be included anywhere.
//
// Coordinates reach a NativeGraphics with the context's offset already added. Integers give
// pixel positions with the pixel's top left corner at the coordinate; a one-pixel outline at
// (x, y) covers exactly pixel (x, y), as the Windows half draws it.

#include "toolkit/cbase.h"

#include <cstdint>

namespace Plexel
{

struct NativeFont;  // a font made from a family name, a pixel size and one style
struct NativeImage; // a 32-bit image with alpha

struct NativePointF
{
    float x;
    float y;
};

// The styles a platform font can take; a description's flags are reduced to one of these.
enum class NativeFontStyle
{
    regular,
    bold,
    italic,
    underline,
};

// A drawing surface with its pen, fill brush and text brush. It exists also without a surface
// (hasSurface false): then the state setters still take effect and drawing does nothing.
class NativeGraphics
{
public:
    virtual ~NativeGraphics() = default;

    virtual bool hasSurface() const = 0;

    // One rectangle that replaces the previous clip.
    virtual void setClip(const CRect& r) = 0;
    virtual void setPenColor(uint32_t argb) = 0;
    virtual void setFillColor(uint32_t argb) = 0;
    virtual void setFontColor(uint32_t argb) = 0;
    virtual void setLineWidth(float width) = 0;
    virtual void setDashed(bool dotted) = 0;
    virtual void setAntialias(bool on) = 0;

    virtual void drawLine(CPoint from, CPoint to) = 0;
    virtual void fillRect(float x, float y, float w, float h) = 0;
    // Pen centred on the pixels x .. x + w, so that w = width - 1 keeps it inside.
    virtual void strokeRect(float x, float y, float w, float h) = 0;
    virtual void fillEllipse(int32_t x, int32_t y, int32_t w, int32_t h) = 0;
    virtual void strokeEllipse(int32_t x, int32_t y, int32_t w, int32_t h) = 0;
    // Filled by the even-odd rule.
    virtual void fillPolygon(const NativePointF* points, int32_t count) = 0;
    virtual void strokePolygon(const NativePointF* points, int32_t count, bool closed) = 0;
    // Angles in degrees, clockwise with y down; a filled arc is closed by its chord.
    virtual void fillArc(float x, float y, float w, float h, float start, float sweep) = 0;
    virtual void strokeArc(float x, float y, float w, float h, float start, float sweep) = 0;

    // Width of the text's box in pixels; negative when it cannot be measured.
    virtual float measureString(NativeFont* font, const char* utf8) = 0;
    // The font's line height at this surface's resolution.
    virtual float fontHeight(NativeFont* font) = 0;
    // The text's cell has its top left at (x, y).
    virtual void drawString(NativeFont* font, const char* utf8, float x, float y, bool antialias) = 0;

    // Copies src of the image onto dst (same size, no scaling), scaled in alpha by alpha / 255.
    virtual void drawImage(NativeImage* image, const CRect& src, const CRect& dst, uint8_t alpha) = 0;
};

// A graphics over a native device context (Linux: a cairo_t), over a window, or, with both
// null, without a surface. The caller owns it.
NativeGraphics* createNativeGraphics(PlatformHandle systemContext, PlatformHandle window);
// A graphics that draws into an image; the image must outlive it.
NativeGraphics* createImageGraphics(NativeImage* image);
// The top left of the window in screen coordinates.
CPoint nativeWindowScreenPosition(PlatformHandle window);

// Never null: a family that the system does not have falls back to a sans serif face.
NativeFont* createNativeFont(const char* family, int32_t pixelSize, NativeFontStyle style);
void destroyNativeFont(NativeFont* font);

// All pixels transparent black. Sizes below 0 count as 0.
NativeImage* createNativeImage(int32_t width, int32_t height);
// An image file (PNG, or BMP of 24 or 32 bits); null when the bytes are none of those.
NativeImage* decodeNativeImage(const unsigned char* data, uint32_t size);
// A BMP as a plain bitmap resource holds it, with or without its file header. Always opaque.
NativeImage* decodeNativeBitmap(const unsigned char* data, uint32_t size);
void destroyNativeImage(NativeImage* image);
int32_t nativeImageWidth(const NativeImage* image);
int32_t nativeImageHeight(const NativeImage* image);
// Straight (not premultiplied) colour of one pixel; transparent black outside the image.
CColor nativeImagePixel(NativeImage* image, int32_t x, int32_t y);
bool writeNativeImagePng(NativeImage* image, const char* path);

// The drawing library's own start and stop, around the first and last user of the toolkit.
void startNativeDrawing();
void stopNativeDrawing();

} // namespace Plexel
