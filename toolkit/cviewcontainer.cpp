#include "toolkit/cviewcontainer.h"

#include "toolkit/cbitmap.h"
#include "toolkit/ccontrol.h"
#include "toolkit/cframe.h"

#include <cstring>
#include <new>

namespace Plexel
{

CViewContainer::CViewContainer(const CRect& size, CFrame* frame, CBitmap* background) : CView(size)
{
    frameValue = frame;
    setBackground(background);
}

CViewContainer::CViewContainer(const CViewContainer& other)
    : CView(other), backgroundColorValue(other.backgroundColorValue),
      backgroundOffsetValue(other.backgroundOffsetValue), useOffscreen(other.useOffscreen)
{
    for (ViewListNode* n = other.first; n; n = n->next)
    {
        CView* copy = n->view->clone();
        if (copy && !addView(copy)) copy->release();
    }
}

CViewContainer::~CViewContainer()
{
    CViewContainer::removeAllViews(true);
    if (offscreen) offscreen->release();
}

int32_t CViewContainer::handleMessage(CBaseObject*, const char* message)
{
    return message == kMsgCheckIfViewContainer ? kMessageHandled : kMessageIgnored;
}

bool CViewContainer::isTypeOf(const char* name) const
{
    return (name && std::strcmp(name, "CViewContainer") == 0) || CView::isTypeOf(name);
}

CView* CViewContainer::clone() const
{
    return new (std::nothrow) CViewContainer(*this);
}

//------------------------------------------------------------------------------------------------
// Children

CViewContainer::ViewListNode* CViewContainer::findNode(CView* view) const
{
    for (ViewListNode* n = first; n; n = n->next)
        if (n->view == view) return n;
    return nullptr;
}

void CViewContainer::unlink(ViewListNode* node)
{
    if (node->prev)
        node->prev->next = node->next;
    else
        first = node->next;
    if (node->next)
        node->next->prev = node->prev;
    else
        last = node->prev;
}

bool CViewContainer::addView(CView* view)
{
    if (!view || view->isAttached()) return false;
    auto* node = new (std::nothrow) ViewListNode{view, nullptr, last};
    if (!node) return false;
    view->retain();
    if (last)
        last->next = node;
    else
        first = node;
    last = node;
    if (attachedFlag)
    {
        view->attached(this);
        view->invalidate();
    }
    return true;
}

bool CViewContainer::addViewBefore(CView* view, CView* before)
{
    if (!view || view->isAttached()) return false;
    ViewListNode* next = findNode(before);
    if (!next) next = last;
    if (!next) return addView(view);
    auto* node = new (std::nothrow) ViewListNode{view, next, next->prev};
    if (!node) return false;
    view->retain();
    if (next->prev)
        next->prev->next = node;
    else
        first = node;
    next->prev = node;
    if (attachedFlag)
    {
        view->attached(this);
        view->invalidate();
    }
    return true;
}

bool CViewContainer::addViewWithArea(CView* view, const CRect& mouseArea, bool enabled)
{
    if (!addView(view)) return false;
    view->setMouseEnabled(enabled);
    view->setMouseArea(mouseArea);
    return true;
}

bool CViewContainer::removeView(CView* view, bool release)
{
    ViewListNode* node = findNode(view);
    if (!node) return false;
    view->invalidate();
    if (frameValue) frameValue->viewRemoved(view);
    if (mouseDownView == view) mouseDownView = nullptr;
    if (dragView == view) dragView = nullptr;
    if (attachedFlag) view->detached(this);
    unlink(node);
    delete node;
    if (release) view->release();
    view->release();
    return true;
}

bool CViewContainer::removeAllViews(bool release)
{
    while (first)
    {
        ViewListNode* node = first;
        CView* view = node->view;
        if (frameValue) frameValue->viewRemoved(view);
        if (attachedFlag) view->detached(this);
        unlink(node);
        delete node;
        if (release) view->release();
        view->release();
    }
    mouseDownView = nullptr;
    dragView = nullptr;
    return true;
}

bool CViewContainer::isChild(CView* view) const
{
    return view && findNode(view);
}

int32_t CViewContainer::childCount() const
{
    int32_t n = 0;
    for (ViewListNode* node = first; node; node = node->next)
        ++n;
    return n;
}

CView* CViewContainer::childAt(int32_t index) const
{
    if (index < 0) return nullptr;
    for (ViewListNode* node = first; node; node = node->next, --index)
        if (index == 0) return node->view;
    return nullptr;
}

CView* CViewContainer::topChildAt(const CPoint& local) const
{
    // The last added lies on top; mouse areas count with their edges.
    for (ViewListNode* n = last; n; n = n->prev)
    {
        CView* child = n->view;
        const CRect& a = child->mouseArea();
        if (child->isVisible() && local.x >= a.left && local.x <= a.right && local.y >= a.top &&
            local.y <= a.bottom)
            return child;
    }
    return nullptr;
}

CView* CViewContainer::viewAt(const CPoint& where, bool deep) const
{
    if (!frameValue || !visible) return nullptr;
    const CPoint local = toLocal(where);
    CView* child = topChildAt(local);
    if (!child || !deep || !child->isTypeOf("CViewContainer")) return child;
    return static_cast<CViewContainer*>(child)->viewAt(local, deep);
}

CView* CViewContainer::containerAt(const CPoint& where, bool deep) const
{
    auto* self = const_cast<CViewContainer*>(this);
    if (!frameValue) return nullptr;
    const CPoint local = toLocal(where);
    CView* child = topChildAt(local);
    if (!child || !deep || !child->isTypeOf("CViewContainer")) return self;
    return static_cast<CViewContainer*>(child)->containerAt(local, deep);
}

//------------------------------------------------------------------------------------------------
// Drawing

void CViewContainer::draw(CDrawContext* context)
{
    drawInRect(context, size);
}

void CViewContainer::recreateOffscreen()
{
    if (offscreen) offscreen->release();
    offscreen = new (std::nothrow) COffscreenContext(frameValue, size.width(), size.height(), kColorBlack);
}

void CViewContainer::drawInRect(CDrawContext* context, const CRect& updateRect)
{
    if (!context) return;
    if (useOffscreen && !offscreen) recreateOffscreen();
    const bool intoOffscreen = useOffscreen && offscreen;
    CDrawContext* target = intoOffscreen ? static_cast<CDrawContext*>(offscreen) : context;
    CPoint keptGlobal = context->globalOffset;
    CPoint keptOffset = context->offset;
    if (!intoOffscreen)
    {
        context->globalOffset.offset(size.left, size.top);
        context->offset.offset(size.left, size.top);
    }

    CRect clipped = updateRect;
    clipped.bound(size);
    CRect local = clipped;
    local.offset(-size.left, -size.top);

    CRect oldClip;
    context->copyClipRect(oldClip);
    const CRect keptClip = oldClip;
    // The offscreen has the container's own coordinates: the clip moves with it.
    if (intoOffscreen && static_cast<const CView*>(frameValue) != this) oldClip.offset(-size.left, -size.top);

    CRect newClip = local;
    newClip.bound(oldClip);
    target->setClipRect(newClip);

    drawBackgroundRect(target, local);

    // Each child gets the update rectangle unchanged; its own clip keeps it inside.
    for (ViewListNode* n = first; n; n = n->next)
    {
        CView* child = n->view;
        if (!shouldDrawChild(child, local)) continue;
        CRect r = child->viewSize();
        r.bound(newClip);
        if (r.width() > 0 && r.height() > 0)
        {
            target->setClipRect(r);
            child->drawInRect(target, local);
        }
    }

    target->setClipRect(keptClip);
    if (intoOffscreen)
        offscreen->copyTo(context, clipped, local.topLeft());
    else
    {
        context->globalOffset = keptGlobal;
        context->offset = keptOffset;
    }
    setDirty(false);
}

void CViewContainer::drawBackgroundRect(CDrawContext* context, const CRect& rect)
{
    if (backgroundBitmap)
    {
        CRect oldClip;
        context->copyClipRect(oldClip);
        CRect clip = rect;
        clip.bound(oldClip);
        context->setClipRect(clip);
        CRect whole(0, 0, backgroundBitmap->width(), backgroundBitmap->height());
        if (transparent)
            backgroundBitmap->drawTransparent(context, whole, backgroundOffsetValue);
        else
            backgroundBitmap->draw(context, whole, backgroundOffsetValue);
        context->setClipRect(oldClip);
        return;
    }
    if (transparent && backgroundColorValue.alpha == 255) return;
    context->setFrameColor(backgroundColorValue);
    context->setFillColor(backgroundColorValue);
    context->drawRect(CRect(0, 0, size.width(), size.height()), kDrawFilledAndStroked);
}

bool CViewContainer::shouldDrawChild(CView* view, const CRect& rect) const
{
    return view->overlaps(rect) && view->isVisible();
}

void CViewContainer::setBackgroundColor(const CColor& color)
{
    backgroundColorValue = color;
    setDirty(true);
}

void CViewContainer::setOffscreen(bool value)
{
    useOffscreen = value;
    if (!value && offscreen)
    {
        offscreen->release();
        offscreen = nullptr;
    }
}

//------------------------------------------------------------------------------------------------
// Dirty and invalidation

bool CViewContainer::isDirty() const
{
    if (dirty) return true;
    const CRect inside(0, 0, size.width(), size.height());
    for (ViewListNode* n = first; n; n = n->next)
    {
        if (!n->view->isDirty()) continue;
        CRect r = n->view->viewSize();
        r.bound(inside);
        if (r.width() > 0 && r.height() > 0) return true;
    }
    return false;
}

bool CViewContainer::redrawDirtyChildren()
{
    if (!visible) return true;
    if (dirty)
    {
        if (parent)
            parent->invalidateRect(size);
        else if (frameValue)
            frameValue->invalidateRect(size);
        return true;
    }
    for (ViewListNode* n = first; n; n = n->next)
    {
        CView* child = n->view;
        if (!child->isDirty() || !child->isVisible()) continue;
        if (child->isTypeOf("CViewContainer"))
            static_cast<CViewContainer*>(child)->redrawDirtyChildren();
        else
            child->invalidate();
    }
    return true;
}

void CViewContainer::invalidateRect(const CRect& rect)
{
    if (!visible) return;
    CRect r = rect;
    r.offset(size.left, size.top);
    r.bound(size);
    if (r.isEmpty()) return;
    if (parent)
        parent->invalidateRect(r);
    else if (frameValue)
        frameValue->invalidateRect(r);
}

void CViewContainer::invalidate()
{
    if (!visible) return;
    if (parent)
        parent->invalidateRect(size);
    else if (frameValue)
        frameValue->invalidateRect(size);
}

CRect& CViewContainer::visibleSizeOfChild(CRect& out, const CRect& rect) const
{
    out = rect;
    out.offset(size.left, size.top);
    out.bound(size);
    if (static_cast<const CView*>(frameValue) != this)
    {
        if (parent && parent->isTypeOf("CViewContainer"))
            static_cast<CViewContainer*>(parent)->visibleSizeOfChild(out, out);
        else if (frameValue)
            frameValue->visibleSizeOfChild(out, CRect(out));
    }
    out.offset(-size.left, -size.top);
    return out;
}

//------------------------------------------------------------------------------------------------
// Mouse, wheel, drags, keys

int32_t CViewContainer::onMouseDown(CPoint& where, const int32_t& buttons)
{
    CPoint local = toLocal(where);
    for (ViewListNode* n = last; n; n = n->prev)
    {
        CView* child = n->view;
        if (!child->isVisible() || !child->isMouseEnabled() || !child->hitTest(local, buttons)) continue;
        // A right or modifier click on a control may be taken before the control sees it.
        if ((buttons & 0xF8) && child->isTypeOf("CControl"))
        {
            auto* control = static_cast<CControl*>(child);
            CControlListener* listener = control->listener();
            if (listener && listener->onModifierClick(control, buttons) != 0) return kMouseHandled;
        }
        int32_t result = child->onMouseDown(local, buttons);
        if (result == kMouseHandled) mouseDownView = child;
        return result;
    }
    return kMouseNotHandled;
}

int32_t CViewContainer::onMouseUp(CPoint& where, const int32_t& buttons)
{
    if (!mouseDownView) return kMouseNotHandled;
    CPoint local = toLocal(where);
    CView* pressed = mouseDownView;
    mouseDownView = nullptr;
    pressed->onMouseUp(local, buttons);
    return kMouseHandled;
}

int32_t CViewContainer::onMouseMove(CPoint& where, const int32_t& buttons)
{
    if (!mouseDownView) return kMouseNotHandled;
    CPoint local = toLocal(where);
    int32_t result = mouseDownView->onMouseMove(local, buttons);
    if (result == kMouseHandled) return result;
    mouseDownView = nullptr;
    return kMouseNotHandled;
}

bool CViewContainer::onWheel(const CPoint& where, float distance, const int32_t& buttons)
{
    return onWheelAxis(where, 1, distance, buttons);
}

bool CViewContainer::onWheelAxis(const CPoint& where, int32_t axis, float distance, const int32_t& buttons)
{
    CView* child = viewAt(where, false);
    if (!child) return false;
    return child->onWheelAxis(toLocal(where), axis, distance, buttons);
}

void CViewContainer::onDragEnter(CDragContainer* drag, const CPoint& where)
{
    if (!frameValue) return;
    CPoint local = toLocal(where);
    if (dragView) dragView->onDragLeave(drag, local);
    dragView = viewAt(where, false);
    if (dragView) dragView->onDragEnter(drag, local);
}

void CViewContainer::onDragMove(CDragContainer* drag, const CPoint& where)
{
    if (!frameValue) return;
    CPoint local = toLocal(where);
    CView* child = viewAt(where, false);
    if (child != dragView)
    {
        if (dragView) dragView->onDragLeave(drag, local);
        if (child) child->onDragEnter(drag, local);
        dragView = child;
    }
    else if (dragView)
        dragView->onDragMove(drag, local);
}

void CViewContainer::onDragLeave(CDragContainer* drag, const CPoint& where)
{
    if (!frameValue) return;
    if (dragView) dragView->onDragLeave(drag, toLocal(where));
    dragView = nullptr;
}

bool CViewContainer::onDrop(CDragContainer* drag, const CPoint& where)
{
    if (!frameValue) return false;
    CPoint local = toLocal(where);
    CView* child = viewAt(where, false);
    if (child != dragView)
    {
        if (dragView) dragView->onDragLeave(drag, local);
        dragView = child;
    }
    bool result = false;
    if (dragView)
    {
        result = dragView->onDrop(drag, local);
        dragView->onDragLeave(drag, local);
    }
    dragView = nullptr;
    return result;
}

int32_t CViewContainer::onKeyDown(KeyCode& key)
{
    for (ViewListNode* n = last; n; n = n->prev)
    {
        int32_t result = n->view->onKeyDown(key);
        if (result != -1) return result;
    }
    return -1;
}

int32_t CViewContainer::onKeyUp(KeyCode& key)
{
    for (ViewListNode* n = last; n; n = n->prev)
    {
        int32_t result = n->view->onKeyUp(key);
        if (result != -1) return result;
    }
    return -1;
}

bool CViewContainer::hitTestChildren(const CPoint& where, int32_t buttons) const
{
    CPoint local = toLocal(where);
    for (ViewListNode* n = last; n; n = n->prev)
        if (n->view->isMouseEnabled() && n->view->hitTest(local, buttons)) return true;
    return false;
}

//------------------------------------------------------------------------------------------------
// Focus

bool CViewContainer::advanceFocus(CView* oldFocus, bool reverse)
{
    bool counting = oldFocus == nullptr;
    for (ViewListNode* n = reverse ? last : first; n; n = reverse ? n->prev : n->next)
    {
        CView* child = n->view;
        if (!counting)
        {
            if (child == oldFocus) counting = true;
            continue;
        }
        if (child->wantsFocus())
        {
            if (frameValue) frameValue->setFocusView(child);
            child->onFocusTaken();
            return true;
        }
        if (child->isTypeOf("CViewContainer") &&
            static_cast<CViewContainer*>(child)->advanceFocus(nullptr, reverse))
            return true;
    }
    return false;
}

void CViewContainer::onFocusLost()
{
    for (ViewListNode* n = first; n; n = n->next)
        n->view->onFocusLost();
}

void CViewContainer::onFocusTaken()
{
    for (ViewListNode* n = first; n; n = n->next)
        n->view->onFocusTaken();
}

//------------------------------------------------------------------------------------------------
// Size and attachment

void CViewContainer::setViewSize(const CRect& rect, bool invalidate)
{
    if (rect == size) return;
    const CRect old = size;
    CView::setViewSize(rect, invalidate);
    const int32_t dw = rect.width() - old.width();
    const int32_t dh = rect.height() - old.height();
    if (dw != 0 || dh != 0)
    {
        const int32_t n = childCount();
        const bool asColumn = autosizeFlags & kAutosizeColumn;
        const bool asRow = autosizeFlags & kAutosizeRow;
        int32_t i = 0;
        for (ViewListNode* node = first; node; node = node->next, ++i)
        {
            CView* child = node->view;
            const int32_t flags = child->autosize();
            CRect r = child->viewSize();
            CRect a = child->mouseArea();
            if (asColumn)
            {
                const int32_t share = dw / n;
                if (i > 0)
                {
                    r.offset(share * i, 0);
                    a.offset(share * i, 0);
                }
                r.right += share;
                a.right += share;
            }
            else if (dw != 0 && (flags & kAutosizeRight))
            {
                r.right += dw;
                a.right += dw;
                if (!(flags & kAutosizeLeft))
                {
                    r.left += dw;
                    a.left += dw;
                }
            }
            if (asRow)
            {
                const int32_t share = dh / n;
                if (i > 0)
                {
                    r.offset(0, share * i);
                    a.offset(0, share * i);
                }
                r.bottom += share;
                a.bottom += share;
            }
            else if (dh != 0 && (flags & kAutosizeBottom))
            {
                r.bottom += dh;
                a.bottom += dh;
                if (!(flags & kAutosizeTop))
                {
                    r.top += dh;
                    a.top += dh;
                }
            }
            if (!(r == child->viewSize()))
            {
                child->setViewSize(r, true);
                child->setMouseArea(a);
            }
        }
    }
    parentSizeChanged();
    if (useOffscreen && offscreen) recreateOffscreen();
}

void CViewContainer::parentSizeChanged()
{
    for (ViewListNode* n = first; n; n = n->next)
        n->view->parentSizeChanged();
}

CPoint& CViewContainer::frameToLocal(CPoint& point) const
{
    point.offset(-size.left, -size.top);
    if (parent && parent->isTypeOf("CViewContainer")) return parent->frameToLocal(point);
    return point;
}

CPoint& CViewContainer::localToFrame(CPoint& point) const
{
    point.offset(size.left, size.top);
    if (parent && parent->isTypeOf("CViewContainer")) return parent->localToFrame(point);
    return point;
}

bool CViewContainer::detached(CView* oldParent)
{
    if (offscreen)
    {
        offscreen->release();
        offscreen = nullptr;
    }
    frameValue = nullptr;
    for (ViewListNode* n = first; n; n = n->next)
        n->view->detached(this);
    return CView::detached(oldParent);
}

bool CViewContainer::attached(CView* newParent)
{
    frameValue = newParent ? newParent->frame() : nullptr;
    if (useOffscreen && !offscreen) recreateOffscreen();
    for (ViewListNode* n = first; n; n = n->next)
        n->view->attached(this);
    return CView::attached(newParent);
}

} // namespace Plexel
