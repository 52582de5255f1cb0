#include "toolkit/cparamdisplay.h"

#include "toolkit/cbitmap.h"

#include <cstdio>
#include <cstring>
#include <new>

namespace Plexel
{

CParamDisplay::CParamDisplay(const CRect& rect, CBitmap* background, int32_t style)
    : CControl(rect, nullptr, 0, background), styleValue(style), fontValue(kFontNormal)
{
    fontValue->retain();
    // A display that never paints must not look dirty to the idle walk.
    if (styleValue & kStyleNoDraw) setDirty(false);
}

CParamDisplay::CParamDisplay(const CParamDisplay& other)
    : CControl(other), valueToString(other.valueToString), valueToStringUser(other.valueToStringUser),
      stringToValue(other.stringToValue), userData(other.userData),
      horizontalAlignValue(other.horizontalAlignValue), styleValue(other.styleValue),
      fontValue(other.fontValue), fontColorValue(other.fontColorValue), backColorValue(other.backColorValue),
      frameColorValue(other.frameColorValue), shadowColorValue(other.shadowColorValue),
      textTransparency(other.textTransparency), antialias(other.antialias)
{
    fontValue->retain();
}

CParamDisplay::~CParamDisplay()
{
    fontValue->release();
}

bool CParamDisplay::isTypeOf(const char* name) const
{
    return (name && std::strcmp(name, "CParamDisplay") == 0) || CControl::isTypeOf(name);
}

CView* CParamDisplay::clone() const
{
    return new (std::nothrow) CParamDisplay(*this);
}

void CParamDisplay::setFont(CFontDesc* newFont)
{
    setDirty(true);
    if (!newFont) return;
    newFont->retain();
    fontValue->release();
    fontValue = newFont;
}

void CParamDisplay::setFontColor(const CColor& color)
{
    if (color == fontColorValue) return;
    fontColorValue = color;
    setDirty(true);
}

void CParamDisplay::setBackColor(const CColor& color)
{
    if (color == backColorValue) return;
    backColorValue = color;
    setDirty(true);
}

void CParamDisplay::setFrameColor(const CColor& color)
{
    if (color == frameColorValue) return;
    frameColorValue = color;
    setDirty(true);
}

void CParamDisplay::setShadowColor(const CColor& color)
{
    if (color == shadowColorValue) return;
    shadowColorValue = color;
    setDirty(true);
}

void CParamDisplay::setHorizontalAlign(int32_t align)
{
    if (align == horizontalAlignValue) return;
    horizontalAlignValue = align;
    setDirty(true);
}

void CParamDisplay::setValueToStringUser(ValueToStringUser convert, void* data)
{
    valueToStringUser = convert;
    userData = data;
}

void CParamDisplay::setStyle(int32_t newStyle)
{
    if (newStyle == styleValue) return;
    styleValue = newStyle;
    setDirty(true);
}

void CParamDisplay::draw(CDrawContext* context)
{
    char text[256] = {};
    if (valueToStringUser)
        valueToStringUser(currentValue, text, userData);
    else if (valueToString)
        valueToString(currentValue, text);
    else
        std::snprintf(text, sizeof text, "%2.2f", double(currentValue));
    text[sizeof text - 1] = 0;
    drawText(context, text, nullptr);
}

void CParamDisplay::drawText(CDrawContext* context, const char* text, CBitmap* background)
{
    setDirty(false);
    if (styleValue & kStyleNoDraw) return;

    CBitmap* bitmap = background ? background : backgroundBitmap;
    if (bitmap)
    {
        if (transparent)
            bitmap->drawTransparent(context, size, backOffset);
        else
            bitmap->draw(context, size, backOffset);
    }
    else if (!transparent)
    {
        context->setFillColor(backColorValue);
        context->drawRect(size, kDrawFilled);
        if (!(styleValue & (kStyleInset | kStyleRaised | kStyleNoFrame)))
        {
            context->setLineWidth(1);
            context->setFrameColor(frameColorValue);
            context->drawRect(size);
        }
    }

    if (styleValue & (kStyleInset | kStyleRaised))
    {
        // Inset wins when both are asked for.
        const bool inset = (styleValue & kStyleInset) != 0;
        const CColor upperLeft = inset ? backColorValue : frameColorValue;
        const CColor lowerRight = inset ? frameColorValue : backColorValue;
        const int32_t l = size.left, t = size.top, b = size.bottom, r = size.right - 1;
        context->setLineWidth(1);
        context->setFrameColor(upperLeft);
        context->moveTo(CPoint(l, b));
        context->lineTo(CPoint(l, t + 1));
        context->lineTo(CPoint(r, t + 1));
        context->setFrameColor(lowerRight);
        context->moveTo(CPoint(r, t + 1));
        context->lineTo(CPoint(r, b));
        context->lineTo(CPoint(l, b));
    }

    if ((styleValue & kStyleNoText) || !text || !*text) return;
    CRect kept;
    context->copyClipRect(kept);
    CRect clip = kept;
    clip.bound(size);
    context->setClipRect(clip);
    context->setFont(fontValue, 0, -1);
    if (styleValue & kStyleShadowText)
    {
        CRect shadow = size;
        shadow.offset(1, 1);
        context->setFontColor(shadowColorValue);
        context->drawStringInRect(text, shadow, horizontalAlignValue, antialias);
    }
    context->setFontColor(fontColorValue);
    context->drawStringInRect(text, size, horizontalAlignValue, antialias);
    context->setClipRect(kept);
}

//------------------------------------------------------------------------------------------------

CTextLabel::CTextLabel(const CRect& rect, const char* text, CBitmap* background, int32_t style)
    : CParamDisplay(rect, background, style)
{
    setText(text);
    if (styleValue & kStyleNoDraw) setDirty(false);
}

CTextLabel::CTextLabel(const CTextLabel& other) : CParamDisplay(other)
{
    setText(other.labelText);
}

CTextLabel::~CTextLabel()
{
    delete[] labelText;
}

bool CTextLabel::isTypeOf(const char* name) const
{
    return (name && std::strcmp(name, "CTextLabel") == 0) || CParamDisplay::isTypeOf(name);
}

CView* CTextLabel::clone() const
{
    return new (std::nothrow) CTextLabel(*this);
}

void CTextLabel::setText(const char* text)
{
    if (!text && !labelText) return;
    if (text && labelText && std::strcmp(text, labelText) == 0) return;
    delete[] labelText;
    labelText = nullptr;
    if (text)
    {
        const size_t length = std::strlen(text);
        labelText = new char[length + 1];
        std::memcpy(labelText, text, length + 1);
    }
    setDirty(true);
}

void CTextLabel::draw(CDrawContext* context)
{
    drawText(context, labelText, nullptr);
    setDirty(false);
}

} // namespace Plexel
