#pragma once

// The editor of the current pattern: the note grid with its key column, the tie lane, the bars of
// one lane and the about overlay, in a frame inside the host's window. The view is the data
// source of all three and holds the editing rules: what each cell shows, what a press does to a
// step, what a tie does to the steps behind it.

#include "midiplugs/midiseq/seqeditorlink.h"
#include "midiplugs/midiseq/seqpattern.h"
#include "plugbase/pplugview.h"
#include "toolkit/cbarsview.h"
#include "toolkit/cmatrix.h"

#include <atomic>
#include <thread>

class PMidiSeq;
class PAboutView;

// The editor maker that the module's entry file hands the effect (see setSeqEditorMaker).
IPlugView* makeSequencerEditor(int32_t width, int32_t height, PMidiSeq& effect);

class PSequencerView : public PluginGUIEditor,
                       public Plexel::IMatrixDef,
                       public Plexel::IBarsDef,
                       public PSeqEditorLink
{
public:
    static constexpr int32_t kNoteMatrix = -1;
    static constexpr int32_t kTieMatrix = 2;
    static constexpr int32_t kNoteRows = int32_t(kSeqHighestNote) - int32_t(kSeqLowestNote) + 1; // 85
    static constexpr int32_t kNoteColumns = int32_t(kSeqStepCount) + 1; // the key column, then the steps
    static constexpr int32_t kVisibleRows = 12;
    static constexpr int32_t kOpeningRow = 42; // an empty pattern opens on notes 66 down to 55

    PSequencerView(const Plexel::CRect& rect, PMidiSeq* effect);
    ~PSequencerView() override;

    tresult attachToParent(PNativeWindow parent, const char* type) override;
    tresult detachFromParent() override;
    // The arrow keys move the pattern: left and right in time, up and down by a semitone.
    tresult onKeyDown(char16_t character, int16_t virtualKey, int16_t modifiers) override;

    // IMatrixDef
    int32_t getRowCount(int32_t matrixId) override;
    int32_t getColumnCount(int32_t matrixId) override;
    void drawCell(int32_t matrixId, int32_t row, int32_t column, Plexel::CDrawContext* context,
                  const Plexel::CRect& rect) override;
    bool onCellEvent(int32_t matrixId, int32_t row, int32_t column, uint32_t flags) override;
    void onCellHover(int32_t matrixId, int32_t row, int32_t column) override;

    // IBarsDef
    int32_t getBarCount(int32_t barsId) override;
    void drawBar(int32_t barsId, int32_t index, Plexel::CDrawContext* context,
                 const Plexel::CRect& rect) override;
    bool onBarEvent(int32_t barsId, int32_t index, float value, uint32_t flags) override;

    // What the effect calls after a change; each is safe while no window shows the editor. The
    // effect may call them on the host's event thread (a note-on selects a pattern), which must
    // not touch the window system or the views: from there each becomes a request that the
    // editor's own thread carries out at its next idle.
    void redrawNotes() override;
    void redrawTies() override;
    void redrawBars() override;
    void selectLane(int32_t lane) override;
    void fitNotes(bool toLowest) override;
    bool visibleNotes(int32_t& lowNote, int32_t& highNote) override;
    bool hasVisibleNotes() override;
    void toggleAbout() override;
    void effectClosed() override;
    bool isNoteVisible(int32_t note);

    // Carries out the requests of other threads, then repaints what is dirty.
    tresult idle() override;

    int32_t currentLane() const { return lane; }
    Plexel::CMatrix* noteGrid() const { return noteMatrix; }
    Plexel::CMatrix* tieLane() const { return tieMatrix; }
    Plexel::CBarsView* barsView() const { return bars; }
    PAboutView* about() const { return aboutView; }

private:
    PSeqPattern& pattern();
    // "Length", kept to the steps a pattern has.
    int32_t length();
    // A tied step takes the note before it, and so does the run of ties behind it.
    void propagateTie(int32_t step);
    bool onTieEvent(int32_t step);
    bool onNoteEvent(int32_t row, int32_t column, uint32_t flags);

    PMidiSeq* seq;
    Plexel::CMatrix* noteMatrix = nullptr;
    Plexel::CMatrix* tieMatrix = nullptr;
    Plexel::CBarsView* bars = nullptr;
    int32_t lane = kLaneVelocity;
    Plexel::CBitmap* tieBitmap = nullptr;
    PAboutView* aboutView = nullptr;

    enum Request : uint32_t
    {
        kRequestNotes = 1,
        kRequestTies = 2,
        kRequestBars = 4,
        kRequestFitHighest = 8,
        kRequestFitLowest = 16,
        kRequestLane = 32
    };
    // True on the thread that made the editor and serves its window.
    bool onEditorThread() const;
    void request(uint32_t what);
    void carryOutRequests();
    // What other threads may read of the views: copied on the editor's thread at every idle.
    void mirrorShownRows();

    std::atomic<std::thread::id> editorThread{std::this_thread::get_id()};
    std::atomic<uint32_t> requests{0};
    std::atomic<int32_t> requestedLane{0};
    std::atomic<int32_t> aboutToggles{0};
    std::atomic<bool> rowsShown{false};
    std::atomic<int32_t> shownFirstRow{kOpeningRow};
};
