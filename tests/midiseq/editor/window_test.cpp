#include "tests/midiseq/editor/editor_fixture.h"
#include "tests/toolkit/xdriver.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>

using namespace editortest;

namespace
{
// Serves the editor as a host's loop would until `done` holds, for two seconds at most.
bool serveUntil(PSequencerView* view, const std::function<bool()>& done)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (std::chrono::steady_clock::now() < end)
    {
        view->serviceIdle();
        if (done()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return false;
}

struct InAWindow : EditorFixture
{
    void SetUp() override
    {
        EditorFixture::SetUp();
        ASSERT_TRUE(xdriver::connect()) << "the window tests need the X server of DISPLAY";
        window = xdriver::createTopWindow(0, 0, 603, 230);
        attach(window);
    }
    void TearDown() override
    {
        EditorFixture::TearDown();
        xdriver::destroyWindow(window);
    }
    Plexel::PlatformHandle window = nullptr;
};
} // namespace

TEST_F(InAWindow, APressOnTheScreenReachesThePatternAndTheNextGridPointPlaysIt)
{
    EXPECT_EQ(view->supportsPlatformType("X11Window"), kResultOk);
    EXPECT_EQ(view->supportsPlatformType("HWND"), kResultFalse);
    ASSERT_NE(xdriver::firstChild(window), nullptr) << "the editor lives in a child of the host's window";

    // The window shows the editor: steps behind the length are dark.
    const CPoint behind = noteCell(60, 24);
    ASSERT_TRUE(serveUntil(view, [&] { return xdriver::pixel(window, behind.x, behind.y) == 0x000D1Au; }));

    const CPoint cell = noteCell(57, 5);
    xdriver::movePointer(cell.x, cell.y);
    xdriver::button(1, true);
    xdriver::button(1, false);
    ASSERT_TRUE(serveUntil(view, [&] { return pattern().note(5) == 57; }));

    // The new note is painted where it was pressed, in the colour of its velocity.
    EXPECT_TRUE(serveUntil(view,
                           [&]
                           {
                               const uint32_t shown = xdriver::pixel(window, cell.x - 5, cell.y);
                               return shown != xdriver::pixel(window, cell.x - 5 + kCell * 2, cell.y);
                           }));

    seq->reposition(0);
    host->track().clearEvents();
    seq->processRange(0, 5 * 120 + 1);
    int notes = 0;
    for (const auto& event : host->track().events())
        notes += event.isNoteOn() && event.data1 == 57 && event.time == 600;
    EXPECT_EQ(notes, 1);

    // The wheel over the grid scrolls it, one row per notch.
    xdriver::button(5, true);
    xdriver::button(5, false);
    EXPECT_TRUE(serveUntil(view, [&] { return view->noteGrid()->firstRow() == 43; }));
}

// A host's event thread selects patterns by note-on and changes values while the editor's thread
// serves the window: only the editor's thread touches the views and the X connection.
TEST_F(InAWindow, ChangesFromTheEventThreadArePaintedByTheEditorsThread)
{
    const CPoint behind = noteCell(60, 24);
    ASSERT_TRUE(serveUntil(view, [&] { return xdriver::pixel(window, behind.x, behind.y) == 0x000D1Au; }));
    auto noteOn = [&](int32_t note)
    {
        HostMidiEvent* event = host->track().makeIncoming(0x90, note, 100, 0);
        seq->processEvent(event);
        host->track().releaseEvent(event);
    };
    for (int32_t p = 0; p < 4; ++p)
        seq->getEngine().pattern(p).setNote(2 + p, 57 + p);
    seq->getEngine().pattern(5).setNote(0, 30);

    // A pattern whose notes lie off screen asks for the grid to scroll: the scroll waits for the
    // editor's thread.
    const int32_t top = view->noteGrid()->firstRow();
    std::thread select([&] { noteOn(36 + 5); });
    select.join();
    EXPECT_EQ(view->noteGrid()->firstRow(), top) << "the event thread scrolled the grid";
    view->serviceIdle();
    EXPECT_TRUE(view->isNoteVisible(30));

    std::atomic<bool> done{false};
    std::thread events(
        [&]
        {
            const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(600);
            for (int32_t i = 0; std::chrono::steady_clock::now() < end; ++i)
            {
                noteOn(36 + i % 4);
                value("Length")->setInt(8 + i % 9);
                value("Swing")->setInt(i % 100);
            }
            noteOn(36 + 3);
            value("Length")->setInt(16);
            done = true;
        });
    while (!done)
    {
        view->serviceIdle();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    events.join();

    // The window shows pattern 4: its note at step 5, none at step 2.
    EXPECT_EQ(value("Pattern Select")->getInt(), 4);
    const CPoint shown = noteCell(60, 5);
    EXPECT_TRUE(serveUntil(view,
                           [&]
                           {
                               return xdriver::pixel(window, shown.x - 5, shown.y) !=
                                      xdriver::pixel(window, shown.x - 5 + kCell * 2, shown.y);
                           }));
    const CPoint gone = noteCell(57, 2);
    EXPECT_EQ(xdriver::pixel(window, gone.x - 5, gone.y),
              xdriver::pixel(window, gone.x - 5 + kCell * 2, gone.y));
}
