#pragma once

// The window an editor put into the host's parent window: LV2 hosts that embed an X11 editor
// want it back as the editor's widget, and the module's view does not name it.

#include <cstdint>

namespace tremolinlv2::platform
{
// The topmost child of `parent` on the display the host uses ($DISPLAY), or 0 if there is none or
// no display can be opened.
uintptr_t topChildWindow(uintptr_t parent);
} // namespace tremolinlv2::platform
