#pragma once

// A view with children: it owns them, paints them in z-order under a clip each, routes the mouse,
// the wheel, drags and keys to them in their coordinates, and resizes them by their flags.

#include "toolkit/cview.h"

namespace Plexel
{

class COffscreenContext;

class CViewContainer : public CView
{
public:
    CViewContainer(const CRect& size, CFrame* frame, CBitmap* background = nullptr);
    // Copies the settings and a clone of each child, in order.
    CViewContainer(const CViewContainer& other);
    ~CViewContainer() override;

    int32_t handleMessage(CBaseObject* sender, const char* message) override;

    void draw(CDrawContext* context) override;
    void drawInRect(CDrawContext* context, const CRect& updateRect) override;
    bool isDirty() const override;
    void invalidateRect(const CRect& rect) override;
    void invalidate() override;

    int32_t onMouseDown(CPoint& where, const int32_t& buttons) override;
    int32_t onMouseUp(CPoint& where, const int32_t& buttons) override;
    int32_t onMouseMove(CPoint& where, const int32_t& buttons) override;
    bool onWheelAxis(const CPoint& where, int32_t axis, float distance, const int32_t& buttons) override;
    bool onWheel(const CPoint& where, float distance, const int32_t& buttons) override;

    bool onDrop(CDragContainer* drag, const CPoint& where) override;
    void onDragEnter(CDragContainer* drag, const CPoint& where) override;
    void onDragLeave(CDragContainer* drag, const CPoint& where) override;
    void onDragMove(CDragContainer* drag, const CPoint& where) override;

    int32_t onKeyDown(KeyCode& key) override;
    int32_t onKeyUp(KeyCode& key) override;

    void setViewSize(const CRect& rect, bool invalidate = true) override;
    void parentSizeChanged() override;
    CPoint& frameToLocal(CPoint& point) const override;
    CPoint& localToFrame(CPoint& point) const override;
    void onFocusLost() override;
    void onFocusTaken() override;
    bool detached(CView* parent) override;
    bool attached(CView* parent) override;
    bool isTypeOf(const char* name) const override;
    CView* clone() const override;

    // Children. The creator's first reference passes to the container, and the list holds one
    // more; removal with release drops both, without it the creator's reference stays.
    virtual bool addViewBefore(CView* view, CView* before);
    virtual bool addViewWithArea(CView* view, const CRect& mouseArea, bool mouseEnabled = true);
    virtual bool addView(CView* view);
    virtual bool removeView(CView* view, bool release = true);
    virtual bool removeAllViews(bool release = true);
    virtual bool isChild(CView* view) const;
    virtual int32_t childCount() const;
    // Counted from the bottom of the z-order; null past the end.
    virtual CView* childAt(int32_t index) const;
    virtual CView* viewAt(const CPoint& where, bool deep = false) const;
    virtual CView* containerAt(const CPoint& where, bool deep = false) const;

    virtual void setBackgroundColor(const CColor& color);
    virtual CColor& backgroundColor(CColor& out) const
    {
        out = backgroundColorValue;
        return out;
    }
    virtual void setBackgroundOffset(const CPoint& point) { backgroundOffsetValue = point; }
    virtual CPoint& backgroundOffset() { return backgroundOffsetValue; }
    virtual void drawBackgroundRect(CDrawContext* context, const CRect& rect);
    virtual void setOffscreen(bool value);
    bool usesOffscreen() const { return useOffscreen; }
    COffscreenContext* offscreenContext() const { return offscreen; }

    virtual bool advanceFocus(CView* oldFocus, bool reverse);
    virtual bool redrawDirtyChildren();
    // Rect is in the container's coordinates; the answer is the part of it that shows.
    virtual CRect& visibleSizeOfChild(CRect& out, const CRect& rect) const;
    virtual bool shouldDrawChild(CView* view, const CRect& rect) const;
    virtual bool hitTestChildren(const CPoint& where, int32_t buttons) const;

    CView* mouseDownChild() const { return mouseDownView; }

protected:
    struct ViewListNode
    {
        CView* view;
        ViewListNode* next;
        ViewListNode* prev;
    };
    ViewListNode* findNode(CView* view) const;
    void unlink(ViewListNode* node);
    void recreateOffscreen();
    // The container's point in its children's coordinates.
    CPoint toLocal(const CPoint& where) const { return {where.x - size.left, where.y - size.top}; }
    // The visible child on top whose mouse area holds `local`, or null.
    CView* topChildAt(const CPoint& local) const;

    ViewListNode* first = nullptr;
    ViewListNode* last = nullptr;
    COffscreenContext* offscreen = nullptr;
    CColor backgroundColorValue = kColorBlack;
    CPoint backgroundOffsetValue;
    bool useOffscreen = false;
    CView* dragView = nullptr;
    CView* mouseDownView = nullptr;
};

} // namespace Plexel
