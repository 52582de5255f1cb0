#include "toolkit/cview.h"

#include "toolkit/cbitmap.h"
#include "toolkit/cframe.h"
#include "toolkit/cviewcontainer.h"

#include <cstring>
#include <new>

namespace Plexel
{

CView::CView(const CRect& rect) : size(rect), mouseAreaValue(rect) {}

CView::CView(const CView& other)
    : CBaseObject(other), size(other.size), mouseAreaValue(other.mouseAreaValue),
      mouseEnabled(other.mouseEnabled), transparent(other.transparent),
      wantsFocusValue(other.wantsFocusValue), autosizeFlags(other.autosizeFlags),
      backgroundBitmap(other.backgroundBitmap)
{
    if (backgroundBitmap) backgroundBitmap->retain();
    for (ViewAttribute* a = other.attributes; a; a = a->next)
        setAttribute(a->id, a->size, a->data);
}

CView::~CView()
{
    if (backgroundBitmap) backgroundBitmap->release();
    while (attributes)
    {
        ViewAttribute* next = attributes->next;
        delete[] attributes->data;
        delete attributes;
        attributes = next;
    }
}

void CView::draw(CDrawContext* context)
{
    if (backgroundBitmap)
    {
        if (transparent)
            backgroundBitmap->drawTransparent(context, size, CPoint());
        else
            backgroundBitmap->draw(context, size, CPoint());
    }
    setDirty(false);
}

void CView::drawInRect(CDrawContext* context, const CRect&)
{
    draw(context);
}

bool CView::overlaps(const CRect& rect) const
{
    return !(rect.right < size.left || rect.left > size.right || rect.bottom < size.top ||
             rect.top > size.bottom);
}

void CView::invalidateRect(const CRect& rect)
{
    if (!attachedFlag || !visible) return;
    if (parent)
        parent->invalidateRect(rect);
    else if (frameValue)
        frameValue->invalidateRect(rect);
}

void CView::invalidate()
{
    setDirty(false);
    invalidateRect(size);
}

void CView::setVisible(bool value)
{
    if (value == visible) return;
    visible = value;
    setDirty(true);
}

int32_t CView::onMouseDown(CPoint&, const int32_t&)
{
    return kMouseNotImplemented;
}

int32_t CView::onMouseUp(CPoint&, const int32_t&)
{
    return kMouseNotImplemented;
}

int32_t CView::onMouseMove(CPoint&, const int32_t&)
{
    return kMouseNotImplemented;
}

int32_t CView::onMouseEnter(CPoint&, const int32_t&)
{
    return 0;
}

int32_t CView::onMouseLeave(CPoint&, const int32_t&)
{
    return 0;
}

bool CView::hitTest(const CPoint& where, const int32_t)
{
    const CRect& a = mouseAreaValue;
    return where.x >= a.left && where.x <= a.right && where.y >= a.top && where.y <= a.bottom;
}

bool CView::onWheelAxis(const CPoint& where, int32_t axis, float distance, const int32_t& buttons)
{
    return onWheel(where, axis == 0 ? -distance : distance, buttons);
}

bool CView::onWheel(const CPoint&, float, const int32_t&)
{
    return false;
}

bool CView::onDrop(CDragContainer*, const CPoint&)
{
    return false;
}

void CView::onDragEnter(CDragContainer*, const CPoint&) {}

void CView::onDragLeave(CDragContainer*, const CPoint&) {}

void CView::onDragMove(CDragContainer*, const CPoint&) {}

int32_t CView::onKeyDown(KeyCode&)
{
    return -1;
}

int32_t CView::onKeyUp(KeyCode&)
{
    return -1;
}

void CView::setViewSize(const CRect& rect, bool invalidate)
{
    size = rect;
    if (invalidate) setDirty(true);
}

CRect& CView::visibleSize(CRect& out) const
{
    if (parent && parent->isTypeOf("CViewContainer"))
        return static_cast<CViewContainer*>(parent)->visibleSizeOfChild(out, size);
    if (frameValue) return frameValue->visibleSizeOfChild(out, size);
    out = CRect();
    return out;
}

CPoint& CView::frameToLocal(CPoint& point) const
{
    if (parent && parent->isTypeOf("CViewContainer")) return parent->frameToLocal(point);
    return point;
}

CPoint& CView::localToFrame(CPoint& point) const
{
    if (parent && parent->isTypeOf("CViewContainer")) return parent->localToFrame(point);
    return point;
}

void CView::setBackground(CBitmap* bitmap)
{
    // Retain first, so that setting the bitmap already held cannot destroy it on the way.
    if (bitmap) bitmap->retain();
    if (backgroundBitmap) backgroundBitmap->release();
    backgroundBitmap = bitmap;
    setDirty(true);
}

bool CView::detached(CView*)
{
    if (!attachedFlag) return false;
    parent = nullptr;
    frameValue = nullptr;
    attachedFlag = false;
    return true;
}

bool CView::attached(CView* newParent)
{
    if (attachedFlag) return false;
    parent = newParent;
    frameValue = newParent ? newParent->frame() : nullptr;
    attachedFlag = true;
    return true;
}

PlexelEditorInterface* CView::editor() const
{
    return frameValue ? frameValue->editor() : nullptr;
}

bool CView::isTypeOf(const char* name) const
{
    return name && std::strcmp(name, "CView") == 0;
}

CView* CView::clone() const
{
    return new (std::nothrow) CView(*this);
}

//------------------------------------------------------------------------------------------------
// Attributes

CView::ViewAttribute* CView::findAttribute(uint32_t id) const
{
    for (ViewAttribute* a = attributes; a; a = a->next)
        if (a->id == id) return a;
    return nullptr;
}

bool CView::attributeSize(uint32_t id, int32_t& outSize) const
{
    ViewAttribute* a = findAttribute(id);
    if (!a) return false;
    outSize = a->size;
    return true;
}

bool CView::attribute(uint32_t id, int32_t capacity, void* buffer, int32_t& outSize) const
{
    ViewAttribute* a = findAttribute(id);
    if (!a || capacity < a->size) return false;
    outSize = a->size;
    if (a->size >= 1 && buffer) std::memcpy(buffer, a->data, size_t(a->size));
    return true;
}

bool CView::setAttribute(uint32_t id, int32_t newSize, const void* data)
{
    ViewAttribute* a = findAttribute(id);
    if (a)
    {
        // A block that is large enough is reused and keeps its recorded size.
        if (a->size >= newSize)
        {
            if (newSize >= 1 && data) std::memcpy(a->data, data, size_t(newSize));
            return true;
        }
        auto* block = new (std::nothrow) unsigned char[size_t(newSize)];
        if (!block) return false;
        if (data) std::memcpy(block, data, size_t(newSize));
        delete[] a->data;
        a->data = block;
        a->size = newSize;
        return true;
    }
    auto* entry = new (std::nothrow) ViewAttribute;
    if (!entry) return false;
    entry->id = id;
    entry->size = newSize;
    if (newSize >= 1)
    {
        entry->data = new (std::nothrow) unsigned char[size_t(newSize)];
        if (!entry->data)
        {
            delete entry;
            return false;
        }
        if (data) std::memcpy(entry->data, data, size_t(newSize));
    }
    ViewAttribute** tail = &attributes;
    while (*tail)
        tail = &(*tail)->next;
    *tail = entry;
    return true;
}

bool CView::removeAttribute(uint32_t id)
{
    for (ViewAttribute** link = &attributes; *link; link = &(*link)->next)
    {
        if ((*link)->id == id)
        {
            ViewAttribute* gone = *link;
            *link = gone->next;
            delete[] gone->data;
            delete gone;
            return true;
        }
    }
    return false;
}

} // namespace Plexel
