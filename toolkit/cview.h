#pragma once

// The node of the retained view tree, and the abstract data of a drag that views are offered.

#include "toolkit/cbase.h"

#include <cstdint>

namespace Plexel
{

class CBitmap;
class CDrawContext;
class CFrame;
class PlexelEditorInterface;

//------------------------------------------------------------------------------------------------
// The data of a running drag, valid for the length of the call that hands it to a view.
class CDragContainer : public CBaseObject
{
public:
    // Item types as the walk reports them.
    enum : int32_t
    {
        kFile = 0,
        kText = 2,
        kUnknown = -1,
        kError = -2,
    };
    // The pointer stays valid until the next call; the caller never frees it.
    virtual const char* firstItem(int32_t& size, int32_t& type) = 0;
    virtual const char* nextItem(int32_t& size, int32_t& type) = 0;
    virtual int32_t itemType() = 0;
    virtual int32_t itemCount() = 0;
};

//------------------------------------------------------------------------------------------------
enum : int32_t
{
    kAutosizeLeft = 1,
    kAutosizeTop = 2,
    kAutosizeRight = 4,
    kAutosizeBottom = 8,
    kAutosizeColumn = 16,
    kAutosizeRow = 32,
};

// Free data by identifier; nothing stores under these two.
enum : uint32_t
{
    kViewAttributeCvrp = 0x63767270,
    kViewAttributeCvtt = 0x63767474,
};

// A view's rectangle and its mouse area are in its parent's coordinates, and so are the mouse
// positions that reach it and the context it draws into: a leaf draws at the values of its size.
class CView : public CBaseObject
{
public:
    explicit CView(const CRect& size);
    CView(const CView& other);
    ~CView() override;
    CView& operator=(const CView&) = delete;

    virtual void draw(CDrawContext* context);
    virtual void drawInRect(CDrawContext* context, const CRect& updateRect);
    // Touching edges count as overlapping.
    virtual bool overlaps(const CRect& rect) const;
    virtual bool isDirty() const { return dirty; }
    virtual void setDirty(bool value = true) { dirty = value; }
    virtual void invalidateRect(const CRect& rect);
    virtual void invalidate();
    virtual void setVisible(bool value);
    bool isVisible() const { return visible; }

    virtual int32_t onMouseDown(CPoint& where, const int32_t& buttons);
    virtual int32_t onMouseUp(CPoint& where, const int32_t& buttons);
    virtual int32_t onMouseMove(CPoint& where, const int32_t& buttons);
    virtual int32_t onMouseEnter(CPoint& where, const int32_t& buttons);
    virtual int32_t onMouseLeave(CPoint& where, const int32_t& buttons);
    // Right and bottom edges of the mouse area are inside here.
    virtual bool hitTest(const CPoint& where, const int32_t buttons = -1);
    // Axis 0 is horizontal, and reaches onWheel negated.
    virtual bool onWheelAxis(const CPoint& where, int32_t axis, float distance, const int32_t& buttons);
    virtual bool onWheel(const CPoint& where, float distance, const int32_t& buttons);

    virtual void setMouseEnabled(bool value = true) { mouseEnabled = value; }
    virtual bool isMouseEnabled() const { return mouseEnabled; }
    virtual void setMouseArea(const CRect& rect) { mouseAreaValue = rect; }
    virtual CRect& mouseArea() { return mouseAreaValue; }
    virtual CRect& copyMouseArea(CRect& out) const
    {
        out = mouseAreaValue;
        return out;
    }

    virtual bool onDrop(CDragContainer* drag, const CPoint& where);
    virtual void onDragEnter(CDragContainer* drag, const CPoint& where);
    virtual void onDragLeave(CDragContainer* drag, const CPoint& where);
    virtual void onDragMove(CDragContainer* drag, const CPoint& where);

    // -1 means not handled; any other value ends the routing.
    virtual int32_t onKeyDown(KeyCode& key);
    virtual int32_t onKeyUp(KeyCode& key);

    // The mouse area stays where it was.
    virtual void setViewSize(const CRect& rect, bool invalidate = true);
    virtual CRect& viewSize() { return size; }
    const CRect& viewSize() const { return size; }
    virtual CRect& copyViewSize(CRect& out) const
    {
        out = size;
        return out;
    }
    virtual CRect& visibleSize(CRect& out) const;
    virtual void parentSizeChanged() {}
    virtual CPoint& frameToLocal(CPoint& point) const;
    virtual CPoint& localToFrame(CPoint& point) const;
    virtual void setAutosize(int32_t flags) { autosizeFlags = flags; }
    virtual int32_t autosize() const { return autosizeFlags; }

    virtual void onFocusLost() {}
    virtual void onFocusTaken() {}
    virtual bool wantsFocus() const { return wantsFocusValue; }
    virtual void setWantsFocus(bool value) { wantsFocusValue = value; }

    virtual void setBackground(CBitmap* bitmap);
    virtual CBitmap* background() const { return backgroundBitmap; }
    virtual void setTransparent(bool value) { transparent = value; }
    virtual bool isTransparent() const { return transparent; }

    virtual bool detached(CView* parent);
    virtual bool attached(CView* parent);
    bool isAttached() const { return attachedFlag; }
    CView* parentView() const { return parent; }
    CFrame* frame() const { return frameValue; }
    virtual PlexelEditorInterface* editor() const;

    // The toolkit's own type test: exact names of the class chain, never run-time type data.
    virtual bool isTypeOf(const char* name) const;
    // A copy with one reference for the caller, detached and visible.
    virtual CView* clone() const;

    // Attributes.
    bool attributeSize(uint32_t id, int32_t& outSize) const;
    bool attribute(uint32_t id, int32_t capacity, void* buffer, int32_t& outSize) const;
    bool setAttribute(uint32_t id, int32_t size, const void* data);
    bool removeAttribute(uint32_t id);

protected:
    CRect size;
    CRect mouseAreaValue;
    CFrame* frameValue = nullptr;
    CView* parent = nullptr;
    bool dirty = false;
    bool mouseEnabled = true;
    bool transparent = false;
    bool wantsFocusValue = false;
    bool attachedFlag = false;
    bool visible = true;
    int32_t autosizeFlags = 0;
    CBitmap* backgroundBitmap = nullptr;

private:
    struct ViewAttribute
    {
        ViewAttribute* next = nullptr;
        unsigned char* data = nullptr;
        int32_t size = 0;
        uint32_t id = 0;
    };
    ViewAttribute* findAttribute(uint32_t id) const;
    ViewAttribute* attributes = nullptr;
};

} // namespace Plexel
