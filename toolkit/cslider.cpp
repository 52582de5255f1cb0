#include "toolkit/cslider.h"

#include "toolkit/cbitmap.h"

#include <cstring>
#include <new>

namespace Plexel
{

CSlider::CSlider(const CRect& rect, CControlListener* listener, int32_t tag, int32_t startPos, int32_t endPos,
                 CBitmap* handleBitmap, CBitmap* background, const CPoint& offset, int32_t style)
    : CControl(rect, listener, tag, background), offset(offset), handle(nullptr), style(style),
      controlWidth(rect.width()), controlHeight(rect.height())
{
    setHandle(handleBitmap);
    startPosition = startPos - (horizontal() ? rect.left : rect.top);
    travel = endPos - startPos;
    setHandleOffset(CPoint());
    setWantsFocus(true);
}

CSlider::CSlider(const CRect& rect, CControlListener* listener, int32_t tag, const CPoint& handleStart,
                 int32_t fullTravel, CBitmap* handleBitmap, CBitmap* background, const CPoint& offset,
                 int32_t style)
    : CControl(rect, listener, tag, background), offset(offset), handle(nullptr), style(style),
      controlWidth(rect.width()), controlHeight(rect.height())
{
    setHandle(handleBitmap);
    travel = fullTravel - handleLength();
    setHandleOffset(handleStart);
    setWantsFocus(true);
}

CSlider::CSlider(const CSlider& other)
    : CControl(other), offset(other.offset), handleOffset(other.handleOffset), handle(other.handle),
      style(other.style), handleWidth(other.handleWidth), handleHeight(other.handleHeight),
      travel(other.travel), minPosition(other.minPosition), maxPosition(other.maxPosition),
      startPosition(other.startPosition), controlWidth(other.controlWidth),
      controlHeight(other.controlHeight), zoomFactor(other.zoomFactor),
      transparentHandle(other.transparentHandle), freeClickValue(other.freeClickValue)
{
    if (handle) handle->retain();
}

CSlider::~CSlider()
{
    if (handle) handle->release();
}

bool CSlider::isTypeOf(const char* name) const
{
    return (name && std::strcmp(name, "CSlider") == 0) || CControl::isTypeOf(name);
}

CView* CSlider::clone() const
{
    return new (std::nothrow) CSlider(*this);
}

void CSlider::setHandle(CBitmap* bitmap)
{
    if (bitmap) bitmap->retain();
    if (handle) handle->release();
    handle = bitmap;
    handleWidth = bitmap ? bitmap->width() : 1;
    handleHeight = bitmap ? bitmap->height() : 1;
    setDirty(true);
}

void CSlider::setHandleOffset(const CPoint& point)
{
    handleOffset = point;
    minPosition = startPosition + (horizontal() ? point.x : point.y);
    // travel counts the handle's near edge, maxPosition its far one.
    maxPosition = minPosition + travel + handleLength();
}

CRect CSlider::handleRect() const
{
    const bool startsAtZero = (style & (kSliderOriginStart | kSliderOriginStartAlt)) != 0;
    const float n = startsAtZero ? currentValue : 1.f - currentValue;
    int32_t nearEdge = int32_t(float(travel) * n) + (horizontal() ? handleOffset.x : handleOffset.y);
    if (nearEdge < minPosition) nearEdge = minPosition;
    int32_t farEdge = nearEdge + handleLength();
    if (farEdge > maxPosition) farEdge = maxPosition;
    CRect r = horizontal() ? CRect(nearEdge, handleOffset.y, farEdge, handleOffset.y + handleHeight)
                           : CRect(handleOffset.x, nearEdge, handleOffset.x + handleWidth, farEdge);
    r.offset(size.left, size.top);
    return r;
}

void CSlider::draw(CDrawContext* context)
{
    drawBackground(context, CRect(size.left, size.top, size.left + controlWidth, size.top + controlHeight),
                   offset);
    if (handle)
    {
        const CRect r = handleRect();
        if (transparentHandle)
            handle->drawTransparent(context, r, CPoint());
        else
            handle->draw(context, r, CPoint());
    }
    setDirty(false);
}

int32_t CSlider::onMouseDown(CPoint& where, const int32_t& buttons)
{
    if (!(buttons & kButtonLeft)) return kMouseNotHandled;
    delta = horizontal() ? handleOffset.x + size.left : handleOffset.y + size.top;
    if (freeClickValue)
        // The handle's middle jumps to the pointer.
        delta += handleLength() / 2 - 1;
    else
    {
        const CRect r = handleRect();
        if (where.x < r.left || where.x > r.right || where.y < r.top || where.y > r.bottom)
            return kMouseNotHandled;
        // Grabbed where it was pressed, so that the handle does not jump.
        delta += horizontal() ? where.x - r.left : where.y - r.top;
    }
    fineBase = vmin - 1.f;
    lastButtons = buttons;

    beginEdit();
    if (resetToDefault(buttons))
    {
        endEdit();
        return kMouseHandledOnce;
    }
    // A fine drag starts from where the handle is.
    if (buttons & kModifierShift) return kMouseHandled;
    return onMouseMove(where, buttons);
}

int32_t CSlider::onMouseMove(CPoint& where, const int32_t& buttons)
{
    if (!(buttons & kButtonLeft)) return kMouseHandled;
    const float position = (currentValue - vmin) / (vmax - vmin);
    if (fineBase == vmin - 1.f) fineBase = position;
    if (buttons & kModifierShift)
    {
        // The fine drag measures from where Shift went down.
        if (buttons != lastButtons)
        {
            fineBase = position;
            lastButtons = buttons;
        }
    }
    else
        fineBase = position;

    float n = float((horizontal() ? where.x : where.y) - delta) / float(travel);
    if (style & (kSliderOriginEnd | kSliderOriginEndAlt)) n = 1.f - n;
    if (buttons & kModifierShift) n = (n - fineBase) / zoomFactor + fineBase;
    if (vmin != 1.f || vmax != 1.f)
        currentValue = (vmax - vmin) * n + vmin;
    else
        currentValue = n;
    clampValue();
    valueChangedByGesture();
    return kMouseHandled;
}

int32_t CSlider::onMouseUp(CPoint&, const int32_t&)
{
    endEdit();
    return kMouseHandled;
}

bool CSlider::onWheel(const CPoint&, float distance, const int32_t& buttons)
{
    if (!mouseEnabled) return false;
    const float step = distance * wheelIncValue;
    stepValue((buttons & kModifierShift) ? step * 0.1f : step);
    return true;
}

int32_t CSlider::onKeyDown(KeyCode& key)
{
    const float step = keyStep(key);
    if (step == 0.f) return -1;
    stepValue(step);
    return 1;
}

void CSlider::setViewSize(const CRect& rect, bool invalidate)
{
    if (horizontal())
    {
        startPosition += rect.left - size.left;
        travel += rect.width() - size.width();
    }
    else
    {
        startPosition += rect.top - size.top;
        travel += rect.height() - size.height();
    }
    controlWidth = rect.width();
    controlHeight = rect.height();
    setHandleOffset(handleOffset);
    CControl::setViewSize(rect, invalidate);
}

//------------------------------------------------------------------------------------------------

CVerticalSlider::CVerticalSlider(const CRect& rect, CControlListener* listener, int32_t tag, int32_t startPos,
                                 int32_t endPos, CBitmap* handle, CBitmap* background, const CPoint& offset,
                                 int32_t style)
    : CSlider(rect, listener, tag, startPos, endPos, handle, background, offset, style | kSliderVertical)
{
}

CVerticalSlider::CVerticalSlider(const CRect& rect, CControlListener* listener, int32_t tag,
                                 const CPoint& handleOffset, int32_t travel, CBitmap* handle,
                                 CBitmap* background, const CPoint& offset, int32_t style)
    : CSlider(rect, listener, tag, handleOffset, travel, handle, background, offset, style | kSliderVertical)
{
}

CView* CVerticalSlider::clone() const
{
    return new (std::nothrow) CVerticalSlider(*this);
}

CHorizontalSlider::CHorizontalSlider(const CRect& rect, CControlListener* listener, int32_t tag,
                                     int32_t startPos, int32_t endPos, CBitmap* handle, CBitmap* background,
                                     const CPoint& offset, int32_t style)
    : CSlider(rect, listener, tag, startPos, endPos, handle, background, offset, style | kSliderHorizontal)
{
}

CHorizontalSlider::CHorizontalSlider(const CRect& rect, CControlListener* listener, int32_t tag,
                                     const CPoint& handleOffset, int32_t travel, CBitmap* handle,
                                     CBitmap* background, const CPoint& offset, int32_t style)
    : CSlider(rect, listener, tag, handleOffset, travel, handle, background, offset,
              style | kSliderHorizontal)
{
}

CView* CHorizontalSlider::clone() const
{
    return new (std::nothrow) CHorizontalSlider(*this);
}

} // namespace Plexel
