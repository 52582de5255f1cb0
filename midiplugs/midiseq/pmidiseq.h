#pragma once

// The step sequencer effect: joins the host's transport to the engine, the parameters to the
// patterns, incoming notes to pattern selection, the host's settings to the two lane
// controllers, and the editor to all of it.

#include "midiplugs/midiseq/chunkformat.h"
#include "midiplugs/midiseq/midiseqengine.h"
#include "plugbase/pmidieffectbase.h"

#include <cstdint>

class PSeqEditorLink;

// The parameters by tag.
enum PMidiSeqTag : int32_t
{
    kTagLength = 0,
    kTagQuantize,
    kTagSwing,
    kTagPatternSelect,
    kTagShiftOctaveUp,
    kTagShiftOctaveDown,
    kTagShiftTimeLeft,
    kTagShiftTimeRight,
    kTagReverse,
    kTagParamSelect,
    kTagConfig,
    kTagRandomize,
    kTagClear,
    kTagCopy,
    kTagPaste,
    kTagAbout,
    kTagController1,
    kTagController2,
    kTagCount
};

class PMidiSeq : public PMidiEffectBase, public IPersistentChunk
{
public:
    PMidiSeq();
    ~PMidiSeq() override;

    // Makes one effect for the class factory: its IMidiEffect face, or null.
    static FUnknown* create(void* context);

    tresult queryInterface(const TUID iid, void** obj) override;
    uint32_t addRef() override { return PMidiEffectBase::addRef(); }
    uint32_t release() override { return PMidiEffectBase::release(); }

    tresult initialize(IHostContext* context) override;
    tresult terminate() override;
    tresult processEvent(HostMidiEvent* event) override;
    tresult processRange(int32_t from, int32_t to) override;
    tresult reposition(int32_t position) override;
    tresult restart(int32_t position) override;
    tresult resume(int32_t position) override;
    tresult valueChanged(IHostValue* value, int32_t tag) override;
    int32_t getValueCount() override;
    tresult getTemplate(const char* name, char* outName, char* buffer, int32_t* size) override;
    tresult getResource(const char* text, void* buffer, int32_t* size) override;
    // "SequencerView": the editor of the current pattern, which the host owns.
    tresult createView(const char* name, const PViewRect* rect, IPlugView** view) override;

    // IPersistentChunk
    tresult getClassId(uint8_t* classId) override;
    tresult setChunk(const void* data, int32_t size) override;
    tresult getChunk(void* data, int32_t* size) override;

    // For the editor: the engine with its lock and patterns, the "Length" value, and the
    // link back for repaints. The view clears the link when it closes.
    PMidiSeqEngine& getEngine() { return engine; }
    int32_t currentLength();
    void setEditorLink(PSeqEditorLink* link) { view = link; }
    void viewClosed() { view = nullptr; }

    // Puts the current pattern's values into the parameters and repaints the editor.
    void refreshAll();

private:
    IHostValue* valueOf(int32_t tag) const;
    void editPattern(int32_t tag);
    void controllerSetup();
    void updateLaneNames();
    // A data resource of the module: with a null buffer only the size.
    bool loadResource(int32_t number, void* buffer, int32_t* size);

    IHostObjectFactory* objectFactory = nullptr;
    IHostTemplateRegistry* templateRegistry = nullptr;
    int32_t templateHandle = 0;
    PMidiSeqEngine engine;
    PSeqEditorLink* view = nullptr;
    bool inControllerSetup = false;
};
