// The plug-in library's one export: the LV2 descriptor over TremolinPlugin.

#include "lv2/tremolinplugin.h"

#include <cstdio>
#include <cstring>

namespace tremolinlv2
{
namespace
{
TremolinPlugin* plugin(LV2_Handle handle)
{
    return static_cast<TremolinPlugin*>(handle);
}

LV2_Handle instantiate(const LV2_Descriptor*, double rate, const char* bundlePath,
                       const LV2_Feature* const* features)
{
    std::string error;
    TremolinPlugin* made = TremolinPlugin::create(rate, bundlePath, features, error);
    // The host has no other way to hear why; this is not the audio thread.
    if (!made) std::fprintf(stderr, "Tremolin.lv2: %s\n", error.c_str());
    return made;
}

void connectPort(LV2_Handle handle, uint32_t port, void* data)
{
    plugin(handle)->connect(port, data);
}

void activate(LV2_Handle handle)
{
    plugin(handle)->activate();
}

void run(LV2_Handle handle, uint32_t frames)
{
    plugin(handle)->run(frames);
}

void cleanup(LV2_Handle handle)
{
    delete plugin(handle);
}

LV2_State_Status save(LV2_Handle handle, LV2_State_Store_Function store, LV2_State_Handle state, uint32_t,
                      const LV2_Feature* const*)
{
    return plugin(handle)->save(store, state);
}

LV2_State_Status restore(LV2_Handle handle, LV2_State_Retrieve_Function retrieve, LV2_State_Handle state,
                         uint32_t, const LV2_Feature* const*)
{
    return plugin(handle)->restore(retrieve, state);
}

LV2_Worker_Status work(LV2_Handle handle, LV2_Worker_Respond_Function, LV2_Worker_Respond_Handle,
                       uint32_t size, const void* data)
{
    return plugin(handle)->work(data, size);
}

LV2_Worker_Status workResponse(LV2_Handle, uint32_t, const void*)
{
    return LV2_WORKER_SUCCESS;
}

const void* extensionData(const char* uri)
{
    static const LV2_State_Interface state{save, restore};
    static const LV2_Worker_Interface worker{work, workResponse, nullptr};
    if (std::strcmp(uri, LV2_STATE__interface) == 0) return &state;
    if (std::strcmp(uri, LV2_WORKER__interface) == 0) return &worker;
    return nullptr;
}

const LV2_Descriptor descriptor{kPluginUri, instantiate, connectPort, activate,
                                run,        nullptr,     cleanup,     extensionData};
} // namespace
} // namespace tremolinlv2

extern "C" LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index)
{
    return index == 0 ? &tremolinlv2::descriptor : nullptr;
}
