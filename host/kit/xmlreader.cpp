#include "host/kit/xmlreader.h"

#include "foundation/textcodec.h"

#include <cctype>

namespace hostkit
{
const std::string* XmlElement::attribute(std::string_view key) const
{
    for (const auto& [name, value] : attributes)
        if (name == key) return &value;
    return nullptr;
}

std::string declaredEncoding(std::string_view text)
{
    // Only a declaration at the very start counts, as the XML rules have it.
    if (text.substr(0, 5) != "<?xml" || text.size() < 6 || !std::isspace(static_cast<unsigned char>(text[5])))
        return "utf-8";
    const std::string_view declaration = text.substr(0, text.find("?>"));
    const size_t key = declaration.find("encoding");
    if (key == std::string_view::npos) return "utf-8";
    size_t pos = key + 8;
    while (pos < declaration.size() &&
           (std::isspace(static_cast<unsigned char>(declaration[pos])) || declaration[pos] == '='))
        ++pos;
    if (pos >= declaration.size() || (declaration[pos] != '"' && declaration[pos] != '\'')) return "utf-8";
    const char quote = declaration[pos++];
    const size_t end = declaration.find(quote, pos);
    std::string name(
        declaration.substr(pos, end == std::string_view::npos ? std::string_view::npos : end - pos));
    for (char& c : name)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return name;
}

bool singleByteCodePoint(const std::string& encoding, unsigned char byte, char32_t& codePoint)
{
    if (encoding == "windows-1252" || encoding == "cp1252")
        codePoint =
            foundation::text::cp1252ToUtf16(std::string_view(reinterpret_cast<const char*>(&byte), 1))[0];
    else if (encoding == "iso-8859-1" || encoding == "latin1")
        codePoint = byte;
    else if (encoding == "us-ascii" && byte < 0x80)
        codePoint = byte;
    else
        return false;
    return true;
}

namespace
{
// Deeper nesting than any template has only costs the stack when the tree is taken down.
constexpr size_t kDeepestNesting = 256;

class XmlParser
{
public:
    explicit XmlParser(std::string_view text) : text(text) {}

    bool parse(std::vector<XmlElement>& elements, std::string& error)
    {
        std::vector<XmlElement> stack;
        while (pos < text.size())
        {
            if (text[pos] != '<')
            {
                const size_t end = text.find('<', pos);
                const std::string_view raw =
                    text.substr(pos, end == std::string_view::npos ? end : end - pos);
                std::string decoded;
                if (!decode(raw, decoded)) return fail(error, "an unknown entity");
                if (!stack.empty())
                    stack.back().text += decoded;
                else if (!isBlank(decoded))
                    return fail(error, "text outside any element");
                pos = end == std::string_view::npos ? text.size() : end;
                continue;
            }
            if (startsWith("<!--"))
            {
                if (!skipPast("-->")) return fail(error, "a comment that never ends");
                continue;
            }
            if (startsWith("<![CDATA["))
            {
                const size_t start = pos + 9;
                if (!skipPast("]]>")) return fail(error, "a CDATA section that never ends");
                if (stack.empty()) return fail(error, "text outside any element");
                stack.back().text += std::string(text.substr(start, pos - 3 - start));
                continue;
            }
            if (startsWith("<?") || startsWith("<!"))
            {
                if (!skipPast(">")) return fail(error, "a declaration that never ends");
                continue;
            }
            if (startsWith("</"))
            {
                pos += 2;
                const std::string name = readName();
                skipBlanks();
                if (name.empty() || pos >= text.size() || text[pos] != '>')
                    return fail(error, "a damaged end tag");
                ++pos;
                if (stack.empty() || stack.back().name != name)
                    return fail(error, "an end tag </" + name + "> that closes nothing open");
                XmlElement done = std::move(stack.back());
                stack.pop_back();
                (stack.empty() ? elements : stack.back().children).push_back(std::move(done));
                continue;
            }
            ++pos;
            XmlElement element;
            element.name = readName();
            if (element.name.empty()) return fail(error, "a tag without a name");
            bool selfClosing = false;
            for (;;)
            {
                skipBlanks();
                if (pos >= text.size()) return fail(error, "a tag that never ends");
                if (text[pos] == '>')
                {
                    ++pos;
                    break;
                }
                if (startsWith("/>"))
                {
                    pos += 2;
                    selfClosing = true;
                    break;
                }
                std::string key = readName();
                skipBlanks();
                if (key.empty() || pos >= text.size() || text[pos] != '=')
                    return fail(error, "a damaged attribute in <" + element.name + ">");
                ++pos;
                skipBlanks();
                if (pos >= text.size() || (text[pos] != '"' && text[pos] != '\''))
                    return fail(error, "an attribute value without quotes in <" + element.name + ">");
                const char quote = text[pos++];
                const size_t end = text.find(quote, pos);
                if (end == std::string_view::npos) return fail(error, "an attribute value that never ends");
                std::string value;
                if (!decode(text.substr(pos, end - pos), value, true))
                    return fail(error, "an unknown entity");
                pos = end + 1;
                element.attributes.emplace_back(std::move(key), std::move(value));
            }
            if (selfClosing)
                (stack.empty() ? elements : stack.back().children).push_back(std::move(element));
            else if (stack.size() >= kDeepestNesting)
                return fail(error, "elements nested deeper than " + std::to_string(kDeepestNesting));
            else
                stack.push_back(std::move(element));
        }
        if (!stack.empty()) return fail(error, "<" + stack.back().name + "> is never closed");
        return true;
    }

private:
    bool startsWith(std::string_view prefix) const { return text.substr(pos, prefix.size()) == prefix; }

    bool skipPast(std::string_view marker)
    {
        const size_t end = text.find(marker, pos);
        if (end == std::string_view::npos) return false;
        pos = end + marker.size();
        return true;
    }

    void skipBlanks()
    {
        while (pos < text.size() && std::isspace(static_cast<unsigned char>(text[pos])))
            ++pos;
    }

    std::string readName()
    {
        const size_t start = pos;
        while (pos < text.size())
        {
            const auto c = static_cast<unsigned char>(text[pos]);
            if (std::isalnum(c) || c == '_' || c == '-' || c == '.' || c == ':' || c >= 0x80)
                ++pos;
            else
                break;
        }
        return std::string(text.substr(start, pos - start));
    }

    static bool isBlank(std::string_view s)
    {
        for (char c : s)
            if (!std::isspace(static_cast<unsigned char>(c))) return false;
        return true;
    }

    // Entities become their characters; numeric ones above 127 are written as UTF-8.
    // In an attribute's value a written tab or line end counts as a blank, as XML has it.
    static bool decode(std::string_view raw, std::string& out, bool attribute = false)
    {
        for (size_t i = 0; i < raw.size(); ++i)
        {
            if (raw[i] != '&')
            {
                out.push_back(attribute && (raw[i] == '\t' || raw[i] == '\n') ? ' ' : raw[i]);
                continue;
            }
            const size_t end = raw.find(';', i);
            if (end == std::string_view::npos) return false;
            const std::string_view name = raw.substr(i + 1, end - i - 1);
            if (name == "amp")
                out.push_back('&');
            else if (name == "lt")
                out.push_back('<');
            else if (name == "gt")
                out.push_back('>');
            else if (name == "quot")
                out.push_back('"');
            else if (name == "apos")
                out.push_back('\'');
            else if (name.size() > 1 && name[0] == '#')
            {
                char32_t code = 0;
                const bool hex = name[1] == 'x' || name[1] == 'X';
                const std::string_view digits = name.substr(hex ? 2 : 1);
                if (digits.empty() || digits.size() > 8) return false;
                for (char c : digits)
                {
                    const int digit = std::isdigit(static_cast<unsigned char>(c)) ? c - '0'
                                      : hex && std::isxdigit(static_cast<unsigned char>(c))
                                          ? (std::tolower(static_cast<unsigned char>(c)) - 'a' + 10)
                                          : -1;
                    if (digit < 0) return false;
                    code = code * (hex ? 16 : 10) + static_cast<char32_t>(digit);
                }
                if (code == 0 || code > 0x10FFFF) return false;
                if (code >= 0xD800 && code < 0xE000) code = foundation::text::kReplacement; // no character
                char bytes[4];
                foundation::text::encodeUtf8(code, bytes);
                out.append(bytes, foundation::text::utf8Length(code));
            }
            else
                return false;
            i = end;
        }
        return true;
    }

    bool fail(std::string& error, const std::string& what) const
    {
        int line = 1;
        for (size_t i = 0; i < pos && i < text.size(); ++i)
            if (text[i] == '\n') ++line;
        error = "line " + std::to_string(line) + ": " + what;
        return false;
    }

    std::string_view text;
    size_t pos = 0;
};
} // namespace

bool parseXmlOwnReader(std::string_view text, std::vector<XmlElement>& elements, std::string& error)
{
    elements.clear();
    const std::string encoding = declaredEncoding(text);
    // Line ends become one LF before anything else reads the text, as XML has it.
    std::string lines;
    lines.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i)
    {
        if (text[i] != '\r')
            lines.push_back(text[i]);
        else if (i + 1 >= text.size() || text[i + 1] != '\n')
            lines.push_back('\n');
    }
    text = lines;
    if (encoding == "utf-8") return XmlParser(text).parse(elements, error);
    // A single-byte text becomes UTF-8 first, so that the tree reads the same whatever came in.
    std::string converted;
    converted.reserve(text.size());
    for (const char c : text)
    {
        char32_t code = 0;
        if (!singleByteCodePoint(encoding, static_cast<unsigned char>(c), code))
        {
            error = "line 1: the encoding '" + encoding + "' is not one the host reads";
            return false;
        }
        char bytes[4];
        foundation::text::encodeUtf8(code, bytes);
        converted.append(bytes, foundation::text::utf8Length(code));
    }
    return XmlParser(converted).parse(elements, error);
}
} // namespace hostkit
