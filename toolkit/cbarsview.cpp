#include "toolkit/cbarsview.h"

#include "toolkit/cdrawcontext.h"

namespace Plexel
{

int32_t IBarsDef::getBarCount(int32_t)
{
    return 1;
}

bool IBarsDef::onBarEvent(int32_t, int32_t, float, uint32_t)
{
    return false;
}

//------------------------------------------------------------------------------------------------

CBarsView::CBarsView(const CRect& rect, IBarsDef* source, uint32_t flags, int32_t barsId)
    : CView(rect), source(source), flags(flags), barsId(barsId)
{
}

CBarsView::~CBarsView() = default;

int32_t CBarsView::barWidth()
{
    return size.width() / source->getBarCount(barsId);
}

CRect CBarsView::barRect(int32_t index)
{
    const int32_t left = barWidth() * index + size.left;
    return CRect(left, size.top, left + barWidth(), size.bottom);
}

void CBarsView::draw(CDrawContext* context)
{
    const int32_t count = source->getBarCount(barsId);
    const int32_t width = barWidth();
    if (flags & kBarsDrawGrid)
    {
        // One line at the right edge of each bar; the view's left edge gets none.
        context->setFrameColor(gridColor);
        int32_t x = size.left + width;
        for (int32_t i = 0; i < count; ++i, x += width)
        {
            context->moveTo({x, size.top});
            context->lineTo({x, size.bottom});
        }
    }
    int32_t x = size.left;
    for (int32_t i = 0; i < count; ++i, x += width)
        source->drawBar(barsId, i, context, CRect(x, size.top, x + width, size.bottom));
    setDirty(false);
}

int32_t CBarsView::onMouseDown(CPoint& where, const int32_t& buttons)
{
    CRect visible;
    visibleSize(visible);
    const int32_t offset = where.x - visible.left;
    const int32_t index = offset / barWidth();
    // The strip that the division leaves over takes the press and nothing more.
    if (offset < 0 || index >= source->getBarCount(barsId)) return kMouseHandledOnce;

    if (buttons & kButtonRight)
    {
        // A right press clears the bar wherever the pointer is, and starts no drag.
        if (source->onBarEvent(barsId, index, 0.0f, kButtonRight)) invalidateRect(barRect(index));
        return kMouseHandledOnce;
    }

    // A new gesture sends its first value even if it is the one just sent.
    lastBar = -1;
    lastValue = -1.0f;
    return onMouseMove(where, buttons);
}

int32_t CBarsView::onMouseMove(CPoint& where, const int32_t& buttons)
{
    if (!(buttons & kButtonLeft)) return kMouseNotHandled;

    // A drag that leaves the view goes on at its nearest edge.
    CPoint p = where;
    if (p.x < size.left) p.x = size.left;
    if (p.x > size.right) p.x = size.right;
    if (p.y < size.top) p.y = size.top;
    if (p.y > size.bottom) p.y = size.bottom;

    const int32_t x = p.x - size.left;
    const int32_t y = p.y - size.top;
    const int32_t h = size.height();
    const int32_t index = x / barWidth();
    if (index < 0 || index >= source->getBarCount(barsId)) return kMouseHandled;

    const float value = float(h - y) / float(h);
    if (index == lastBar && value == lastValue) return kMouseHandled;
    if (source->onBarEvent(barsId, index, value, uint32_t(buttons))) invalidateRect(barRect(index));
    lastValue = value;
    lastBar = index;
    return kMouseHandled;
}

int32_t CBarsView::onMouseUp(CPoint&, const int32_t&)
{
    return kMouseHandled;
}

} // namespace Plexel
