#include "toolkit/cmatrix.h"
#include "toolkit_helpers.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace toolkit_test;

namespace
{
constexpr int32_t kId = 7;

// A frame without a window that also keeps the cursors it is asked for.
class CursorFrame : public RecordingFrame
{
public:
    using RecordingFrame::RecordingFrame;
    void setCursor(int32_t type) override { cursors.push_back(type); }
    std::vector<int32_t> cursors;
};

// Records every call of the matrix. Like the note grid, a press or drag that reaches column 0
// turns the gesture into a scroll drag when scrollOnKeyColumn is set.
class GridSource : public IMatrixDef
{
public:
    int32_t getRowCount(int32_t id) override
    {
        seenId(id);
        return rows;
    }
    int32_t getColumnCount(int32_t id) override
    {
        seenId(id);
        return columns;
    }
    void drawCell(int32_t, int32_t, int32_t, CDrawContext*, const CRect&) override {}
    bool onCellEvent(int32_t id, int32_t row, int32_t column, uint32_t flags) override
    {
        seenId(id);
        const char* name = flags == kCellPress         ? "press"
                           : flags == kCellDoubleClick ? "double"
                           : flags == kCellRightPress  ? "right"
                           : flags == kCellDrag        ? "drag"
                                                       : "other";
        events.push_back(std::string(name) + " " + std::to_string(row) + "," + std::to_string(column));
        if (column == 0 && scrollOnKeyColumn) scrollOnKeyColumn->beginScrollDrag();
        return repaint;
    }
    void onCellHover(int32_t id, int32_t row, int32_t column) override
    {
        seenId(id);
        hovers.push_back(std::to_string(row) + "," + std::to_string(column));
    }
    void seenId(int32_t id)
    {
        if (id != kId) ++wrongIds;
    }

    int32_t rows = 85;
    int32_t columns = 33;
    bool repaint = false;
    CMatrix* scrollOnKeyColumn = nullptr;
    std::vector<std::string> events;
    std::vector<std::string> hovers;
    int wrongIds = 0;
};

using Events = std::vector<std::string>;

// A matrix as large as a note grid row set: 33 columns of 10 pixels with 5 left over, 12 rows of
// 10 pixels with 2 left over, placed away from the frame's corner so that coordinates must be
// converted.
class MatrixTest : public ::testing::Test
{
protected:
    static constexpr CRect kRect{20, 30, 355, 152};

    void SetUp() override { make(kMatrixScrollable); }
    void TearDown() override
    {
        delete frame;
        EXPECT_EQ(source.wrongIds, 0);
    }
    void make(uint32_t flags, int32_t visibleRows = 12)
    {
        delete frame;
        frame = new CursorFrame(CRect(0, 0, 400, 200));
        matrix = new CMatrix(kRect, &source, visibleRows, flags, kId);
        frame->addView(matrix);
        frame->invalidated.clear();
    }
    // Points are given view-relative and sent in the frame's coordinates.
    int32_t press(int32_t x, int32_t y, int32_t buttons = kButtonLeft)
    {
        CPoint p(kRect.left + x, kRect.top + y);
        return frame->onMouseDown(p, buttons);
    }
    int32_t move(int32_t x, int32_t y, int32_t buttons = kButtonLeft)
    {
        CPoint p(kRect.left + x, kRect.top + y);
        return frame->onMouseMove(p, buttons);
    }
    void release(int32_t x, int32_t y)
    {
        CPoint p(kRect.left + x, kRect.top + y);
        frame->onMouseUp(p, 0);
    }
    // The rectangles one column's repaint asks the frame for, rows counted from the top of the view.
    std::vector<CRect> columnRects(int32_t column, int32_t rows = 12) const
    {
        std::vector<CRect> out;
        for (int32_t i = 0; i < rows; ++i)
            out.emplace_back(kRect.left + 10 * column, kRect.top + 10 * i, kRect.left + 10 * column + 10,
                             kRect.top + 10 * i + 10);
        return out;
    }

    GridSource source;
    CursorFrame* frame = nullptr;
    CMatrix* matrix = nullptr;
};

TEST_F(MatrixTest, CellsDivideTheViewAndTheLeftoverStripsTakeAPressWithoutAnEvent)
{
    EXPECT_EQ(matrix->columnWidth(), 10);
    EXPECT_EQ(matrix->rowHeight(), 10);
    EXPECT_EQ(matrix->gridWidth(), 330);
    EXPECT_EQ(matrix->gridHeight(), 120);
    matrix->setFirstRow(40);
    CRect cell;
    EXPECT_EQ(matrix->cellRect(cell, 43, 5), CRect(50, 30, 60, 40));
    EXPECT_EQ(matrix->rowAt({5, 35}), 43);
    EXPECT_EQ(matrix->columnAt({59, 35}), 5);
    EXPECT_EQ(matrix->lastVisibleRow(), 51);

    // Rows 120 and 121 at the bottom, columns 330 to 334 at the right, and the view's own right
    // and bottom edges, which the frame's hit test lets through.
    const CPoint strips[] = {{5, 120}, {5, 121}, {5, 122}, {330, 5}, {334, 5}, {335, 5}, {334, 121}};
    for (CPoint p : strips)
    {
        EXPECT_EQ(press(p.x, p.y), kMouseHandledOnce) << p.x << "," << p.y;
        EXPECT_EQ(press(p.x, p.y, kButtonRight), kMouseHandledOnce);
        // Nothing captured the mouse, so a drag from there only hovers.
        move(15, 15);
        release(15, 15);
    }
    EXPECT_TRUE(source.events.empty());

    // The last pixel of a cell is still that cell.
    EXPECT_EQ(press(329, 119), kMouseHandled);
    EXPECT_EQ(source.events, Events{"press 51,32"});
}

TEST_F(MatrixTest, FirstRowKeepsAFullViewWithinTheGrid)
{
    matrix->setDirty(false);
    matrix->setFirstRow(80);
    EXPECT_EQ(matrix->firstRow(), 73);
    EXPECT_EQ(matrix->lastVisibleRow(), 84);
    // Setting marks the view for the next idle but asks for no repaint itself.
    EXPECT_TRUE(matrix->isDirty());
    EXPECT_TRUE(frame->invalidated.empty());
    matrix->setFirstRow(72);
    EXPECT_EQ(matrix->firstRow(), 72);
    matrix->setFirstRow(-5);
    EXPECT_EQ(matrix->firstRow(), 0);

    matrix->setFirstRow(72);
    matrix->scrollBy(-1.0f);
    EXPECT_EQ(matrix->firstRow(), 73);
    EXPECT_EQ(frame->invalidated, std::vector<CRect>{kRect});
    frame->invalidated.clear();
    matrix->scrollBy(-1.0f);
    EXPECT_EQ(matrix->firstRow(), 73);
    EXPECT_TRUE(frame->invalidated.empty());

    // Zero counts as a positive distance: toward row 0, which is as far as it goes.
    matrix->scrollBy(0.0f);
    EXPECT_EQ(matrix->firstRow(), 72);
    matrix->setFirstRow(0);
    frame->invalidated.clear();
    matrix->scrollBy(1.0f);
    EXPECT_EQ(matrix->firstRow(), 0);
    EXPECT_TRUE(frame->invalidated.empty());

    // A grid of one row in a view of one row never moves.
    source.rows = 1;
    make(kMatrixScrollable, 1);
    matrix->setFirstRow(5);
    EXPECT_EQ(matrix->firstRow(), 0);
    matrix->scrollBy(-1.0f);
    EXPECT_EQ(matrix->firstRow(), 0);
}

TEST_F(MatrixTest, TheWheelMovesOneRowPerEventAndOnlyAScrollableMatrix)
{
    matrix->setFirstRow(40);
    const CPoint over(kRect.left + 50, kRect.top + 50);
    EXPECT_TRUE(frame->onWheel(over, 3.5f, 0));
    EXPECT_EQ(matrix->firstRow(), 39);
    EXPECT_TRUE(frame->onWheel(over, -40.0f, 0));
    EXPECT_EQ(matrix->firstRow(), 40);

    make(0);
    matrix->setFirstRow(40);
    EXPECT_FALSE(frame->onWheel(over, 1.0f, 0));
    matrix->scrollBy(-1.0f);
    EXPECT_EQ(matrix->firstRow(), 40);
    EXPECT_TRUE(frame->invalidated.empty());
}

TEST_F(MatrixTest, PressesSendOneEventByButtonAndOnlyTheLeftButtonTracks)
{
    matrix->setFirstRow(40);
    EXPECT_EQ(press(35, 25), kMouseHandled);
    EXPECT_EQ(press(35, 25, kButtonLeft | kButtonDoubleClick), kMouseHandled);
    release(35, 25);
    EXPECT_EQ(source.events, (Events{"press 42,3", "double 42,3"}));
    EXPECT_TRUE(frame->invalidated.empty());

    // A right press takes no capture: the moves that follow reach the matrix as hovering.
    source.events.clear();
    source.repaint = true;
    EXPECT_EQ(press(75, 5, kButtonRight), kMouseHandledOnce);
    move(85, 5, kButtonRight);
    move(95, 5, kButtonRight);
    release(95, 5);
    EXPECT_EQ(source.events, Events{"right 40,7"});
    EXPECT_EQ(source.hovers, Events{"40,9"});
    EXPECT_EQ(frame->invalidated, columnRects(7));

    // The middle button stores the cell and tracks, but sends no cell event.
    source.events.clear();
    source.hovers.clear();
    frame->invalidated.clear();
    EXPECT_EQ(press(75, 5, kButtonMiddle), kMouseHandled);
    move(95, 5, kButtonMiddle);
    release(95, 5);
    EXPECT_TRUE(source.events.empty());
    EXPECT_TRUE(frame->invalidated.empty());
}

TEST_F(MatrixTest, APaintingDragSendsAnEventOnEnteringAnotherCellOfTheGrid)
{
    source.repaint = true;
    matrix->setFirstRow(40);
    press(45, 55);
    move(49, 59);
    EXPECT_EQ(source.events, Events{"press 45,4"});
    EXPECT_EQ(frame->invalidated, columnRects(4));

    // Out and back in: each cell entered sends, also one touched before.
    move(55, 55);
    move(45, 55);
    // Into the strip at the right and back: nothing outside the grid, and the cell before it is
    // still the last one.
    move(332, 55);
    move(45, 55);
    // Above and below the view: rows scrolled out are still rows of the grid.
    move(45, -15);
    move(45, 135);
    EXPECT_EQ(source.events, (Events{"press 45,4", "drag 45,5", "drag 45,4", "drag 39,4", "drag 53,4"}));
    release(45, 135);

    // Beyond the grid's first and last rows nothing is sent.
    source.events.clear();
    matrix->setFirstRow(0);
    press(45, 5);
    move(45, -15);
    move(45, -40);
    EXPECT_EQ(source.events, Events{"press 0,4"});
    release(45, -40);
    source.events.clear();
    matrix->setFirstRow(73);
    press(45, 115);
    move(45, 125);
    EXPECT_EQ(source.events, Events{"press 84,4"});
    release(45, 125);

    // A drag after the release belongs to no gesture: it only hovers.
    source.events.clear();
    move(85, 5, 0);
    EXPECT_TRUE(source.events.empty());
}

TEST_F(MatrixTest, AScrollDragMovesOneRowPerHalfRowOfPointerTravel)
{
    source.scrollOnKeyColumn = matrix;
    matrix->setFirstRow(40);
    press(5, 35);
    EXPECT_EQ(frame->cursors.back(), kCursorHand);

    // Half a row (5 pixels) does nothing; 6 pixels down show one row nearer the top.
    move(5, 40);
    EXPECT_EQ(matrix->firstRow(), 40);
    move(5, 41);
    EXPECT_EQ(matrix->firstRow(), 39);
    // The mark moved with that step: the next row needs 6 pixels from there.
    move(5, 46);
    EXPECT_EQ(matrix->firstRow(), 39);
    move(5, 47);
    EXPECT_EQ(matrix->firstRow(), 38);
    // However far a single event goes, it moves one row; up shows rows further down the grid.
    move(5, 7);
    EXPECT_EQ(matrix->firstRow(), 39);
    // Crossing into other cells while scrolling paints nothing; it is one more step down.
    move(200, 90);
    EXPECT_EQ(matrix->firstRow(), 38);
    EXPECT_EQ(source.events, Events{"press 43,0"});

    release(200, 90);
    EXPECT_EQ(frame->cursors.back(), kCursorDefault);

    // The next gesture paints again.
    press(45, 55);
    move(55, 55);
    EXPECT_EQ(source.events, (Events{"press 43,0", "press 43,4", "drag 43,5"}));
    // A painting drag that runs into the key column turns into a scroll drag from there on, with
    // the press as its mark.
    move(5, 55);
    EXPECT_EQ(frame->cursors.back(), kCursorHand);
    EXPECT_EQ(matrix->firstRow(), 38);
    move(5, 61);
    EXPECT_EQ(matrix->firstRow(), 37);
    move(25, 75);
    EXPECT_EQ(source.events, (Events{"press 43,0", "press 43,4", "drag 43,5", "drag 43,0"}));
    release(25, 75);
    EXPECT_EQ(frame->cursors.back(), kCursorDefault);
}

TEST_F(MatrixTest, HoveringReportsCellsOfTheGridAndLeavingRestoresTheCursor)
{
    matrix->setFirstRow(40);
    // The first move only enters the view.
    move(30, 25, 0);
    move(35, 25, 0);
    move(35, 121, 0);
    move(332, 25, 0);
    EXPECT_EQ(source.hovers, (Events{"42,3", "52,3"}));

    frame->cursors.clear();
    CPoint outside(390, 190);
    frame->onMouseMove(outside, 0);
    EXPECT_EQ(frame->cursors, std::vector<int32_t>{kCursorDefault});
}

TEST_F(MatrixTest, AColumnRepaintsAsOneRectanglePerVisibleRow)
{
    matrix->setFirstRow(80);
    matrix->invalidateColumn(32);
    EXPECT_EQ(frame->invalidated, columnRects(32));

    // A grid shorter than the view repaints only the rows it has.
    source.rows = 5;
    make(0);
    matrix->invalidateColumn(0);
    EXPECT_EQ(frame->invalidated, columnRects(0, 5));
}

//------------------------------------------------------------------------------------------------
// Pictures

// Fills three cells of the bottom right, each grown by 2 pixels on every side, so that they
// overlap and the picture shows which was painted last: row 1 columns 2 (red) and 3 (yellow), row 2
// column 2 (blue).
class PaintingSource : public IMatrixDef
{
public:
    int32_t getRowCount(int32_t) override { return 3; }
    int32_t getColumnCount(int32_t) override { return 4; }
    void drawCell(int32_t, int32_t row, int32_t column, CDrawContext* context, const CRect& rect) override
    {
        ++calls;
        if (column < 2 || (row == 2 && column == 3)) return;
        context->setFillColor(row == 2 ? kColorBlue : column == 2 ? kColorRed : kColorYellow);
        context->drawRect(CRect(rect.left - 2, rect.top - 2, rect.right + 2, rect.bottom + 2), kDrawFilled);
    }
    int calls = 0;
};

// A view of 47 by 25 pixels: 4 columns of 11 with 3 left over, 2 rows of 12 with 1 left over.
constexpr CRect kPictureRect{10, 10, 57, 35};

CBitmap* splitBitmap()
{
    // Green left of x 40, magenta from there on.
    auto* bitmap = new CBitmap(nullptr, 100, 50);
    auto* painter = new COffscreenContext(nullptr, bitmap, true);
    painter->setFillColor(kColorGreen);
    painter->drawRect(CRect(0, 0, 40, 50), kDrawFilled);
    painter->setFillColor(kColorMagenta);
    painter->drawRect(CRect(40, 0, 100, 50), kDrawFilled);
    painter->release();
    return bitmap;
}

struct Picture
{
    explicit Picture(CBitmap* bitmap) : bitmap(bitmap) {}
    ~Picture() { bitmap->release(); }
    // View-relative.
    CColor at(int32_t x, int32_t y) const
    {
        return bitmap->pixel(kPictureRect.left + x, kPictureRect.top + y);
    }
    CBitmap* bitmap;
};

TEST(MatrixPictureTest, GridThenCellsRowByRowOverTheBackgroundInBothModes)
{
    const CColor lines{128, 128, 128, 255};
    for (uint32_t mode : {uint32_t(0), uint32_t(kMatrixNoOffscreen)})
    {
        SCOPED_TRACE(mode == 0 ? "offscreen" : "direct");
        PaintingSource source;
        CBitmap* background = splitBitmap();
        auto* frame = new CFrame(CRect(0, 0, 80, 60), nullptr, nullptr);
        frame->setBackgroundColor(kColorWhite);
        auto* matrix = new CMatrix(kPictureRect, &source, 2, kMatrixDrawGrid | mode, kId);
        matrix->gridColor = lines;
        matrix->setFirstRow(1);
        matrix->setBackgroundBitmap(background, CPoint(30, 5));
        frame->addView(matrix);
        {
            Picture picture(renderToBitmap(frame));
            // Two visible rows of four cells, each painted once.
            EXPECT_EQ(source.calls, 8);
            // The bitmap's edge at x 40 lands on the view's x 10.
            EXPECT_EQ(picture.at(8, 5), kColorGreen);
            EXPECT_EQ(picture.at(14, 5), kColorMagenta);
            // Grid lines where no cell paints: the row line at y 12, the column line at x 11...
            EXPECT_EQ(picture.at(5, 12), lines);
            EXPECT_EQ(picture.at(11, 5), lines);
            // ...and under the cells where they paint.
            EXPECT_EQ(picture.at(25, 12), kColorBlue);
            // Red where its neighbours leave it; yellow came later and covers its right edge, blue
            // later still and covers its bottom edge, and the corner where yellow and blue meet:
            // row by row, not column by column.
            EXPECT_EQ(picture.at(28, 5), kColorRed);
            EXPECT_EQ(picture.at(31, 5), kColorYellow);
            EXPECT_EQ(picture.at(25, 10), kColorBlue);
            EXPECT_EQ(picture.at(32, 11), kColorBlue);
        }

        // Setting the same bitmap again keeps one reference; none drops it.
        EXPECT_EQ(background->referenceCount(), 2);
        matrix->setBackgroundBitmap(background, CPoint());
        EXPECT_EQ(background->referenceCount(), 2);
        matrix->setBackgroundBitmap(nullptr, CPoint());
        EXPECT_EQ(background->referenceCount(), 1);
        {
            // Without a background the offscreen surface shows black, the direct path whatever
            // the parent painted: in an empty cell and in the strips at the right and the bottom.
            Picture picture(renderToBitmap(frame));
            const CColor behind = mode == 0 ? kColorBlack : kColorWhite;
            EXPECT_EQ(picture.at(5, 5), behind);
            EXPECT_EQ(picture.at(46, 5), behind);
            EXPECT_EQ(picture.at(46, 24), behind);
            EXPECT_EQ(picture.at(25, 5), kColorRed);
            EXPECT_EQ(picture.at(-1, 5), kColorWhite);
        }

        if (mode == 0)
        {
            // Out of the tree the matrix has no offscreen surface: it paints only its cells.
            frame->removeView(matrix, false);
            CBitmap* alone = renderToBitmap(matrix);
            EXPECT_EQ(alone->pixel(5, 5).alpha, 0);
            EXPECT_EQ(alone->pixel(25, 5), kColorRed);
            alone->release();
            matrix->setBackgroundBitmap(background, CPoint());
            matrix->release();
        }
        else
        {
            matrix->setBackgroundBitmap(background, CPoint());
            delete frame;
            frame = nullptr;
        }
        // The matrix's reference went with it.
        EXPECT_EQ(background->referenceCount(), 1);
        background->release();
        delete frame;
    }
}

} // namespace
