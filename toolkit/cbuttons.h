#pragma once

// Buttons: one that toggles, one that sends a single pulse, and one that shows its state while
// held. Each shows the first image of its bitmap for 0 and the second for any other value.

#include "toolkit/ccontrol.h"

namespace Plexel
{

// When an on/off button tells its listener, relative to the idle call of its press.
enum : int32_t
{
    kPostListenerUpdate = 0,
    kPreListenerUpdate = 1,
};

class COnOffButton : public CControl
{
public:
    COnOffButton(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* background,
                 int32_t style = kPostListenerUpdate);
    COnOffButton(const COnOffButton&) = default;

    void draw(CDrawContext* context) override;
    int32_t onMouseDown(CPoint& where, const int32_t& buttons) override;
    bool isTypeOf(const char* name) const override;
    CView* clone() const override;

    int32_t style() const { return styleValue; }
    void setStyle(int32_t newStyle) { styleValue = newStyle; }

private:
    int32_t styleValue;
};

// Holds the value opposite to the one at the press while the pointer stays inside, and tells the
// listener only at the release: one pulse of 1 then 0.
class CKickButton : public CControl, public IMultiBitmapControl
{
public:
    CKickButton(const CRect& size, CControlListener* listener, int32_t tag, int32_t heightOfOneImage,
                CBitmap* background, const CPoint& offset = CPoint());
    CKickButton(const CKickButton&) = default;

    void draw(CDrawContext* context) override;
    int32_t onMouseDown(CPoint& where, const int32_t& buttons) override;
    int32_t onMouseUp(CPoint& where, const int32_t& buttons) override;
    int32_t onMouseMove(CPoint& where, const int32_t& buttons) override;
    bool isTypeOf(const char* name) const override;
    CView* clone() const override;
    void setHeightFromView() override { imageHeight = size.height(); }

private:
    void followPointer(const CPoint& where);

    CPoint offset;
    float entryValue = 0.f;
};

// Like the kick button while held, but the listener hears each change as it happens.
class CMovieButton : public CControl, public IMultiBitmapControl
{
public:
    CMovieButton(const CRect& size, CControlListener* listener, int32_t tag, int32_t heightOfOneImage,
                 CBitmap* background, const CPoint& offset = CPoint());
    CMovieButton(const CMovieButton&) = default;

    void draw(CDrawContext* context) override;
    int32_t onMouseDown(CPoint& where, const int32_t& buttons) override;
    int32_t onMouseUp(CPoint& where, const int32_t& buttons) override;
    int32_t onMouseMove(CPoint& where, const int32_t& buttons) override;
    bool isTypeOf(const char* name) const override;
    CView* clone() const override;
    void setHeightFromView() override { imageHeight = size.height(); }

private:
    CPoint offset;
    float drawnValue = 0.f;
    float entryValue = 0.f;
};

} // namespace Plexel
