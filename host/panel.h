#pragma once

// The module's outer panel as the host builds it from the module's template: the background,
// the template's controls made of the toolkit's, each bound both ways to the module's parameter
// of its name, the host's own sections, and places for the views the module makes itself. The
// panel lives in a frame of the host's own toolkit inside the host's window; the module's views
// go into native windows of the host's over it.

#include "host/paneltemplate.h"
#include "module/hostinterfaces.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class IPlugController;
class IUIFactory2;

namespace Plexel
{
class CFrame;
class CView;
struct CRect;
} // namespace Plexel

namespace hostkit
{
class HostContext;

struct PanelServices
{
    IPlugController* controller = nullptr; // finds the parameters by name
    IUIFactory2* resources = nullptr;      // the bitmaps, by the template's paths
    HostContext* context = nullptr;        // the value objects the host made, for their lists
    // Makes the view of a host section ("host.TremolinPresetSection") at `size`; null for a
    // section the host does not have.
    std::function<Plexel::CView*(const PanelNode& node, const Plexel::CRect& size)> hostSection;
};

// Where a view of the module's goes, in the panel's coordinates.
struct ModuleViewPlace
{
    std::string name;
    int32_t left = 0, top = 0, width = 0, height = 0;
};

class Panel
{
public:
    // Builds the tree of `templateName` from `set`; what can't be shown is said in skipped().
    Panel(const TemplateSet& set, const std::string& templateName, PanelServices services);
    ~Panel();
    Panel(const Panel&) = delete;
    Panel& operator=(const Panel&) = delete;

    int32_t width() const { return panelWidth; }
    int32_t height() const { return panelHeight; }
    const std::vector<std::string>& skipped() const { return skippedParts; }
    const std::vector<ModuleViewPlace>& moduleViews() const { return places; }
    // The parameter names the panel's controls are bound to, in template order.
    std::vector<std::string> boundParameters() const;

    // Puts the panel into a native window of the host's; false with a sentence in `error`.
    bool open(void* parentWindow, std::string& error);
    // Serves the panel on the user-interface thread: the window system's events, values the
    // module changed from any thread, buttons held down, and what needs painting.
    void idle();
    // How often the panel has painted in its window: 0 until its first exposure was served.
    int32_t paints() const { return paintCount; }
    // The window was resized by its user; the panel follows by its attach rules.
    void resize(int32_t width, int32_t height);
    Plexel::CFrame* frame() const { return frameView; }
    // While a modal dialog of the host's is up, presses and the wheel do nothing on the panel.
    void holdInput(bool hold);

private:
    struct Binding;
    class Listener;
    class Tips;

    Plexel::CView* makeNode(const PanelNode& node, const Plexel::CRect& rect, int32_t originX,
                            int32_t originY);
    Plexel::CView* makeControl(const PanelNode& node, const Plexel::CRect& rect);
    void addChildren(const std::vector<PanelNode>& nodes, Plexel::CView* container, int32_t originX,
                     int32_t originY, int32_t limitWidth, int32_t limitHeight);
    void findModuleViews(const std::vector<PanelNode>& nodes, int32_t originX, int32_t originY);
    void poll(Binding& binding);
    void controlChanged(int32_t index);
    void skip(const std::string& what) { skippedParts.push_back(what); }

    PanelServices services;
    std::unique_ptr<Listener> listener;
    std::unique_ptr<Tips> tips;
    std::vector<std::unique_ptr<Binding>> bindings;
    std::vector<ModuleViewPlace> places;
    std::vector<std::string> skippedParts;
    std::vector<std::pair<std::string, void*>> bitmaps; // name -> CBitmap, one reference each
    const TemplateSet* set;
    const PanelTemplate* panelTemplate = nullptr;
    std::string wantedName;
    Plexel::CFrame* frameView = nullptr;
    Plexel::CView* inputHolder = nullptr;
    void* background = nullptr; // CBitmap
    int32_t paintCount = 0;
    int32_t panelWidth = 0;
    int32_t panelHeight = 0;
};

// Serves the bitmaps that the toolkit's images ask for by number from the module's resources,
// which the panel fetched through getResource: the host's toolkit has no resources of its own.
void addPanelResource(int32_t number, std::vector<uint8_t> bytes);
} // namespace hostkit
