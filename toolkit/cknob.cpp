#include "toolkit/cknob.h"

#include "toolkit/cbitmap.h"
#include "toolkit/cframe.h"

#include <cmath>
#include <cstring>
#include <new>

namespace Plexel
{

namespace
{
constexpr float kPi = 3.14159265358979f;
constexpr float kTwoPi = 2.f * kPi;

int32_t insetForHandle(const CBitmap* handle)
{
    return handle ? int32_t(float(handle->width()) / 2.f + 2.5f) : 3;
}
} // namespace

CKnob::CKnob(const CRect& rect, CControlListener* listener, int32_t tag, CBitmap* background, CBitmap* handle,
             const CPoint& offset)
    : CControl(rect, listener, tag, background), offset(offset), handleBitmap(handle),
      inset(insetForHandle(handle)), startAngle(5.f * kPi / 4.f), rangeAngle(-3.f * kPi / 2.f),
      radius(float(rect.width()) / 2.f)
{
    if (handleBitmap) handleBitmap->retain();
    setWantsFocus(true);
    compute();
}

CKnob::CKnob(const CKnob& other)
    : CControl(other), offset(other.offset), handleColor(other.handleColor),
      handleShadowColor(other.handleShadowColor), handleBitmap(other.handleBitmap), inset(other.inset),
      startAngle(other.startAngle), rangeAngle(other.rangeAngle), halfAngle(other.halfAngle),
      valuePerRadian(other.valuePerRadian), valueAtZeroAngle(other.valueAtZeroAngle), radius(other.radius),
      zoomFactor(other.zoomFactor)
{
    if (handleBitmap) handleBitmap->retain();
}

CKnob::~CKnob()
{
    if (handleBitmap) handleBitmap->release();
}

bool CKnob::isTypeOf(const char* name) const
{
    return (name && std::strcmp(name, "CKnob") == 0) || CControl::isTypeOf(name);
}

CView* CKnob::clone() const
{
    return new (std::nothrow) CKnob(*this);
}

void CKnob::setStartAngle(float angle)
{
    startAngle = angle;
    compute();
}

void CKnob::setRangeAngle(float angle)
{
    rangeAngle = angle;
    compute();
}

void CKnob::setMin(float newValue)
{
    vmin = newValue;
    compute();
}

void CKnob::setMax(float newValue)
{
    vmax = newValue;
    compute();
}

void CKnob::compute()
{
    valuePerRadian = (vmax - vmin) / rangeAngle;
    valueAtZeroAngle = vmin - valuePerRadian * startAngle;
    halfAngle = (kTwoPi - std::fabs(rangeAngle)) / 2.f;
    setDirty(true);
}

void CKnob::setHandleShadowColor(const CColor& color)
{
    handleShadowColor = color;
    setDirty(true);
}

void CKnob::setHandleColor(const CColor& color)
{
    handleColor = color;
    setDirty(true);
}

void CKnob::setHandleBitmap(CBitmap* bitmap)
{
    if (bitmap) bitmap->retain();
    if (handleBitmap) handleBitmap->release();
    handleBitmap = bitmap;
    inset = insetForHandle(bitmap);
    setDirty(true);
}

void CKnob::valueToPoint(CPoint& point) const
{
    const float angle = (currentValue - valueAtZeroAngle) / valuePerRadian;
    const float reach = radius - float(inset);
    point.x = int32_t(std::cos(angle) * reach + radius + 0.5f);
    point.y = int32_t(radius - std::sin(angle) * reach + 0.5f);
}

float CKnob::valueFromPoint(const CPoint& point) const
{
    const float range = std::fabs(rangeAngle);
    float a = std::atan2(radius - float(point.y), float(point.x) - radius);
    if (a < 0.f) a += kTwoPi;
    a -= startAngle;
    // Measured from the end of the arc that means vmax when the arc runs clockwise.
    if (rangeAngle < 0.f) a += range;

    float w = a;
    if (w < 0.f)
        w += kTwoPi;
    else if (w > kTwoPi)
        w -= kTwoPi;
    if (rangeAngle < 0.f)
    {
        if (w > halfAngle + range) return vmax;
        if (w > range) return vmin;
    }
    else
    {
        if (w > halfAngle + range) return vmin;
        if (w > range) return vmax;
    }

    if (a > halfAngle + range)
        a -= kTwoPi;
    else if (a < -halfAngle)
        a += kTwoPi;
    return a * valuePerRadian + (rangeAngle < 0.f ? vmax : vmin);
}

void CKnob::draw(CDrawContext* context)
{
    drawBackground(context, size, offset);
    drawHandle(context);
    setDirty(false);
}

void CKnob::drawHandle(CDrawContext* context)
{
    CPoint handle;
    valueToPoint(handle);
    handle.offset(size.left, size.top);
    if (handleBitmap)
    {
        const int32_t w = handleBitmap->width(), h = handleBitmap->height();
        const CRect where(handle.x - w / 2, handle.y - h / 2, handle.x - w / 2 + w, handle.y - h / 2 + h);
        handleBitmap->drawTransparent(context, where, CPoint());
        return;
    }
    const CPoint centre(size.left + size.width() / 2, size.top + size.height() / 2);
    context->setLineWidth(1);
    context->setFrameColor(handleShadowColor);
    context->moveTo(CPoint(handle.x - 1, handle.y));
    context->lineTo(CPoint(centre.x - 1, centre.y));
    context->setFrameColor(handleColor);
    context->moveTo(CPoint(handle.x, handle.y - 1));
    context->lineTo(CPoint(centre.x, centre.y - 1));
}

int32_t CKnob::onMouseDown(CPoint& where, const int32_t& buttons)
{
    beginEdit();
    if (resetToDefault(buttons))
    {
        endEdit();
        return kMouseHandledOnce;
    }
    firstPoint = where;
    lastPoint = CPoint(-1, -1);
    gestureLastValue = lastValue;
    baseValue = currentValue;
    rangePixels = 200.f;
    valuePerPixel = (vmax - vmin) / rangePixels;
    gestureButtons = buttons;

    const int32_t mode = frameValue ? frameValue->knobMode() : kCircularMode;
    const bool alt = (buttons & kModifierAlt) != 0;
    linear = (buttons & kButtonLeft) && (mode == kLinearMode ? !alt : alt);
    if (linear)
    {
        if (buttons & kModifierShift) rangePixels *= zoomFactor;
        // The press itself must not move the value: the first move measures from here.
        lastPoint = where;
        valuePerPixel = (vmax - vmin) / rangePixels;
        return onMouseMove(where, buttons);
    }
    gestureLastValue = valueFromPoint(CPoint(where.x - size.left, where.y - size.top));
    return onMouseMove(where, buttons);
}

int32_t CKnob::onMouseMove(CPoint& where, const int32_t& buttons)
{
    if (!(buttons & kButtonLeft) || where == lastPoint) return kMouseHandled;
    lastPoint = where;
    if (linear)
    {
        // Up and to the right count positive.
        const float distance = float((firstPoint.y - where.y) + (where.x - firstPoint.x));
        if (buttons != gestureButtons)
        {
            // A change of Shift mid-drag changes the scale without a jump of the value.
            rangePixels = 200.f;
            if (buttons & kModifierShift) rangePixels *= zoomFactor;
            const float newValuePerPixel = (vmax - vmin) / rangePixels;
            baseValue += (valuePerPixel - newValuePerPixel) * distance;
            valuePerPixel = newValuePerPixel;
            gestureButtons = buttons;
        }
        currentValue = distance * valuePerPixel + baseValue;
        clampValue();
    }
    else
    {
        const float next = valueFromPoint(CPoint(where.x - size.left, where.y - size.top));
        const float halfRange = (vmax - vmin) / 2.f;
        // A jump of more than half the range means the pointer crossed the gap of the arc.
        if (gestureLastValue - next > halfRange)
            currentValue = vmax;
        else if (next - gestureLastValue > halfRange)
            currentValue = vmin;
        else
        {
            currentValue = next;
            gestureLastValue = next;
        }
    }
    if (currentValue != lastValue && listenerValue) listenerValue->onValueChanged(this);
    if (isDirty()) invalidate();
    return kMouseHandled;
}

int32_t CKnob::onMouseUp(CPoint&, const int32_t&)
{
    endEdit();
    return kMouseHandled;
}

bool CKnob::onWheel(const CPoint&, float distance, const int32_t& buttons)
{
    if (!mouseEnabled) return false;
    const float step = distance * wheelIncValue;
    stepValue((buttons & kModifierShift) ? step * 0.1f : step);
    return true;
}

int32_t CKnob::onKeyDown(KeyCode& key)
{
    const float step = keyStep(key);
    if (step == 0.f) return -1;
    stepValue(step);
    return 1;
}

//------------------------------------------------------------------------------------------------

CAnimKnob::CAnimKnob(const CRect& rect, CControlListener* listener, int32_t tag, int32_t imageCount,
                     int32_t heightOfOneImage, CBitmap* background, const CPoint& offset)
    : CKnob(rect, listener, tag, background, nullptr, offset), imageCount(imageCount)
{
    imageHeight = heightOfOneImage;
}

bool CAnimKnob::isDirty() const
{
    if (!dirty)
    {
        CPoint point;
        valueToPoint(point);
        if (point == lastDrawnPoint) return false;
    }
    return CKnob::isDirty();
}

void CAnimKnob::draw(CDrawContext* context)
{
    CPoint point;
    valueToPoint(point);
    if (currentValue >= 0.f && imageHeight > 0)
    {
        const float share = inverseBitmap ? 1.f - currentValue : currentValue;
        int32_t row = int32_t(float(imageCount - 1) * float(imageHeight) * share);
        row -= row % imageHeight;
        drawBackground(context, size, CPoint(offset.x, offset.y + row));
    }
    else
        drawBackground(context, size, offset);
    lastDrawnPoint = point;
    setDirty(false);
}

bool CAnimKnob::isTypeOf(const char* name) const
{
    return (name && std::strcmp(name, "CAnimKnob") == 0) || CKnob::isTypeOf(name);
}

CView* CAnimKnob::clone() const
{
    return new (std::nothrow) CAnimKnob(*this);
}

} // namespace Plexel
