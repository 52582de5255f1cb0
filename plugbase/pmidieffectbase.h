#pragma once

// What any MIDI effect of the family needs: one object with several interface faces and one
// reference count, the host pointers, and harmless answers for everything the host may call.

#include "foundation/frefcounted.h"
#include "module/effectinterfaces.h"

#include <cstdint>

class PValueContainer;

// The root of the effect object.
class PPlugImplementation
{
public:
    virtual IMidiEffect* getEffect() = 0;
    virtual IHostContext* getContext() = 0;
    virtual IHostPlugSite* getPlugSite() = 0;
};

class PMidiEffectBase : public PPlugImplementation,
                        public FRefCounted<PMidiEffectBase>,
                        public IMidiEffect,
                        public IGenericPlugController,
                        public IUIFactory2,
                        public IViewBuilder
{
public:
    PMidiEffectBase();

    IMidiEffect* getEffect() override { return this; }
    IHostContext* getContext() override { return context; }
    IHostPlugSite* getPlugSite() override { return plugSite; }

    virtual ~PMidiEffectBase();
    // Nothing in the module calls it; kept for hosts that probe the object.
    virtual tresult probe();

    // One lookup, one count for every face.
    tresult queryInterface(const TUID iid, void** obj) override;
    uint32_t addRef() override { return retain(); }
    uint32_t release() override { return drop(); }

    // IPluginBase, IMidiEffect
    tresult initialize(IHostContext* context) override;
    tresult terminate() override;
    tresult getCapabilities(PEffectCapabilities* record) override;
    tresult setMode(int32_t mode) override;
    tresult processEvent(HostMidiEvent* event) override;
    tresult processRange(int32_t from, int32_t to) override;
    tresult reposition(int32_t position) override;
    tresult restart(int32_t position) override;
    tresult resume(int32_t position) override;
    tresult suspend() override;

    // IPlugController, IGenericPlugController
    tresult findValue(const char* name, IHostValue** value) override;
    tresult valueChanged(IHostValue* value, int32_t tag) override;
    int32_t getValueCount() override;
    tresult getValueName(int32_t index, char* name) override;
    tresult getValueAt(int32_t index, IHostValue** value) override;

    // IUIFactory, IUIFactory2, IViewBuilder
    tresult getController(int32_t reserved, IPlugController** controller) override;
    tresult getTemplate(const char* name, char* outName, char* buffer, int32_t* size) override;
    tresult getResource(const char* text, void* buffer, int32_t* size) override;
    tresult createView(const char* name, const PViewRect* rect, IPlugView** view) override;

    int32_t referenceCountForTests() const { return int32_t(references()); }

protected:
    PValueContainer* values = nullptr;
    IHostContext* context = nullptr;
    IHostPlugSite* plugSite = nullptr;
    IHostMidiTrack* track = nullptr;
    int32_t capabilities = 0;
    // Plain, not atomic: the host adds and drops references on one thread at a time.
};
