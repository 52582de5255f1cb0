#pragma once

// Controls that play a strip of images: one that shows the image of its value, and an animation
// that a press starts and stops and that its owner steps image by image.

#include "toolkit/ccontrol.h"

namespace Plexel
{

// For display only: the mouse does nothing to it.
class CMovieBitmap : public CControl, public IMultiBitmapControl
{
public:
    CMovieBitmap(const CRect& size, CControlListener* listener, int32_t tag, int32_t imageCount,
                 int32_t heightOfOneImage, CBitmap* background, const CPoint& offset = CPoint());
    CMovieBitmap(const CMovieBitmap&) = default;

    void draw(CDrawContext* context) override;
    bool isTypeOf(const char* name) const override;
    CView* clone() const override;
    void setHeightFromView() override { imageHeight = size.height(); }

private:
    CPoint offset;
    int32_t imageCount;
};

// Its value is the pixel row of the image shown; nothing shows while it is stopped.
class CAutoAnimation : public CControl, public IMultiBitmapControl
{
public:
    CAutoAnimation(const CRect& size, CControlListener* listener, int32_t tag, int32_t imageCount,
                   int32_t heightOfOneImage, CBitmap* background, const CPoint& offset = CPoint());
    CAutoAnimation(const CAutoAnimation&) = default;

    void draw(CDrawContext* context) override;
    int32_t onMouseDown(CPoint& where, const int32_t& buttons) override;
    bool isTypeOf(const char* name) const override;
    CView* clone() const override;
    void setHeightFromView() override { imageHeight = size.height(); }

    virtual void startAnimation() { running = true; }
    virtual void stopAnimation() { running = false; }
    virtual bool isRunning() const { return running; }
    // One image on, wrapping to the first after the last; and one back.
    virtual void nextImage();
    virtual void previousImage();

private:
    CPoint offset;
    int32_t imageCount;
    int32_t totalHeight;
    bool running = false;
};

} // namespace Plexel
