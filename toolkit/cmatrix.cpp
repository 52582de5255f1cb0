#include "toolkit/cmatrix.h"

#include "toolkit/cbitmap.h"
#include "toolkit/cframe.h"

#include <new>

namespace Plexel
{

int32_t IMatrixDef::getRowCount(int32_t)
{
    return 1;
}

int32_t IMatrixDef::getColumnCount(int32_t)
{
    return 1;
}

bool IMatrixDef::onCellEvent(int32_t, int32_t, int32_t, uint32_t)
{
    return false;
}

void IMatrixDef::onCellHover(int32_t, int32_t, int32_t) {}

//------------------------------------------------------------------------------------------------

CMatrix::CMatrix(const CRect& rect, IMatrixDef* source, int32_t visibleRows, uint32_t flags, int32_t matrixId)
    : CView(rect), source(source), matrixId(matrixId), visibleRows(visibleRows), flags(flags)
{
}

CMatrix::~CMatrix()
{
    if (offscreen) offscreen->release();
    if (backgroundValue) backgroundValue->release();
}

void CMatrix::setFirstRow(int32_t row)
{
    if (row == firstRowValue) return;
    const int32_t rows = source->getRowCount(matrixId);
    // Near the end of the grid the view stays full rather than showing rows that do not exist.
    int32_t first = row + visibleRows > rows - 1 ? rows - visibleRows : row;
    firstRowValue = first < 0 ? 0 : first;
    setDirty(true);
}

void CMatrix::setBackgroundBitmap(CBitmap* bitmap, const CPoint& offset)
{
    // Take the new reference first: the bitmap may be the one already held.
    if (bitmap) bitmap->retain();
    if (backgroundValue) backgroundValue->release();
    backgroundValue = bitmap;
    backgroundOffset = offset;
}

//------------------------------------------------------------------------------------------------
// Geometry

int32_t CMatrix::gridWidth()
{
    return source->getColumnCount(matrixId) * columnWidth();
}

int32_t CMatrix::gridHeight()
{
    return rowHeight() * visibleRows;
}

int32_t CMatrix::columnWidth()
{
    return size.width() / source->getColumnCount(matrixId);
}

int32_t CMatrix::rowHeight()
{
    return size.height() / visibleRows;
}

CRect& CMatrix::cellRect(CRect& out, int32_t row, int32_t column)
{
    const int32_t width = columnWidth();
    const int32_t height = rowHeight();
    out.left = width * column;
    out.right = out.left + width;
    out.top = height * (row - firstRowValue);
    out.bottom = out.top + height;
    out.left += cellInset;
    out.top += cellInset;
    out.right -= cellInset;
    out.bottom -= cellInset;
    return out;
}

int32_t CMatrix::lastVisibleRow()
{
    const int32_t last = firstRowValue + visibleRows - 1;
    const int32_t rows = source->getRowCount(matrixId);
    return last > rows - 1 ? rows - 1 : last;
}

int32_t CMatrix::columnAt(const CPoint& where)
{
    return where.x / columnWidth();
}

int32_t CMatrix::rowAt(const CPoint& where)
{
    return where.y / rowHeight() + firstRowValue;
}

//------------------------------------------------------------------------------------------------
// Painting

void CMatrix::draw(CDrawContext* context)
{
    const int32_t lastRowShown = lastVisibleRow();
    const int32_t columns = source->getColumnCount(matrixId);

    CDrawContext* target = context;
    CPoint origin = size.topLeft();
    if (offscreen)
    {
        target = offscreen;
        origin = CPoint();
        const CRect whole(0, 0, offscreen->width(), offscreen->height());
        if (backgroundValue)
            backgroundValue->draw(target, whole, backgroundOffset);
        else
        {
            target->setFillColor(kColorBlack);
            target->drawRect(whole, kDrawFilled);
        }
    }
    else if (backgroundValue)
        backgroundValue->draw(context, size, backgroundOffset);

    if (flags & kMatrixDrawGrid) drawGrid(target, origin);

    CRect cell;
    for (int32_t row = firstRowValue; row <= lastRowShown; ++row)
    {
        for (int32_t column = 0; column < columns; ++column)
        {
            cellRect(cell, row, column);
            cell.offset(origin.x, origin.y);
            source->drawCell(matrixId, row, column, target, cell);
        }
    }

    if (target == offscreen) offscreen->copyTo(context, size, CPoint());
    setDirty(false);
}

void CMatrix::drawGrid(CDrawContext* context, const CPoint& origin)
{
    const int32_t columns = source->getColumnCount(matrixId);
    const int32_t width = columnWidth();
    const int32_t height = rowHeight();
    context->setFrameColor(gridColor);
    // The last line of each kind closes the grid; a leftover strip stays outside it.
    for (int32_t i = 0; i <= visibleRows; ++i)
    {
        const int32_t y = origin.y + i * height;
        context->moveTo({origin.x, y});
        context->lineTo({origin.x + width * columns, y});
    }
    for (int32_t i = 0; i <= columns; ++i)
    {
        const int32_t x = origin.x + i * width;
        context->moveTo({x, origin.y});
        context->lineTo({x, origin.y + visibleRows * height});
    }
}

void CMatrix::invalidateColumn(int32_t column)
{
    const int32_t last = lastVisibleRow();
    CRect cell;
    for (int32_t row = firstRowValue; row <= last; ++row)
    {
        cellRect(cell, row, column);
        cell.offset(size.left, size.top);
        invalidateRect(cell);
    }
}

//------------------------------------------------------------------------------------------------
// Scrolling

void CMatrix::scrollBy(float distance)
{
    if (!(flags & kMatrixScrollable)) return;
    if (distance < 0.0f)
    {
        if (firstRowValue + visibleRows <= source->getRowCount(matrixId) - 1)
        {
            ++firstRowValue;
            invalidate();
        }
    }
    else if (firstRowValue - 1 >= 0)
    {
        --firstRowValue;
        invalidate();
    }
}

void CMatrix::beginScrollDrag()
{
    scrollDragging = true;
    if (frameValue) frameValue->setCursor(kCursorHand);
}

bool CMatrix::onWheel(const CPoint&, float distance, const int32_t&)
{
    if (!(flags & kMatrixScrollable)) return false;
    scrollBy(distance);
    return true;
}

//------------------------------------------------------------------------------------------------
// Mouse

int32_t CMatrix::onMouseDown(CPoint& where, const int32_t& buttons)
{
    scrollDragging = false;
    lastMouse = where;

    const CPoint local = toView(where);
    const int32_t row = rowAt(local);
    const int32_t column = columnAt(local);
    const int32_t columns = source->getColumnCount(matrixId);
    // Also the strips that the divisions leave over at the right and the bottom.
    if (row < firstRowValue || row > lastVisibleRow() || column < 0 || column >= columns)
        return kMouseHandledOnce;

    if (buttons & kButtonRight)
    {
        if (source->onCellEvent(matrixId, row, column, kCellRightPress)) invalidateColumn(column);
        return kMouseHandledOnce;
    }

    lastRow = row;
    lastColumn = column;
    // The second press of a double click also carries the left button.
    bool repaint = false;
    if (buttons & kButtonDoubleClick)
        repaint = source->onCellEvent(matrixId, row, column, kCellDoubleClick);
    else if (buttons & kButtonLeft)
        repaint = source->onCellEvent(matrixId, row, column, kCellPress);
    if (repaint) invalidateColumn(lastColumn);

    return onMouseMove(where, buttons);
}

int32_t CMatrix::onMouseMove(CPoint& where, const int32_t& buttons)
{
    if (!(buttons & kButtonLeft))
    {
        const CPoint local = toView(where);
        const int32_t row = rowAt(local);
        const int32_t column = columnAt(local);
        if (column < source->getColumnCount(matrixId)) source->onCellHover(matrixId, row, column);
        return kMouseHandled;
    }

    if (scrollDragging)
    {
        // The mark was taken in the parent's coordinates, and the point is compared as it came.
        const int32_t dy = lastMouse.y - where.y;
        const int32_t magnitude = dy < 0 ? -dy : dy;
        if (magnitude >= rowHeight() / 2 + 1)
        {
            scrollBy(-float(dy));
            lastMouse = where;
        }
        return kMouseHandled;
    }

    const CPoint local = toView(where);
    const int32_t row = rowAt(local);
    const int32_t column = columnAt(local);
    if (row == lastRow && column == lastColumn) return kMouseHandled;
    // Rows scrolled out of the view are still in the grid: a drag above or below the view goes on
    // through them.
    if (row >= 0 && row < source->getRowCount(matrixId) && column >= 0 &&
        column < source->getColumnCount(matrixId))
    {
        if (source->onCellEvent(matrixId, row, column, kCellDrag)) invalidateColumn(column);
        lastRow = row;
        lastColumn = column;
    }
    return kMouseHandled;
}

int32_t CMatrix::onMouseUp(CPoint&, const int32_t&)
{
    if (scrollDragging && frameValue) frameValue->setCursor(kCursorDefault);
    scrollDragging = false;
    return kMouseHandled;
}

int32_t CMatrix::onMouseLeave(CPoint&, const int32_t&)
{
    if (frameValue) frameValue->setCursor(kCursorDefault);
    return 1;
}

//------------------------------------------------------------------------------------------------
// Tree

bool CMatrix::attached(CView* newParent)
{
    if (!(flags & kMatrixNoOffscreen))
    {
        if (offscreen) offscreen->release();
        // Without memory for it the pointer stays empty and draw paints straight into its context.
        offscreen = new (std::nothrow) COffscreenContext(newParent ? newParent->frame() : nullptr,
                                                         size.width(), size.height(), kColorBlack);
    }
    return CView::attached(newParent);
}

bool CMatrix::detached(CView* oldParent)
{
    if (offscreen)
    {
        offscreen->release();
        offscreen = nullptr;
    }
    return CView::detached(oldParent);
}

} // namespace Plexel
