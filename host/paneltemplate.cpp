#include "host/paneltemplate.h"

#include "host/kit/hosttext.h"
#include "host/kit/xmlreader.h"

#include <algorithm>
#include <optional>

namespace hostkit
{
namespace
{
std::vector<std::string> words(const std::string* text)
{
    std::vector<std::string> out;
    if (!text) return out;
    size_t start = 0;
    while (start <= text->size())
    {
        const size_t bar = text->find('|', start);
        std::string word = text->substr(start, bar == std::string::npos ? std::string::npos : bar - start);
        while (!word.empty() && word.front() == ' ')
            word.erase(word.begin());
        while (!word.empty() && word.back() == ' ')
            word.pop_back();
        if (!word.empty()) out.push_back(word);
        if (bar == std::string::npos) break;
        start = bar + 1;
    }
    return out;
}

// "<name>" for messages; appended piece by piece, which GCC's -O3 string warnings take as it is.
std::string tagOf(const std::string& name, const std::string& more = {})
{
    std::string tag = "<";
    tag += name;
    tag += more;
    tag += ">";
    return tag;
}

std::string valueOf(const XmlElement& element, const char* key)
{
    const std::string* value = element.attribute(key);
    return value ? *value : std::string();
}

struct Inherited
{
    std::string font, color;
};

class Reader
{
public:
    explicit Reader(TemplateSet& set) : set(set) {}

    void readChildren(const XmlElement& parent, std::vector<PanelNode>& out, const Inherited& inherited,
                      const std::string& where)
    {
        for (const XmlElement& element : parent.children)
        {
            if (element.name == "font")
            {
                // A font only passes its names on: its children belong to the enclosing group.
                Inherited inner = inherited;
                if (const std::string* name = element.attribute("name")) inner.font = *name;
                if (const std::string* color = element.attribute("color")) inner.color = *color;
                readChildren(element, out, inner, where);
                continue;
            }
            PanelNode node;
            if (!kindOf(element, node.kind))
            {
                skip(where, tagOf(element.name) + ", an element the host does not know");
                continue;
            }
            node.name = valueOf(element, "name");
            if (const std::string* size = element.attribute("size"))
            {
                if (!parsePanelSize(*size, node.left, node.top, node.width, node.height))
                {
                    skip(where, describe(element) + ": its size " + quotedWord(*size) + " is no size");
                    continue;
                }
                node.sized = true;
            }
            else if (node.kind != PanelNode::Kind::HostView)
            {
                skip(where, describe(element) + ": it has no size");
                continue;
            }
            if (node.isControl() && node.name.empty())
            {
                skip(where, describe(element) + ": it names no parameter");
                continue;
            }
            node.style = words(element.attribute("style"));
            node.attach = words(element.attribute("attach"));
            node.title = valueOf(element, "title");
            node.tip = valueOf(element, "tip");
            node.just = valueOf(element, "just");
            node.bitmap = valueOf(element, "bitmap");
            node.background = valueOf(element, "background");
            node.handle = valueOf(element, "handle");
            node.font = inherited.font;
            node.color = inherited.color;
            if (node.kind == PanelNode::Kind::Group || node.kind == PanelNode::Kind::Align)
                readChildren(element, node.children, inherited, where);
            else if (!element.children.empty())
                skip(where, describe(element) + ": what it holds, since it is no group");
            out.push_back(std::move(node));
        }
    }

    void skip(const std::string& where, const std::string& what)
    {
        set.skipped.push_back(where + ": " + what);
    }

private:
    static bool kindOf(const XmlElement& element, PanelNode::Kind& kind)
    {
        using K = PanelNode::Kind;
        static const std::pair<const char*, K> kKinds[] = {
            {"align", K::Align}, {"label", K::Label},   {"valuebox", K::ValueBox}, {"optmenu", K::OptionMenu},
            {"text", K::Text},   {"slider", K::Slider}, {"switch", K::Switch},     {"listbox", K::ListBox}};
        for (const auto& [name, value] : kKinds)
            if (element.name == name)
            {
                kind = value;
                return true;
            }
        if (element.name != "view") return false;
        const std::string name = valueOf(element, "name");
        kind = name.empty() ? K::Group : name.rfind("host.", 0) == 0 ? K::HostView : K::ModuleView;
        return true;
    }

    static std::string describe(const XmlElement& element)
    {
        const std::string* name = element.attribute("name");
        std::string more;
        if (name)
        {
            more = " ";
            more += quotedWord(*name);
        }
        return tagOf(element.name, more);
    }

    TemplateSet& set;
};
} // namespace

bool PanelNode::hasStyle(std::string_view word) const
{
    return std::find(style.begin(), style.end(), word) != style.end();
}

bool PanelNode::attaches(std::string_view word) const
{
    return std::find(attach.begin(), attach.end(), word) != attach.end();
}

bool PanelNode::isControl() const
{
    switch (kind)
    {
    case Kind::ValueBox:
    case Kind::OptionMenu:
    case Kind::Text:
    case Kind::Slider:
    case Kind::Switch:
    case Kind::ListBox:
        return true;
    default:
        return false;
    }
}

const PanelTemplate* TemplateSet::find(std::string_view name) const
{
    for (const PanelTemplate& candidate : templates)
        if (candidate.name == name) return &candidate;
    return nullptr;
}

bool parsePanelSize(std::string_view text, int32_t& left, int32_t& top, int32_t& width, int32_t& height)
{
    int32_t numbers[4];
    size_t pos = 0;
    for (int i = 0; i < 4; ++i)
    {
        while (pos < text.size() && text[pos] == ' ')
            ++pos;
        const size_t start = pos;
        if (pos < text.size() && text[pos] == '-') ++pos;
        while (pos < text.size() && text[pos] >= '0' && text[pos] <= '9')
            ++pos;
        const std::optional<int64_t> number = parseInteger(text.substr(start, pos - start));
        // Panels are small: a number beyond a few screens is a damaged template.
        if (!number || *number < -100000 || *number > 100000) return false;
        numbers[i] = static_cast<int32_t>(*number);
        while (pos < text.size() && text[pos] == ' ')
            ++pos;
        if (i < 3)
        {
            if (pos >= text.size() || text[pos] != ',') return false;
            ++pos;
        }
    }
    if (pos != text.size() || numbers[2] < 0 || numbers[3] < 0) return false;
    left = numbers[0];
    top = numbers[1];
    width = numbers[2];
    height = numbers[3];
    return true;
}

PanelTemplate readPanelTemplate(const XmlElement& element, std::vector<std::string>& skipped)
{
    TemplateSet set;
    Reader reader(set);
    PanelTemplate panel;
    panel.name = valueOf(element, "name");
    panel.background = valueOf(element, "background");
    reader.readChildren(element, panel.children, {}, "template " + quotedWord(panel.name));
    skipped.insert(skipped.end(), set.skipped.begin(), set.skipped.end());
    return panel;
}

bool readTemplateSet(std::string_view text, TemplateSet& set, std::string& error)
{
    set = TemplateSet{};
    std::vector<XmlElement> elements;
    if (!parseXml(text, elements, error)) return false;
    Reader reader(set);
    for (const XmlElement& top : elements)
    {
        if (top.name == "resources")
        {
            for (const XmlElement& bitmap : top.children)
            {
                const std::string* name = bitmap.attribute("name");
                const std::string* path = bitmap.attribute("path");
                if (bitmap.name != "bitmap" || !name || !path)
                    reader.skip("resources", tagOf(bitmap.name) + ", which names no bitmap");
                else
                    set.bitmaps[*name] = *path;
            }
        }
        else if (top.name == "template")
        {
            PanelTemplate panel;
            panel.name = valueOf(top, "name");
            panel.background = valueOf(top, "background");
            reader.readChildren(top, panel.children, {}, "template " + quotedWord(panel.name));
            set.templates.push_back(std::move(panel));
        }
        else
            reader.skip("the template text", tagOf(top.name) + ", an element the host does not know");
    }
    return true;
}
} // namespace hostkit
