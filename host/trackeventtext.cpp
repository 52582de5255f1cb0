#include "host/trackeventtext.h"

#include "host/kit/midicontrollers.h"
#include "host/projectfile.h"
#include "host/render.h"

#include <cstdio>

namespace hostkit
{
namespace
{
std::string position(int32_t tick)
{
    char text[48];
    const int32_t bar = tick / kTicksPerBar + 1;
    const int32_t beat = tick % kTicksPerBar / kTicksPerQuarter + 1;
    std::snprintf(text, sizeof text, "%d.%d.%03d", bar, beat, tick % kTicksPerQuarter);
    return text;
}
} // namespace

std::string eventHeading()
{
    char text[64];
    std::snprintf(text, sizeof text, "%8s  %-9s  %s", "tick", "bar", "event");
    return text;
}

std::string eventLine(const TrackEvent& event)
{
    std::string what;
    if (event.isNoteOn())
        what = "note " + noteText(event.data1) + " (" + std::to_string(event.data1) + ")  velocity " +
               std::to_string(event.data2) + "  length " + std::to_string(event.length);
    else if (event.isController())
    {
        std::u16string name = midiControllerName(event.data1);
        std::string narrow(name.begin(), name.end()); // the names are ASCII
        what = "controller " + std::to_string(event.data1) + " (" + narrow + ")  value " +
               std::to_string(event.data2);
    }
    else
        what = "status " + std::to_string(event.status) + "  " + std::to_string(event.data1) + " " +
               std::to_string(event.data2);
    char head[48];
    std::snprintf(head, sizeof head, "%8d  %-9s  ", event.time, position(event.time).c_str());
    return head + what + "  channel " + std::to_string(event.channel() + 1);
}
} // namespace hostkit
