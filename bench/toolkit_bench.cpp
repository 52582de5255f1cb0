// A full repaint of a note grid as large as the editor's: 33 columns by 12 rows of cells, each
// filled and outlined through the draw context, with a note name per row, into a 603 by 230
// offscreen surface through the frame, as a paint of the whole window does.

#include "toolkit/cbitmap.h"
#include "toolkit/cframe.h"
#include "toolkit/cmatrix.h"

#include <benchmark/benchmark.h>

#include <cstdio>

using namespace Plexel;

namespace
{
constexpr int32_t kColumns = 33;
constexpr int32_t kRows = 12;
constexpr int32_t kWidth = 603;
constexpr int32_t kHeight = 230;

class GridView : public CView
{
public:
    GridView() : CView(CRect(0, 0, kWidth, kHeight)) {}
    void draw(CDrawContext* context) override
    {
        const int32_t cellWidth = kWidth / kColumns;
        const int32_t cellHeight = kHeight / kRows;
        context->setFrameColor(CColor{60, 60, 60, 255});
        context->setFont(kFontVerySmall);
        context->setFontColor(kColorWhite);
        for (int32_t row = 0; row < kRows; ++row)
        {
            for (int32_t column = 0; column < kColumns; ++column)
            {
                const bool on = (row * 7 + column * 3) % 5 == 0;
                context->setFillColor(on ? CColor{230, 120, 40, 255} : CColor{30, 30, 36, 255});
                CRect cell(column * cellWidth, row * cellHeight, (column + 1) * cellWidth,
                           (row + 1) * cellHeight);
                context->drawRect(cell, kDrawFilledAndStroked);
            }
            char name[8];
            std::snprintf(name, sizeof name, "C%d", int(row));
            context->drawStringInRect(name, CRect(0, row * cellHeight, cellWidth, (row + 1) * cellHeight),
                                      kLeftText, true);
        }
        setDirty(false);
    }
};

void FullRepaintOfTheNoteGrid(benchmark::State& state)
{
    auto* frame = new CFrame(CRect(0, 0, kWidth, kHeight), nullptr, nullptr);
    frame->addView(new GridView);
    auto* surface = new COffscreenContext(frame, kWidth, kHeight);
    const CRect all(0, 0, kWidth, kHeight);
    for (auto _ : state)
    {
        frame->drawInRect(surface, all);
        benchmark::DoNotOptimize(surface->bitmap()->pixel(10, 10));
    }
    state.SetItemsProcessed(state.iterations() * kColumns * kRows);
    surface->release();
    delete frame;
}
BENCHMARK(FullRepaintOfTheNoteGrid)->Unit(benchmark::kMicrosecond);

// The same picture made by a CMatrix over 85 rows, its cells painted by a source: what the matrix
// adds is its own offscreen pass (argument 0) or nothing but the cell loop (argument 1).
class NoteSource : public IMatrixDef
{
public:
    int32_t getRowCount(int32_t) override { return 85; }
    int32_t getColumnCount(int32_t) override { return kColumns; }
    void drawCell(int32_t, int32_t row, int32_t column, CDrawContext* context, const CRect& rect) override
    {
        if (column == 0)
        {
            char name[8];
            std::snprintf(name, sizeof name, "C%d", int(row));
            context->setFont(kFontVerySmall);
            context->setFontColor(kColorWhite);
            context->drawStringInRect(name, rect, kLeftText, true);
            return;
        }
        const bool on = (row * 7 + column * 3) % 5 == 0;
        context->setFrameColor(CColor{60, 60, 60, 255});
        context->setFillColor(on ? CColor{230, 120, 40, 255} : CColor{30, 30, 36, 255});
        context->drawRect(rect, kDrawFilledAndStroked);
    }
};

void FullRepaintOfTheNoteMatrix(benchmark::State& state)
{
    NoteSource source;
    auto* frame = new CFrame(CRect(0, 0, kWidth, kHeight), nullptr, nullptr);
    auto* matrix = new CMatrix(CRect(0, 0, kWidth, kHeight), &source, kRows,
                               kMatrixScrollable | (state.range(0) ? uint32_t(kMatrixNoOffscreen) : 0u), 0);
    matrix->setFirstRow(42);
    frame->addView(matrix);
    auto* surface = new COffscreenContext(frame, kWidth, kHeight);
    const CRect all(0, 0, kWidth, kHeight);
    for (auto _ : state)
    {
        frame->drawInRect(surface, all);
        benchmark::DoNotOptimize(surface->bitmap()->pixel(10, 10));
    }
    state.SetItemsProcessed(state.iterations() * kColumns * kRows);
    surface->release();
    delete frame;
}
BENCHMARK(FullRepaintOfTheNoteMatrix)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
} // namespace

BENCHMARK_MAIN();
