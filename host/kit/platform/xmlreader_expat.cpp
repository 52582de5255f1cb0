#include "host/kit/xmlreader.h"

#include <expat.h>

#include <cctype>
#include <climits>
#include <cstring>

namespace hostkit
{
namespace
{
// The element the reader wraps round the text, because the templates have several top-level
// elements and XML allows one. A text that closes it early leaves junk after the document, which
// the reader refuses.
const char* const kWrapper = "tremolin-host.document";
constexpr size_t kDeepestNesting = 256;

struct Reader
{
    XML_Parser parser = nullptr;
    std::vector<XmlElement> stack; // stack[0] is the wrapper
    std::string failure;

    void stop(const std::string& why)
    {
        if (failure.empty()) failure = why;
        XML_StopParser(parser, XML_FALSE);
    }
};

bool isBlank(const std::string& text)
{
    for (char c : text)
        if (!std::isspace(static_cast<unsigned char>(c))) return false;
    return true;
}

void XMLCALL onStart(void* data, const XML_Char* name, const XML_Char** attributes)
{
    auto* reader = static_cast<Reader*>(data);
    if (reader->stack.size() > kDeepestNesting)
    {
        reader->stop("elements nested deeper than " + std::to_string(kDeepestNesting));
        return;
    }
    XmlElement element;
    element.name = name;
    for (const XML_Char** attribute = attributes; attribute && attribute[0]; attribute += 2)
        element.attributes.emplace_back(attribute[0], attribute[1]);
    reader->stack.push_back(std::move(element));
}

void XMLCALL onEnd(void* data, const XML_Char*)
{
    auto* reader = static_cast<Reader*>(data);
    if (reader->stack.size() < 2) return; // the wrapper's own end
    XmlElement done = std::move(reader->stack.back());
    reader->stack.pop_back();
    reader->stack.back().children.push_back(std::move(done));
}

void XMLCALL onText(void* data, const XML_Char* text, int length)
{
    auto* reader = static_cast<Reader*>(data);
    if (reader->stack.empty()) return;
    reader->stack.back().text.append(text, static_cast<size_t>(length));
    if (reader->stack.size() == 1 && !isBlank(reader->stack.back().text))
        reader->stop("text outside any element");
}

// A document type could declare entities; modules have no use for one, and the host reads none.
void XMLCALL onDoctype(void* data, const XML_Char*, const XML_Char*, const XML_Char*, int)
{
    static_cast<Reader*>(data)->stop("a document type declaration, which the host does not read");
}

int XMLCALL onUnknownEncoding(void*, const XML_Char* name, XML_Encoding* info)
{
    std::string encoding = name ? name : "";
    for (char& c : encoding)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (int byte = 0; byte < 256; ++byte)
    {
        char32_t code = 0;
        if (!singleByteCodePoint(encoding, static_cast<unsigned char>(byte), code)) return XML_STATUS_ERROR;
        info->map[byte] = static_cast<int>(code);
    }
    info->data = nullptr;
    info->convert = nullptr;
    info->release = nullptr;
    return XML_STATUS_OK;
}
} // namespace

bool parseXml(std::string_view text, std::vector<XmlElement>& elements, std::string& error)
{
    elements.clear();
    if (text.size() > static_cast<size_t>(INT_MAX / 2))
    {
        error = "line 1: a text too long to be a template";
        return false;
    }
    // The declaration must stay in front; the wrapper goes right behind it, on the same line, so
    // that the reader's line numbers are the text's.
    size_t split = 0;
    if (text.substr(0, 5) == "<?xml" && text.size() > 5 && std::isspace(static_cast<unsigned char>(text[5])))
    {
        const size_t end = text.find("?>");
        split = end == std::string_view::npos ? text.size() : end + 2;
    }
    const std::string open = std::string("<") + kWrapper + ">";
    const std::string close = std::string("</") + kWrapper + ">";

    Reader reader;
    reader.parser = XML_ParserCreate(nullptr);
    if (!reader.parser)
    {
        error = "line 1: no memory for the XML reader";
        return false;
    }
    XML_SetUserData(reader.parser, &reader);
    XML_SetElementHandler(reader.parser, onStart, onEnd);
    XML_SetCharacterDataHandler(reader.parser, onText);
    XML_SetStartDoctypeDeclHandler(reader.parser, onDoctype);
    XML_SetUnknownEncodingHandler(reader.parser, onUnknownEncoding, nullptr);

    const auto feed = [&](std::string_view piece, bool last)
    {
        return XML_Parse(reader.parser, piece.data(), static_cast<int>(piece.size()),
                         last ? XML_TRUE : XML_FALSE) == XML_STATUS_OK;
    };
    const bool read = feed(text.substr(0, split), false) && feed(open, false) &&
                      feed(text.substr(split), false) && feed(close, true);
    if (!read)
    {
        const XML_Error code = XML_GetErrorCode(reader.parser);
        const std::string what =
            !reader.failure.empty() ? reader.failure
            : code == XML_ERROR_TAG_MISMATCH || code == XML_ERROR_NO_ELEMENTS
                ? "an element that is never closed, or an end tag that closes nothing open"
                : XML_ErrorString(code);
        error = "line " + std::to_string(XML_GetCurrentLineNumber(reader.parser)) + ": " + what;
        XML_ParserFree(reader.parser);
        return false;
    }
    XML_ParserFree(reader.parser);
    if (reader.stack.size() != 1)
    {
        error = "line 1: the text is not whole";
        return false;
    }
    elements = std::move(reader.stack.front().children);
    return true;
}
} // namespace hostkit
