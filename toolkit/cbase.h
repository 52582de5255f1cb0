#pragma once

// The bottom of the view toolkit: the counted base object with its messages, and the plain value
// types of geometry, colour and input that every other part of the toolkit speaks.

#include <cstdint>

namespace Plexel
{

// A native handle as the platform gives it: a window, a device context or a drawing surface.
// Windows hands out pointers, X11 hands out 32-bit identifiers; both fit in a pointer.
using PlatformHandle = void*;

// The module file that the toolkit lives in, once per process: the host's InitDll hands it over
// before any frame exists. The Windows frame registers its window class under it and loads the
// module's bitmaps from it.
void setModuleHandle(PlatformHandle module);
PlatformHandle getModuleHandle();

//------------------------------------------------------------------------------------------------
// Messages are compared by pointer, never by their characters: each has exactly one address.
extern const char* const kMsgCheckIfViewContainer;
extern const char* const kMsgNewFocusView;
extern const char* const kMsgOldFocusView;
extern const char* const kMsgLooseFocus;

enum : int32_t
{
    kMessageIgnored = 0,
    kMessageHandled = 1,
};

// Counted on the window's thread only, hence the plain count.
class CBaseObject
{
public:
    CBaseObject() = default;
    CBaseObject(const CBaseObject&) : refCount(1) {}
    CBaseObject& operator=(const CBaseObject&) { return *this; }
    virtual ~CBaseObject() = default;

    virtual void release()
    {
        if (--refCount == 0) delete this;
    }
    virtual void retain() { ++refCount; }
    virtual int32_t handleMessage(CBaseObject* sender, const char* message);

    int32_t referenceCount() const { return refCount; }

private:
    int32_t refCount = 1;
};

//------------------------------------------------------------------------------------------------
struct CPoint
{
    int32_t x = 0;
    int32_t y = 0;

    constexpr CPoint() = default;
    constexpr CPoint(int32_t x, int32_t y) : x(x), y(y) {}

    constexpr CPoint& offset(int32_t dx, int32_t dy)
    {
        x += dx;
        y += dy;
        return *this;
    }
    constexpr bool operator==(const CPoint&) const = default;
};

// Not kept normalised: a rectangle may run backwards, and only those operations that say so
// put it right.
struct CRect
{
    int32_t left = 0;
    int32_t top = 0;
    int32_t right = 0;
    int32_t bottom = 0;

    constexpr CRect() = default;
    constexpr CRect(int32_t l, int32_t t, int32_t r, int32_t b) : left(l), top(t), right(r), bottom(b) {}
    constexpr CRect(CPoint origin, CPoint size)
        : left(origin.x), top(origin.y), right(origin.x + size.x), bottom(origin.y + size.y)
    {
    }

    constexpr int32_t width() const { return right - left; }
    constexpr int32_t height() const { return bottom - top; }

    CRect& offset(int32_t dx, int32_t dy);
    // Right and bottom edges are outside.
    bool pointInside(const CPoint& p) const;
    bool isEmpty() const;
    // Intersection; rectangles that do not meet give a zero-sized rectangle, never a negative one.
    CRect& bound(const CRect& r);
    CRect& unite(const CRect& r);

    CPoint topLeft() const { return {left, top}; }
    CPoint topRight() const { return {right, top}; }
    CPoint bottomLeft() const { return {left, bottom}; }
    CPoint bottomRight() const { return {right, bottom}; }
    void setTopLeft(const CPoint& p)
    {
        left = p.x;
        top = p.y;
    }
    void setTopRight(const CPoint& p)
    {
        right = p.x;
        top = p.y;
    }
    void setBottomLeft(const CPoint& p)
    {
        left = p.x;
        bottom = p.y;
    }
    void setBottomRight(const CPoint& p)
    {
        right = p.x;
        bottom = p.y;
    }
    CPoint size() const { return {width(), height()}; }
    void setSize(const CPoint& p)
    {
        right = left + p.x;
        bottom = top + p.y;
    }
    constexpr bool operator==(const CRect&) const = default;
};

//------------------------------------------------------------------------------------------------
struct CColor
{
    uint8_t red = 0;
    uint8_t green = 0;
    uint8_t blue = 0;
    uint8_t alpha = 255;

    constexpr bool operator==(const CColor&) const = default;
    // The form the drawing libraries take: alpha in the top byte, then red, green, blue.
    constexpr uint32_t argb() const
    {
        return (uint32_t(alpha) << 24) | (uint32_t(red) << 16) | (uint32_t(green) << 8) | uint32_t(blue);
    }
};

inline constexpr CColor kColorTransparent{255, 255, 255, 0};
inline constexpr CColor kColorBlack{0, 0, 0, 255};
inline constexpr CColor kColorWhite{255, 255, 255, 255};
inline constexpr CColor kColorGrey{127, 127, 127, 255};
inline constexpr CColor kColorRed{255, 0, 0, 255};
inline constexpr CColor kColorGreen{0, 255, 0, 255};
inline constexpr CColor kColorBlue{0, 0, 255, 255};
inline constexpr CColor kColorYellow{255, 255, 0, 255};
inline constexpr CColor kColorMagenta{255, 0, 255, 255};
inline constexpr CColor kColorCyan{0, 255, 255, 255};

//------------------------------------------------------------------------------------------------
// The mouse word: buttons and modifiers as flags. Bit 0 is never set.
enum : int32_t
{
    kButtonLeft = 2,
    kButtonMiddle = 4,
    kButtonRight = 8,
    kModifierShift = 16,
    kModifierControl = 32,
    kModifierAlt = 64,
    kModifierCommand = 128,
    kButtonExtra1 = 0x100,
    kButtonExtra2 = 0x200,
    kButtonDoubleClick = 0x400,
};

// Only kMouseHandled makes a container remember the view and the frame capture the pointer;
// kMouseHandledOnce takes the press but wants no moves and no release.
enum MouseEventResult : int32_t
{
    kMouseNotImplemented = 0,
    kMouseHandled = 1,
    kMouseNotHandled = 2,
    kMouseHandledOnce = 3,
};

struct KeyCode
{
    int32_t character = 0;
    uint8_t virtualKey = 0;
    uint8_t modifier = 0;
};

enum : uint8_t
{
    kVirtualKeyTab = 2,
};
enum : uint8_t
{
    kKeyModifierShift = 1,
};

} // namespace Plexel
