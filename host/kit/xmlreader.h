#pragma once

// Reading the XML that modules hand the host: the editor templates (several top-level elements,
// no root) and the translation table (a declaration, then its tables). Elements, attributes,
// text, comments, CDATA, declarations, the five named entities and numeric ones; no namespaces,
// no DTD. Whatever the text's declared encoding (UTF-8 when it declares none, windows-1252,
// ISO-8859-1 or US-ASCII), names, values and texts come out in UTF-8.
//
// parseXml is expat on Linux (platform/xmlreader_expat.cpp) and the host's own reader below on
// Windows (platform/xmlreader_win32.cpp): the system's XmlLite has no import library in the
// cross toolchain, and a reader of our own that answers exactly like expat on every module's
// resources, held to it by the fuzz target, keeps both builds reading alike.

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
    bool operator==(const XmlElement&) const = default;
};

// Parses `text` into its top-level elements. On a syntax error gives false with a sentence
// naming the line in `error`.
bool parseXml(std::string_view text, std::vector<XmlElement>& elements, std::string& error);

// The host's own reader, on every platform: what parseXml is on Windows.
bool parseXmlOwnReader(std::string_view text, std::vector<XmlElement>& elements, std::string& error);

// The encoding the text's declaration names, in lower case; "utf-8" when there is none.
std::string declaredEncoding(std::string_view text);
// A single-byte encoding's code point for a byte; false for an encoding the host doesn't know.
bool singleByteCodePoint(const std::string& encoding, unsigned char byte, char32_t& codePoint);
} // namespace hostkit
