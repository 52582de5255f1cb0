#pragma once

// Knobs: a handle that turns on an arc, dragged round the arc or in a straight line as the
// editor's knob mode says, and a knob that shows its value as one image of a strip.

#include "toolkit/ccontrol.h"

namespace Plexel
{

// Angles are in radians from the positive x axis, upward positive; the arc starts at startAngle,
// which means vmin, and runs rangeAngle further (negative: clockwise).
class CKnob : public CControl
{
public:
    CKnob(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* background, CBitmap* handle,
          const CPoint& offset = CPoint());
    CKnob(const CKnob& other);
    ~CKnob() override;

    void draw(CDrawContext* context) override;
    int32_t onMouseDown(CPoint& where, const int32_t& buttons) override;
    int32_t onMouseUp(CPoint& where, const int32_t& buttons) override;
    int32_t onMouseMove(CPoint& where, const int32_t& buttons) override;
    bool onWheel(const CPoint& where, float distance, const int32_t& buttons) override;
    int32_t onKeyDown(KeyCode& key) override;
    bool isTypeOf(const char* name) const override;
    CView* clone() const override;
    // The arc's scale follows the range.
    void setMin(float newValue) override;
    void setMax(float newValue) override;

    virtual void setStartAngle(float angle);
    virtual float startAngleOf() const { return startAngle; }
    virtual void setRangeAngle(float angle);
    virtual float rangeAngleOf() const { return rangeAngle; }
    // The handle's point for the value, view-relative.
    virtual void valueToPoint(CPoint& point) const;
    // The value at a view-relative point; a point in the gap of the arc takes the nearer end.
    virtual float valueFromPoint(const CPoint& point) const;
    virtual int32_t insetOf() const { return inset; }
    virtual void setInset(int32_t value) { inset = value; }
    virtual void handleShadowColorOf(CColor& out) const { out = handleShadowColor; }
    virtual void setHandleShadowColor(const CColor& color);
    virtual void handleColorOf(CColor& out) const { out = handleColor; }
    virtual void setHandleColor(const CColor& color);
    virtual CBitmap* handleBitmapOf() const { return handleBitmap; }
    virtual void setHandleBitmap(CBitmap* bitmap);
    virtual void setZoomFactor(float value) { zoomFactor = value; }
    virtual float zoomFactorOf() const { return zoomFactor; }
    virtual void drawHandle(CDrawContext* context);

protected:
    void compute();

    CPoint offset;
    CColor handleColor = kColorWhite;
    CColor handleShadowColor = kColorGrey;
    CBitmap* handleBitmap = nullptr;
    int32_t inset = 3;
    float startAngle;
    float rangeAngle;
    float halfAngle = 0.f;
    float valuePerRadian = 0.f;
    float valueAtZeroAngle = 0.f;
    float radius;
    float zoomFactor = 1.5f;

    // The drag under way.
    CPoint firstPoint;
    CPoint lastPoint;
    float gestureLastValue = 0.f;
    float baseValue = 0.f;
    float rangePixels = 200.f;
    float valuePerPixel = 0.f;
    int32_t gestureButtons = 0;
    bool linear = false;
};

// The value picks one of imageCount images of the background, laid one above the other.
class CAnimKnob : public CKnob, public IMultiBitmapControl
{
public:
    CAnimKnob(const CRect& size, CControlListener* listener, int32_t tag, int32_t imageCount,
              int32_t heightOfOneImage, CBitmap* background, const CPoint& offset = CPoint());
    CAnimKnob(const CAnimKnob&) = default;

    void draw(CDrawContext* context) override;
    // A change too small to move the handle point repaints nothing.
    bool isDirty() const override;
    bool isTypeOf(const char* name) const override;
    CView* clone() const override;
    void setHeightFromView() override { imageHeight = size.height(); }

    void setInverseBitmap(bool value) { inverseBitmap = value; }
    bool inverseBitmapOf() const { return inverseBitmap; }

private:
    int32_t imageCount;
    bool inverseBitmap = false;
    CPoint lastDrawnPoint{-1, -1};
};

} // namespace Plexel
