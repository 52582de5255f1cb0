#pragma once

// The base of every control: a view with a value in a range, a tag that names it to the outside,
// and a listener that hears of changes and of the edit gestures around them.

#include "toolkit/cview.h"

namespace Plexel
{
class CControl;
}

// Outside the toolkit's namespace: editors of any kind implement it.
class CControlListener
{
public:
    virtual ~CControlListener() = default;
    virtual void onValueChanged(Plexel::CControl* control) = 0;
    // Non-zero takes the click, and the control never sees it.
    virtual int32_t onModifierClick(Plexel::CControl*, int32_t /*buttons*/) { return 0; }
    virtual void onBeginEdit(Plexel::CControl*) {}
    virtual void onEndEdit(Plexel::CControl*) {}
};

namespace Plexel
{

// The knob gestures that the editor's knob mode picks.
enum : int32_t
{
    kCircularMode = 0,
    kRelativeCircularMode = 1,
    kLinearMode = 2,
};

// Common orientation bits of the controls that run along one axis.
enum : int32_t
{
    kHorizontal = 1,
    kVertical = 2,
};

// Virtual keys that step a value.
enum : uint8_t
{
    kVirtualKeyLeft = 11,
    kVirtualKeyUp = 12,
    kVirtualKeyRight = 13,
    kVirtualKeyDown = 14,
};

class CControl : public CView
{
public:
    CControl(const CRect& size, CControlListener* listener = nullptr, int32_t tag = 0,
             CBitmap* background = nullptr);
    // Takes the value, range and listener of the source; the back offset starts anew.
    CControl(const CControl& other);

    void draw(CDrawContext* context) override = 0;
    CView* clone() const override = 0;

    // A change of the value alone makes a control dirty: draw brings oldValue up to value.
    bool isDirty() const override;
    void setDirty(bool value = true) override;
    bool isTypeOf(const char* name) const override;

    // For the long loops of a gesture, so that the host keeps running meanwhile.
    virtual void doIdle();

    // Plain access: no clamping, no repaint.
    virtual void setValue(float newValue) { currentValue = newValue; }
    virtual float value() const { return currentValue; }
    virtual void setMin(float newValue) { vmin = newValue; }
    virtual float min() const { return vmin; }
    virtual void setMax(float newValue) { vmax = newValue; }
    virtual float max() const { return vmax; }
    virtual void setOldValue(float newValue) { lastValue = newValue; }
    virtual float oldValue() const { return lastValue; }
    virtual void setDefaultValue(float newValue) { defaultValueValue = newValue; }
    virtual float defaultValue() const { return defaultValueValue; }
    virtual void clampValue();
    // The reset gesture: left button with Control and nothing else puts back the default.
    virtual bool resetToDefault(int32_t buttons);
    virtual void setTag(int32_t newTag) { tagValue = newTag; }
    virtual int32_t tag() const { return tagValue; }
    // The listener hears first, the frame (and through it the host) next; endEdit mirrors it.
    virtual void beginEdit();
    virtual void endEdit();
    virtual CControlListener* listener() const { return listenerValue; }
    virtual void setListener(CControlListener* newListener) { listenerValue = newListener; }
    virtual void setBackOffset(const CPoint& point) { backOffset = point; }
    virtual void backOffsetFromView() { backOffset = size.topLeft(); }
    virtual void setWheelInc(float newValue) { wheelIncValue = newValue; }
    virtual float wheelInc() const { return wheelIncValue; }

protected:
    // Tells the listener of a change made by a gesture and repaints, if anything changed.
    void valueChangedByGesture();
    // One wheel or key step added to the value, wrapped in an edit when it changed something.
    void stepValue(float step);
    // The step of a cursor key times the wheel increment, or 0 for any other key.
    float keyStep(const KeyCode& key) const;
    // Draws the background over rect from the given place in the bitmap, by the transparent
    // path for transparent controls.
    void drawBackground(CDrawContext* context, const CRect& rect, const CPoint& from);

    CControlListener* listenerValue;
    int32_t tagValue;
    float lastValue = 1.f;
    float defaultValueValue = 0.5f;
    float currentValue = 0.f;
    float vmin = 0.f;
    float vmax = 1.f;
    float wheelIncValue = 0.1f;
    CPoint backOffset;
};

// Mixed into the controls that show one image of a strip of images laid one above the other.
class IMultiBitmapControl
{
public:
    virtual ~IMultiBitmapControl() = default;
    virtual void setHeightOfOneImage(int32_t height) { imageHeight = height; }
    virtual int32_t heightOfOneImage() const { return imageHeight; }
    // The images are as high as the view.
    virtual void setHeightFromView() = 0;

protected:
    int32_t imageHeight = 0;
};

} // namespace Plexel
