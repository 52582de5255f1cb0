#include "host/kit/hostsettings.h"

#include "host/kit/hosttext.h"
#include "host/kit/platform/hostplatform.h"
#include "host/kit/userfile.h"

#include <cstddef>
#include <cstring>
#include <mutex>
#include <set>

namespace hostkit
{
namespace
{
// Settings objects of one process share their files; one lock keeps their read-change-write
// cycles apart.
std::mutex fileLock;
// Keys (file, section, key) whose stored values read as no number, and files already warned
// about; for the whole process, since every settings object of a file shares them.
std::set<std::string> refusedKeys;
std::set<std::string> warnedFiles;
void (*warningSink)(const std::string&) = nullptr;

// Far more than any settings file needs.
constexpr size_t kLargestSettingsFile = size_t(1) << 20;

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

bool HostSettings::load(Contents& contents)
{
    contents = Contents{};
    if (file.empty() || !platform::fileExists(file)) return true; // nothing stored yet
    std::vector<uint8_t> bytes;
    std::string reason;
    bool tooLarge = false;
    if (!platform::readFile(file, bytes, reason, kLargestSettingsFile, &tooLarge))
    {
        error = "cannot read " + file + ": " + reason;
        warn("The settings file '" + file + "' can't be read (" + reason + "); its settings are ignored.");
        return false;
    }
    std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    // Editors on Windows start UTF-8 files with a byte-order mark; it is kept, but no part of a line.
    if (text.substr(0, 3) == "\xEF\xBB\xBF")
    {
        contents.byteOrderMark = true;
        text.remove_prefix(3);
    }
    if (text.find("\r\n") != std::string_view::npos) contents.newline = "\r\n";
    std::string section;
    bool hasSection = false;
    size_t start = 0;
    while (start < text.size())
    {
        size_t end = text.find('\n', start);
        if (end == std::string_view::npos) end = text.size();
        Line line;
        line.text = std::string(text.substr(start, end - start));
        if (!line.text.empty() && line.text.back() == '\r') line.text.pop_back();
        start = end + 1;
        const std::string trimmed = trim(line.text);
        if (!trimmed.empty() && trimmed[0] != '#')
        {
            const size_t equals = trimmed.find('=');
            if (trimmed.front() == '[' && trimmed.back() == ']')
            {
                section = trimmed.substr(1, trimmed.size() - 2);
                hasSection = true;
            }
            else if (equals != std::string::npos && hasSection)
            {
                line.entry = true;
                line.key = trim(trimmed.substr(0, equals));
                line.value = trim(trimmed.substr(equals + 1));
            }
        }
        line.section = hasSection ? section : std::string();
        contents.lines.push_back(std::move(line));
    }
    return true;
}

bool HostSettings::save(const Contents& contents)
{
    std::string text = contents.byteOrderMark ? "\xEF\xBB\xBF" : "";
    for (const Line& line : contents.lines)
        text += line.text + contents.newline;
    std::string reason;
    if (!platform::makeDirectories(parentOf(file), reason))
    {
        error = "cannot write " + file + ": " + reason;
        warn("The settings can't be kept in '" + file + "' (" + reason + ").");
        return false;
    }
    const SaveOutcome saved = saveUserFile(file, text.data(), text.size(), nullptr, false);
    if (saved.kind != SaveOutcome::Kind::Saved)
    {
        error = "cannot write " + file + ": " + saved.reason;
        warn("The settings can't be kept in '" + file + "' (" + saved.reason + ").");
        return false;
    }
    return true;
}

void HostSettings::setWarningSink(void (*sink)(const std::string&))
{
    warningSink = sink;
}

void HostSettings::warn(const std::string& sentence)
{
    // One warning a file: a module reads and writes many keys, and each would say the same.
    if (!warningSink || !warnedFiles.insert(file).second) return;
    warningSink(sentence);
}

void HostSettings::refuse(const char* section, const char* key, const std::string& raw)
{
    std::lock_guard<std::mutex> guard(fileLock);
    refusedKeys.insert(file + '\n' + section + '\n' + key);
    warn("The setting " + std::string(key) + " in '" + file + "' is not a number (" + quotedWord(raw) +
         "); it is ignored and left as it is.");
}

bool HostSettings::lookUp(const char* section, const char* key, std::string& raw)
{
    if (!section || !key) return false;
    std::lock_guard<std::mutex> guard(fileLock);
    Contents contents;
    if (!load(contents)) return false;
    for (const Line& line : contents.lines)
        if (line.entry && line.section == section && line.key == key)
        {
            raw = line.value;
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
    if (refusedKeys.count(file + '\n' + section + '\n' + key)) return kResultFalse;
    Contents contents;
    if (!load(contents)) return kInternalError;
    const std::string entry = std::string(key) + " = " + raw;
    size_t lastOfSection = std::string::npos;
    for (size_t i = 0; i < contents.lines.size(); ++i)
    {
        Line& line = contents.lines[i];
        if (line.section != section) continue;
        if (line.entry || lastOfSection == std::string::npos) lastOfSection = i;
        if (!line.entry || line.key != key) continue;
        if (line.value == raw) return kResultOk; // stored already: the file stays untouched
        line.text = entry;
        return save(contents) ? kResultOk : kInternalError;
    }
    Line added;
    added.text = entry;
    if (lastOfSection != std::string::npos)
        contents.lines.insert(contents.lines.begin() + static_cast<std::ptrdiff_t>(lastOfSection) + 1, added);
    else
    {
        if (contents.lines.empty()) contents.lines.push_back({"# tremolin-host settings", {}, {}, {}, false});
        contents.lines.push_back({"", {}, {}, {}, false});
        Line header;
        header.text.append("[").append(section).append("]");
        contents.lines.push_back(header);
        contents.lines.push_back(added);
    }
    return save(contents) ? kResultOk : kInternalError;
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
    if (!number || *number < INT32_MIN || *number > INT32_MAX)
    {
        refuse(section, key, raw);
        return false;
    }
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
    if (!number)
    {
        refuse(section, key, raw);
        return false;
    }
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
