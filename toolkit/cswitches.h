#pragma once

// Switches that pick one image of a strip by their value: by where the pointer is along the
// switch, or, for the rocker, by which half it is in until the release springs it back.

#include "toolkit/ccontrol.h"

namespace Plexel
{

// A switch of positionCount steps between 0 and 1; the pointer's distance from the near edge picks
// the step. The vertical switch measures down from its top, the horizontal one from its left.
class CVerticalSwitch : public CControl, public IMultiBitmapControl
{
public:
    CVerticalSwitch(const CRect& size, CControlListener* listener, int32_t tag, int32_t imageCount,
                    int32_t heightOfOneImage, int32_t positionCount, CBitmap* background,
                    const CPoint& offset = CPoint());
    CVerticalSwitch(const CVerticalSwitch&) = default;

    void draw(CDrawContext* context) override;
    int32_t onMouseDown(CPoint& where, const int32_t& buttons) override;
    int32_t onMouseUp(CPoint& where, const int32_t& buttons) override;
    int32_t onMouseMove(CPoint& where, const int32_t& buttons) override;
    bool isTypeOf(const char* name) const override;
    CView* clone() const override;
    void setHeightFromView() override { imageHeight = size.height(); }

protected:
    virtual double pixelsForOnePosition() const;
    virtual int32_t distanceFromStart(const CPoint& where) const { return where.y - size.top; }
    virtual const char* ownName() const { return "CVerticalSwitch"; }

    CPoint offset;
    int32_t imageCount;
    int32_t positionCount;
    double pixelsPerPosition = 1.0;
};

class CHorizontalSwitch : public CVerticalSwitch
{
public:
    using CVerticalSwitch::CVerticalSwitch;
    CHorizontalSwitch(const CHorizontalSwitch&) = default;
    CView* clone() const override;

protected:
    double pixelsForOnePosition() const override;
    int32_t distanceFromStart(const CPoint& where) const override { return where.x - size.left; }
    const char* ownName() const override { return "CHorizontalSwitch"; }
};

// Three images for -1, 0 and +1. The first half of the control (the left with kHorizontal in
// style, else the upper) means -1, the second +1; the release always comes back to 0.
class CRockerSwitch : public CControl, public IMultiBitmapControl
{
public:
    CRockerSwitch(const CRect& size, CControlListener* listener, int32_t tag, int32_t heightOfOneImage,
                  CBitmap* background, const CPoint& offset = CPoint(), int32_t style = kHorizontal);
    CRockerSwitch(const CRockerSwitch&) = default;

    void draw(CDrawContext* context) override;
    int32_t onMouseDown(CPoint& where, const int32_t& buttons) override;
    int32_t onMouseUp(CPoint& where, const int32_t& buttons) override;
    int32_t onMouseMove(CPoint& where, const int32_t& buttons) override;
    bool onWheel(const CPoint& where, float distance, const int32_t& buttons) override;
    bool isTypeOf(const char* name) const override;
    CView* clone() const override;
    void setHeightFromView() override { imageHeight = size.height(); }

private:
    CPoint offset;
    int32_t style;
    float entryValue = 0.f;
};

} // namespace Plexel
