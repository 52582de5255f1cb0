#pragma once

// The drawing state and primitives that every view paints through, and the font descriptions.

#include "toolkit/cbase.h"

#include <string>

namespace Plexel
{

class CFrame;
class NativeGraphics;
struct NativeFont;

//------------------------------------------------------------------------------------------------
enum : int32_t
{
    kBoldFace = 1,
    kItalicFace = 2,
    kUnderlineFace = 4,
};

// A font by family, pixel size and style, with the platform font made from it on first use and
// kept, so that a description shared by many contexts costs one platform font.
class CFontDesc : public CBaseObject
{
public:
    explicit CFontDesc(const char* name = "", int32_t size = 0, int32_t style = 0);
    CFontDesc(const CFontDesc& other);
    ~CFontDesc() override;

    const char* name() const { return nameText.c_str(); }
    void setName(const char* newName);
    int32_t fontSize() const { return size; }
    void setSize(int32_t newSize);
    int32_t fontStyle() const { return style; }
    void setStyle(int32_t newStyle);

    bool operator==(const CFontDesc& other) const;

    NativeFont* platformFont();
    bool hasPlatformFont() const { return nativeFont != nullptr; }
    // Drops the platform font; the next use makes a new one.
    void freePlatformFont();

private:
    std::string nameText;
    int32_t size;
    int32_t style;
    NativeFont* nativeFont = nullptr;
};

// The standard fonts, once per process, shared by reference count.
extern CFontDesc* const kFontSystem;
extern CFontDesc* const kFontVeryBig;
extern CFontDesc* const kFontBig;
extern CFontDesc* const kFontNormal;
extern CFontDesc* const kFontSmall;
extern CFontDesc* const kFontSmaller;
extern CFontDesc* const kFontVerySmall;
extern CFontDesc* const kFontSymbol;
// Drops the platform fonts of the standard fonts, before the drawing library goes down.
void freeStandardPlatformFonts();

//------------------------------------------------------------------------------------------------
enum : int32_t
{
    kDrawStroked = 0,
    kDrawFilled = 1,
    kDrawFilledAndStroked = 2,
};

enum : int32_t
{
    kLineSolid = 0,
    kLineOnOff = 1,
};

// The draw mode that smooths edges; every other mode draws aliased.
enum : int32_t
{
    kAntialias = 3,
};

enum : int32_t
{
    kLeftText = 0,
    kCenterText = 1,
    kRightText = 2,
};

class CDrawContext : public CBaseObject
{
public:
    // All may be null: without a device context and a window the context stores every state
    // change and paints nothing.
    CDrawContext(CFrame* frame, PlatformHandle systemContext, PlatformHandle windowHandle);
    // Over a graphics that the context takes over; for surfaces that are not a window's.
    CDrawContext(CFrame* frame, NativeGraphics* graphics);
    ~CDrawContext() override;
    CDrawContext(const CDrawContext&) = delete;
    CDrawContext& operator=(const CDrawContext&) = delete;

    // Origin and clip. The container that draws sets both offsets directly.
    CPoint globalOffset;
    CPoint offset;

    void setClipRect(const CRect& rect);
    CRect& copyClipRect(CRect& out) const;
    void resetClipRect();

    // State.
    void setFrameColor(const CColor& color);
    CColor frameColor() const { return frameColorValue; }
    void setFillColor(const CColor& color);
    CColor fillColor() const { return fillColorValue; }
    void setFontColor(const CColor& color);
    CColor fontColor() const { return fontColorValue; }
    void setLineStyle(int32_t style);
    int32_t lineStyle() const { return lineStyleValue; }
    void setLineWidth(int32_t width);
    int32_t lineWidth() const { return lineWidthValue; }
    void setDrawMode(int32_t mode);
    int32_t drawMode() const { return drawModeValue; }
    // Size at most 0 and style -1 keep the description's own; a request that changes neither
    // shares the description.
    void setFont(CFontDesc* font, int32_t size = 0, int32_t style = -1);
    CFontDesc* font() const { return fontValue; }

    // Primitives, in the coordinates of the view being drawn.
    void moveTo(const CPoint& point);
    void lineTo(const CPoint& point);
    CPoint penPosition() const { return {penPositionValue.x - offset.x, penPositionValue.y - offset.y}; }
    void drawLines(const CPoint* pairs, int32_t count);
    void drawPolygon(const CPoint* points, int32_t count, int32_t style = kDrawStroked, bool closed = true);
    void drawRect(const CRect& rect, int32_t style = kDrawStroked);
    void drawEllipse(const CRect& rect, int32_t style = kDrawStroked);
    void drawArc(const CRect& rect, float startAngle, float endAngle, int32_t style = kDrawStroked);
    void drawPoint(const CPoint& point, const CColor& color);

    int32_t stringWidth(const char* text);
    void drawString(const char* text, const CRect& rect, bool opaque = false, int32_t align = kCenterText);
    void drawStringInRect(const char* text, const CRect& rect, int32_t align, bool antialias);
    // The point gives the bottom line of the text, not its top.
    void drawStringAt(const char* text, const CPoint& point, bool antialias);

    CFrame* frame() const { return frameValue; }
    PlatformHandle systemContext() const { return systemContextValue; }
    PlatformHandle windowHandle() const { return windowHandleValue; }
    // The platform half; bitmaps draw through it.
    NativeGraphics* graphics() const { return native; }
    bool canDraw() const;

protected:
    // Replaces the platform half and brings it up to the current state.
    void adoptGraphics(NativeGraphics* graphics);

private:
    void initState();

    CFrame* frameValue;
    PlatformHandle systemContextValue = nullptr;
    PlatformHandle windowHandleValue = nullptr;
    CFontDesc* fontValue = nullptr;
    CColor fontColorValue{0, 0, 0, 0};
    CPoint penPositionValue;
    int32_t lineWidthValue = 0;
    CColor frameColorValue{0, 0, 0, 0};
    CColor fillColorValue{0, 0, 0, 0};
    int32_t lineStyleValue = 0;
    int32_t drawModeValue = 0;
    CRect clipRect;
    NativeGraphics* native = nullptr;
};

} // namespace Plexel
