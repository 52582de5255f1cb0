#include "host/kit/hostsettings.h"

#include "host/kit/hosttext.h"
#include "host/kit/platform/hostplatform.h"

#include <cstring>
#include <mutex>

namespace hostkit
{
namespace
{
// Settings objects of one process share their files; one lock keeps their read-change-write
// cycles apart.
std::mutex fileLock;

std::string trim(std::string_view text)
{
    size_t start = 0;
    size_t end = text.size();
    while (start < end && (text[start] == ' ' || text[start] == '\t' || text[start] == '\r'))
        ++start;
    while (end > start && (text[end - 1] == ' ' || text[end - 1] == '\t' || text[end - 1] == '\r'))
        --end;
    return std::string(text.substr(start, end - start));
}

// Names must survive the file's syntax unchanged.
bool usableName(const char* name, bool isSection)
{
    if (!name || !name[0]) return false;
    const std::string text(name);
    if (trim(text) != text || text[0] == '#' || text[0] == '[') return false;
    for (char c : text)
        if (c == '\n' || c == '\r' || (isSection ? c == ']' : c == '=')) return false;
    return true;
}

std::string quote(const std::string& text)
{
    std::string out = "\"";
    for (char c : text)
    {
        switch (c)
        {
        case '"':
            out += "\\\"";
            break;
        case '\\':
            out += "\\\\";
            break;
        case '\n':
            out += "\\n";
            break;
        case '\r':
            out += "\\r";
            break;
        case '\t':
            out += "\\t";
            break;
        default:
            out.push_back(c);
        }
    }
    return out + "\"";
}

// A quoted value without its quotes and escapes; anything else as it stands.
std::string unquote(const std::string& raw)
{
    if (raw.size() < 2 || raw.front() != '"' || raw.back() != '"') return raw;
    std::string out;
    for (size_t i = 1; i + 1 < raw.size(); ++i)
    {
        char c = raw[i];
        if (c == '\\' && i + 2 < raw.size())
        {
            c = raw[++i];
            c = c == 'n' ? '\n' : c == 'r' ? '\r' : c == 't' ? '\t' : c;
        }
        out.push_back(c);
    }
    return out;
}

std::string parentOf(const std::string& path)
{
    const size_t slash = path.find_last_of("/\\");
    return slash == std::string::npos ? std::string() : path.substr(0, slash);
}
} // namespace

HostSettings::HostSettings(std::string path) : file(std::move(path)) {}

std::string HostSettings::defaultPath()
{
    const std::string folder = platform::userConfigDirectory();
    return folder.empty() ? std::string() : folder + "/tremolin-host/settings";
}

tresult HostSettings::queryInterface(const TUID iid, void** obj)
{
    if (!obj) return kInvalidArgument;
    if (FUnknown::iid.equals(iid) || IHostSettings::iid.equals(iid) || IHostStringSettings::iid.equals(iid))
    {
        addRef();
        *obj = static_cast<IHostStringSettings*>(this);
        return kResultOk;
    }
    *obj = nullptr;
    return kNoInterface;
}

bool HostSettings::load(std::vector<Section>& sections)
{
    sections.clear();
    if (file.empty() || !platform::fileExists(file)) return true; // nothing stored yet
    std::vector<uint8_t> bytes;
    std::string reason;
    if (!platform::readFile(file, bytes, reason))
    {
        error = "cannot read " + file + ": " + reason;
        return false;
    }
    const std::string text(bytes.begin(), bytes.end());
    size_t start = 0;
    while (start <= text.size())
    {
        size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        const std::string line = trim(std::string_view(text).substr(start, end - start));
        start = end + 1;
        if (line.empty() || line[0] == '#') continue;
        if (line.front() == '[' && line.back() == ']')
        {
            sections.push_back({line.substr(1, line.size() - 2), {}});
            continue;
        }
        const size_t equals = line.find('=');
        if (equals == std::string::npos || sections.empty())
            continue; // a line that no version of the host wrote; leave it out
        sections.back().entries.emplace_back(trim(line.substr(0, equals)), trim(line.substr(equals + 1)));
    }
    return true;
}

bool HostSettings::save(const std::vector<Section>& sections)
{
    std::string text = "# tremolin-host settings\n";
    for (const Section& section : sections)
    {
        text += "\n[" + section.name + "]\n";
        for (const auto& [key, value] : section.entries)
            text += key + " = " + value + "\n";
    }
    std::string reason;
    if (!platform::makeDirectories(parentOf(file), reason) ||
        !platform::replaceFile(file, text.data(), text.size(), reason))
    {
        error = "cannot write " + file + ": " + reason;
        return false;
    }
    return true;
}

bool HostSettings::lookUp(const char* section, const char* key, std::string& raw)
{
    if (!section || !key) return false;
    std::lock_guard<std::mutex> guard(fileLock);
    std::vector<Section> sections;
    if (!load(sections)) return false;
    for (const Section& s : sections)
        if (s.name == section)
            for (const auto& [name, value] : s.entries)
                if (name == key)
                {
                    raw = value;
                    return true;
                }
    return false;
}

tresult HostSettings::store(const char* section, const char* key, const std::string& raw)
{
    if (!usableName(section, true) || !usableName(key, false)) return kInvalidArgument;
    if (file.empty())
    {
        error = "there is no folder for settings";
        return kInternalError;
    }
    std::lock_guard<std::mutex> guard(fileLock);
    std::vector<Section> sections;
    if (!load(sections)) return kInternalError;
    Section* target = nullptr;
    for (Section& s : sections)
        if (s.name == section) target = &s;
    if (!target)
    {
        sections.push_back({section, {}});
        target = &sections.back();
    }
    bool replaced = false;
    for (auto& [name, value] : target->entries)
        if (name == key)
        {
            value = raw;
            replaced = true;
        }
    if (!replaced) target->entries.emplace_back(key, raw);
    return save(sections) ? kResultOk : kInternalError;
}

tresult HostSettings::writeInt(const char* section, const char* key, int32_t value)
{
    return store(section, key, std::to_string(value));
}

bool HostSettings::readInt(const char* section, const char* key, int32_t* value)
{
    std::string raw;
    if (!value || !lookUp(section, key, raw)) return false;
    const auto number = parseInteger(unquote(raw));
    if (!number || *number < INT32_MIN || *number > INT32_MAX) return false;
    *value = static_cast<int32_t>(*number);
    return true;
}

tresult HostSettings::writeFloat(const char* section, const char* key, double value)
{
    return store(section, key, formatDouble(value));
}

bool HostSettings::readFloat(const char* section, const char* key, double* value)
{
    std::string raw;
    if (!value || !lookUp(section, key, raw)) return false;
    const auto number = parseDouble(unquote(raw));
    if (!number) return false;
    *value = *number;
    return true;
}

tresult HostSettings::writeString(const char* section, const char* key, const char16_t* text)
{
    if (!text) return kInvalidArgument;
    return store(section, key, quote(utf16ToUtf8(text)));
}

bool HostSettings::readString(const char* section, const char* key, char16_t* text, int32_t size)
{
    std::string raw;
    if (!lookUp(section, key, raw)) return false;
    copyToBuffer(utf8ToUtf16(unquote(raw)), text, size);
    return true;
}
} // namespace hostkit
