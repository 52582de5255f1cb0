#pragma once

// What the effect asks of its editor: repaints after a change and the few questions about what
// the editor shows. The sequencer view answers it; the effect holds it only while a view exists.

#include <cstdint>

class IPlugView;
class PMidiSeq;

class PSeqEditorLink
{
public:
    virtual void redrawNotes() = 0;
    virtual void redrawTies() = 0;
    virtual void redrawBars() = 0;
    // Scrolls the note grid so that the highest note of the pattern comes to the top row, or
    // with `toLowest` the lowest note to the bottom row.
    virtual void fitNotes(bool toLowest) = 0;
    virtual bool hasVisibleNotes() = 0;
    // The lowest and highest note on screen; false, and nothing written, while no window shows
    // the editor.
    virtual bool visibleNotes(int32_t& lowNote, int32_t& highNote) = 0;
    virtual void selectLane(int32_t lane) = 0;
    virtual void toggleAbout() = 0;
    // The effect goes before the view that the host still holds: the view lets go of it.
    virtual void effectClosed() = 0;

protected:
    ~PSeqEditorLink() = default;
};

// Makes the editor of an effect at the given size and links it to the effect (the editor's side
// of the link is the returned view); null when it could not be made. The module's entry file sets
// it, so that the effect, its chunk and its engine link without any window or drawing library;
// where none is set the effect has no editor.
using PSeqEditorMaker = IPlugView* (*)(int32_t width, int32_t height, PMidiSeq& effect);
void setSeqEditorMaker(PSeqEditorMaker maker);
