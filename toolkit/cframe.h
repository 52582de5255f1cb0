#pragma once

// The root of a view tree and the one place where the tree meets the native window: it turns
// the window's events into view calls, invalidations into repaint requests, and holds what
// exists once per tree (modal view, focus view, the view under the pointer, the editor link).

#include "toolkit/cviewcontainer.h"
#include "toolkit/platform/frame.h"

namespace Plexel
{

class CFrame;
class COffscreenContext;
struct FrameWindow;

// The toolkit's view of its owner on the editor side. A null interface means these calls do
// nothing.
class PlexelEditorInterface
{
public:
    virtual void doIdle() {}
    virtual int32_t knobMode() { return 0; }
    virtual void beginEdit(int32_t) {}
    virtual void endEdit(int32_t) {}
    virtual ~PlexelEditorInterface() = default;

    CFrame* frame = nullptr;
};

// An optional watcher of the frame's mouse traffic.
class MouseObserver
{
public:
    virtual ~MouseObserver() = default;
    virtual void onViewEntered(CView* view, CFrame* frame) = 0;
    virtual void onViewExited(CView* view, CFrame* frame) = 0;
    virtual void onFrameMouseMoved(CFrame* frame, const CPoint& where) = 0;
    virtual void onFrameMouseDown(CFrame* frame, const CPoint& where) = 0;
};

// Cursor types of setCursor.
enum : int32_t
{
    kCursorDefault = 0,
    kCursorWait,
    kCursorHSize,
    kCursorVSize,
    kCursorSizeAll,
    kCursorNESWSize,
    kCursorNWSESize,
    kCursorRestore, // the default cursor again
    kCursorNotAllowed,
    kCursorHand,
};

class CFrame : public CViewContainer, public FrameEvents
{
public:
    // With a null parent window the frame exists without a native window: nothing paints and
    // invalidations go nowhere, but the tree works.
    CFrame(const CRect& size, PlatformHandle parentWindow, PlexelEditorInterface* editor);
    ~CFrame() override;
    CFrame(const CFrame&) = delete;

    void draw(CDrawContext* context) override;
    void drawInRect(CDrawContext* context, const CRect& updateRect) override;
    // The end of every invalidation: a repaint request to the window.
    void invalidateRect(const CRect& rect) override;
    void invalidate() override;

    int32_t onMouseDown(CPoint& where, const int32_t& buttons) override;
    int32_t onMouseMove(CPoint& where, const int32_t& buttons) override;
    int32_t onMouseLeave(CPoint& where, const int32_t& buttons) override;
    bool onWheelAxis(const CPoint& where, int32_t axis, float distance, const int32_t& buttons) override;
    bool onWheel(const CPoint& where, float distance, const int32_t& buttons) override;
    int32_t onKeyDown(KeyCode& key) override;
    int32_t onKeyUp(KeyCode& key) override;

    PlexelEditorInterface* editor() const override { return editorInterface; }
    bool isTypeOf(const char* name) const override;
    // A copy would share the native window.
    CView* clone() const override { return nullptr; }
    bool removeView(CView* view, bool release = true) override;
    bool removeAllViews(bool release = true) override;
    bool advanceFocus(CView* oldFocus, bool reverse) override;

    virtual bool isOpen() const { return openFlag; }
    virtual bool idle();
    virtual void doEditorIdle();
    virtual uint32_t ticks() const;
    virtual int32_t knobMode() const;
    virtual bool setPosition(int32_t x, int32_t y);
    virtual bool position(int32_t& x, int32_t& y) const;
    // Pushes the new size up the chain of the host's windows, then resizes the tree.
    virtual bool setSize(int32_t width, int32_t height);
    virtual bool outerSizeOf(CRect& out) const { return outerSize(out); }
    virtual bool outerSize(CRect& out) const;
    // One at a time; it takes all mouse and wheel input while set.
    virtual bool setModalView(CView* view);
    virtual CView* modalView() const { return modal; }
    virtual void beginEdit(int32_t tag);
    virtual void endEdit(int32_t tag);
    virtual bool currentMouseLocation(CPoint& out) const;
    virtual int32_t currentMouseButtons() const;
    virtual void setCursor(int32_t type);
    virtual void setFocusView(CView* view);
    virtual CView* focusView() const { return focus; }
    // Containers call it when a child leaves the tree.
    virtual void viewRemoved(CView* view);
    virtual bool setDropActive(bool active);
    virtual bool isDropActive() const { return dropActive; }
    virtual void setOpen(bool value) { openFlag = value; }
    virtual bool openState() const { return openFlag; }
    // Marks each direct child that meets rect, edges included.
    virtual void invalidateArea(const CRect& rect);
    virtual MouseObserver* mouseObserver() const { return observer; }
    virtual void setMouseObserver(MouseObserver* value) { observer = value; }

    PlatformHandle nativeWindow() const;
    PlatformHandle parentWindow() const { return parentWindowValue; }
    // A new context on the window, with one reference for the caller.
    CDrawContext* createDrawContext();
    COffscreenContext* backBuffer();
    CView* mouseOverView() const { return mouseOver; }

    // Draws rect of the tree onto a native device context.
    void paint(PlatformHandle systemContext, const CRect& rect);

private:
    // What the native window reports.
    void windowPaint(PlatformHandle systemContext, const CRect& damage) override
    {
        paint(systemContext, damage);
    }
    int32_t windowMouseDown(CPoint where, int32_t buttons) override { return onMouseDown(where, buttons); }
    void windowMouseUp(CPoint where, int32_t buttons) override { onMouseUp(where, buttons); }
    void windowMouseMove(CPoint where, int32_t buttons) override { onMouseMove(where, buttons); }
    void windowMouseLeave() override;
    void windowWheel(CPoint where, float distance, int32_t modifiers) override
    {
        onWheel(where, distance, modifiers);
    }
    void windowDestroyed() override;
    void windowDragEnter(CDragContainer* drag, CPoint where) override { onDragEnter(drag, where); }
    void windowDragMove(CDragContainer* drag, CPoint where) override { onDragMove(drag, where); }
    void windowDragLeave(CDragContainer* drag, CPoint where) override { onDragLeave(drag, where); }
    void windowDrop(CDragContainer* drag, CPoint where) override { onDrop(drag, where); }
    CPoint windowPointer() const override
    {
        CPoint where;
        currentMouseLocation(where);
        return where;
    }

    void leaveMouseOverView(CPoint where, int32_t buttons, bool convert);

    PlexelEditorInterface* editorInterface;
    MouseObserver* observer = nullptr;
    PlatformHandle parentWindowValue;
    CView* modal = nullptr;
    CView* focus = nullptr;
    CView* mouseOver = nullptr;
    bool openFlag = true;
    bool dropActive = false;
    FrameWindow* window = nullptr;
    COffscreenContext* backBufferValue = nullptr;
    bool mouseTracking = false;
};

} // namespace Plexel
