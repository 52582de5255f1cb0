#pragma once

// A grid of cells that turns mouse gestures into cell events. The matrix knows nothing of what
// its cells mean: a data source counts the rows and columns, paints each cell and takes each
// event. The matrix keeps the geometry, the vertical scrolling, the painting order and the
// gestures.

#include "toolkit/cview.h"

#include <cstdint>

namespace Plexel
{

class COffscreenContext;

// What happened to a cell; each event carries exactly one of these.
enum : uint32_t
{
    kCellPress = 1,       // left button down on the cell
    kCellDoubleClick = 2, // the press was the second of a double click
    kCellRightPress = 8,  // right button down on the cell
    kCellDrag = 0x1000,   // left button held, pointer entered another cell
};

enum : uint32_t
{
    kMatrixDrawGrid = 1,    // grid lines under the cells
    kMatrixNoOffscreen = 2, // paint straight into the context handed to draw
    kMatrixScrollable = 4,  // wheel and scroll drag move the first row
};

// The data source of a matrix. The source outlives every matrix that points at it; matrixId is
// the number the source gave the matrix, so that one source can serve several.
class IMatrixDef
{
public:
    virtual int32_t getRowCount(int32_t matrixId);
    virtual int32_t getColumnCount(int32_t matrixId);
    // The rectangle is in the coordinates of context.
    virtual void drawCell(int32_t matrixId, int32_t row, int32_t column, CDrawContext* context,
                          const CRect& rect) = 0;
    // True if the cell's column must be repainted.
    virtual bool onCellEvent(int32_t matrixId, int32_t row, int32_t column, uint32_t flags);
    virtual void onCellHover(int32_t matrixId, int32_t row, int32_t column);

protected:
    // A matrix never owns its source.
    ~IMatrixDef() = default;
};

// Rows are rows of the whole grid, 0 at its top; firstRow is the one at the top of the view.
// All columns are always on screen. What the divisions of the view's size leave over is a strip
// at the right and at the bottom that belongs to no cell.
class CMatrix : public CView
{
public:
    CMatrix(const CRect& rect, IMatrixDef* source, int32_t visibleRows, uint32_t flags, int32_t matrixId);
    ~CMatrix() override;
    CMatrix(const CMatrix&) = delete;
    CMatrix& operator=(const CMatrix&) = delete;

    // Keeps a full view of rows where it can; marks the view dirty but leaves the repaint to the
    // caller.
    void setFirstRow(int32_t row);
    int32_t firstRow() const { return firstRowValue; }
    // One reference is held on the bitmap; offset is where in it the view's top left corner lies.
    void setBackgroundBitmap(CBitmap* bitmap, const CPoint& offset);

    void draw(CDrawContext* context) override;
    int32_t onMouseDown(CPoint& where, const int32_t& buttons) override;
    int32_t onMouseUp(CPoint& where, const int32_t& buttons) override;
    int32_t onMouseMove(CPoint& where, const int32_t& buttons) override;
    int32_t onMouseLeave(CPoint& where, const int32_t& buttons) override;
    bool onWheel(const CPoint& where, float distance, const int32_t& buttons) override;
    bool detached(CView* parent) override;
    bool attached(CView* parent) override;

    virtual int32_t gridWidth();
    virtual int32_t gridHeight();
    virtual int32_t columnWidth();
    virtual int32_t rowHeight();
    // View-relative.
    virtual CRect& cellRect(CRect& out, int32_t row, int32_t column);
    // For the source to call from inside onCellEvent: the rest of the gesture scrolls the grid.
    virtual void beginScrollDrag();
    // Asks for one repaint per visible cell of the column.
    virtual void invalidateColumn(int32_t column);
    virtual int32_t lastVisibleRow();
    virtual void drawGrid(CDrawContext* context, const CPoint& origin);
    // One row per call whatever the size; a positive distance moves toward row 0.
    virtual void scrollBy(float distance);
    // Both take view-relative points.
    virtual int32_t columnAt(const CPoint& where);
    virtual int32_t rowAt(const CPoint& where);

protected:
    IMatrixDef* source;
    int32_t matrixId;
    int32_t cellInset = 0;
    int32_t firstRowValue = 0;
    int32_t visibleRows;
    uint32_t flags;
    COffscreenContext* offscreen = nullptr;

public:
    CColor gridColor = kColorWhite;

protected:
    CBitmap* backgroundValue = nullptr;
    CPoint backgroundOffset;
    // The cell that last took a press or a drag event.
    int32_t lastRow = 0;
    int32_t lastColumn = 0;
    bool scrollDragging = false;
    // In the parent's coordinates: the press, then each row step of a scroll drag.
    CPoint lastMouse;

private:
    CPoint toView(const CPoint& where) const { return {where.x - size.left, where.y - size.top}; }
};

} // namespace Plexel
