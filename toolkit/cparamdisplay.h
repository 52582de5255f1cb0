#pragma once

// Controls that show text: a value turned into text, and a fixed label, each on a plain or
// bitmap background with an optional frame, 3D edges and a text shadow.

#include "toolkit/ccontrol.h"
#include "toolkit/cdrawcontext.h"

namespace Plexel
{

// Conversions supplied by the user of a control; text is a buffer of 256 bytes.
using ValueToString = void (*)(float value, char* text);
using ValueToStringUser = void (*)(float value, char* text, void* userData);
using StringToValueUser = void (*)(const char* text, float& value, void* userData);

// One word of style bits serves the display and the classes built on it.
enum : int32_t
{
    kStyleCheck = 1,
    kStyleShadowText = 4,
    kStyleInset = 0x80,
    kStyleRaised = 0x100,
    kStylePopupOver = 0x200,
    kStyleCheckCurrent = 0x400,
    kStyleNoText = 0x800,
    kStyleNoDraw = 0x1000,
    kStyleDoubleClickEdit = 0x2000,
    kStyleNoFrame = 0x4000,
};

class CParamDisplay : public CControl
{
public:
    explicit CParamDisplay(const CRect& size, CBitmap* background = nullptr, int32_t style = 0);
    CParamDisplay(const CParamDisplay& other);
    ~CParamDisplay() override;

    void draw(CDrawContext* context) override;
    bool isTypeOf(const char* name) const override;
    CView* clone() const override;

    virtual void setFont(CFontDesc* newFont);
    CFontDesc* font() const { return fontValue; }
    virtual void setFontColor(const CColor& color);
    CColor fontColor() const { return fontColorValue; }
    virtual void setBackColor(const CColor& color);
    CColor backColor() const { return backColorValue; }
    virtual void setFrameColor(const CColor& color);
    CColor frameColor() const { return frameColorValue; }
    virtual void setShadowColor(const CColor& color);
    CColor shadowColor() const { return shadowColorValue; }
    virtual void setAntialias(bool value) { antialias = value; }
    virtual void setHorizontalAlign(int32_t align);
    int32_t horizontalAlign() const { return horizontalAlignValue; }
    virtual void setValueToStringUser(ValueToStringUser convert, void* data);
    virtual void setValueToString(ValueToString convert) { valueToString = convert; }
    virtual void setStringToValueConvert(StringToValueUser convert) { stringToValue = convert; }
    virtual void setStyle(int32_t newStyle);
    int32_t style() const { return styleValue; }
    // Kept for editors that ask; painting does not depend on it.
    virtual void setTextTransparency(bool value) { textTransparency = value; }
    // The one paint routine of the family: background, edges, then the text.
    virtual void drawText(CDrawContext* context, const char* text, CBitmap* background = nullptr);

protected:
    ValueToString valueToString = nullptr;
    ValueToStringUser valueToStringUser = nullptr;
    StringToValueUser stringToValue = nullptr;
    void* userData = nullptr;
    int32_t horizontalAlignValue = kCenterText;
    int32_t styleValue;
    CFontDesc* fontValue;
    CColor fontColorValue = kColorWhite;
    CColor backColorValue = kColorBlack;
    CColor frameColorValue = kColorBlack;
    CColor shadowColorValue = kColorRed;
    bool textTransparency = true;
    bool antialias = true;
};

class CTextLabel : public CParamDisplay
{
public:
    CTextLabel(const CRect& size, const char* text = nullptr, CBitmap* background = nullptr,
               int32_t style = 0);
    CTextLabel(const CTextLabel& other);
    ~CTextLabel() override;

    void draw(CDrawContext* context) override;
    bool isTypeOf(const char* name) const override;
    CView* clone() const override;

    virtual void setText(const char* text);
    // Null when the label has no text.
    virtual const char* labelTextOf() const { return labelText; }

private:
    char* labelText = nullptr;
};

} // namespace Plexel
