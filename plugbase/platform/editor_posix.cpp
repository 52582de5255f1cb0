// The editor's system services on Linux: a monotonic millisecond clock, nanosleep, and the
// toolkit's own connection to the X server, which no host message loop reaches.

#include "plugbase/platform/editorplatform.h"
#include "toolkit/cframe.h"

#include <time.h>

namespace editorplatform
{
const char* const platformType = "X11Window";

uint32_t tickCount()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return uint32_t(uint64_t(now.tv_sec) * 1000u + uint64_t(now.tv_nsec) / 1000000u);
}

void sleepMilliseconds(uint32_t milliseconds)
{
    timespec wait{time_t(milliseconds / 1000u), long(milliseconds % 1000u) * 1000000L};
    while (nanosleep(&wait, &wait) != 0)
    {
    }
}

void dispatchOnePaint()
{
    Plexel::paintPlatformDamage();
}

void serviceWindows()
{
    Plexel::processPlatformEvents(0);
}

void enterEditor() {}
void leaveEditor() {}
} // namespace editorplatform
