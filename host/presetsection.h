#pragma once

// The host's own section of the panel for projects ("host.TremolinPresetSection"): the current
// project's name on a menu of the projects in the user's preset folder, with the demo always
// there, and a Save button. Choosing a project opens it in the module; Save writes the current
// one, or, for the demo, a new project in the preset folder.

#include <functional>
#include <string>
#include <vector>

namespace Plexel
{
class CView;
struct CRect;
} // namespace Plexel

namespace hostkit
{
struct PresetActions
{
    // The path of the project shown now, and whether it is the demo.
    std::function<std::string()> currentPath;
    // Open a project of the menu; save the current one. They tell the user themselves; null
    // functions leave the section inert, as a snapshot has it.
    std::function<void(const std::string& path)> open;
    std::function<void()> save;
    std::string demoPath;
};

// <data>/tremolin-host/presets: under $XDG_DATA_HOME (or ~/.local/share) on Linux, %APPDATA% on
// Windows; empty when the system names no such folder.
std::string presetFolder();
// The projects there (*.tremolin and *.chunk), full paths, by name.
std::vector<std::string> presetProjects();
// A file name's last part without its extension: "songs/Bass line.tremolin" -> "Bass line".
std::string projectName(const std::string& path);

// The section's view at the top of `available`, as wide as it needs; the caller owns `actions`,
// which must outlive the view.
Plexel::CView* makePresetSection(const Plexel::CRect& available, PresetActions& actions);
} // namespace hostkit
