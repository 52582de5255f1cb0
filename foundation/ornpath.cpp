#include "foundation/ornpath.h"

#include "foundation/fstreams.h"
#include "foundation/platform/path.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

namespace
{
bool isAsciiLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool hasDrive(const char* text)
{
    return isAsciiLetter(text[0]) && text[1] == ':';
}

bool isShare(const char* text)
{
    return text[0] == '\\' && text[1] == '\\';
}

// A Windows path in POSIX form: the drive goes (its folders stand under the root) and the
// backslashes become slashes, so C:\data\set.bin becomes /data/set.bin and a share
// \\server\name becomes //server/name.
std::string posixFormOf(const char* text)
{
    std::string result;
    if (hasDrive(text))
    {
        text += 2;
        if (*text != '\\' && *text != '/') result += '/';
    }
    for (; *text; ++text)
        result += *text == '\\' ? '/' : *text;
    return result;
}

// The largest number makeUnique tries before it gives up on a folder that is full of takes.
constexpr int32_t kMostNumbers = 100000;
} // namespace

OrnPath::OrnPath() = default;

OrnPath::OrnPath(const char* text)
{
    setText(text);
}

OrnPath::OrnPath(const OrnPath& other) : OrnPlugObject()
{
    setRawText(other.getText());
}

OrnPath& OrnPath::operator=(const OrnPath& other)
{
    if (this != &other) setRawText(other.getText());
    return *this;
}

OrnPath::~OrnPath()
{
    delete[] buffer;
}

bool OrnPath::ensureBlock()
{
    if (!buffer)
    {
        buffer = new (std::nothrow) char[kBlockSize];
        if (buffer) std::memset(buffer, 0, kBlockSize);
    }
    return buffer != nullptr;
}

void OrnPath::setRawText(const char* text)
{
    if (!text)
    {
        delete[] buffer;
        buffer = nullptr;
        return;
    }
    std::size_t length = std::strlen(text);
    if (length > kBlockSize - 1) length = kBlockSize - 1;
    if (!ensureBlock()) return;
    // The text may be a part of this very block, hence the move; the rest of the block is
    // zeroed so that whatever is written behind the text later still reads as terminated.
    std::memmove(buffer, text, length);
    std::memset(buffer + length, 0, kBlockSize - length);
}

void OrnPath::copyText(char* out) const
{
    if (!out) return;
    if (buffer)
        std::memcpy(out, buffer, std::strlen(buffer) + 1);
    else
        out[0] = 0;
}

const char* OrnPath::getText() const
{
    return buffer;
}

void OrnPath::setText(const char* text)
{
    if (!text)
    {
        setRawText(nullptr);
        return;
    }
    const int32_t kind = classify(text);
    const bool windows = foundation::platform::windowsPaths();
    if (kind == kRootedText && windows)
    {
        std::string native = std::string("C:") + text;
        std::replace(native.begin(), native.end(), '/', '\\');
        setNativeText(native.c_str());
    }
    else if (kind == kNativeText && !windows && (hasDrive(text) || isShare(text)) &&
             !std::strstr(text, "://"))
        setNativeText(posixFormOf(text).c_str());
    else
        // Relative names are kept as they are on both platforms: the file calls resolve them
        // against the working folder.
        setNativeText(text);
}

bool OrnPath::equalsText(const char* text) const
{
    return buffer && text && std::strcmp(buffer, text) == 0;
}

bool OrnPath::isEmpty() const
{
    return !buffer || buffer[0] == 0;
}

char OrnPath::getSeparator() const
{
    return isUrl() || !foundation::platform::windowsPaths() ? '/' : '\\';
}

int32_t OrnPath::fileNameStart() const
{
    if (!buffer) return -1;
    const char* last = std::strrchr(buffer, getSeparator());
    return last ? int32_t(last - buffer) + 1 : -1;
}

void OrnPath::getFileName(char* out) const
{
    if (!out || isEmpty()) return;
    const int32_t start = fileNameStart();
    if (start < 0)
        out[0] = 0;
    else
        std::memmove(out, buffer + start, std::strlen(buffer + start) + 1);
}

void OrnPath::setFileName(const char* name)
{
    const int32_t start = fileNameStart();
    if (start < 0) return;
    setRawText((std::string(buffer, std::size_t(start)) + (name ? name : "")).c_str());
}

void OrnPath::addRef()
{
    ++refCount;
}

void OrnPath::release()
{
    if (--refCount == 0) delete this;
}

void OrnPath::getNativeText(char* out) const
{
    copyText(out);
}

bool OrnPath::setNativeText(const char* text)
{
    setRawText(text);
    return text && buffer;
}

void OrnPath::appendComponent(const char* component)
{
    if (!component) return;
    if (isEmpty())
    {
        setRawText(component);
        return;
    }
    std::string text(buffer);
    if (text.back() != getSeparator()) text += getSeparator();
    setRawText((text + component).c_str());
}

void OrnPath::goToParent()
{
    if (!buffer) return;
    std::string text(buffer);
    if (text.size() <= 2) return;
    const char separator = getSeparator();
    // A text that ends in a separator names a folder; one that doesn't names a file in one.
    // Either way the folder goes first, then its parent's own component.
    const auto cutLast = [&]
    {
        const std::size_t at = text.rfind(separator);
        if (at != std::string::npos) text.resize(at);
    };
    if (text.back() == separator)
        text.pop_back();
    else
        cutLast();
    cutLast();
    text += separator;
    setRawText(text.c_str());
}

bool OrnPath::prependFolder(const char* folder)
{
    if (!folder) return true;
    if (isEmpty())
    {
        setText(folder);
        return true;
    }
    std::string text(folder);
    if (text.empty() || text.back() != getSeparator()) text += getSeparator();
    text += buffer;
    setText(text.c_str());
    return true;
}

bool OrnPath::descend(const char* name)
{
    if (!name || isEmpty()) return false;
    std::string text(buffer);
    if (text.back() != getSeparator()) text += getSeparator();
    text += name;
    text += getSeparator();
    setRawText(text.c_str());
    return ornFileSystem && ornFileSystem->isFolder(this);
}

bool OrnPath::exists() const
{
    return !isEmpty() && ornFileSystem && ornFileSystem->exists(this);
}

bool OrnPath::makeUnique()
{
    if (isEmpty()) return false;
    if (!exists()) return true;
    // A bare name has no separator for setFileName to work behind; it is numbered whole.
    const int32_t start = std::max(fileNameStart(), 0);
    const std::string folder(buffer, std::size_t(start));
    const std::string name(buffer + start);
    const std::size_t point = name.rfind('.');
    const std::string base = point == std::string::npos ? name : name.substr(0, point);
    const std::string extension = point == std::string::npos ? std::string() : name.substr(point);
    char numbered[kBlockSize];
    for (int32_t number = 1; number <= kMostNumbers; ++number)
    {
        std::snprintf(numbered, sizeof numbered, "%s%d%s", base.c_str(), int(number), extension.c_str());
        setRawText((folder + numbered).c_str());
        if (!exists()) return true;
    }
    setRawText((folder + name).c_str());
    return false;
}

int32_t OrnPath::getStoredSize() const
{
    return buffer ? static_cast<int32_t>(std::strlen(buffer)) + 1 : kBlockSize;
}

int64_t OrnPath::getFileTime() const
{
    return isEmpty() || !ornFileSystem ? 0 : ornFileSystem->fileTime(this);
}

bool OrnPath::isNewerThan(const OrnPath& other) const
{
    return !isEmpty() && !other.isEmpty() && getFileTime() > other.getFileTime();
}

bool OrnPath::write(OrnFileStream* stream)
{
    if (!stream || !ensureBlock()) return false;
    const int32_t size = getStoredSize();
    return stream->writeRaw(buffer, size) == size;
}

bool OrnPath::read(OrnFileStream* stream)
{
    if (!stream) return false;
    const int64_t start = stream->tell();
    char block[kBlockSize + 1] = {};
    const int64_t got = stream->readRaw(block, kBlockSize);
    if (got <= 0) return false;
    setText(block);
    // Whatever follows the terminator belongs to the next reader.
    const int64_t used = std::min<int64_t>(int64_t(std::strlen(block)) + 1, got);
    stream->seek(start + used, 0);
    return true;
}

bool OrnPath::readFixed(OrnFileStream* stream)
{
    if (!stream) return false;
    char block[kBlockSize + 1] = {};
    const int64_t got = stream->readRaw(block, kBlockSize);
    if (got <= 0) return false;
    setText(block);
    return got == kBlockSize;
}

int32_t OrnPath::classify(const char* text) const
{
    if (!text) return kRelativeText;
    if (isShare(text) || hasDrive(text)) return kNativeText;
    if (text[0] == '/') return kRootedText;
    if (std::strstr(text, "://")) return kNativeText;
    // A file name with a three-letter extension.
    const std::size_t length = std::strlen(text);
    if (length >= 4 && length <= 35 && text[length - 4] == '.') return kNativeText;
    return kRelativeText;
}

bool OrnPath::makeLegalName(char* name)
{
    if (!name || !name[0]) return false;
    bool changed = false;
    for (char* c = name; *c == ' '; ++c)
    {
        *c = '_';
        changed = true;
    }
    for (char* c = name; *c; ++c)
    {
        // Signed on purpose: bytes from 128 up count as below 32 and go too, so that no
        // file system meets a byte sequence it can't take.
        if (static_cast<signed char>(*c) < 32 || std::strchr("/\\:*?\"><|'", *c))
        {
            *c = '_';
            changed = true;
        }
    }
    return changed;
}

OrnPath* OrnPath::getUserFolder(const char* name)
{
    if (!name || !name[0] || std::strlen(name) > 63) return nullptr;
    char folder[kBlockSize];
    if (!foundation::platform::userDataFolder(folder)) return nullptr;
    OrnPath* path = new OrnPath(folder);
    if (!path) return nullptr;
    if (path->isEmpty())
    {
        path->release();
        return nullptr;
    }
    path->descend("Tarnwick");
    path->descend(name);
    return path;
}
