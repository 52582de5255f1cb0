// The editor's system services on Linux: the toolkit's own connection to the X server, which no
// host message loop reaches.

#include "plugbase/platform/editor.h"
#include "toolkit/cframe.h"

namespace plugbase::platform
{
const char* const platformType = "X11Window";

void dispatchOnePaint()
{
    Plexel::paintPlatformDamage();
}

void serviceWindows()
{
    Plexel::processPlatformEvents(0);
}

// The toolkit's X connection is served only from the host's periodic call (serviceIdle).
bool startIdleTimer(void*, void (*)(void*), void*, uint32_t)
{
    return false;
}

void stopIdleTimer(void*, void*) {}

void enterEditor() {}
void leaveEditor() {}
} // namespace plugbase::platform
