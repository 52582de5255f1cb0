#include "toolkit/cspecial.h"

#include "toolkit/cbitmap.h"
#include "toolkit/cframe.h"

#include <cstring>
#include <new>

namespace Plexel
{

CSpecialDigit::CSpecialDigit(const CRect& rect, CControlListener* listener, int32_t tag, int32_t initialValue,
                             int32_t count, const int32_t* xPositions, const int32_t* yPositions,
                             int32_t width, int32_t height, CBitmap* background)
    : CControl(rect, listener, tag, background), digitCount(count), digitWidth(width), digitHeight(height)
{
    if (digitCount > kMaxDigits) digitCount = kMaxDigits;
    if (digitCount < 0) digitCount = 0;
    const int32_t step = background ? background->width() : digitWidth;
    for (int32_t i = 0; i < digitCount; ++i)
    {
        xPosition[i] = xPositions ? xPositions[i] : rect.left + i * step;
        yPosition[i] = yPositions ? yPositions[i] : rect.top;
    }
    float top = 1.f;
    for (int32_t i = 0; i < digitCount; ++i)
        top *= 10.f;
    vmin = 0.f;
    vmax = top - 1.f;
    currentValue = float(initialValue);
}

void CSpecialDigit::draw(CDrawContext* context)
{
    float shown = currentValue;
    if (shown > vmax)
        shown = vmax;
    else if (shown < vmin)
        shown = vmin;
    int32_t rest = int32_t(shown);
    int32_t digits[kMaxDigits] = {};
    for (int32_t i = digitCount - 1; i >= 0; --i)
    {
        digits[i] = rest % 10;
        rest /= 10;
    }
    for (int32_t i = 0; i < digitCount; ++i)
    {
        const CRect where(xPosition[i], yPosition[i], xPosition[i] + digitWidth, yPosition[i] + digitHeight);
        drawBackground(context, where, CPoint(0, digitHeight * digits[i]));
    }
    setDirty(false);
}

bool CSpecialDigit::isTypeOf(const char* name) const
{
    return (name && std::strcmp(name, "CSpecialDigit") == 0) || CControl::isTypeOf(name);
}

CView* CSpecialDigit::clone() const
{
    return new (std::nothrow) CSpecialDigit(*this);
}

//------------------------------------------------------------------------------------------------

CDefaultSplashScreenView::CDefaultSplashScreenView(const CRect& rect, CControlListener* listener,
                                                   CBitmap* background, const CPoint& offset)
    : CControl(rect, listener, 0, background), offset(offset)
{
}

void CDefaultSplashScreenView::draw(CDrawContext* context)
{
    drawBackground(context, size, offset);
    setDirty(false);
}

int32_t CDefaultSplashScreenView::onMouseDown(CPoint&, const int32_t& buttons)
{
    if (!(buttons & kButtonLeft)) return kMouseNotHandled;
    if (listenerValue) listenerValue->onValueChanged(this);
    return kMouseHandledOnce;
}

bool CDefaultSplashScreenView::isTypeOf(const char* name) const
{
    return (name && std::strcmp(name, "CDefaultSplashScreenView") == 0) || CControl::isTypeOf(name);
}

CView* CDefaultSplashScreenView::clone() const
{
    return new (std::nothrow) CDefaultSplashScreenView(*this);
}

//------------------------------------------------------------------------------------------------

CSplashScreen::CSplashScreen(const CRect& rect, CControlListener* listener, int32_t tag, CBitmap* background,
                             const CRect& splash, const CPoint& offset)
    : CControl(rect, listener, tag, nullptr), splashRect(splash), splashOffset(offset),
      splashView(new CDefaultSplashScreenView(splash, this, background, offset))
{
}

CSplashScreen::CSplashScreen(const CRect& rect, CControlListener* listener, int32_t tag, CView* view)
    : CControl(rect, listener, tag, nullptr), splashRect(view ? view->viewSize() : CRect()), splashView(view)
{
    if (splashView && splashView->isTypeOf("CControl")) static_cast<CControl*>(splashView)->setListener(this);
}

CSplashScreen::CSplashScreen(const CSplashScreen& other)
    : CControl(other), CControlListener(other), splashRect(other.splashRect),
      splashOffset(other.splashOffset), splashView(other.splashView ? other.splashView->clone() : nullptr)
{
    if (splashView && splashView->isTypeOf("CControl")) static_cast<CControl*>(splashView)->setListener(this);
}

CSplashScreen::~CSplashScreen()
{
    if (splashView) splashView->release();
}

void CSplashScreen::draw(CDrawContext*)
{
    setDirty(false);
}

bool CSplashScreen::hitTest(const CPoint& where, const int32_t buttons)
{
    return (buttons & kButtonLeft) && CControl::hitTest(where, buttons);
}

int32_t CSplashScreen::onMouseDown(CPoint&, const int32_t& buttons)
{
    if (!(buttons & kButtonLeft)) return kMouseNotHandled;
    currentValue = currentValue != 0.f ? 0.f : 1.f;
    if (currentValue != 0.f)
    {
        if (frameValue && splashView && frameValue->setModalView(splashView) && listenerValue)
            listenerValue->onValueChanged(this);
    }
    return kMouseHandledOnce;
}

void CSplashScreen::onValueChanged(CControl*)
{
    currentValue = 0.f;
    closeSplash();
    if (listenerValue) listenerValue->onValueChanged(this);
}

void CSplashScreen::closeSplash()
{
    // The splash view stays ours: the frame gives back only the reference it took.
    if (frameValue && splashView && frameValue->modalView() == splashView) frameValue->setModalView(nullptr);
}

bool CSplashScreen::detached(CView* oldParent)
{
    closeSplash();
    return CControl::detached(oldParent);
}

bool CSplashScreen::isTypeOf(const char* name) const
{
    return (name && std::strcmp(name, "CSplashScreen") == 0) || CControl::isTypeOf(name);
}

CView* CSplashScreen::clone() const
{
    return new (std::nothrow) CSplashScreen(*this);
}

//------------------------------------------------------------------------------------------------

CVuMeter::CVuMeter(const CRect& rect, CBitmap* on, CBitmap* off, int32_t count, int32_t style)
    : CControl(rect, nullptr, 0, nullptr), onBitmap(on), offBitmap(off), ledCount(count), style(style)
{
    if (onBitmap) onBitmap->retain();
    if (offBitmap) offBitmap->retain();
}

CVuMeter::CVuMeter(const CVuMeter& other)
    : CControl(other), onBitmap(other.onBitmap), offBitmap(other.offBitmap), ledCount(other.ledCount),
      style(other.style), decreaseStep(other.decreaseStep), useOffscreen(other.useOffscreen)
{
    if (onBitmap) onBitmap->retain();
    if (offBitmap) offBitmap->retain();
}

CVuMeter::~CVuMeter()
{
    if (offscreen) offscreen->release();
    if (onBitmap) onBitmap->release();
    if (offBitmap) offBitmap->release();
}

void CVuMeter::setUseOffscreen(bool value)
{
    useOffscreen = value;
    if (!value && offscreen)
    {
        offscreen->release();
        offscreen = nullptr;
    }
}

bool CVuMeter::attached(CView* newParent)
{
    if (!CControl::attached(newParent)) return false;
    if (useOffscreen && !offscreen)
        offscreen = new COffscreenContext(frameValue, size.width(), size.height());
    return true;
}

bool CVuMeter::detached(CView* oldParent)
{
    if (offscreen)
    {
        offscreen->release();
        offscreen = nullptr;
    }
    return CControl::detached(oldParent);
}

void CVuMeter::draw(CDrawContext* context)
{
    clampValue();
    float shown = lastValue - decreaseStep;
    if (currentValue > shown) shown = currentValue;
    lastValue = shown;

    if (!useOffscreen)
        drawMeter(context, size, shown);
    else
    {
        if (!offscreen) offscreen = new COffscreenContext(frameValue, size.width(), size.height());
        const CRect local(0, 0, size.width(), size.height());
        if (backgroundBitmap && transparent) backgroundBitmap->draw(offscreen, local, backOffset);
        drawMeter(offscreen, local, shown);
        offscreen->copyTo(context, size);
    }
    setDirty(false);
}

void CVuMeter::paintPart(CBitmap* bitmap, CDrawContext* context, const CRect& where, const CPoint& from) const
{
    if (!bitmap) return;
    if (transparent)
        bitmap->drawTransparent(context, where, from);
    else
        bitmap->draw(context, where, from);
}

void CVuMeter::drawMeter(CDrawContext* context, const CRect& where, float shown)
{
    // Each bitmap shows the part of its picture that lies at that place in the meter.
    if (style & kHorizontal)
    {
        const int32_t lit = int32_t(float(ledCount) * shown + 0.5f);
        const int32_t split = ledCount > 0 ? int32_t(float(lit) / float(ledCount) * float(where.width())) : 0;
        onRect = CRect(where.left, where.top, where.left + split, where.bottom);
        offRect = CRect(where.left + split, where.top, where.right, where.bottom);
        paintPart(onBitmap, context, onRect, CPoint());
        paintPart(offBitmap, context, offRect, CPoint(split, 0));
        return;
    }
    const int32_t unlit = int32_t(float(ledCount) * (vmax - shown) + 0.5f);
    const int32_t height = onBitmap ? onBitmap->height() : where.height();
    const int32_t split = ledCount > 0 ? int32_t(float(unlit) / float(ledCount) * float(height)) : 0;
    offRect = CRect(where.left, where.top, where.right, where.top + split);
    onRect = CRect(where.left, where.top + split, where.right, where.bottom);
    paintPart(offBitmap, context, offRect, CPoint());
    paintPart(onBitmap, context, onRect, CPoint(0, split));
}

bool CVuMeter::isTypeOf(const char* name) const
{
    return (name && std::strcmp(name, "CVuMeter") == 0) || CControl::isTypeOf(name);
}

CView* CVuMeter::clone() const
{
    return new (std::nothrow) CVuMeter(*this);
}

} // namespace Plexel
