#pragma once

// The host's modal dialog window over a module's template, as the Config switch asks for with
// "Controller Setup": the template's list boxes, each bound to the parameter of its name and
// showing the value's entries with the current one chosen, and OK and Cancel below. OK sets the
// chosen entries on the values and accepts; Cancel, Escape or the window's close refuse and set
// nothing.

#include "host/kit/templatedialog.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace hostkit
{
class HostContext;
class Panel;

// The layout that a user's pointer (and a test's) finds things by.
struct DialogLayout
{
    static constexpr int32_t kTitleHeight = 18; // a list's title row
    static constexpr int32_t kRowHeight = 14;   // one entry
    static constexpr int32_t kScrollWidth = 12; // the scroll bar at a list's right
    static constexpr int32_t kButtonBar = 36;   // below the template's content
    static constexpr int32_t kButtonWidth = 72;
    static constexpr int32_t kButtonHeight = 22;
    static constexpr int32_t kButtonGap = 8; // between the buttons and from the right edge
    static constexpr int32_t kWheelRows = 3; // rows one notch of the wheel scrolls
};

// Shows the dialog and waits for the user; `owner` (may be null) is the panel whose input is held
// meanwhile, and `serveOthers` (may be empty) keeps the windows under the dialog served, such as
// the module's view. True when the user accepted; the names of the values set go into `changed`.
bool presentTemplateDialog(const DialogRequest& request, HostContext* context, Panel* owner,
                           std::vector<std::string>& changed, const std::function<void()>& serveOthers = {});
} // namespace hostkit
