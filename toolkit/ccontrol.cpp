#include "toolkit/ccontrol.h"

#include "toolkit/cbitmap.h"
#include "toolkit/cframe.h"

#include <cstring>

namespace Plexel
{

CControl::CControl(const CRect& rect, CControlListener* listener, int32_t tag, CBitmap* background)
    : CView(rect), listenerValue(listener), tagValue(tag)
{
    setBackground(background);
}

CControl::CControl(const CControl& other)
    : CView(other), listenerValue(other.listenerValue), tagValue(other.tagValue), lastValue(other.lastValue),
      defaultValueValue(other.defaultValueValue), currentValue(other.currentValue), vmin(other.vmin),
      vmax(other.vmax), wheelIncValue(other.wheelIncValue)
{
}

bool CControl::isDirty() const
{
    return lastValue != currentValue || dirty;
}

void CControl::setDirty(bool value)
{
    dirty = value;
    if (!value)
        lastValue = currentValue;
    else if (lastValue == currentValue)
        lastValue = currentValue == -1.f ? 0.f : -1.f;
}

bool CControl::isTypeOf(const char* name) const
{
    return (name && std::strcmp(name, "CControl") == 0) || CView::isTypeOf(name);
}

void CControl::doIdle()
{
    if (frameValue) frameValue->doEditorIdle();
}

void CControl::clampValue()
{
    if (currentValue > vmax)
        currentValue = vmax;
    else if (currentValue < vmin)
        currentValue = vmin;
}

bool CControl::resetToDefault(int32_t buttons)
{
    if (buttons != (kButtonLeft | kModifierControl)) return false;
    beginEdit();
    currentValue = defaultValue();
    if (isDirty() && listenerValue) listenerValue->onValueChanged(this);
    endEdit();
    return true;
}

void CControl::beginEdit()
{
    if (listenerValue) listenerValue->onBeginEdit(this);
    if (frameValue)
    {
        frameValue->setFocusView(this);
        frameValue->beginEdit(tagValue);
    }
}

void CControl::endEdit()
{
    if (frameValue) frameValue->endEdit(tagValue);
    if (listenerValue) listenerValue->onEndEdit(this);
}

void CControl::valueChangedByGesture()
{
    if (isDirty() && listenerValue) listenerValue->onValueChanged(this);
    if (isDirty()) invalidate();
}

void CControl::stepValue(float step)
{
    currentValue += step;
    clampValue();
    if (isDirty() && listenerValue)
    {
        beginEdit();
        listenerValue->onValueChanged(this);
        endEdit();
    }
}

float CControl::keyStep(const KeyCode& key) const
{
    float direction = 0.f;
    if (key.virtualKey == kVirtualKeyUp || key.virtualKey == kVirtualKeyRight)
        direction = 1.f;
    else if (key.virtualKey == kVirtualKeyDown || key.virtualKey == kVirtualKeyLeft)
        direction = -1.f;
    float step = direction * wheelIncValue;
    return (key.modifier & kKeyModifierShift) ? step * 0.1f : step;
}

void CControl::drawBackground(CDrawContext* context, const CRect& rect, const CPoint& from)
{
    if (!backgroundBitmap) return;
    if (transparent)
        backgroundBitmap->drawTransparent(context, rect, from);
    else
        backgroundBitmap->draw(context, rect, from);
}

} // namespace Plexel
