#include "toolkit/cmovie.h"

#include <cstring>
#include <new>

namespace Plexel
{

CMovieBitmap::CMovieBitmap(const CRect& rect, CControlListener* listener, int32_t tag, int32_t imageCount,
                           int32_t heightOfOneImage, CBitmap* background, const CPoint& offset)
    : CControl(rect, listener, tag, background), offset(offset), imageCount(imageCount)
{
    imageHeight = heightOfOneImage;
}

void CMovieBitmap::draw(CDrawContext* context)
{
    if (currentValue > 1.f) currentValue = 1.f;
    const int32_t image = int32_t(float(imageCount - 1) * currentValue + 0.5f);
    drawBackground(context, size, CPoint(offset.x, offset.y + image * imageHeight));
    setDirty(false);
}

bool CMovieBitmap::isTypeOf(const char* name) const
{
    return (name && std::strcmp(name, "CMovieBitmap") == 0) || CControl::isTypeOf(name);
}

CView* CMovieBitmap::clone() const
{
    return new (std::nothrow) CMovieBitmap(*this);
}

//------------------------------------------------------------------------------------------------

CAutoAnimation::CAutoAnimation(const CRect& rect, CControlListener* listener, int32_t tag, int32_t imageCount,
                               int32_t heightOfOneImage, CBitmap* background, const CPoint& offset)
    : CControl(rect, listener, tag, background), offset(offset), imageCount(imageCount),
      totalHeight(imageCount * heightOfOneImage)
{
    imageHeight = heightOfOneImage;
}

void CAutoAnimation::draw(CDrawContext* context)
{
    if (running) drawBackground(context, size, CPoint(offset.x, int32_t(currentValue) + offset.y));
    setDirty(false);
}

int32_t CAutoAnimation::onMouseDown(CPoint&, const int32_t& buttons)
{
    if (!(buttons & kButtonLeft)) return kMouseNotHandled;
    currentValue = 0.f;
    if (running)
    {
        invalidate();
        stopAnimation();
    }
    else
    {
        startAnimation();
        invalidate();
    }
    if (listenerValue) listenerValue->onValueChanged(this);
    return kMouseHandledOnce;
}

void CAutoAnimation::nextImage()
{
    if (currentValue < float(totalHeight - imageHeight))
        currentValue += float(imageHeight);
    else
        currentValue = 0.f;
}

void CAutoAnimation::previousImage()
{
    currentValue -= float(imageHeight);
    if (currentValue < 0.f) currentValue = float(totalHeight - imageHeight - 1);
}

bool CAutoAnimation::isTypeOf(const char* name) const
{
    return (name && std::strcmp(name, "CAutoAnimation") == 0) || CControl::isTypeOf(name);
}

CView* CAutoAnimation::clone() const
{
    return new (std::nothrow) CAutoAnimation(*this);
}

} // namespace Plexel
