#pragma once

// The effect in the stand-in host with its editor attached to a frame: the way a host opens
// the editor, with the frame's mouse calls as the user's hand.

#include "host/kit/hostcontext.h"
#include "midiplugs/midiseq/paboutview.h"
#include "midiplugs/midiseq/pmidiseq.h"
#include "midiplugs/midiseq/psequencerview.h"
#include "toolkit/cframe.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <unistd.h>

namespace editortest
{
using namespace Plexel;
using hostkit::HostContext;
using hostkit::HostOptions;

// Where the grids lie in the frame, and the size of their cells.
constexpr int32_t kGridLeft = 4, kGridTop = 14, kCell = 18, kRow = 10;
constexpr int32_t kTieLeft = 22, kTieTop = 141;
constexpr int32_t kBarsLeft = 22, kBarsTop = 160, kBarsHeight = 68;

struct EditorFixture : ::testing::Test
{
    void SetUp() override
    {
        HostOptions options;
        settings = (std::filesystem::temp_directory_path() /
                    ("tremolin-editor-" + std::to_string(::getpid()) + ".settings"))
                       .string();
        options.settingsPath = settings;
        host = new HostContext(options);
        setSeqEditorMaker(&makeSequencerEditor);
        seq = new PMidiSeq;
        ASSERT_EQ(seq->initialize(host), kResultOk);
        const PViewRect rect{36, 44, 36 + 603, 44 + 230};
        IPlugView* made = nullptr;
        ASSERT_EQ(seq->createView("SequencerView", &rect, &made), kResultOk);
        view = static_cast<PSequencerView*>(made);
    }
    void TearDown() override
    {
        if (view)
        {
            view->detachFromParent();
            view->release();
        }
        seq->terminate();
        seq->release();
        host->unbindValues();
        host->release();
        std::filesystem::remove(settings);
    }

    // A frame of its own, not in any window: everything but the painting on screen works.
    void attach(PNativeWindow window = nullptr)
    {
        ASSERT_EQ(view->attachToParent(window, PluginGUIEditor::platformType()), kResultOk);
        frame = view->frame;
    }

    PSeqPattern& pattern() { return seq->getEngine().currentPatternData(); }
    IHostValue* value(const char* name)
    {
        IHostValue* found = nullptr;
        seq->findValue(name, &found);
        return found;
    }

    // The middle of the note grid's cell of `note` at `step`, in the frame.
    CPoint noteCell(int32_t note, int32_t step)
    {
        const int32_t row = kSeqHighestNote - note - view->noteGrid()->firstRow();
        return CPoint(kGridLeft + kCell * (step + 1) + kCell / 2, kGridTop + kRow * row + kRow / 2);
    }
    CPoint tieCell(int32_t step) { return CPoint(kTieLeft + kCell * step + kCell / 2, kTieTop + 6); }

    void press(CPoint where, int32_t buttons = kButtonLeft) { frame->onMouseDown(where, buttons); }
    void click(CPoint where, int32_t buttons = kButtonLeft)
    {
        frame->onMouseDown(where, buttons);
        frame->onMouseUp(where, 0);
    }
    void move(CPoint where, int32_t buttons = kButtonLeft) { frame->onMouseMove(where, buttons); }
    void release(CPoint where) { frame->onMouseUp(where, 0); }

    std::string settings;
    HostContext* host = nullptr;
    PMidiSeq* seq = nullptr;
    PSequencerView* view = nullptr;
    CFrame* frame = nullptr;
};
} // namespace editortest
