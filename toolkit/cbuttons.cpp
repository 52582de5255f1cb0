#include "toolkit/cbuttons.h"

#include "toolkit/cbitmap.h"

#include <cstring>
#include <new>

namespace Plexel
{

namespace
{
float opposite(float value)
{
    return value != 0.f ? 0.f : 1.f;
}
} // namespace

COnOffButton::COnOffButton(const CRect& rect, CControlListener* listener, int32_t tag, CBitmap* background,
                           int32_t style)
    : CControl(rect, listener, tag, background), styleValue(style)
{
}

void COnOffButton::draw(CDrawContext* context)
{
    if (backgroundBitmap)
    {
        const int32_t half = backgroundBitmap->height() / 2;
        drawBackground(context, size, CPoint(0, currentValue != 0.f ? half : 0));
    }
    setDirty(false);
}

int32_t COnOffButton::onMouseDown(CPoint&, const int32_t& buttons)
{
    if (!(buttons & kButtonLeft)) return kMouseNotHandled;
    beginEdit();
    currentValue = opposite(currentValue);
    invalidate();
    if (styleValue == kPreListenerUpdate && listenerValue) listenerValue->onValueChanged(this);
    doIdle();
    if (styleValue == kPostListenerUpdate && listenerValue) listenerValue->onValueChanged(this);
    endEdit();
    return kMouseHandledOnce;
}

bool COnOffButton::isTypeOf(const char* name) const
{
    return (name && std::strcmp(name, "COnOffButton") == 0) || CControl::isTypeOf(name);
}

CView* COnOffButton::clone() const
{
    return new (std::nothrow) COnOffButton(*this);
}

//------------------------------------------------------------------------------------------------

CKickButton::CKickButton(const CRect& rect, CControlListener* listener, int32_t tag, int32_t heightOfOneImage,
                         CBitmap* background, const CPoint& offset)
    : CControl(rect, listener, tag, background), offset(offset)
{
    imageHeight = heightOfOneImage;
}

void CKickButton::draw(CDrawContext* context)
{
    drawBackground(context, size, CPoint(offset.x, offset.y + (currentValue != 0.f ? imageHeight : 0)));
    setDirty(false);
}

void CKickButton::followPointer(const CPoint& where)
{
    currentValue = size.pointInside(where) ? opposite(entryValue) : entryValue;
    if (isDirty()) invalidate();
}

int32_t CKickButton::onMouseDown(CPoint& where, const int32_t& buttons)
{
    if (!(buttons & kButtonLeft)) return kMouseNotHandled;
    beginEdit();
    entryValue = currentValue;
    followPointer(where);
    return kMouseHandled;
}

int32_t CKickButton::onMouseMove(CPoint& where, const int32_t& buttons)
{
    if (buttons & kButtonLeft) followPointer(where);
    return kMouseHandled;
}

int32_t CKickButton::onMouseUp(CPoint& where, const int32_t&)
{
    followPointer(where);
    if (currentValue != 0.f && listenerValue) listenerValue->onValueChanged(this);
    currentValue = 0.f;
    if (listenerValue) listenerValue->onValueChanged(this);
    invalidate();
    endEdit();
    return kMouseHandled;
}

bool CKickButton::isTypeOf(const char* name) const
{
    return (name && std::strcmp(name, "CKickButton") == 0) || CControl::isTypeOf(name);
}

CView* CKickButton::clone() const
{
    return new (std::nothrow) CKickButton(*this);
}

//------------------------------------------------------------------------------------------------

CMovieButton::CMovieButton(const CRect& rect, CControlListener* listener, int32_t tag,
                           int32_t heightOfOneImage, CBitmap* background, const CPoint& offset)
    : CControl(rect, listener, tag, background), offset(offset)
{
    imageHeight = heightOfOneImage;
}

void CMovieButton::draw(CDrawContext* context)
{
    drawBackground(context, size, CPoint(offset.x, offset.y + (currentValue != 0.f ? imageHeight : 0)));
    drawnValue = currentValue;
    setDirty(false);
}

int32_t CMovieButton::onMouseDown(CPoint& where, const int32_t& buttons)
{
    if (!(buttons & kButtonLeft)) return kMouseNotHandled;
    beginEdit();
    entryValue = currentValue;
    return onMouseMove(where, buttons);
}

int32_t CMovieButton::onMouseMove(CPoint& where, const int32_t& buttons)
{
    if (!(buttons & kButtonLeft)) return kMouseHandled;
    currentValue = size.pointInside(where) ? opposite(entryValue) : entryValue;
    valueChangedByGesture();
    return kMouseHandled;
}

int32_t CMovieButton::onMouseUp(CPoint&, const int32_t&)
{
    endEdit();
    return kMouseHandled;
}

bool CMovieButton::isTypeOf(const char* name) const
{
    return (name && std::strcmp(name, "CMovieButton") == 0) || CControl::isTypeOf(name);
}

CView* CMovieButton::clone() const
{
    return new (std::nothrow) CMovieButton(*this);
}

} // namespace Plexel
