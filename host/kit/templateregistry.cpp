#include "host/kit/templateregistry.h"

#include "host/kit/hosttext.h"
#include "host/kit/xmlreader.h"

namespace hostkit
{
namespace
{
// The reader gives every text in UTF-8, whatever code page the table declares.
std::u16string decodeText(const std::string& text)
{
    return utf8ToUtf16(text);
}
} // namespace

TemplateRegistry::TemplateRegistry() = default;

tresult TemplateRegistry::queryInterface(const TUID iid, void** obj)
{
    if (!obj) return kInvalidArgument;
    if (FUnknown::iid.equals(iid) || IHostTemplateRegistry::iid.equals(iid))
    {
        addRef();
        *obj = static_cast<IHostTemplateRegistry*>(this);
        return kResultOk;
    }
    *obj = nullptr;
    return kNoInterface;
}

tresult TemplateRegistry::registerTemplate(const void* bytes, int32_t size, int32_t* handle)
{
    if (!bytes || size <= 0 || !handle) return kInvalidArgument;
    // The bytes are the module's and valid only now: everything is copied out.
    const std::string text(static_cast<const char*>(bytes), static_cast<size_t>(size));
    std::vector<XmlElement> elements;
    std::string reason;
    std::lock_guard<std::mutex> guard(mutex);
    if (!parseXml(text, elements, reason))
    {
        error = "the translation table can't be read: " + reason;
        return kInvalidArgument;
    }
    Table table;
    bool sawTable = false;
    for (const XmlElement& top : elements)
    {
        if (top.name == "LanguageTable")
        {
            sawTable = true;
            for (const XmlElement& language : top.children)
                if (language.name == "language")
                    if (const std::string* key = language.attribute("key"))
                        table.languages.emplace_back(*key, decodeText(language.text));
        }
        else if (top.name == "StringTable")
        {
            sawTable = true;
            for (const XmlElement& entry : top.children)
            {
                const std::string* key = entry.name == "String" ? entry.attribute("Key") : nullptr;
                if (!key) continue;
                auto& texts = table.strings[*key];
                for (const XmlElement& translation : entry.children)
                    texts[translation.name] = decodeText(translation.text);
            }
        }
    }
    if (!sawTable)
    {
        error = "the translation table has neither a LanguageTable nor a StringTable";
        return kInvalidArgument;
    }
    table.handle = nextHandle++;
    *handle = table.handle;
    tables.push_back(std::move(table));
    return kResultOk;
}

tresult TemplateRegistry::unregisterTemplate(int32_t handle)
{
    std::lock_guard<std::mutex> guard(mutex);
    for (auto it = tables.begin(); it != tables.end(); ++it)
        if (it->handle == handle)
        {
            tables.erase(it);
            return kResultOk;
        }
    return kInvalidArgument;
}

std::u16string TemplateRegistry::translate(const std::string& key, const std::string& language)
{
    std::lock_guard<std::mutex> guard(mutex);
    for (auto table = tables.rbegin(); table != tables.rend(); ++table)
    {
        const auto entry = table->strings.find(key);
        if (entry == table->strings.end()) continue;
        const auto text = entry->second.find(language);
        if (text != entry->second.end()) return text->second;
    }
    return utf8ToUtf16(key);
}

std::vector<std::pair<std::string, std::u16string>> TemplateRegistry::languages()
{
    std::lock_guard<std::mutex> guard(mutex);
    std::vector<std::pair<std::string, std::u16string>> out;
    for (const Table& table : tables)
        out.insert(out.end(), table.languages.begin(), table.languages.end());
    return out;
}

int32_t TemplateRegistry::tableCount()
{
    std::lock_guard<std::mutex> guard(mutex);
    return static_cast<int32_t>(tables.size());
}

std::string TemplateRegistry::lastError()
{
    std::lock_guard<std::mutex> guard(mutex);
    return error;
}
} // namespace hostkit
