#include "host/presetsection.h"

#include "host/kit/platform/hostplatform.h"
#include "host/panelcontrols.h"
#include "toolkit/coptionmenu.h"
#include "toolkit/cviewcontainer.h"

#include <algorithm>

namespace hostkit
{
using namespace Plexel;

namespace
{
constexpr int32_t kMenuWidth = 150;
constexpr int32_t kButtonWidth = 48;
constexpr int32_t kGap = 4;
constexpr int32_t kHeight = 20;
constexpr int32_t kSectionWidth = kMenuWidth + kGap + kButtonWidth;

bool isProjectFile(const std::string& name)
{
    const auto endsWith = [&](const char* suffix)
    {
        const std::string end = suffix;
        return name.size() > end.size() && name.compare(name.size() - end.size(), end.size(), end) == 0;
    };
    return endsWith(".tremolin") || endsWith(".chunk");
}

class PresetSection : public CViewContainer, private CControlListener
{
public:
    PresetSection(const CRect& size, PresetActions& actions) : CViewContainer(size, nullptr), actions(actions)
    {
        setTransparent(true);
        menu =
            new COptionMenu(CRect(0, 1, kMenuWidth, kHeight - 1), this, 0, nullptr, nullptr, kStyleNoFrame);
        menu->setFont(kFontSmall);
        menu->setFontColor({247, 207, 84, 255});
        menu->setBackColor({4, 8, 13, 255});
        addView(menu);
        addView(new StripButton<CKickButton>(
            CRect(kMenuWidth + kGap, 0, kMenuWidth + kGap + kButtonWidth, kHeight), this, 1, nullptr,
            "Save"));
        fill();
    }
    CView* clone() const override { return nullptr; }

    // Stretched with its row (the template attaches it to all sides), it keeps its menu and button
    // together in its middle.
    void setViewSize(const CRect& rect, bool invalidate = true) override
    {
        CViewContainer::setViewSize(rect, invalidate);
        const int32_t left = std::max(0, (rect.width() - kSectionWidth) / 2);
        int32_t x = left;
        for (int32_t i = 0; i < childCount(); ++i)
        {
            CView* child = childAt(i);
            CRect r = child->viewSize();
            const int32_t width = r.width();
            r.left = x;
            r.right = x + width;
            child->setViewSize(r, invalidate);
            child->setMouseArea(r);
            x += width + kGap;
        }
    }

private:
    // The current project first when it is none of the folder's, then the demo and the folder's.
    void fill()
    {
        paths.clear();
        menu->removeAllEntries();
        const std::string current = actions.currentPath ? actions.currentPath() : std::string();
        std::vector<std::string> listed = presetProjects();
        const bool inList =
            current == actions.demoPath || std::find(listed.begin(), listed.end(), current) != listed.end();
        if (!inList && !current.empty()) paths.push_back(current);
        paths.push_back(actions.demoPath);
        paths.insert(paths.end(), listed.begin(), listed.end());
        int32_t chosen = 0;
        for (size_t i = 0; i < paths.size(); ++i)
        {
            menu->addEntry(paths[i] == actions.demoPath ? "Demo" : projectName(paths[i]).c_str());
            if (paths[i] == current) chosen = static_cast<int32_t>(i);
        }
        menu->setValue(float(chosen));
        menu->invalidate();
    }

    void onValueChanged(CControl* control) override
    {
        if (control == menu)
        {
            const auto index = static_cast<size_t>(menu->value());
            if (index < paths.size() && actions.open) actions.open(paths[index]);
        }
        else if (control->value() <= 0.5f && actions.save)
            actions.save(); // the kick's release
        fill();
    }

    PresetActions& actions;
    COptionMenu* menu = nullptr;
    std::vector<std::string> paths;
};
} // namespace

std::string presetFolder()
{
    const std::string base = platform::userDataDirectory();
    return base.empty() ? std::string() : base + "/tremolin-host/presets";
}

std::vector<std::string> presetProjects()
{
    std::vector<std::string> paths;
    const std::string folder = presetFolder();
    if (folder.empty()) return paths;
    for (const std::string& name : platform::filesIn(folder))
        if (isProjectFile(name)) paths.push_back(folder + "/" + name);
    return paths;
}

std::string projectName(const std::string& path)
{
    const size_t slash = path.find_last_of("/\\");
    std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    const size_t dot = name.rfind('.');
    if (dot != std::string::npos && dot > 0) name.resize(dot);
    return name;
}

CView* makePresetSection(const CRect& available, PresetActions& actions)
{
    const int32_t left = std::max(0, (available.width() - kSectionWidth) / 2);
    return new PresetSection(CRect(left, 0, left + kSectionWidth, kHeight), actions);
}
} // namespace hostkit
