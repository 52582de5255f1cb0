#include "midiplugs/midiseq/psequencerview.h"

#include "midiplugs/midiseq/colorramp.h"
#include "midiplugs/midiseq/paboutview.h"
#include "midiplugs/midiseq/pmidiseq.h"
#include "plugbase/moduleresources.h"
#include "toolkit/cbitmap.h"
#include "toolkit/cdrawcontext.h"
#include "toolkit/cframe.h"

#include <cstring>
#include <new>

using namespace Plexel;

namespace
{
// Layout of the frame, in the frame's coordinates.
constexpr CRect kNoteGridRect{4, 14, 600, 136};
constexpr CRect kTieLaneRect{22, 141, 600, 153};
constexpr CRect kBarsRect{22, 160, 600, 228};

constexpr int32_t kBackdrop = 1000;
constexpr int32_t kTieMark = 1001;
constexpr int32_t kAboutPicture = 1002;

constexpr CColor kBehindLength{0, 13, 26, 255};
constexpr CColor kBehindFirstPass{30, 38, 40, 255};
constexpr CColor kBehindSecondPass{4, 23, 42, 255};
constexpr CColor kNoteNameColor{98, 103, 114, 255};
constexpr CColor kMarkerFill{9, 64, 21, 255};
constexpr CColor kMarkerText{128, 155, 144, 255};
constexpr CColor kGridColor{60, 75, 80, 255};

// Row 0 is the highest note.
int32_t noteOfRow(int32_t row)
{
    return int32_t(kSeqHighestNote) - row;
}

// The notes of the bottom and the top row with `top` as the first row.
int32_t lowestVisibleNote(int32_t top)
{
    return noteOfRow(top + PSequencerView::kVisibleRows - 1);
}

// Values come from patterns that a project file may have damaged; drawing keeps them in 0..1 so
// that a size worked out from them stays inside the cell.
float unitValue(float value)
{
    if (!(value >= 0.0f)) return 0.0f;
    return value > 1.0f ? 1.0f : value;
}

// The toolkit finds the module's pictures in the module's own resources: image files among the
// data resources, plain bitmaps among the bitmap resources.
bool findModuleImage(const char* type, const CResourceDescription& description, const unsigned char** data,
                     uint32_t* size)
{
    if (!description.isNumber()) return false;
    int32_t resourceType = 0;
    if (std::strcmp(type, kResourceTypeData) == 0)
        resourceType = kResourceData;
    else if (std::strcmp(type, kResourceTypeBitmap) == 0)
        resourceType = kResourceBitmap;
    else
        return false;
    PModuleResource resource;
    if (!findModuleResource(resourceType, description.id.number, resource)) return false;
    *data = resource.bytes;
    *size = uint32_t(resource.size);
    return true;
}

void fillTwoPasses(CDrawContext* context, CRect shape, bool inside, float value)
{
    context->setFillColor(inside ? colorRamp(value, false) : kBehindFirstPass);
    context->drawRect(shape, kDrawFilled);
    shape.right -= 1;
    context->setFillColor(inside ? colorRamp(value, true) : kBehindSecondPass);
    context->drawRect(shape, kDrawFilled);
}
} // namespace

PSequencerView::PSequencerView(const CRect& rect, PMidiSeq* effect)
    : PluginGUIEditor(&rect, effect), seq(effect)
{
    setResourceFinder(findModuleImage);
    acquireDrawingSystem();
    tieBitmap = new CBitmap(CResourceDescription(kTieMark));
}

IPlugView* makeSequencerEditor(int32_t width, int32_t height, PMidiSeq& effect)
{
    auto* editor = new (std::nothrow) PSequencerView(CRect(0, 0, width, height), &effect);
    if (editor) effect.setEditorLink(editor);
    return editor;
}

PSequencerView::~PSequencerView()
{
    // A host may release the view without detaching it first.
    if (frame) detachFromParent();
    if (seq) seq->viewClosed();
    tieBitmap->release();
    releaseDrawingSystem();
}

PSeqPattern& PSequencerView::pattern()
{
    return seq->getEngine().currentPatternData();
}

int32_t PSequencerView::length()
{
    const int32_t value = seq->currentLength();
    return value < 0 ? 0 : (value > kSeqStepCount ? kSeqStepCount : value);
}

//------------------------------------------------------------------------------------------------
// Window

tresult PSequencerView::attachToParent(PNativeWindow window, const char* type)
{
    if (frame || !seq || PluginGUIEditor::attachToParent(window, type) != kResultOk) return kResultFalse;
    auto* background = new CBitmap(CResourceDescription(kBackdrop));
    frame = new CFrame(CRect(0, 0, rect.width(), rect.height()), window,
                       static_cast<PlexelEditorInterface*>(this));
    frame->setBackground(background);

    noteMatrix =
        new CMatrix(kNoteGridRect, this, kVisibleRows, kMatrixNoOffscreen | kMatrixScrollable, kNoteMatrix);
    noteMatrix->gridColor = kGridColor;
    noteMatrix->setFirstRow(kOpeningRow);
    noteMatrix->setBackgroundBitmap(background, CPoint(kNoteGridRect.left, kNoteGridRect.top));
    frame->addView(noteMatrix);

    auto* picture = new CBitmap(CResourceDescription(kAboutPicture));
    aboutView = new PAboutView(kNoteGridRect, picture);
    frame->addView(aboutView);
    picture->release();

    tieMatrix = new CMatrix(kTieLaneRect, this, 1, kMatrixNoOffscreen, kTieMatrix);
    tieMatrix->setBackgroundBitmap(background, CPoint(kTieLaneRect.left, kTieLaneRect.top));
    frame->addView(tieMatrix);

    bars = new CBarsView(kBarsRect, this, 0, -1);
    bars->gridColor = kGridColor;
    frame->addView(bars);

    background->release();
    editorThread.store(std::this_thread::get_id());
    fitNotes(false);
    mirrorShownRows();
    startIdleTimer();
    return kResultOk;
}

tresult PSequencerView::detachFromParent()
{
    stopIdleTimer();
    // The frame owns the views and takes them with it.
    if (frame) frame->release();
    frame = nullptr;
    noteMatrix = nullptr;
    tieMatrix = nullptr;
    bars = nullptr;
    aboutView = nullptr;
    mirrorShownRows();
    PPluginView::detachFromParent();
    return kResultOk;
}

tresult PSequencerView::onKeyDown(char16_t, int16_t virtualKey, int16_t)
{
    if (virtualKey < kPlugKeyLeft || virtualKey > kPlugKeyDown || !seq) return kResultFalse;
    const int32_t lastStep = length() - 1;
    {
        FLockGuard guard(seq->getEngine().lock());
        PSeqPattern& edited = pattern();
        switch (virtualKey)
        {
        case kPlugKeyLeft:
            edited.shiftTimeLeft(lastStep);
            break;
        case kPlugKeyUp:
            edited.transpose(1);
            break;
        case kPlugKeyRight:
            edited.shiftTimeRight(lastStep);
            break;
        default:
            edited.transpose(-1);
            break;
        }
    }
    // The repaints only post regions; by the time they run, the scroll below has happened.
    redrawNotes();
    redrawBars();
    redrawTies();
    if (virtualKey == kPlugKeyUp)
        fitNotes(false);
    else if (virtualKey == kPlugKeyDown)
        fitNotes(true);
    return kResultOk;
}

//------------------------------------------------------------------------------------------------
// The note grid and the tie lane

int32_t PSequencerView::getRowCount(int32_t matrixId)
{
    return matrixId == kTieMatrix ? 1 : kNoteRows;
}

int32_t PSequencerView::getColumnCount(int32_t matrixId)
{
    return matrixId == kTieMatrix ? kSeqStepCount : kNoteColumns;
}

void PSequencerView::drawCell(int32_t matrixId, int32_t row, int32_t column, CDrawContext* context,
                              const CRect& cell)
{
    if (matrixId == kTieMatrix)
    {
        if (column >= 0 && column < kSeqStepCount && pattern().tie(column) != 0)
            tieBitmap->draw(context, cell, CPoint(0, 0));
        return;
    }
    if (column == 0)
    {
        char name[kNoteNameSize];
        noteName(noteOfRow(row), name);
        context->setFont(kFontVerySmall, 0, -1);
        context->setFontColor(kNoteNameColor);
        context->drawString(name, cell, false, kLeftText);
        return;
    }
    const int32_t step = column - 1;
    if (step < 0 || step >= kSeqStepCount) return;
    const PSeqPattern& shown = pattern();
    const bool inside = step < length();
    const int32_t note = shown.note(step);
    const bool isHere = note == noteOfRow(row);
    if (!inside)
    {
        context->setFillColor(kBehindLength);
        context->setFrameColor(kBehindLength);
        context->drawRect(cell, kDrawFilledAndStroked);
    }
    if (isHere)
    {
        // A note is a bar from the cell's left edge as long as its gate, coloured by velocity.
        const float velocity = unitValue(shown.laneValue(kLaneVelocity, step));
        CRect bar = cell;
        bar.right = bar.left + int32_t(float(cell.width()) * unitValue(shown.gate(step)));
        if (!bar.isEmpty()) fillTwoPasses(context, bar, inside, velocity);
        return;
    }
    if (!inside || note == -1 || !noteMatrix) return;
    // A note scrolled out of sight shows its name at the edge it lies beyond.
    int32_t low = 0, high = 0;
    visibleNotes(low, high);
    const int32_t top = noteMatrix->firstRow();
    if ((note > high && row == top) || (note < low && row == top + kVisibleRows - 1))
    {
        char name[kNoteNameSize];
        noteName(note, name);
        context->setFillColor(kMarkerFill);
        context->drawRect(cell, kDrawFilled);
        context->setFont(kFontVerySmall, 0, -1);
        context->setFontColor(kMarkerText);
        context->drawString(name, cell, false, kCenterText);
    }
}

bool PSequencerView::onCellEvent(int32_t matrixId, int32_t row, int32_t column, uint32_t flags)
{
    if (matrixId == kTieMatrix) return onTieEvent(column);
    return onNoteEvent(row, column, flags);
}

bool PSequencerView::onTieEvent(int32_t step)
{
    const int32_t steps = length();
    if (step < 0 || step >= steps) return false;
    FLockGuard guard(seq->getEngine().lock());
    PSeqPattern& edited = pattern();
    // The step before the first is the pattern's last.
    const int32_t before = step - 1 < 0 ? steps - 1 : step - 1;
    // A tie needs a note to continue; clearing one is always allowed.
    if (!edited.hasNote(before) && edited.tie(step) == 0) return true;
    edited.setTie(step, edited.tie(step) != 0 ? 0 : 1);
    propagateTie(step);
    return true;
}

bool PSequencerView::onNoteEvent(int32_t row, int32_t column, uint32_t flags)
{
    if (column == 0)
    {
        // The key column scrolls: a press there, or a painting drag that runs into it.
        if (noteMatrix) noteMatrix->beginScrollDrag();
        return false;
    }
    const int32_t steps = length();
    const int32_t step = column - 1;
    if (step < 0 || step >= steps || row < 0 || row >= kNoteRows) return false;
    PSeqPattern& edited = pattern();
    // A tied step follows the note before it and can't be edited on its own.
    if (edited.tie(step) != 0) return false;
    FLockGuard guard(seq->getEngine().lock());
    const int32_t note = noteOfRow(row);
    const int32_t next = step + 1 >= steps ? 0 : step + 1;
    if (edited.note(step) == note)
    {
        edited.clearNote(step);
        // A press also lets go of the tie that continued the note; a drag leaves it.
        if (flags != kCellDrag)
        {
            edited.setTie(next, 0);
            if (tieMatrix) tieMatrix->setDirty(true);
        }
    }
    else
    {
        edited.setNote(step, note);
        propagateTie(next);
    }
    return true;
}

void PSequencerView::propagateTie(int32_t step)
{
    PSeqPattern& edited = pattern();
    if (step < 0 || step >= kSeqStepCount || edited.tie(step) == 0 || !edited.hasNote(step)) return;
    const int32_t before = step - 1 < 0 ? length() - 1 : step - 1;
    if (before < 0 || !edited.hasNote(before)) return;
    const int32_t note = edited.note(before);
    // Bounded by the pattern's 32 steps, not by its length.
    for (int32_t s = step; s < kSeqStepCount && edited.tie(s) != 0; ++s)
    {
        edited.setNote(s, note);
        if (noteMatrix) noteMatrix->invalidateColumn(s + 1);
    }
}

void PSequencerView::onCellHover(int32_t matrixId, int32_t, int32_t column)
{
    if (matrixId != kTieMatrix && frame) frame->setCursor(column == 0 ? kCursorHand : kCursorDefault);
}

//------------------------------------------------------------------------------------------------
// Bars

int32_t PSequencerView::getBarCount(int32_t)
{
    return kSeqStepCount;
}

void PSequencerView::drawBar(int32_t, int32_t index, CDrawContext* context, const CRect& rect)
{
    if (index < 0 || index >= kSeqStepCount) return;
    const bool inside = index < length();
    if (!inside)
    {
        context->setFillColor(kBehindLength);
        context->drawRect(rect, kDrawFilled);
    }
    const float value = unitValue(pattern().laneValue(lane, index));
    CRect bar = rect;
    bar.top = rect.top + int32_t(float(rect.height()) * (1.0f - value));
    if (!bar.isEmpty()) fillTwoPasses(context, bar, inside, value);
}

bool PSequencerView::onBarEvent(int32_t, int32_t index, float value, uint32_t flags)
{
    if (index < 0 || index >= length()) return false;
    FLockGuard guard(seq->getEngine().lock());
    const bool all = (flags & kModifierShift) != 0;
    if (all)
    {
        // Shift writes the whole lane, the steps behind the length as well.
        pattern().setLaneValue(lane, -1, value);
        if (bars) bars->invalidate();
    }
    else
        pattern().setLaneValue(lane, index, value);
    // Velocity and gate show in the grid too.
    redrawNotes();
    return !all;
}

//------------------------------------------------------------------------------------------------
// What the effect calls

bool PSequencerView::onEditorThread() const
{
    return std::this_thread::get_id() == editorThread.load(std::memory_order_relaxed);
}

void PSequencerView::request(uint32_t what)
{
    requests.fetch_or(what, std::memory_order_release);
}

void PSequencerView::redrawNotes()
{
    if (!onEditorThread())
        request(kRequestNotes);
    else if (noteMatrix)
        noteMatrix->invalidate();
}

void PSequencerView::redrawTies()
{
    if (!onEditorThread())
        request(kRequestTies);
    else if (tieMatrix)
        tieMatrix->invalidate();
}

void PSequencerView::redrawBars()
{
    if (!onEditorThread())
        request(kRequestBars);
    else if (bars)
        bars->invalidate();
}

void PSequencerView::selectLane(int32_t newLane)
{
    if (!onEditorThread())
    {
        requestedLane.store(newLane, std::memory_order_relaxed);
        request(kRequestLane);
        return;
    }
    if (newLane == lane) return;
    lane = newLane;
    redrawBars();
}

void PSequencerView::fitNotes(bool toLowest)
{
    if (!onEditorThread())
    {
        // The later request wins, as the later call would on the editor's thread.
        requests.fetch_and(~uint32_t(kRequestFitHighest | kRequestFitLowest), std::memory_order_relaxed);
        request(toLowest ? kRequestFitLowest : kRequestFitHighest);
        return;
    }
    if (!noteMatrix) return;
    const PSeqPattern& shown = pattern();
    if (toLowest)
    {
        const int32_t lowest = shown.lowestNote();
        if (lowest != -1)
        {
            const int32_t row = noteOfRow(lowest) - kVisibleRows + 1;
            noteMatrix->setFirstRow(row < 0 ? 0 : row);
        }
    }
    else
    {
        const int32_t highest = shown.highestNote();
        if (highest != -1) noteMatrix->setFirstRow(noteOfRow(highest));
    }
    mirrorShownRows();
}

bool PSequencerView::visibleNotes(int32_t& lowNote, int32_t& highNote)
{
    int32_t top;
    if (onEditorThread())
    {
        if (!noteMatrix) return false;
        top = noteMatrix->firstRow();
    }
    else
    {
        // As the screen showed it at the last idle.
        if (!rowsShown.load(std::memory_order_acquire)) return false;
        top = shownFirstRow.load(std::memory_order_relaxed);
    }
    lowNote = lowestVisibleNote(top);
    highNote = noteOfRow(top);
    return true;
}

void PSequencerView::mirrorShownRows()
{
    if (noteMatrix) shownFirstRow.store(noteMatrix->firstRow(), std::memory_order_relaxed);
    rowsShown.store(noteMatrix != nullptr, std::memory_order_release);
}

void PSequencerView::carryOutRequests()
{
    const uint32_t pending = requests.exchange(0, std::memory_order_acquire);
    if (pending & kRequestLane) selectLane(requestedLane.load(std::memory_order_relaxed));
    if (pending & (kRequestFitHighest | kRequestFitLowest)) fitNotes((pending & kRequestFitLowest) != 0);
    if (pending & kRequestTies) redrawTies();
    if (pending & kRequestNotes) redrawNotes();
    if (pending & kRequestBars) redrawBars();
    for (int32_t toggles = aboutToggles.exchange(0); toggles > 0; --toggles)
        toggleAbout();
}

tresult PSequencerView::idle()
{
    if (onEditorThread())
    {
        carryOutRequests();
        mirrorShownRows();
    }
    return PluginGUIEditor::idle();
}

bool PSequencerView::isNoteVisible(int32_t note)
{
    if (note == -1) return true;
    int32_t low = 0, high = 0;
    if (!visibleNotes(low, high)) return false;
    return note >= low && note <= high;
}

bool PSequencerView::hasVisibleNotes()
{
    const PSeqPattern& shown = pattern();
    for (int32_t step = 0; step < kSeqStepCount; ++step)
        if (shown.hasNote(step) && isNoteVisible(shown.note(step))) return true;
    return false;
}

void PSequencerView::effectClosed()
{
    // Nothing may reach the effect's patterns any more; without a frame nothing paints.
    if (frame) detachFromParent();
    seq = nullptr;
    effectValue = nullptr;
}

void PSequencerView::toggleAbout()
{
    if (!onEditorThread())
    {
        aboutToggles.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    if (!aboutView) return;
    if (aboutView->isShown())
        aboutView->hide();
    else
        aboutView->show();
}
