#include "plugbase/pmidieffectbase.h"

#include "plugbase/pvaluecontainer.h"

PMidiEffectBase::PMidiEffectBase() = default;

PMidiEffectBase::~PMidiEffectBase() = default;

tresult PMidiEffectBase::probe()
{
    return kResultFalse;
}

tresult PMidiEffectBase::queryInterface(const TUID iid, void** obj)
{
    void* face = nullptr;
    if (FUnknown::iid.equals(iid) || IMidiEffect::iid.equals(iid))
        face = static_cast<IMidiEffect*>(this);
    else if (IPlugController::iid.equals(iid) || IGenericPlugController::iid.equals(iid))
        face = static_cast<IGenericPlugController*>(this);
    else if (IUIFactory::iid.equals(iid) || IUIFactory2::iid.equals(iid))
        face = static_cast<IUIFactory2*>(this);
    else if (IViewBuilder::iid.equals(iid))
        face = static_cast<IViewBuilder*>(this);
    if (!face)
    {
        if (obj) *obj = nullptr;
        return kNoInterface;
    }
    addRef();
    *obj = face;
    return kResultOk;
}

tresult PMidiEffectBase::initialize(IHostContext* hostContext)
{
    if (!hostContext) return kInvalidArgument;
    context = hostContext;
    context->addRef();
    void* out = nullptr;
    if (context->queryInterface(IHostPlugSite::iid, &out) == kResultOk)
        plugSite = static_cast<IHostPlugSite*>(out);
    out = nullptr;
    if (context->queryInterface(IHostMidiTrack::iid, &out) == kResultOk)
        track = static_cast<IHostMidiTrack*>(out);
    return kResultOk;
}

tresult PMidiEffectBase::terminate()
{
    delete values;
    values = nullptr;
    // The pointers stay as they are: nothing may use them after terminate.
    if (track) track->release();
    if (plugSite) plugSite->release();
    if (context) context->release();
    return kResultOk;
}

tresult PMidiEffectBase::getCapabilities(PEffectCapabilities* record)
{
    if (record) record->capabilities = capabilities;
    return kResultOk;
}

tresult PMidiEffectBase::setMode(int32_t)
{
    return kResultOk;
}

tresult PMidiEffectBase::processEvent(HostMidiEvent* event)
{
    if (!track) return kInternalError;
    return track->forwardEvent(event);
}

tresult PMidiEffectBase::processRange(int32_t, int32_t)
{
    return kResultFalse;
}

tresult PMidiEffectBase::reposition(int32_t)
{
    return kResultFalse;
}

tresult PMidiEffectBase::restart(int32_t)
{
    return kResultFalse;
}

tresult PMidiEffectBase::resume(int32_t)
{
    return kResultFalse;
}

tresult PMidiEffectBase::suspend()
{
    return kResultOk;
}

tresult PMidiEffectBase::findValue(const char* name, IHostValue** value)
{
    IHostValue* found = values ? values->getValueByName(name) : nullptr;
    if (value) *value = found;
    return found ? kResultOk : kResultFalse;
}

tresult PMidiEffectBase::valueChanged(IHostValue*, int32_t)
{
    return kResultFalse;
}

int32_t PMidiEffectBase::getValueCount()
{
    return values ? values->getValueCount() : 0;
}

tresult PMidiEffectBase::getValueName(int32_t index, char* name)
{
    return values && values->getValueName(index, name) ? kResultOk : kResultFalse;
}

tresult PMidiEffectBase::getValueAt(int32_t index, IHostValue** value)
{
    IHostValue* found = values ? values->getValueAt(index) : nullptr;
    if (value) *value = found;
    return found ? kResultOk : kResultFalse;
}

tresult PMidiEffectBase::getController(int32_t, IPlugController** controller)
{
    return queryInterface(IPlugController::iid, reinterpret_cast<void**>(controller));
}

tresult PMidiEffectBase::getTemplate(const char*, char*, char*, int32_t*)
{
    return kResultFalse;
}

tresult PMidiEffectBase::getResource(const char*, void*, int32_t*)
{
    return kResultFalse;
}

tresult PMidiEffectBase::createView(const char*, const PViewRect*, IPlugView** view)
{
    if (view) *view = nullptr;
    return kResultFalse;
}
