#pragma once

// A module's editor template read into what the host builds its panels from: the bitmaps by
// name, and each template's tree of groups, controls and views with their rectangles, styles and
// texts. Whatever can't be used (an unknown element, a size that is no size, a bitmap named
// nowhere) is left out and said in `skipped`, so that a damaged template shows what it can.

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace hostkit
{
struct PanelNode
{
    enum class Kind
    {
        Group,      // <view> without a name: its children take their places from it
        Align,      // <align>: lays out its child by its style
        Label,      // fixed text
        ValueBox,   // a number field
        OptionMenu, // a list as a pop-up menu
        Text,       // a parameter's text
        Slider,
        Switch,
        ListBox,
        HostView,   // <view name="host.*">: a section of the host's own
        ModuleView, // <view name="...">: a view the module makes through createView
    };
    Kind kind = Kind::Group;
    std::string name; // the parameter, or the view's name
    // Left, top, width, height, relative to the enclosing group; false when the element gave none.
    int32_t left = 0, top = 0, width = 0, height = 0;
    bool sized = false;
    std::vector<std::string> style;  // the words of `style`
    std::vector<std::string> attach; // the words of `attach`
    std::string title, tip, just;
    std::string bitmap, background, handle; // bitmap names
    std::string font, color;                // from the enclosing <font>, names the host knows
    std::vector<PanelNode> children;

    bool hasStyle(std::string_view word) const;
    bool attaches(std::string_view word) const;
    // Whether the node shows a parameter by its name.
    bool isControl() const;
};

struct PanelTemplate
{
    std::string name;
    std::string background; // a bitmap name; the panel takes its size
    std::vector<PanelNode> children;
};

struct TemplateSet
{
    std::map<std::string, std::string> bitmaps; // name -> path (a resource number as text)
    std::vector<PanelTemplate> templates;
    std::vector<std::string> skipped; // one sentence each

    const PanelTemplate* find(std::string_view name) const;
};

// False only when the text is no XML at all (`error` says where); everything else is read as
// far as it goes.
bool readTemplateSet(std::string_view text, TemplateSet& set, std::string& error);

struct XmlElement;
// One <template> element read as readTemplateSet reads it.
PanelTemplate readPanelTemplate(const XmlElement& element, std::vector<std::string>& skipped);

// "4,2,45,16" with blanks after the commas; false for anything else or a negative size.
bool parsePanelSize(std::string_view text, int32_t& left, int32_t& top, int32_t& width, int32_t& height);
} // namespace hostkit
