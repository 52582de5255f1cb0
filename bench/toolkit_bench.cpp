// Full repaints at the size of the editor, into a 603 by 230 offscreen surface through the frame,
// as a paint of the whole window does: a note grid of 33 columns by 12 rows of cells, each filled
// and outlined through the draw context with a note name per row; the same made by a CMatrix; and
// a panel holding one of each control.

#include "toolkit/cbitmap.h"
#include "toolkit/cbuttons.h"
#include "toolkit/cframe.h"
#include "toolkit/cknob.h"
#include "toolkit/cmatrix.h"
#include "toolkit/cmovie.h"
#include "toolkit/cparamdisplay.h"
#include "toolkit/cslider.h"
#include "toolkit/cspecial.h"
#include "toolkit/cswitches.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <iterator>

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

// A strip of count images of width by height, in greys, as a control's bitmap would be.
CBitmap* strip(int32_t width, int32_t height, int32_t count)
{
    auto* bitmap = new CBitmap(nullptr, width, height * count);
    auto* painter = new COffscreenContext(nullptr, bitmap, true);
    for (int32_t i = 0; i < count; ++i)
    {
        const auto level = uint8_t(40 + i * 200 / count);
        painter->setFillColor(CColor{level, level, level, 255});
        painter->drawRect(CRect(0, i * height, width, (i + 1) * height), kDrawFilled);
    }
    painter->release();
    return bitmap;
}

// A panel as large as the editor's holding one of each control, every one drawn at each repaint,
// into a 603 by 230 offscreen surface through the frame.
void FullRepaintOfAPanelOfControls(benchmark::State& state)
{
    auto* frame = new CFrame(CRect(0, 0, kWidth, kHeight), nullptr, nullptr);
    auto* panel = new CViewContainer(CRect(0, 0, kWidth, kHeight), frame);
    panel->setBackgroundColor(CColor{30, 30, 36, 255});
    frame->addView(panel);

    CBitmap* twoUp = strip(30, 30, 2);
    CBitmap* threeUp = strip(30, 30, 3);
    CBitmap* knobStrip = strip(40, 40, 31);
    CBitmap* knobBack = strip(40, 40, 1);
    CBitmap* handle = strip(12, 8, 1);
    CBitmap* track = strip(20, 120, 1);
    CBitmap* trackAcross = strip(160, 20, 1);
    CBitmap* handleAcross = strip(8, 12, 1);
    CBitmap* digits = strip(10, 16, 10);
    CBitmap* ledsOn = strip(12, 120, 1);
    CBitmap* ledsOff = strip(12, 120, 1);
    CBitmap* wide = strip(120, 30, 4);
    CView* controls[] = {
        new COnOffButton(CRect(10, 10, 40, 40), nullptr, 0, twoUp),
        new CKickButton(CRect(50, 10, 80, 40), nullptr, 0, 30, twoUp),
        new CMovieButton(CRect(90, 10, 120, 40), nullptr, 0, 30, twoUp),
        new CRockerSwitch(CRect(130, 10, 160, 40), nullptr, 0, 30, threeUp),
        new CVerticalSwitch(CRect(170, 10, 200, 40), nullptr, 0, 3, 30, 3, threeUp),
        new CHorizontalSwitch(CRect(210, 10, 330, 40), nullptr, 0, 4, 30, 4, wide),
        new CMovieBitmap(CRect(340, 10, 370, 40), nullptr, 0, 3, 30, threeUp),
        new CAutoAnimation(CRect(380, 10, 410, 40), nullptr, 0, 3, 30, threeUp),
        new CKnob(CRect(10, 60, 50, 100), nullptr, 0, knobBack, nullptr),
        new CKnob(CRect(60, 60, 100, 100), nullptr, 0, knobBack, handle),
        new CAnimKnob(CRect(110, 60, 150, 100), nullptr, 0, 31, 40, knobStrip),
        new CVerticalSlider(CRect(170, 60, 190, 180), nullptr, 0, CPoint(4, 0), 120, handle, track),
        new CHorizontalSlider(CRect(200, 60, 360, 80), nullptr, 0, CPoint(0, 4), 160, handleAcross,
                              trackAcross),
        new CSpecialDigit(CRect(200, 100, 240, 116), nullptr, 0, 1234, 4, nullptr, nullptr, 10, 16, digits),
        new CVuMeter(CRect(380, 60, 392, 180), ledsOn, ledsOff, 12),
        new CSplashScreen(CRect(420, 10, 450, 40), nullptr, 0, knobBack, CRect(0, 0, 40, 40)),
        new CDefaultSplashScreenView(CRect(460, 10, 500, 50), nullptr, knobBack),
        new CParamDisplay(CRect(420, 60, 500, 76), nullptr, kStyleShadowText),
        new CTextLabel(CRect(420, 90, 560, 106), "Gate length", nullptr, kStyleInset),
    };
    float value = 0.f;
    for (CView* control : controls)
    {
        static_cast<CControl*>(control)->setValue(value);
        value += 0.05f;
        panel->addView(control);
    }
    static_cast<CAutoAnimation*>(controls[7])->startAnimation();

    auto* surface = new COffscreenContext(frame, kWidth, kHeight);
    const CRect all(0, 0, kWidth, kHeight);
    for (auto _ : state)
    {
        frame->drawInRect(surface, all);
        benchmark::DoNotOptimize(surface->bitmap()->pixel(10, 10));
    }
    state.SetItemsProcessed(state.iterations() * int64_t(std::size(controls)));
    surface->release();
    delete frame;
    for (CBitmap* b : {twoUp, threeUp, knobStrip, knobBack, handle, track, trackAcross, handleAcross, digits,
                       ledsOn, ledsOff, wide})
        b->release();
}
BENCHMARK(FullRepaintOfAPanelOfControls)->Unit(benchmark::kMicrosecond);
} // namespace

BENCHMARK_MAIN();
