#pragma once

// Sliders: a handle bitmap that runs along one axis over a background, dragged directly or, with
// Shift, at a finer scale.

#include "toolkit/ccontrol.h"

namespace Plexel
{

// The style word carries the axis and where value 0 lies. Drawing takes 1 - value unless one of
// the two start bits is set; the mouse takes 1 - position when one of the two end bits is set.
enum : int32_t
{
    kSliderHorizontal = 1,
    kSliderVertical = 2,
    kSliderOriginStart = 8,
    kSliderOriginEnd = 16,
    kSliderOriginStartAlt = 32,
    kSliderOriginEndAlt = 64,
};

class CSlider : public CControl
{
public:
    // The handle's travel from startPosition to endPosition, along the axis in the parent's
    // coordinates.
    CSlider(const CRect& size, CControlListener* listener, int32_t tag, int32_t startPosition,
            int32_t endPosition, CBitmap* handle, CBitmap* background, const CPoint& offset, int32_t style);
    // The travel starts at handleOffset, view-relative, and spans travel less the handle's size.
    CSlider(const CRect& size, CControlListener* listener, int32_t tag, const CPoint& handleOffset,
            int32_t travel, CBitmap* handle, CBitmap* background, const CPoint& offset, int32_t style);
    CSlider(const CSlider& other);
    ~CSlider() override;

    void draw(CDrawContext* context) override;
    int32_t onMouseDown(CPoint& where, const int32_t& buttons) override;
    int32_t onMouseUp(CPoint& where, const int32_t& buttons) override;
    int32_t onMouseMove(CPoint& where, const int32_t& buttons) override;
    bool onWheel(const CPoint& where, float distance, const int32_t& buttons) override;
    int32_t onKeyDown(KeyCode& key) override;
    void setViewSize(const CRect& rect, bool invalidate = true) override;
    bool isTypeOf(const char* name) const override;
    CView* clone() const override;

    virtual void setTransparentHandle(bool value) { transparentHandle = value; }
    virtual void setFreeClick(bool value) { freeClickValue = value; }
    virtual bool freeClick() const { return freeClickValue; }
    virtual void setHandleOffset(const CPoint& point);
    virtual void handleOffsetOf(CPoint& out) const { out = handleOffset; }
    virtual void setOffset(const CPoint& point) { offset = point; }
    virtual void offsetOf(CPoint& out) const { out = offset; }
    virtual int32_t styleOf() const { return style; }
    virtual void setHandle(CBitmap* bitmap);
    virtual CBitmap* handleOf() const { return handle; }
    virtual void setZoomFactor(float value) { zoomFactor = value; }
    virtual float zoomFactorOf() const { return zoomFactor; }

protected:
    bool horizontal() const { return (style & kSliderHorizontal) != 0; }
    int32_t handleLength() const { return horizontal() ? handleWidth : handleHeight; }
    // Where draw puts the handle, in the parent's coordinates.
    CRect handleRect() const;

    CPoint offset;
    CPoint handleOffset;
    CBitmap* handle;
    int32_t style;
    int32_t handleWidth = 1;
    int32_t handleHeight = 1;
    int32_t travel = 0;
    int32_t minPosition = 0;
    int32_t maxPosition = 0;
    int32_t startPosition = 0;
    int32_t controlWidth;
    int32_t controlHeight;
    float zoomFactor = 10.f;
    bool transparentHandle = true;
    bool freeClickValue = true;

    // The drag under way.
    int32_t delta = 0;
    float fineBase = 0.f;
    int32_t lastButtons = 0;
};

class CVerticalSlider : public CSlider
{
public:
    CVerticalSlider(const CRect& size, CControlListener* listener, int32_t tag, int32_t startPosition,
                    int32_t endPosition, CBitmap* handle, CBitmap* background,
                    const CPoint& offset = CPoint(), int32_t style = kSliderOriginEnd);
    CVerticalSlider(const CRect& size, CControlListener* listener, int32_t tag, const CPoint& handleOffset,
                    int32_t travel, CBitmap* handle, CBitmap* background, const CPoint& offset = CPoint(),
                    int32_t style = kSliderOriginEnd);
    CVerticalSlider(const CVerticalSlider&) = default;
    CView* clone() const override;
};

class CHorizontalSlider : public CSlider
{
public:
    CHorizontalSlider(const CRect& size, CControlListener* listener, int32_t tag, int32_t startPosition,
                      int32_t endPosition, CBitmap* handle, CBitmap* background,
                      const CPoint& offset = CPoint(), int32_t style = kSliderOriginStart);
    CHorizontalSlider(const CRect& size, CControlListener* listener, int32_t tag, const CPoint& handleOffset,
                      int32_t travel, CBitmap* handle, CBitmap* background, const CPoint& offset = CPoint(),
                      int32_t style = kSliderOriginStart);
    CHorizontalSlider(const CHorizontalSlider&) = default;
    CView* clone() const override;
};

} // namespace Plexel
