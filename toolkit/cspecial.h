#pragma once

// The remaining controls: a counter of digit images, a splash screen shown as the frame's modal
// view, and a meter of lit and unlit LEDs that falls back slowly.

#include "toolkit/ccontrol.h"

namespace Plexel
{

class COffscreenContext;

// Shows its value in digitCount digits, each an image of a strip of ten, 0 at the top.
class CSpecialDigit : public CControl
{
public:
    static constexpr int32_t kMaxDigits = 7;

    // Digit positions are in the parent's coordinates, most significant first; without them the
    // digits lie side by side from the view's top left corner.
    CSpecialDigit(const CRect& size, CControlListener* listener, int32_t tag, int32_t initialValue,
                  int32_t digitCount, const int32_t* xPositions, const int32_t* yPositions,
                  int32_t digitWidth, int32_t digitHeight, CBitmap* background);
    CSpecialDigit(const CSpecialDigit&) = default;

    void draw(CDrawContext* context) override;
    bool isTypeOf(const char* name) const override;
    CView* clone() const override;

private:
    int32_t digitCount;
    int32_t xPosition[kMaxDigits] = {};
    int32_t yPosition[kMaxDigits] = {};
    int32_t digitWidth;
    int32_t digitHeight;
};

// The view a splash screen shows: its background, and a press anywhere closes it.
class CDefaultSplashScreenView : public CControl
{
public:
    CDefaultSplashScreenView(const CRect& size, CControlListener* listener, CBitmap* background,
                             const CPoint& offset = CPoint());
    CDefaultSplashScreenView(const CDefaultSplashScreenView&) = default;

    void draw(CDrawContext* context) override;
    int32_t onMouseDown(CPoint& where, const int32_t& buttons) override;
    bool isTypeOf(const char* name) const override;
    CView* clone() const override;

private:
    CPoint offset;
};

// A press shows splashView as the frame's modal view; a press on that view takes it away.
class CSplashScreen : public CControl, public CControlListener
{
public:
    // Shows the given rectangle of the background, from offset in the bitmap.
    CSplashScreen(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* background,
                  const CRect& splashRect, const CPoint& offset = CPoint());
    // Shows a view of the caller's, whose first reference passes to the splash screen.
    CSplashScreen(const CRect& size, CControlListener* listener, int32_t tag, CView* splashView);
    CSplashScreen(const CSplashScreen& other);
    ~CSplashScreen() override;

    void draw(CDrawContext* context) override;
    bool hitTest(const CPoint& where, const int32_t buttons = -1) override;
    int32_t onMouseDown(CPoint& where, const int32_t& buttons) override;
    bool detached(CView* parent) override;
    bool isTypeOf(const char* name) const override;
    CView* clone() const override;

    // The splash view's press.
    void onValueChanged(CControl* control) override;

    CView* splashViewOf() const { return splashView; }

private:
    void closeSplash();

    CRect splashRect;
    CPoint splashOffset;
    CView* splashView = nullptr;
};

// LEDs lit from the bottom (or, with kHorizontal in style, from the left) up to the shown level,
// which follows a rise at once and a fall by decreaseStep per draw.
class CVuMeter : public CControl
{
public:
    CVuMeter(const CRect& size, CBitmap* onBitmap, CBitmap* offBitmap, int32_t ledCount,
             int32_t style = kVertical);
    CVuMeter(const CVuMeter& other);
    ~CVuMeter() override;

    void draw(CDrawContext* context) override;
    // oldValue holds the shown level, so the flag stays a plain flag.
    void setDirty(bool value = true) override { dirty = value; }
    bool attached(CView* parent) override;
    bool detached(CView* parent) override;
    bool isTypeOf(const char* name) const override;
    CView* clone() const override;

    virtual void setDecreaseStep(float step) { decreaseStep = step; }
    float decreaseStepOf() const { return decreaseStep; }
    virtual void setUseOffscreen(bool value);
    bool usesOffscreen() const { return useOffscreen; }

private:
    void drawMeter(CDrawContext* context, const CRect& where, float shown);
    void paintPart(CBitmap* bitmap, CDrawContext* context, const CRect& where, const CPoint& from) const;

    CBitmap* onBitmap;
    CBitmap* offBitmap;
    COffscreenContext* offscreen = nullptr;
    int32_t ledCount;
    int32_t style;
    float decreaseStep = 0.1f;
    bool useOffscreen = false;
    CRect onRect;
    CRect offRect;
};

} // namespace Plexel
