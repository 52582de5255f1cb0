#pragma once

// What the X11 halves of the toolkit share: the process's one connection, and the routing of
// events to windows that are no frame (popup menus, entry fields), which register a sink.

#include "toolkit/cbase.h"

#include <X11/Xlib.h>

#include <string>
#include <string_view>
#include <vector>

namespace Plexel
{

class FrameEvents;

// The connection, opened on first use; null without a server.
Display* toolkitDisplay();

class X11EventSink
{
public:
    virtual void handleEvent(XEvent& event) = 0;

protected:
    ~X11EventSink() = default;
};

void watchWindow(Window window, X11EventSink* sink);
void unwatchWindow(Window window);
// Routes one event as the pump does: to a frame or a sink. Modal loops use it for what is not theirs.
void dispatchEvent(XEvent& event);

// Drags of other programs, by the protocol of X: the frame's window offers itself, and the
// messages of a drag source that reach it are answered here.
void setWindowDropTarget(Window window, bool active);
// True if the event belonged to a drag.
bool handleDropEvent(FrameEvents* frame, Window window, XEvent& event);
// The frame's window that a top-level window stands for in a drag, or window itself.
Window dropWindowOf(Window window);
// The local paths of a URI list, decoded; other schemes and comments are left out.
std::vector<std::string> pathsOfUriList(std::string_view list);
// The frame's window went away: a running drag on it ends.
void forgetDropTarget(Window window);

} // namespace Plexel
