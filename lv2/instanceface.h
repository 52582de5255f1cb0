#pragma once

// What the plug-in's instance handle shows the editor's library through the host's instance-access
// feature: the two libraries are built apart, so the handle starts with this plain record and
// nothing else of the adapter's layout crosses between them.

#include "module/effectinterfaces.h"

#include <cstdint>

namespace tremolinlv2
{
inline constexpr uint32_t kInstanceMagic = 0x54724C32; // "TrL2"

struct InstanceFace
{
    uint32_t magic = kInstanceMagic;
    // The module's effect, alive as long as the plug-in instance.
    IMidiEffect* effect = nullptr;
};

inline constexpr const char* kPluginUri = "https://tremolin.invalid/lv2/tremolin";
inline constexpr const char* kUiUri = "https://tremolin.invalid/lv2/tremolin#ui";
inline constexpr const char* kChunkKey = "https://tremolin.invalid/lv2/tremolin#chunk";
inline constexpr const char* kController1Key = "https://tremolin.invalid/lv2/tremolin#controller1";
inline constexpr const char* kController2Key = "https://tremolin.invalid/lv2/tremolin#controller2";
// The module file the bundle carries beside the plug-in's library.
inline constexpr const char* kModuleFile = "Tremolin.so";
} // namespace tremolinlv2
