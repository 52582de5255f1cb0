#include "toolkit/cswitches.h"

#include "toolkit/cbitmap.h"

#include <cstring>
#include <new>

namespace Plexel
{

CVerticalSwitch::CVerticalSwitch(const CRect& rect, CControlListener* listener, int32_t tag,
                                 int32_t imageCount, int32_t heightOfOneImage, int32_t positionCount,
                                 CBitmap* background, const CPoint& offset)
    : CControl(rect, listener, tag, background), offset(offset), imageCount(imageCount),
      positionCount(positionCount)
{
    imageHeight = heightOfOneImage;
}

void CVerticalSwitch::draw(CDrawContext* context)
{
    const int32_t image = int32_t(float(positionCount - 1) * currentValue + 0.5f);
    drawBackground(context, size, CPoint(offset.x, offset.y + image * imageHeight));
    setDirty(false);
}

double CVerticalSwitch::pixelsForOnePosition() const
{
    return double(imageHeight) / double(positionCount);
}

int32_t CVerticalSwitch::onMouseDown(CPoint& where, const int32_t& buttons)
{
    if (!(buttons & kButtonLeft)) return kMouseNotHandled;
    beginEdit();
    if (resetToDefault(buttons))
    {
        endEdit();
        return kMouseHandledOnce;
    }
    pixelsPerPosition = pixelsForOnePosition();
    return onMouseMove(where, buttons);
}

int32_t CVerticalSwitch::onMouseMove(CPoint& where, const int32_t& buttons)
{
    if (!(buttons & kButtonLeft) || pixelsPerPosition <= 0.0 || positionCount < 2) return kMouseHandled;
    const int32_t position = int32_t(double(distanceFromStart(where)) / pixelsPerPosition);
    currentValue = float(position) / float(positionCount - 1);
    if (currentValue > 1.f)
        currentValue = 1.f;
    else if (currentValue < 0.f)
        currentValue = 0.f;
    valueChangedByGesture();
    return kMouseHandled;
}

int32_t CVerticalSwitch::onMouseUp(CPoint&, const int32_t&)
{
    endEdit();
    return kMouseHandled;
}

bool CVerticalSwitch::isTypeOf(const char* name) const
{
    return (name && std::strcmp(name, ownName()) == 0) || CControl::isTypeOf(name);
}

CView* CVerticalSwitch::clone() const
{
    return new (std::nothrow) CVerticalSwitch(*this);
}

double CHorizontalSwitch::pixelsForOnePosition() const
{
    return backgroundBitmap ? double(backgroundBitmap->width()) / double(positionCount) : 0.0;
}

CView* CHorizontalSwitch::clone() const
{
    return new (std::nothrow) CHorizontalSwitch(*this);
}

//------------------------------------------------------------------------------------------------

CRockerSwitch::CRockerSwitch(const CRect& rect, CControlListener* listener, int32_t tag,
                             int32_t heightOfOneImage, CBitmap* background, const CPoint& offset,
                             int32_t style)
    : CControl(rect, listener, tag, background), offset(offset), style(style)
{
    imageHeight = heightOfOneImage;
    vmin = -1.f;
    vmax = 1.f;
    defaultValueValue = 0.f;
}

void CRockerSwitch::draw(CDrawContext* context)
{
    const int32_t image = currentValue < 0.f ? 0 : currentValue > 0.f ? 2 : 1;
    drawBackground(context, size, CPoint(offset.x, offset.y + image * imageHeight));
    setDirty(false);
}

int32_t CRockerSwitch::onMouseDown(CPoint& where, const int32_t& buttons)
{
    if (!(buttons & kButtonLeft)) return kMouseNotHandled;
    entryValue = currentValue;
    beginEdit();
    return onMouseMove(where, buttons);
}

int32_t CRockerSwitch::onMouseMove(CPoint& where, const int32_t& buttons)
{
    if (!(buttons & kButtonLeft)) return kMouseHandled;
    if (!size.pointInside(where))
        currentValue = entryValue;
    else if (style & kHorizontal)
        currentValue = where.x < size.left + size.width() / 2 ? -1.f : 1.f;
    else
        currentValue = where.y < size.top + size.height() / 2 ? -1.f : 1.f;
    valueChangedByGesture();
    return kMouseHandled;
}

int32_t CRockerSwitch::onMouseUp(CPoint&, const int32_t&)
{
    currentValue = 0.f;
    if (isDirty() && listenerValue) listenerValue->onValueChanged(this);
    invalidate();
    endEdit();
    return kMouseHandled;
}

bool CRockerSwitch::onWheel(const CPoint&, float distance, const int32_t&)
{
    if (!mouseEnabled) return false;
    beginEdit();
    currentValue = distance > 0.f ? -1.f : 1.f;
    if (listenerValue) listenerValue->onValueChanged(this);
    currentValue = 0.f;
    if (listenerValue) listenerValue->onValueChanged(this);
    invalidate();
    endEdit();
    return true;
}

bool CRockerSwitch::isTypeOf(const char* name) const
{
    return (name && std::strcmp(name, "CRockerSwitch") == 0) || CControl::isTypeOf(name);
}

CView* CRockerSwitch::clone() const
{
    return new (std::nothrow) CRockerSwitch(*this);
}

} // namespace Plexel
