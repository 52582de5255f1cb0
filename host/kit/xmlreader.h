#pragma once

// A small reader for the XML that modules hand the host: the editor templates (several top-level
// elements, no root) and the translation table. Elements, attributes, text, comments,
// declarations and the five named entities plus numeric ones; no namespaces, no DTD.

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace hostkit
{
struct XmlElement
{
    std::string name;
    std::vector<std::pair<std::string, std::string>> attributes;
    std::vector<XmlElement> children;
    // The element's own text, entities decoded, pieces between children joined.
    std::string text;

    // The attribute's value, or null if the element has none of that name.
    const std::string* attribute(std::string_view key) const;
    // Every element below this one (not itself), depth first, in document order.
    template <class Visit> void forEachDescendant(Visit&& visit) const
    {
        for (const XmlElement& child : children)
        {
            visit(child);
            child.forEachDescendant(visit);
        }
    }
};

// Parses `text` into its top-level elements. On a syntax error gives false with a sentence
// naming the line in `error`.
bool parseXml(std::string_view text, std::vector<XmlElement>& elements, std::string& error);
} // namespace hostkit
