#include "toolkit/cdrawcontext.h"

#include "toolkit/cframe.h"
#include "toolkit/platform/draw.h"

#include <utility>
#include <vector>

namespace Plexel
{

//------------------------------------------------------------------------------------------------
// Fonts

CFontDesc::CFontDesc(const char* name, int32_t size, int32_t style)
    : nameText(name ? name : ""), size(size), style(style)
{
}

CFontDesc::CFontDesc(const CFontDesc& other)
    : CBaseObject(other), nameText(other.nameText), size(other.size), style(other.style)
{
}

CFontDesc::~CFontDesc()
{
    freePlatformFont();
}

void CFontDesc::setName(const char* newName)
{
    if (!newName || nameText == newName) return;
    nameText = newName;
    freePlatformFont();
}

void CFontDesc::setSize(int32_t newSize)
{
    size = newSize;
    freePlatformFont();
}

void CFontDesc::setStyle(int32_t newStyle)
{
    style = newStyle;
    freePlatformFont();
}

bool CFontDesc::operator==(const CFontDesc& other) const
{
    return nameText == other.nameText && size == other.size && style == other.style;
}

NativeFont* CFontDesc::platformFont()
{
    if (!nativeFont)
    {
        // The platform takes one style only, and underline wins over italic over bold.
        NativeFontStyle platformStyle = NativeFontStyle::regular;
        if (style & kUnderlineFace)
            platformStyle = NativeFontStyle::underline;
        else if (style & kItalicFace)
            platformStyle = NativeFontStyle::italic;
        else if (style & kBoldFace)
            platformStyle = NativeFontStyle::bold;
        nativeFont = createNativeFont(nameText.c_str(), size, platformStyle);
    }
    return nativeFont;
}

void CFontDesc::freePlatformFont()
{
    if (nativeFont)
    {
        destroyNativeFont(nativeFont);
        nativeFont = nullptr;
    }
}

namespace
{
CFontDesc systemFont("Arial", 12);
CFontDesc veryBigFont("Arial", 18);
CFontDesc bigFont("Arial", 14);
CFontDesc normalFont("Arial", 12);
CFontDesc smallFont("Arial", 11);
CFontDesc smallerFont("Arial", 10);
CFontDesc verySmallFont("Arial", 9);
CFontDesc symbolFont("Symbol", 13);
} // namespace

CFontDesc* const kFontSystem = &systemFont;
CFontDesc* const kFontVeryBig = &veryBigFont;
CFontDesc* const kFontBig = &bigFont;
CFontDesc* const kFontNormal = &normalFont;
CFontDesc* const kFontSmall = &smallFont;
CFontDesc* const kFontSmaller = &smallerFont;
CFontDesc* const kFontVerySmall = &verySmallFont;
CFontDesc* const kFontSymbol = &symbolFont;

void freeStandardPlatformFonts()
{
    for (CFontDesc* f : {kFontSystem, kFontVeryBig, kFontBig, kFontNormal, kFontSmall, kFontSmaller,
                         kFontVerySmall, kFontSymbol})
        f->freePlatformFont();
}

//------------------------------------------------------------------------------------------------
// Context

namespace
{
CRect initialClip(CFrame* frame)
{
    return frame ? frame->viewSize() : CRect(0, 0, 1000, 1000);
}
} // namespace

CDrawContext::CDrawContext(CFrame* frame, PlatformHandle systemContext, PlatformHandle windowHandle)
    : frameValue(frame), systemContextValue(systemContext), windowHandleValue(windowHandle),
      clipRect(initialClip(frame))
{
    native = createNativeGraphics(systemContext, windowHandle);
    if (windowHandle) globalOffset = nativeWindowScreenPosition(windowHandle);
    initState();
}

CDrawContext::CDrawContext(CFrame* frame, NativeGraphics* graphics)
    : frameValue(frame), clipRect(initialClip(frame)), native(graphics)
{
    if (!native) native = createNativeGraphics(nullptr, nullptr);
    initState();
}

void CDrawContext::initState()
{
    // Values that the setters below cannot take for "no change", so that the platform's pen and
    // brushes come to agree with the stored state.
    lineStyleValue = kLineOnOff;
    drawModeValue = kAntialias;
    setFrameColor(kColorWhite);
    setLineStyle(kLineSolid);
    setLineWidth(1);
    setFillColor(kColorBlack);
    setFontColor(kColorWhite);
    setFont(kFontSystem, 0, -1);
    setDrawMode(0);
}

CDrawContext::~CDrawContext()
{
    if (fontValue) fontValue->release();
    delete native;
}

void CDrawContext::adoptGraphics(NativeGraphics* graphics)
{
    delete native;
    native = graphics ? graphics : createNativeGraphics(nullptr, nullptr);
    native->setPenColor(frameColorValue.argb());
    native->setFillColor(fillColorValue.argb());
    native->setFontColor(fontColorValue.argb());
    native->setLineWidth(float(lineWidthValue));
    native->setDashed(lineStyleValue == kLineOnOff);
    native->setAntialias(drawModeValue == kAntialias);
    native->setClip(clipRect);
}

bool CDrawContext::canDraw() const
{
    return native->hasSurface();
}

void CDrawContext::setClipRect(const CRect& rect)
{
    CRect r = rect;
    r.offset(offset.x, offset.y);
    if (r == clipRect) return;
    clipRect = r;
    native->setClip(r);
}

CRect& CDrawContext::copyClipRect(CRect& out) const
{
    out = clipRect;
    out.offset(-offset.x, -offset.y);
    return out;
}

void CDrawContext::resetClipRect()
{
    // Kept as setClipRect keeps it, with the offset in, so that a later equal request is seen
    // for what it is.
    clipRect = initialClip(frameValue);
    native->setClip(clipRect);
}

void CDrawContext::setFrameColor(const CColor& color)
{
    if (color == frameColorValue) return;
    frameColorValue = color;
    native->setPenColor(color.argb());
}

void CDrawContext::setFillColor(const CColor& color)
{
    if (color == fillColorValue) return;
    fillColorValue = color;
    native->setFillColor(color.argb());
}

void CDrawContext::setFontColor(const CColor& color)
{
    fontColorValue = color;
    native->setFontColor(color.argb());
}

void CDrawContext::setLineStyle(int32_t style)
{
    if (style == lineStyleValue) return;
    lineStyleValue = style;
    native->setDashed(style == kLineOnOff);
}

void CDrawContext::setLineWidth(int32_t width)
{
    if (width == lineWidthValue) return;
    lineWidthValue = width;
    native->setLineWidth(float(width));
}

void CDrawContext::setDrawMode(int32_t mode)
{
    if (mode == drawModeValue) return;
    drawModeValue = mode;
    native->setAntialias(mode == kAntialias);
}

void CDrawContext::setFont(CFontDesc* font, int32_t size, int32_t style)
{
    if (!font) return;
    // The new description is taken before the old one goes: they may be the same object, held
    // by nothing but this context.
    CFontDesc* old = fontValue;
    if ((size <= 0 || size == font->fontSize()) && (style == -1 || style == font->fontStyle()))
    {
        font->retain();
        fontValue = font;
    }
    else
    {
        fontValue = new CFontDesc(font->name(), size > 0 ? size : font->fontSize(),
                                  style != -1 ? style : font->fontStyle());
    }
    if (old) old->release();
}

//------------------------------------------------------------------------------------------------
// Primitives

void CDrawContext::moveTo(const CPoint& point)
{
    penPositionValue = {point.x + offset.x, point.y + offset.y};
}

void CDrawContext::lineTo(const CPoint& point)
{
    CPoint to{point.x + offset.x, point.y + offset.y};
    if (canDraw()) native->drawLine(penPositionValue, to);
    penPositionValue = to;
}

void CDrawContext::drawLines(const CPoint* pairs, int32_t count)
{
    if (!pairs) return;
    for (int32_t i = 0; i < count; ++i)
    {
        moveTo(pairs[2 * i]);
        lineTo(pairs[2 * i + 1]);
    }
}

void CDrawContext::drawPolygon(const CPoint* points, int32_t count, int32_t style, bool closed)
{
    if (!points || count <= 0 || !canDraw()) return;
    // Most polygons are small: convert them on the stack and take memory only for large ones.
    NativePointF fixed[30];
    std::vector<NativePointF> large;
    NativePointF* converted = fixed;
    if (count > 30)
    {
        large.resize(size_t(count));
        converted = large.data();
    }
    for (int32_t i = 0; i < count; ++i)
        converted[i] = {float(points[i].x + offset.x), float(points[i].y + offset.y)};
    if (style == kDrawFilled || style == kDrawFilledAndStroked) native->fillPolygon(converted, count);
    if (style == kDrawStroked || style == kDrawFilledAndStroked)
        native->strokePolygon(converted, count, closed);
}

namespace
{
CRect normalised(CRect r)
{
    if (r.left > r.right) std::swap(r.left, r.right);
    if (r.top > r.bottom) std::swap(r.top, r.bottom);
    return r;
}
} // namespace

void CDrawContext::drawRect(const CRect& rect, int32_t style)
{
    if (!canDraw()) return;
    CRect r = normalised(rect);
    r.offset(offset.x, offset.y);
    if (style == kDrawFilled || style == kDrawFilledAndStroked)
        native->fillRect(float(r.left), float(r.top), float(r.width()), float(r.height()));
    // The outline lies inside the rectangle: right and bottom are exclusive.
    if (style == kDrawStroked || style == kDrawFilledAndStroked)
        native->strokeRect(float(r.left), float(r.top), float(r.width() - 1), float(r.height() - 1));
}

void CDrawContext::drawEllipse(const CRect& rect, int32_t style)
{
    if (!canDraw()) return;
    CRect r = normalised(rect);
    r.offset(offset.x, offset.y);
    if (style == kDrawFilled || style == kDrawFilledAndStroked)
        native->fillEllipse(r.left, r.top, r.width() - 1, r.height() - 1);
    if (style == kDrawStroked || style == kDrawFilledAndStroked)
        native->strokeEllipse(r.left, r.top, r.width() - 1, r.height() - 1);
}

void CDrawContext::drawArc(const CRect& rect, float startAngle, float endAngle, int32_t style)
{
    if (!canDraw()) return;
    if (startAngle > endAngle) endAngle += 360.f;
    float sweep = endAngle - startAngle;
    float x = float(rect.left + offset.x);
    float y = float(rect.top + offset.y);
    if (style == kDrawFilled || style == kDrawFilledAndStroked)
        native->fillArc(x, y, float(rect.width()), float(rect.height()), startAngle, sweep);
    if (style == kDrawStroked || style == kDrawFilledAndStroked)
        native->strokeArc(x, y, float(rect.width()), float(rect.height()), startAngle, sweep);
}

void CDrawContext::drawPoint(const CPoint& point, const CColor& color)
{
    int32_t keptWidth = lineWidthValue;
    CColor keptColor = frameColorValue;
    setLineWidth(1);
    setFrameColor(color);
    if (canDraw())
        native->drawLine({point.x + offset.x, point.y + offset.y},
                         {point.x + 1 + offset.x, point.y + offset.y});
    setLineWidth(keptWidth);
    setFrameColor(keptColor);
}

//------------------------------------------------------------------------------------------------
// Text

int32_t CDrawContext::stringWidth(const char* text)
{
    if (!fontValue || !text || !canDraw()) return -1;
    NativeFont* f = fontValue->platformFont();
    if (!f) return -1;
    float w = native->measureString(f, text);
    return w < 0 ? -1 : int32_t(w);
}

void CDrawContext::drawString(const char* text, const CRect& rect, bool, int32_t align)
{
    drawStringInRect(text, rect, align, true);
}

void CDrawContext::drawStringInRect(const char* text, const CRect& rect, int32_t align, bool antialias)
{
    if (!text || !fontValue) return;
    // Centred in the height by the font's nominal size, not by what the face reports.
    int32_t h = rect.height();
    int32_t shift = fontValue->fontSize() / 2 - h / 2;
    int32_t x;
    if (align == kLeftText)
        x = rect.left;
    else if (align == kRightText)
        x = rect.right - stringWidth(text);
    else
        x = int32_t(float(rect.right - rect.left) * 0.5f + float(rect.left) -
                    float(stringWidth(text)) * 0.5f);

    CRect kept;
    copyClipRect(kept);
    CRect clip = rect;
    clip.bound(kept);
    setClipRect(clip);
    drawStringAt(text, {x, rect.bottom + shift - 1}, antialias);
    setClipRect(kept);
}

void CDrawContext::drawStringAt(const char* text, const CPoint& point, bool antialias)
{
    if (!text || !fontValue || !canDraw()) return;
    NativeFont* f = fontValue->platformFont();
    if (!f) return;
    float x = float(point.x + offset.x);
    float y = float(point.y + offset.y);
    float h = native->fontHeight(f);
    native->drawString(f, text, x, y + 1.0f - h, antialias);
}

} // namespace Plexel
