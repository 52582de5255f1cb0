#include "midiplugs/midiseq/colorramp.h"
#include "tests/midiseq/editor/editor_fixture.h"
#include "toolkit/cbitmap.h"
#include "toolkit/crender.h"

#include <cmath>
#include <cstdlib>

using namespace editortest;

namespace
{
int distance(CColor a, CColor b)
{
    return std::abs(a.red - b.red) + std::abs(a.green - b.green) + std::abs(a.blue - b.blue);
}

// Paints the attached editor offscreen, as its window would show it.
struct Picture
{
    explicit Picture(CFrame* frame) : bitmap(renderToBitmap(frame)) {}
    ~Picture() { bitmap->release(); }
    CColor at(int32_t x, int32_t y) const { return bitmap->pixel(x, y); }
    // Whether any pixel of `area` lies within `tolerance` of `colour`.
    bool contains(const CRect& area, CColor colour, int tolerance) const
    {
        for (int32_t y = area.top; y < area.bottom; ++y)
            for (int32_t x = area.left; x < area.right; ++x)
                if (distance(at(x, y), colour) <= tolerance) return true;
        return false;
    }
    CBitmap* bitmap;
};

// The cell of the note grid for `step` on the visible row `row`, in the frame.
CRect gridCell(int32_t row, int32_t step)
{
    const int32_t left = kGridLeft + kCell * (step + 1), top = kGridTop + kRow * row;
    return CRect(left, top, left + kCell, top + kRow);
}
} // namespace

TEST(ColorRamp, RunsFromDarkRedThroughRedToYellowWithTwoAlphas)
{
    EXPECT_EQ(colorRamp(0.0f, false), (CColor{40, 16, 16, 155}));
    EXPECT_EQ(colorRamp(0.25f, true), (CColor{105, 19, 16, 245}));
    EXPECT_EQ(colorRamp(0.5f, false), (CColor{171, 23, 17, 155}));
    EXPECT_EQ(colorRamp(0.5f, true), (CColor{171, 23, 17, 245}));
    EXPECT_EQ(colorRamp(1.0f, true), (CColor{239, 201, 7, 245}));
    // Just above the middle the ramp goes on toward yellow without a jump.
    EXPECT_LE(distance(colorRamp(0.501f, true), colorRamp(0.5f, true)), 2);
    // Damaged values stay on the ramp.
    EXPECT_EQ(colorRamp(-3.0f, true), colorRamp(0.0f, true));
    EXPECT_EQ(colorRamp(7.0f, true), colorRamp(1.0f, true));
    EXPECT_EQ(colorRamp(std::nanf(""), true), colorRamp(0.0f, true));
}

struct Rendering : EditorFixture
{
    void SetUp() override
    {
        EditorFixture::SetUp();
        attach();
        PSeqPattern& p = pattern();
        p.setNote(0, 60); // row 6 of the opening view (66 down to 55)
        p.setVelocity(0, 127);
        p.setGate(0, 0.5f);
        p.setNote(2, 100); // far above the rows in sight
        p.setNote(4, 30);  // far below
        p.setNote(20, 62); // behind the length of 16
        p.setNote(1, 60);
        p.setTie(1, 1);
        p.setVelocity(3, 0);
        // The opening row stays: fitting would bring 100 into sight.
        view->noteGrid()->setFirstRow(42);
    }
};

TEST_F(Rendering, NotesAreBarsOfTheirGateInTheirVelocitysColour)
{
    Picture picture(frame);
    const CRect cell = gridCell(6, 0);
    const CColor full = colorRamp(1.0f, true);
    // Gate 0.5 of an 18 pixel cell: 9 pixels of note, the last of them softer.
    EXPECT_LE(distance(picture.at(cell.left + 3, cell.top + 5), full), 30);
    EXPECT_GT(distance(picture.at(cell.left + 12, cell.top + 5), full), 150) << "nothing after the gate";
    // The tied step paints as any note, at its own velocity and gate.
    const CRect tied = gridCell(6, 1);
    EXPECT_LE(distance(picture.at(tied.left + 14, tied.top + 5), colorRamp(64 / 127.0f, true)), 30);
}

TEST_F(Rendering, StepsBehindTheLengthAreDarkAndTheirNotesDarkened)
{
    Picture picture(frame);
    const CColor behind{0, 13, 26, 255};
    EXPECT_LE(distance(picture.at(gridCell(0, 20).left + 5, gridCell(0, 20).top + 5), behind), 6);
    EXPECT_LE(distance(picture.at(gridCell(11, 31).left + 5, gridCell(11, 31).top + 5), behind), 6);
    const CColor note = picture.at(gridCell(4, 20).left + 5, gridCell(4, 20).top + 5);
    EXPECT_LE(distance(note, CColor{4, 23, 42, 255}), 16) << "the darkened second pass";
    // Inside the length, empty cells show the backdrop, not the dark colour.
    EXPECT_GT(distance(picture.at(gridCell(0, 8).left + 5, gridCell(0, 8).top + 5), behind), 6);

    // Bars: behind the length on the dark colour, inside from the ramp up to their height.
    const int32_t barLeft = kBarsLeft + kCell * 20;
    EXPECT_LE(distance(picture.at(barLeft + 5, kBarsTop + 3), behind), 6);
    EXPECT_LE(distance(picture.at(kBarsLeft + 5, kBarsTop + 3), colorRamp(1.0f, true)), 30);
    const int32_t defaultTop = kBarsTop + int32_t(68.0f * (1.0f - 64 / 127.0f));
    EXPECT_LE(distance(picture.at(kBarsLeft + kCell * 5 + 5, defaultTop + 4), colorRamp(64 / 127.0f, true)),
              30);
    EXPECT_GT(distance(picture.at(kBarsLeft + kCell * 5 + 5, defaultTop - 4), colorRamp(64 / 127.0f, true)),
              60);
    EXPECT_GT(distance(picture.at(kBarsLeft + kCell * 3 + 5, kBarsTop + 66), colorRamp(0.0f, true)), 30)
        << "velocity 0 paints no bar";
}

TEST_F(Rendering, KeyNamesMarkersAndTieMarks)
{
    Picture picture(frame);
    const CColor names{98, 103, 114, 255};
    const CRect keyColumn(kGridLeft, kGridTop, kGridLeft + kCell, kGridTop + 12 * kRow);
    EXPECT_TRUE(picture.contains(keyColumn, names, 40));

    // Notes out of sight show their names at the edge they lie beyond, in the marker colours.
    const CColor markerFill{9, 64, 21, 255}, markerText{128, 155, 144, 255};
    const CRect above = gridCell(0, 2), below = gridCell(11, 4);
    EXPECT_LE(distance(picture.at(above.left + 1, above.top + 1), markerFill), 6);
    EXPECT_LE(distance(picture.at(below.left + 1, below.top + 1), markerFill), 6);
    EXPECT_TRUE(picture.contains(above, markerText, 60));
    EXPECT_GT(distance(picture.at(gridCell(1, 2).left + 1, gridCell(1, 2).top + 1), markerFill), 6)
        << "only the top row holds the marker";
    // Behind the length no marker shows.
    pattern().setNote(20, 100);
    Picture again(frame);
    EXPECT_GT(distance(again.at(gridCell(0, 20).left + 1, gridCell(0, 20).top + 1), markerFill), 6);

    // The tie lane shows the tie mark under step 1 and nothing of its own elsewhere.
    const CRect tieMark(kTieLeft + kCell, kTieTop, kTieLeft + 2 * kCell, kTieTop + 12);
    int differing = 0;
    for (int32_t y = tieMark.top; y < tieMark.bottom; ++y)
        for (int32_t x = tieMark.left; x < tieMark.right; ++x)
            differing += distance(picture.at(x, y), picture.at(x + kCell * 4, y)) > 30;
    EXPECT_GT(differing, 20);
}
