#include "tests/midiseq/editor/editor_fixture.h"

#include "toolkit/cbitmap.h"
#include "toolkit/crender.h"

#include <atomic>
#include <cstring>
#include <thread>

using namespace editortest;

namespace
{
struct Editing : EditorFixture
{
    void SetUp() override
    {
        EditorFixture::SetUp();
        attach();
    }
};
} // namespace

TEST_F(Editing, APressSetsMovesAndClearsTheNoteOfAStep)
{
    // The empty pattern opens on notes 66 down to 55.
    EXPECT_EQ(view->noteGrid()->firstRow(), 42);
    pattern().setVelocity(3, 99);
    pattern().setGate(3, 0.5f);
    pattern().setTie(4, 1);

    click(noteCell(60, 3));
    EXPECT_EQ(pattern().note(3), 60);
    click(noteCell(64, 3));
    EXPECT_EQ(pattern().note(3), 64) << "a press in another row moves the note";
    EXPECT_EQ(pattern().note(4), -1) << "the step behind it is tied but the tie starts from the move: "
                                        "it has no note to take over";
    EXPECT_EQ(pattern().velocity(3), 99);
    EXPECT_EQ(pattern().gate(3), 0.5f);
    EXPECT_EQ(pattern().tie(4), 1) << "moving a note leaves the ties";

    click(noteCell(64, 3));
    EXPECT_EQ(pattern().note(3), -1);
    EXPECT_EQ(pattern().tie(4), 0) << "clearing by a press lets go of the tie behind";

    // The right button acts as a press and starts no drag; the middle button edits nothing.
    click(noteCell(58, 5), kButtonRight);
    EXPECT_EQ(pattern().note(5), 58);
    click(noteCell(57, 6), kButtonMiddle);
    EXPECT_EQ(pattern().note(6), -1);
}

TEST_F(Editing, ClearingWrapsToTheFirstTieOnlyOnAPressNotInADrag)
{
    pattern().setNote(15, 60);
    pattern().setTie(0, 1);
    click(noteCell(60, 15));
    EXPECT_EQ(pattern().tie(0), 0) << "with length 16 the step after 15 is step 0";

    pattern().setNote(2, 60);
    pattern().setNote(3, 60);
    pattern().setTie(4, 1);
    pattern().setNote(4, 60);
    pattern().setTie(3, 0);
    // A painting drag: the press sets step 1, entering step 2 on the same row clears it.
    press(noteCell(60, 1));
    move(noteCell(60, 2));
    release(noteCell(60, 2));
    EXPECT_EQ(pattern().note(1), 60);
    EXPECT_EQ(pattern().note(2), -1);
    EXPECT_EQ(pattern().tie(3), 0);
    // Dragging on clears step 3 but leaves the tie of step 4.
    press(noteCell(61, 1));
    move(noteCell(60, 3));
    release(noteCell(60, 3));
    EXPECT_EQ(pattern().note(3), -1);
    EXPECT_EQ(pattern().tie(4), 1);
}

TEST_F(Editing, ANoteRunsOnThroughTheTiesBehindIt)
{
    for (int32_t s : {4, 5, 6, 7})
        pattern().setNote(s, 50);
    for (int32_t s : {4, 5, 6})
        pattern().setTie(s, 1);
    click(noteCell(62, 3));
    for (int32_t s : {3, 4, 5, 6})
        EXPECT_EQ(pattern().note(s), 62) << "step " << s;
    EXPECT_EQ(pattern().note(7), 50) << "the run of ties ends at the first untied step";

    // A tied step can't be edited in the grid: it follows the note before it.
    click(noteCell(55, 5));
    EXPECT_EQ(pattern().note(5), 62);

    // The run is bounded by the 32 steps, not by the length.
    for (int32_t s = 14; s < 32; ++s)
    {
        pattern().setNote(s, 40);
        pattern().setTie(s, s > 14 ? 1 : 0);
    }
    pattern().setTie(15, 0);
    click(tieCell(15));
    EXPECT_EQ(pattern().tie(15), 1);
    for (int32_t s = 15; s < 32; ++s)
        EXPECT_EQ(pattern().note(s), 40);
    click(noteCell(65, 14));
    for (int32_t s = 14; s < 32; ++s)
        ASSERT_EQ(pattern().note(s), 65) << "step " << s;
}

TEST_F(Editing, TiesNeedANoteBeforeThemButCanAlwaysBeCleared)
{
    // Step 0's predecessor is the pattern's last step, 15 with length 16.
    click(tieCell(0));
    EXPECT_EQ(pattern().tie(0), 0);
    pattern().setNote(15, 48);
    pattern().setNote(0, 30);
    click(tieCell(0));
    EXPECT_EQ(pattern().tie(0), 1);
    EXPECT_EQ(pattern().note(0), 48) << "a tie takes over the note before";

    pattern().clearNote(15);
    click(tieCell(0));
    EXPECT_EQ(pattern().tie(0), 0);
    EXPECT_EQ(pattern().note(0), 48) << "the step keeps the note it has";

    // A tie set on an empty step behind a note stays empty.
    pattern().setNote(7, 50);
    click(tieCell(8));
    EXPECT_EQ(pattern().tie(8), 1);
    EXPECT_EQ(pattern().note(8), -1);

    // Right presses toggle as well.
    click(tieCell(8), kButtonRight);
    EXPECT_EQ(pattern().tie(8), 0);
}

TEST_F(Editing, NothingBehindTheLengthChangesButShiftedBarsWriteAllSteps)
{
    value("Length")->setInt(8);
    ASSERT_EQ(seq->currentLength(), 8);
    pattern().setNote(8, 60);
    pattern().setNote(7, 60);
    const PSeqPattern before = pattern();

    click(noteCell(60, 8));
    click(noteCell(61, 20));
    click(tieCell(8));
    click(tieCell(9));
    press(noteCell(62, 6));
    move(noteCell(62, 9));
    move(noteCell(62, 10));
    release(noteCell(62, 10));
    const CPoint barEight(kBarsLeft + kCell * 8 + 5, kBarsTop + 10);
    click(barEight);
    EXPECT_EQ(0, std::memcmp(&pattern().steps[8], &before.steps[8], sizeof(PSeqStep) * 24));
    EXPECT_EQ(pattern().note(6), 62);

    // Shift on a bar inside the length writes the whole lane, behind the length too.
    const CPoint barTwoTop(kBarsLeft + kCell * 2 + 5, kBarsTop);
    click(barTwoTop, kButtonLeft | kModifierShift);
    for (int32_t s = 0; s < 32; ++s)
        ASSERT_EQ(pattern().velocity(s), 127) << "step " << s;
    click(barEight, kButtonLeft | kModifierShift);
    EXPECT_EQ(pattern().velocity(8), 127) << "shift on a bar behind the length does nothing";
}

TEST_F(Editing, BarsWriteTheSelectedLaneAndARightPressZeroesABar)
{
    const CPoint middle(kBarsLeft + kCell * 3 + 5, kBarsTop + kBarsHeight / 2);
    click(middle);
    EXPECT_EQ(pattern().velocity(3), 63) << "half the height is half the velocity";

    value("Param Select")->setInt(kLaneGate);
    EXPECT_EQ(view->currentLane(), kLaneGate);
    click(middle);
    EXPECT_FLOAT_EQ(pattern().gate(3), 0.5f);

    // Drags and their edges are the bar view's; whatever it sends lands in the selected lane.
    value("Param Select")->setInt(kLaneController1);
    click(CPoint(kBarsLeft + kCell * 9 + 5, kBarsTop), kButtonLeft);
    EXPECT_EQ(pattern().steps[9].controller1, 127);
    click(CPoint(kBarsLeft + kCell * 9 + 5, kBarsTop), kButtonRight);
    EXPECT_EQ(pattern().steps[9].controller1, 0);
}

TEST_F(Editing, TheKeyColumnScrollsAndTheWheelTooWithinTheGrid)
{
    // How far a scroll drag goes per pixel is the grid's; the editor starts one from its key column.
    CMatrix* grid = view->noteGrid();
    const CPoint key(kGridLeft + 5, kGridTop + 50);
    press(key);
    move(CPoint(key.x, key.y + 6));
    EXPECT_EQ(grid->firstRow(), 41) << "the grid follows the pointer down, toward the higher notes";
    release(CPoint(key.x, key.y + 6));

    // A painting drag that runs into the key column turns into a scroll drag.
    press(noteCell(60, 2));
    const CPoint inKeys(kGridLeft + 5, noteCell(60, 2).y);
    move(inKeys);
    move(CPoint(inKeys.x, inKeys.y - 6));
    release(CPoint(inKeys.x, inKeys.y - 6));
    EXPECT_EQ(pattern().note(2), 60);
    EXPECT_EQ(grid->firstRow(), 42);

    const CPoint inGrid(100, 60);
    for (int i = 0; i < 100; ++i)
        frame->onWheel(inGrid, -1.0f, 0);
    EXPECT_EQ(grid->firstRow(), 73) << "85 notes with 12 in sight";
    for (int i = 0; i < 100; ++i)
        frame->onWheel(inGrid, 1.0f, 0);
    EXPECT_EQ(grid->firstRow(), 0);
}

TEST_F(Editing, ArrowKeysMoveThePatternAndTheGridFollowsIt)
{
    pattern().setNote(0, 60);
    pattern().setNote(5, 62);
    EXPECT_EQ(view->onKeyDown(0, kPlugKeyUp, 0), kResultOk);
    EXPECT_EQ(pattern().note(0), 61);
    EXPECT_EQ(view->noteGrid()->firstRow(), 108 - 63);
    EXPECT_EQ(view->onKeyDown(0, kPlugKeyDown, 0), kResultOk);
    EXPECT_EQ(pattern().note(5), 62);
    int32_t low = 0, high = 0;
    ASSERT_TRUE(view->visibleNotes(low, high));
    EXPECT_EQ(low, 60) << "after a step down the lowest note sits in the bottom row";
    EXPECT_EQ(view->onKeyDown(0, kPlugKeyRight, 0), kResultOk);
    EXPECT_EQ(pattern().note(1), 60);
    EXPECT_EQ(pattern().note(6), 62);
    EXPECT_EQ(view->onKeyDown(0, kPlugKeyLeft, 0), kResultOk);
    EXPECT_EQ(pattern().note(0), 60);
    for (int16_t other : {0, 10, 15, 65})
        EXPECT_EQ(view->onKeyDown(u'a', other, 0), kResultFalse);
}

TEST_F(Editing, FitNotesBringsTheHighestOrLowestNoteIntoSight)
{
    int32_t low = 0, high = 0;
    view->fitNotes(false);
    EXPECT_EQ(view->noteGrid()->firstRow(), 42) << "an empty pattern does not scroll";
    EXPECT_FALSE(view->hasVisibleNotes());

    pattern().setNote(9, 60);
    view->fitNotes(false);
    view->visibleNotes(low, high);
    EXPECT_EQ(view->noteGrid()->firstRow(), 48);
    EXPECT_EQ(low, 49);
    EXPECT_EQ(high, 60);
    EXPECT_TRUE(view->hasVisibleNotes());

    pattern().setNote(9, 30);
    view->fitNotes(false);
    view->visibleNotes(low, high);
    EXPECT_EQ(view->noteGrid()->firstRow(), 73);
    EXPECT_EQ(low, 24);
    EXPECT_EQ(high, 35);

    pattern().setNote(9, 40);
    view->fitNotes(true);
    EXPECT_EQ(view->noteGrid()->firstRow(), 57);
    pattern().setNote(9, 100);
    view->fitNotes(true);
    view->visibleNotes(low, high);
    EXPECT_EQ(view->noteGrid()->firstRow(), 0);
    EXPECT_EQ(high, 108);
    EXPECT_TRUE(view->isNoteVisible(-1));
    EXPECT_FALSE(view->isNoteVisible(109 - 13));

    // A step behind the length still counts as visible.
    pattern().setNote(9, -1);
    pattern().setNote(30, 100);
    EXPECT_TRUE(view->hasVisibleNotes());
}

TEST_F(Editing, TheAboutOverlayTakesPressesOnlyWhileItShows)
{
    PAboutView* about = view->about();
    ASSERT_NE(about, nullptr);
    EXPECT_FALSE(about->isShown());
    click(noteCell(60, 0));
    EXPECT_EQ(pattern().note(0), 60) << "hidden, the overlay lets presses through";

    value("About")->setInt(1);
    value("About")->setInt(0);
    EXPECT_TRUE(about->isShown());
    EXPECT_EQ(about->mouseArea().width(), 596);
    click(noteCell(60, 0));
    EXPECT_EQ(pattern().note(0), 60) << "shown, the press closes it and reaches nothing below";
    EXPECT_FALSE(about->isShown());
    EXPECT_TRUE(about->mouseArea().isEmpty());

    view->toggleAbout();
    EXPECT_TRUE(about->hitTest(CPoint(600, 136))) << "edges count";
    EXPECT_FALSE(about->hitTest(CPoint(601, 136)));
    // The tie lane and the bars go on working under an open overlay.
    pattern().setNote(0, 60);
    click(tieCell(1));
    EXPECT_EQ(pattern().tie(1), 1);
    view->toggleAbout();
    EXPECT_FALSE(about->hitTest(CPoint(300, 50)));
}

TEST_F(Editing, SelectingAnotherPatternFitsTheGridWhenItsNotesAreOutOfSight)
{
    seq->getEngine().pattern(3).setNote(0, 100);
    value("Pattern Select")->setInt(4);
    int32_t low = 0, high = 0;
    view->visibleNotes(low, high);
    EXPECT_EQ(high, 100);
    click(noteCell(99, 1));
    EXPECT_EQ(seq->getEngine().pattern(3).note(1), 99) << "edits reach the pattern now shown";
}

TEST_F(Editing, DetachedAndReattachedTheEditorStartsAgainAtTheOpeningRow)
{
    value("Param Select")->setInt(kLaneGate);
    view->detachFromParent();
    int32_t low = 0, high = 0;
    EXPECT_FALSE(view->visibleNotes(low, high));
    EXPECT_FALSE(view->isNoteVisible(60));
    view->redrawNotes();
    view->fitNotes(false);
    view->toggleAbout();
    EXPECT_EQ(view->onKeyDown(0, kPlugKeyUp, 0), kResultOk) << "keys edit without a window";
    attach();
    EXPECT_EQ(view->currentLane(), kLaneGate);
    EXPECT_EQ(view->noteGrid()->firstRow(), 42);
}

TEST_F(Editing, EditsWhileTheTransportPlaysOnItsOwnThread)
{
    // The host's event thread plays on while the user edits; every note it plays is one the user
    // drew at some time.
    std::atomic<bool> stop{false};
    std::thread transport(
        [&]
        {
            int32_t tick = 0;
            seq->reposition(0);
            while (!stop.load())
            {
                seq->processRange(tick, tick + 64);
                tick += 64;
            }
        });
    for (int round = 0; round < 200; ++round)
    {
        click(noteCell(60 + round % 5, round % 16));
        click(tieCell((round + 1) % 16));
        click(CPoint(kBarsLeft + kCell * (round % 16) + 5, kBarsTop + round % 68));
        view->onKeyDown(0, round % 2 ? kPlugKeyRight : kPlugKeyLeft, 0);
        view->getRowCount(PSequencerView::kNoteMatrix);
        renderToBitmap(frame)->release();
    }
    stop = true;
    transport.join();
    for (const auto& event : host->track().events())
    {
        if (!event.isNoteOn()) continue;
        ASSERT_TRUE(event.data1 >= 60 && event.data1 <= 64) << event.data1;
    }
}
