// The draw context's platform half on GDI+, through its flat functions. Surfaces use pixel units
// and no half-pixel offset, so a one-pixel pen at integer coordinates covers exactly that row of
// pixels; the toolkit's pixel model is this one.
//
// A line covers the pixels between its ends with the far one left open, whichever way it runs,
// as on the other platform; so a line one pixel long is one point. Underlines are drawn here
// from the face's metrics, since not every GDI+ draws the font's own into a bitmap.

#include "foundation/textcodec.h"
#include "toolkit/platform/types_gdiplus.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace Plexel
{

namespace
{
using namespace gdip;

uint32_t generation = 0;
uint32_t startCount = 0;
ULONG_PTR startToken = 0;

class GdiplusGraphics : public NativeGraphics
{
public:
    // Takes over graphics; a window's device context, when given, goes back to it at the end.
    GdiplusGraphics(GpGraphics* graphics, HWND window = nullptr, HDC windowContext = nullptr)
        : graphics(graphics), window(window), windowContext(windowContext)
    {
        if (!graphics) return;
        GdipSetInterpolationMode(graphics, InterpolationModeLowQuality);
        GdipSetPageUnit(graphics, UnitPixel);
        GdipSetPixelOffsetMode(graphics, PixelOffsetModeNone);
        GdipSetSmoothingMode(graphics, SmoothingModeNone);
        GdipCreatePen1(0xFF000000, 1.f, UnitPixel, &pen);
        GdipCreateSolidFill(0xFF000000, &fill);
        GdipCreateSolidFill(0xFF000000, &text);
    }
    ~GdiplusGraphics() override
    {
        if (text) GdipDeleteBrush(text);
        if (fill) GdipDeleteBrush(fill);
        if (pen) GdipDeletePen(pen);
        if (graphics) GdipDeleteGraphics(graphics);
        if (windowContext) ReleaseDC(window, windowContext);
    }

    bool hasSurface() const override { return graphics != nullptr; }

    void setClip(const CRect& r) override
    {
        if (graphics)
            GdipSetClipRectI(graphics, r.left, r.top, std::max(0, r.width()), std::max(0, r.height()),
                             CombineModeReplace);
    }
    void setPenColor(uint32_t argb) override
    {
        if (pen) GdipSetPenColor(pen, argb);
    }
    void setFillColor(uint32_t argb) override
    {
        if (fill) GdipSetSolidFillColor(fill, argb);
    }
    void setFontColor(uint32_t argb) override
    {
        if (text) GdipSetSolidFillColor(text, argb);
    }
    void setLineWidth(float width) override
    {
        penWidth = width > 0.f ? width : 1.f;
        if (pen) GdipSetPenWidth(pen, penWidth);
    }
    void setDashed(bool dotted) override
    {
        if (pen) GdipSetPenDashStyle(pen, dotted ? DashStyleDot : DashStyleSolid);
    }
    void setAntialias(bool on) override
    {
        if (graphics) GdipSetSmoothingMode(graphics, on ? SmoothingModeAntiAlias : SmoothingModeNone);
    }

    void drawLine(CPoint from, CPoint to) override
    {
        if (!graphics || (from.x == to.x && from.y == to.y)) return;
        if (penWidth > 1.f)
        {
            // A wide pen is drawn as its outline, which leaves the far end open by itself.
            GdipDrawLineI(graphics, pen, from.x, from.y, to.x, to.y);
            return;
        }
        // Thin pens set both end pixels: the far one along the line's main axis is clipped away.
        const bool alongX = std::abs(to.x - from.x) >= std::abs(to.y - from.y);
        const CPoint farEnd = (alongX ? to.x > from.x : to.y > from.y) ? to : from;
        GpRegion* kept = nullptr;
        if (GdipCreateRegion(&kept) != Ok) return;
        GdipGetClip(graphics, kept);
        GdipSetClipRectI(graphics, farEnd.x, farEnd.y, 1, 1, CombineModeExclude);
        GdipDrawLineI(graphics, pen, from.x, from.y, to.x, to.y);
        GdipSetClipRegion(graphics, kept, CombineModeReplace);
        GdipDeleteRegion(kept);
    }
    void fillRect(float x, float y, float w, float h) override
    {
        if (graphics) GdipFillRectangle(graphics, fill, x, y, w, h);
    }
    void strokeRect(float x, float y, float w, float h) override
    {
        if (graphics) GdipDrawRectangle(graphics, pen, x, y, w, h);
    }
    void fillEllipse(int32_t x, int32_t y, int32_t w, int32_t h) override
    {
        if (graphics) GdipFillEllipseI(graphics, fill, x, y, w, h);
    }
    void strokeEllipse(int32_t x, int32_t y, int32_t w, int32_t h) override
    {
        if (graphics) GdipDrawEllipseI(graphics, pen, x, y, w, h);
    }
    void fillPolygon(const NativePointF* points, int32_t count) override
    {
        if (graphics && count > 0)
            GdipFillPolygon(graphics, fill, asPoints(points, count), count, FillModeAlternate);
    }
    void strokePolygon(const NativePointF* points, int32_t count, bool closed) override
    {
        if (!graphics || count < 1) return;
        if (closed)
            GdipDrawPolygon(graphics, pen, asPoints(points, count), count);
        else
            GdipDrawLines(graphics, pen, asPoints(points, count), count);
    }
    void fillArc(float x, float y, float w, float h, float start, float sweep) override
    {
        // An open arc is closed by its chord when it is filled.
        if (GpPath* path = arcPath(x, y, w, h, start, sweep))
        {
            GdipFillPath(graphics, fill, path);
            GdipDeletePath(path);
        }
    }
    void strokeArc(float x, float y, float w, float h, float start, float sweep) override
    {
        if (GpPath* path = arcPath(x, y, w, h, start, sweep))
        {
            GdipDrawPath(graphics, pen, path);
            GdipDeletePath(path);
        }
    }

    float measureString(NativeFont* font, const char* utf8) override
    {
        GpFont* f = graphics ? usableFont(font) : nullptr;
        if (!f || !utf8) return -1.f;
        const std::wstring wide = drawableText(utf8);
        if (wide.empty()) return 0.f;
        const RectF layout{0.f, 0.f, 0.f, 0.f};
        RectF box{0.f, 0.f, 0.f, 0.f};
        if (GdipMeasureString(graphics, wide.c_str(), INT(wide.size()), f, &layout, nullptr, &box, nullptr,
                              nullptr) != Ok)
            return -1.f;
        return box.Width;
    }
    float fontHeight(NativeFont* font) override
    {
        GpFont* f = graphics ? usableFont(font) : nullptr;
        if (!f) return 0.f;
        REAL dpi = 96.f;
        GdipGetDpiY(graphics, &dpi);
        REAL height = 0.f;
        GdipGetFontHeightGivenDPI(f, dpi, &height);
        return height;
    }
    void drawString(NativeFont* font, const char* utf8, float x, float y, bool antialias) override
    {
        GpFont* f = graphics ? usableFont(font) : nullptr;
        if (!f || !utf8) return;
        const std::wstring wide = drawableText(utf8);
        if (wide.empty()) return;
        GdipSetTextRenderingHint(graphics, antialias ? TextRenderingHintClearTypeGridFit
                                                     : TextRenderingHintSystemDefault);
        const RectF layout{x, y, 0.f, 0.f};
        GdipDrawString(graphics, wide.c_str(), INT(wide.size()), f, &layout, nullptr, text);
        if (font->underline) underline(f, wide, x, y);
    }

    void drawImage(NativeImage* image, const CRect& src, const CRect& dst, uint8_t alpha) override
    {
        if (!graphics || !image || !image->bitmap || alpha == 0) return;
        // Only the part of the source inside the image is drawn; what lies beyond stays as it was.
        CRect from = src;
        from.bound(CRect(0, 0, image->width, image->height));
        if (from.isEmpty()) return;
        const INT x = dst.left + (from.left - src.left);
        const INT y = dst.top + (from.top - src.top);
        GpImageAttributes* attributes = nullptr;
        if (alpha != 255)
        {
            ColorMatrix matrix{};
            matrix.m[0][0] = matrix.m[1][1] = matrix.m[2][2] = matrix.m[4][4] = 1.f;
            matrix.m[3][3] = float(alpha) / 255.f;
            GdipCreateImageAttributes(&attributes);
            GdipSetImageAttributesColorMatrix(attributes, ColorAdjustTypeBitmap, TRUE, &matrix, nullptr,
                                              ColorMatrixFlagsDefault);
        }
        GdipDrawImageRectRectI(graphics, image->bitmap, x, y, from.width(), from.height(), from.left,
                               from.top, from.width(), from.height(), UnitPixel, attributes, nullptr,
                               nullptr);
        if (attributes) GdipDisposeImageAttributes(attributes);
    }

private:
    // A bar under the glyphs (not under the padding that GDI+ puts around a string), a third of
    // the descent below the baseline, about a fourteenth of the size thick.
    void underline(GpFont* f, const std::wstring& wide, float x, float y)
    {
        GpFontFamily* family = nullptr;
        if (GdipGetFamily(f, &family) != Ok) return;
        INT style = FontStyleRegular;
        REAL size = 0.f;
        UINT16 em = 0, ascent = 0, descent = 0;
        GdipGetFontStyle(f, &style);
        GdipGetFontSize(f, &size);
        GdipGetEmHeight(family, style, &em);
        GdipGetCellAscent(family, style, &ascent);
        GdipGetCellDescent(family, style, &descent);
        GdipDeleteFontFamily(family);
        GpStringFormat* typographic = nullptr;
        if (em == 0 || GdipStringFormatGetGenericTypographic(&typographic) != Ok) return;
        const RectF layout{0.f, 0.f, 0.f, 0.f};
        RectF padded{}, glyphs{};
        GdipMeasureString(graphics, wide.c_str(), INT(wide.size()), f, &layout, nullptr, &padded, nullptr,
                          nullptr);
        GdipMeasureString(graphics, wide.c_str(), INT(wide.size()), f, &layout, typographic, &glyphs, nullptr,
                          nullptr);
        GdipDeleteStringFormat(typographic);
        const float baseline = y + size * float(ascent) / float(em);
        const float descentPixels = size * float(descent) / float(em);
        const float top = std::round(baseline + std::max(1.f, descentPixels / 3.f));
        const float thickness = std::max(1.f, std::round(size / 14.f));
        const float left = x + (padded.Width - glyphs.Width) / 2.f;
        GdipFillRectangle(graphics, text, left, top, glyphs.Width, thickness);
    }
    const PointF* asPoints(const NativePointF* points, int32_t count)
    {
        static_assert(sizeof(NativePointF) == sizeof(PointF));
        converted.assign(reinterpret_cast<const PointF*>(points),
                         reinterpret_cast<const PointF*>(points) + count);
        return converted.data();
    }
    GpPath* arcPath(float x, float y, float w, float h, float start, float sweep)
    {
        if (!graphics || w <= 0.f || h <= 0.f) return nullptr;
        GpPath* path = nullptr;
        if (GdipCreatePath(FillModeAlternate, &path) != Ok) return nullptr;
        GdipAddPathArc(path, x, y, w, h, start, sweep);
        return path;
    }

    GpGraphics* graphics;
    HWND window;
    HDC windowContext;
    GpPen* pen = nullptr;
    float penWidth = 1.f;
    GpSolidFill* fill = nullptr;
    GpSolidFill* text = nullptr;
    std::vector<PointF> converted;
};
} // namespace

// Text to draw comes through whatever it holds: each sequence that is not UTF-8 shows as the
// replacement character, as on the Cairo half.
std::wstring drawableText(const char* utf8)
{
    const std::u16string wide = foundation::text::utf8ToUtf16(utf8);
    return std::wstring(wide.begin(), wide.end());
}

bool widen(const char* utf8, std::wstring& out)
{
    out.clear();
    if (!utf8) return false;
    static_assert(sizeof(wchar_t) == sizeof(char16_t), "the Windows calls take UTF-16");
    const size_t bytes = std::strlen(utf8);
    const int64_t length = foundation::text::decode(foundation::text::kUtf8, utf8, bytes, nullptr);
    if (length < 0) return false;
    out.resize(size_t(length));
    foundation::text::decode(foundation::text::kUtf8, utf8, bytes, reinterpret_cast<char16_t*>(out.data()));
    return true;
}

NativeGraphics* createNativeGraphics(PlatformHandle systemContext, PlatformHandle window)
{
    GpGraphics* graphics = nullptr;
    if (systemContext)
    {
        GdipCreateFromHDC(static_cast<HDC>(systemContext), &graphics);
        return new GdiplusGraphics(graphics);
    }
    if (window)
    {
        HWND hwnd = static_cast<HWND>(window);
        if (HDC dc = GetDC(hwnd))
        {
            if (GdipCreateFromHDC(dc, &graphics) == Ok) return new GdiplusGraphics(graphics, hwnd, dc);
            ReleaseDC(hwnd, dc);
        }
    }
    return new GdiplusGraphics(nullptr);
}

NativeGraphics* createImageGraphics(NativeImage* image)
{
    GpGraphics* graphics = nullptr;
    if (image && image->bitmap) GdipGetImageGraphicsContext(image->bitmap, &graphics);
    return new GdiplusGraphics(graphics);
}

CPoint nativeWindowScreenPosition(PlatformHandle window)
{
    RECT r;
    if (!window || !GetWindowRect(static_cast<HWND>(window), &r)) return {};
    return {r.left, r.top};
}

//------------------------------------------------------------------------------------------------
// Fonts: the family by name; without it, or without its style, the sans serif family of GDI+;
// and where even that is not installed, the face that the system's font mapper picks for the
// name among the sans serif faces, so that text always has a face.

namespace
{
GpFont* makeFont(GpFontFamily* family, const NativeFont& font)
{
    GpFont* made = nullptr;
    if (family && GdipCreateFont(family, font.size, font.style, UnitPixel, &made) != Ok) made = nullptr;
    if (family) GdipDeleteFontFamily(family);
    return made;
}

GpFontFamily* familyByName(const wchar_t* name)
{
    GpFontFamily* family = nullptr;
    if (GdipCreateFontFamilyFromName(name, nullptr, &family) != Ok) return nullptr;
    return family;
}

GpFontFamily* mappedFamily(const std::wstring& requested)
{
    LOGFONTW description{};
    description.lfHeight = -12;
    description.lfCharSet = DEFAULT_CHARSET;
    description.lfPitchAndFamily = VARIABLE_PITCH | FF_SWISS;
    lstrcpynW(description.lfFaceName, requested.c_str(), LF_FACESIZE);
    wchar_t face[LF_FACESIZE] = L"";
    HFONT font = CreateFontIndirectW(&description);
    HDC dc = CreateCompatibleDC(nullptr);
    if (font && dc)
    {
        HGDIOBJ kept = SelectObject(dc, font);
        GetTextFaceW(dc, LF_FACESIZE, face);
        SelectObject(dc, kept);
    }
    if (dc) DeleteDC(dc);
    if (font) DeleteObject(font);
    return face[0] ? familyByName(face) : nullptr;
}
} // namespace

GpFont* usableFont(NativeFont* font)
{
    if (!font || generation == 0) return nullptr;
    if (font->font && font->generation == generation) return font->font;
    font->generation = generation;
    font->font = makeFont(familyByName(font->family.c_str()), *font);
    if (!font->font)
    {
        GpFontFamily* sansSerif = nullptr;
        if (GdipGetGenericFontFamilySansSerif(&sansSerif) != Ok) sansSerif = nullptr;
        font->font = makeFont(sansSerif, *font);
    }
    if (!font->font) font->font = makeFont(mappedFamily(font->family), *font);
    return font->font;
}

NativeFont* createNativeFont(const char* family, int32_t pixelSize, NativeFontStyle style)
{
    auto* font = new NativeFont{};
    if (!family || !*family || !widen(family, font->family)) font->family.clear();
    font->size = pixelSize > 0 ? float(pixelSize) : 1.f;
    switch (style)
    {
    case NativeFontStyle::bold:
        font->style = FontStyleBold;
        break;
    case NativeFontStyle::italic:
        font->style = FontStyleItalic;
        break;
    case NativeFontStyle::underline:
        font->style = FontStyleRegular;
        font->underline = true;
        break;
    default:
        font->style = FontStyleRegular;
        break;
    }
    font->font = nullptr;
    font->generation = 0;
    return font;
}

void destroyNativeFont(NativeFont* font)
{
    if (!font) return;
    // A font of an earlier start went with the library's shutdown.
    if (font->font && font->generation == generation) GdipDeleteFont(font->font);
    delete font;
}

//------------------------------------------------------------------------------------------------

uint32_t drawingGeneration()
{
    return generation;
}

void startNativeDrawing()
{
    GdiplusStartupInput input;
    input.GdiplusVersion = 1;
    input.DebugEventCallback = nullptr;
    input.SuppressBackgroundThread = FALSE;
    input.SuppressExternalCodecs = FALSE;
    if (GdiplusStartup(&startToken, &input, nullptr) == Ok) generation = ++startCount;
}

void stopNativeDrawing()
{
    if (generation == 0) return;
    GdiplusShutdown(startToken);
    startToken = 0;
    generation = 0;
}

} // namespace Plexel
