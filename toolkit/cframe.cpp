#include "toolkit/cframe.h"

#include "toolkit/cbitmap.h"
#include "toolkit/platform/frame.h"

#include <chrono>
#include <cstring>

namespace Plexel
{

namespace
{
// Keeps setFocusView from running inside itself, across all frames of the process.
bool focusGuard = false;
} // namespace

CFrame::CFrame(const CRect& size, PlatformHandle parentWindow, PlexelEditorInterface* editor)
    : CViewContainer(size, nullptr, nullptr), editorInterface(editor), parentWindowValue(parentWindow)
{
    frameValue = this;
    attachedFlag = true;
    acquireDrawingSystem();
    if (!parentWindow) return;
    window = createFrameWindow(this, parentWindow, size);
    setDropActive(true);
}

CFrame::~CFrame()
{
    if (modal) removeView(modal, false);
    setCursor(kCursorDefault);
    setDropActive(false);
    frameValue = nullptr;
    removeAllViews(true);
    if (backBufferValue)
    {
        backBufferValue->release();
        backBufferValue = nullptr;
    }
    if (window)
    {
        destroyFrameWindow(window);
        window = nullptr;
    }
    releaseDrawingSystem();
}

bool CFrame::isTypeOf(const char* name) const
{
    return (name && std::strcmp(name, "CFrame") == 0) || CViewContainer::isTypeOf(name);
}

PlatformHandle CFrame::nativeWindow() const
{
    return window ? frameWindowHandle(window) : nullptr;
}

//------------------------------------------------------------------------------------------------
// Painting

void CFrame::draw(CDrawContext* context)
{
    drawInRect(context, size);
}

void CFrame::drawInRect(CDrawContext* context, const CRect& updateRect)
{
    if (context)
        context->retain();
    else
        context = createDrawContext();
    CRect kept;
    context->copyClipRect(kept);
    CRect clip = updateRect;
    clip.bound(kept);
    context->setClipRect(clip);
    if (updateRect.width() > 0 && updateRect.height() > 0) CViewContainer::drawInRect(context, updateRect);
    context->setClipRect(kept);
    context->release();
}

void CFrame::paint(PlatformHandle systemContext, const CRect& rect)
{
    COffscreenContext* buffer = backBuffer();
    CDrawContext* context = buffer ? buffer : new CDrawContext(this, systemContext, nativeWindow());
    drawInRect(context, rect);
    if (buffer)
    {
        auto* screen = new CDrawContext(this, systemContext, nativeWindow());
        buffer->copyTo(screen, rect, rect.topLeft());
        screen->release();
    }
    else
        context->release();
}

CDrawContext* CFrame::createDrawContext()
{
    return new CDrawContext(this, nullptr, nativeWindow());
}

COffscreenContext* CFrame::backBuffer()
{
    if (!backBufferValue && frameNeedsBackBuffer())
        backBufferValue = new COffscreenContext(this, size.width(), size.height(), kColorBlack);
    return backBufferValue;
}

void CFrame::invalidateRect(const CRect& rect)
{
    if (visible && window) invalidateFrameWindow(window, rect);
}

void CFrame::invalidate()
{
    invalidateRect(size);
    dirty = false;
}

void CFrame::invalidateArea(const CRect& rect)
{
    for (ViewListNode* n = first; n; n = n->next)
    {
        const CRect& r = n->view->viewSize();
        if (r.left <= rect.right && r.right >= rect.left && r.top <= rect.bottom && r.bottom >= rect.top)
            n->view->setDirty(true);
    }
}

bool CFrame::idle()
{
    if (!openState()) return false;
    return redrawDirtyChildren();
}

void CFrame::windowDestroyed()
{
    setOpen(false);
    parentWindowValue = nullptr;
}

//------------------------------------------------------------------------------------------------
// Mouse

void CFrame::leaveMouseOverView(CPoint where, int32_t buttons, bool convert)
{
    CView* view = mouseOver;
    if (!view) return;
    if (convert) view->frameToLocal(where);
    view->onMouseLeave(where, buttons);
    if (observer) observer->onViewExited(view, this);
    mouseOver = nullptr;
}

int32_t CFrame::onMouseDown(CPoint& where, const int32_t& buttons)
{
    mouseDownView = nullptr;
    // Any press takes the focus away, also one that no view handles.
    if (focus) setFocusView(nullptr);
    leaveMouseOverView(where, buttons, false);
    if (observer) observer->onFrameMouseDown(this, where);
    if (modal)
    {
        if (!modal->hitTest(where, buttons)) return kMouseNotHandled;
        if (modal->onMouseDown(where, buttons) != kMouseHandled) return kMouseNotHandled;
        mouseDownView = modal;
        return kMouseHandled;
    }
    return CViewContainer::onMouseDown(where, buttons);
}

int32_t CFrame::onMouseMove(CPoint& where, const int32_t& buttons)
{
    if (!mouseTracking)
    {
        mouseTracking = true;
        if (window) trackFrameMouseLeave(window);
    }
    if (observer) observer->onFrameMouseMoved(this, where);
    if (modal) return modal->onMouseMove(where, buttons);

    int32_t result = CViewContainer::onMouseMove(where, buttons);
    if (result != kMouseNotHandled) return result;

    CView* over = viewAt(where, true);
    if (over != mouseOver)
    {
        leaveMouseOverView(where, buttons, true);
        if (!over) return kMouseHandled;
        CPoint local = where;
        over->frameToLocal(local);
        over->onMouseEnter(local, buttons);
        mouseOver = over;
        if (observer) observer->onViewEntered(over, this);
        return kMouseHandled;
    }
    if (!over) return kMouseNotHandled;
    // A view that is only hovered over sees moves without buttons.
    CPoint local = where;
    over->frameToLocal(local);
    return over->onMouseMove(local, 0);
}

int32_t CFrame::onMouseLeave(CPoint& where, const int32_t& buttons)
{
    leaveMouseOverView(where, buttons, true);
    mouseTracking = false;
    return 1;
}

bool CFrame::onWheelAxis(const CPoint& where, int32_t axis, float distance, const int32_t& buttons)
{
    if (mouseDownView) return false;
    CView* target = modal ? modal : viewAt(where, false);
    if (!target) return false;
    return target->onWheelAxis(where, axis, distance, buttons);
}

bool CFrame::onWheel(const CPoint& where, float distance, const int32_t& buttons)
{
    return onWheelAxis(where, 1, distance, buttons);
}

bool CFrame::currentMouseLocation(CPoint& out) const
{
    out = window ? frameMouseLocation(window) : CPoint();
    return true;
}

int32_t CFrame::currentMouseButtons() const
{
    return window ? frameMouseButtons(window) : 0;
}

void CFrame::setCursor(int32_t type)
{
    if (window) setFrameCursor(window, type);
}

//------------------------------------------------------------------------------------------------
// Keys and focus

int32_t CFrame::onKeyDown(KeyCode& key)
{
    if (focus)
    {
        int32_t result = focus->onKeyDown(key);
        if (result != -1) return result;
    }
    if (modal)
    {
        int32_t result = modal->onKeyDown(key);
        if (result != -1) return result;
    }
    if (key.virtualKey == kVirtualKeyTab)
        return advanceFocus(focus, (key.modifier & kKeyModifierShift) != 0) ? 1 : -1;
    return -1;
}

int32_t CFrame::onKeyUp(KeyCode& key)
{
    if (focus)
    {
        int32_t result = focus->onKeyUp(key);
        if (result != -1) return result;
    }
    if (modal)
    {
        int32_t result = modal->onKeyUp(key);
        if (result != -1) return result;
    }
    return -1;
}

void CFrame::setFocusView(CView* view)
{
    if (view == focus || focusGuard) return;
    focusGuard = true;
    CView* old = focus;
    focus = view;
    if (view && view->wantsFocus())
    {
        view->setDirty(true);
        for (CView* p = view->parentView(); p && p != this; p = p->parentView())
            p->handleMessage(view, kMsgNewFocusView);
    }
    if (old)
    {
        if (old->wantsFocus())
        {
            old->setDirty(true);
            for (CView* p = old->parentView(); p && p != this; p = p->parentView())
                p->handleMessage(old, kMsgOldFocusView);
        }
        old->onFocusLost();
    }
    focusGuard = false;
}

bool CFrame::advanceFocus(CView* oldFocus, bool reverse)
{
    if (modal)
    {
        if (!modal->isTypeOf("CViewContainer"))
        {
            if (oldFocus == modal) return false;
            setFocusView(modal);
            return true;
        }
        return static_cast<CViewContainer*>(modal)->advanceFocus(oldFocus, reverse);
    }
    CView* start = oldFocus ? oldFocus : focus;
    if (!start) return CViewContainer::advanceFocus(nullptr, reverse);
    if (isChild(start))
    {
        if (CViewContainer::advanceFocus(start, reverse)) return true;
        setFocusView(nullptr);
        return false;
    }
    CView* child = start;
    // Up through the containers of a nested view; the frame itself is the last of them.
    for (CView* p = start->parentView(); p && p->isTypeOf("CViewContainer"); p = p->parentView())
    {
        if (static_cast<CViewContainer*>(p)->advanceFocus(child, reverse)) return true;
        child = p;
    }
    return CViewContainer::advanceFocus(start, reverse);
}

//------------------------------------------------------------------------------------------------
// Modal view and removal

bool CFrame::setModalView(CView* view)
{
    if (view && (modal || view->isAttached())) return false;
    if (modal) removeView(modal, false);
    modal = view;
    if (!view) return true;
    return addView(view);
}

bool CFrame::removeView(CView* view, bool release)
{
    if (view && view == modal) modal = nullptr;
    return CViewContainer::removeView(view, release);
}

bool CFrame::removeAllViews(bool release)
{
    modal = nullptr;
    focus = nullptr;
    mouseOver = nullptr;
    return CViewContainer::removeAllViews(release);
}

void CFrame::viewRemoved(CView* view)
{
    if (mouseOver == view) mouseOver = nullptr;
    if (focus == view) focus = nullptr;
}

//------------------------------------------------------------------------------------------------
// Editor, window and size

void CFrame::doEditorIdle()
{
    if (editorInterface) editorInterface->doIdle();
}

uint32_t CFrame::ticks() const
{
    using namespace std::chrono;
    return uint32_t(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

void CFrame::windowMouseLeave()
{
    CPoint where;
    currentMouseLocation(where);
    onMouseLeave(where, currentMouseButtons());
}

int32_t CFrame::knobMode() const
{
    return editorInterface ? editorInterface->knobMode() : 0;
}

void CFrame::beginEdit(int32_t tag)
{
    if (editorInterface) editorInterface->beginEdit(tag);
}

void CFrame::endEdit(int32_t tag)
{
    if (editorInterface) editorInterface->endEdit(tag);
}

bool CFrame::setPosition(int32_t, int32_t)
{
    return false;
}

bool CFrame::position(int32_t& x, int32_t& y) const
{
    if (!openState() || !window) return false;
    return frameWindowPosition(window, x, y);
}

bool CFrame::outerSize(CRect& out) const
{
    if (!openState() || !window) return false;
    return frameWindowOuterSize(window, out);
}

bool CFrame::setSize(int32_t width, int32_t height)
{
    if (!openState()) return false;
    if (width == size.width() && height == size.height()) return false;
    CRect newRect = size;
    newRect.setSize({width, height});
    // The next paint makes a back buffer of the new size.
    if (backBufferValue)
    {
        backBufferValue->release();
        backBufferValue = nullptr;
    }
    // A host window much larger than the frame stops the chain, and the tree keeps its size.
    if (window && !resizeFrameWindowChain(window, width, height)) return true;
    setViewSize(newRect, true);
    return true;
}

bool CFrame::setDropActive(bool active)
{
    if (!dropActive && !active) return true;
    if (!window) return false;
    setFrameDropTarget(window, active);
    dropActive = active;
    return true;
}

} // namespace Plexel
