// The URL side of paths: the protocol, host and remote path of a text that holds "://", and the
// URL class with its percent-coding and file URLs.

#include "foundation/ornpath.h"

#include "foundation/platform/path.h"

#include <cstdio>
#include <cstring>
#include <string>

namespace
{
constexpr std::size_t kBlock = OrnPath::kBlockSize;

void copyOut(char* out, const char* from, std::size_t length)
{
    if (length > kBlock - 1) length = kBlock - 1;
    std::memmove(out, from, length);
    out[length] = 0;
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// Characters that stand in a URL path as they are: the unreserved ones, the sub-delimiters,
// ":" and "@" (so C: stays readable), and the "/" between segments.
bool staysPlain(unsigned char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::strchr("-._~!$&'()*+,;=:@/", c) != nullptr;
}

bool equalsIgnoringCase(const char* a, const char* b)
{
    for (; *a && *b; ++a, ++b)
    {
        const char x = *a >= 'A' && *a <= 'Z' ? char(*a + 32) : *a;
        const char y = *b >= 'A' && *b <= 'Z' ? char(*b + 32) : *b;
        if (x != y) return false;
    }
    return *a == *b;
}

// The host's "/" of a URL text, or null.
const char* hostEnd(const char* text)
{
    const char* marker = text ? std::strstr(text, "://") : nullptr;
    return marker ? std::strchr(marker + 3, '/') : nullptr;
}
} // namespace

// ---------------------------------------------------------------------------------------------
// The URL operations every path has

bool OrnPath::isUrl() const
{
    return buffer && std::strstr(buffer, "://");
}

bool OrnPath::getProtocol(char* out) const
{
    if (!out) return false;
    out[0] = 0;
    const char* marker = buffer ? std::strstr(buffer, "://") : nullptr;
    if (!marker || marker == buffer) return false;
    copyOut(out, buffer, std::size_t(marker - buffer));
    return true;
}

bool OrnPath::getHost(char* out) const
{
    if (!out) return false;
    out[0] = 0;
    const char* end = hostEnd(buffer);
    if (!end) return false;
    const char* start = std::strstr(buffer, "://") + 3;
    copyOut(out, start, std::size_t(end - start));
    return true;
}

bool OrnPath::setHost(const char* host)
{
    char protocol[kBlock];
    char remote[kBlock];
    if (!host || !getProtocol(protocol) || !getRemotePath(remote)) return false;
    std::string text = std::string(protocol) + "://" + host + "/" + remote;
    return setNativeText(text.c_str());
}

bool OrnPath::getRemotePath(char* out) const
{
    if (!out) return false;
    out[0] = 0;
    const char* end = hostEnd(buffer);
    if (!end || !end[1]) return false;
    copyOut(out, end + 1, std::strlen(end + 1));
    return true;
}

// ---------------------------------------------------------------------------------------------
// OrnUrl

OrnUrl::OrnUrl(const char* text)
{
    if (text) setNativeText(text);
}

bool OrnUrl::isUrl() const
{
    return true;
}

bool OrnUrl::decodePercent(const char* text, char* out)
{
    if (!out) return false;
    out[0] = 0;
    if (!text) return false;
    std::size_t length = 0;
    for (const char* c = text; *c; ++c)
    {
        if (length == kBlock - 1) break;
        char byte = *c;
        if (byte == '%')
        {
            const int high = hexValue(c[1]);
            const int low = high < 0 ? -1 : hexValue(c[2]);
            // A zero byte would end the text early: a name that says one thing to a check
            // and another to the file system.
            if (low < 0 || (high == 0 && low == 0))
            {
                out[length] = 0;
                return false;
            }
            byte = char(high * 16 + low);
            c += 2;
        }
        out[length++] = byte;
    }
    out[length] = 0;
    return true;
}

void OrnUrl::encodePercent(const char* text, char* out)
{
    if (!out) return;
    std::size_t length = 0;
    for (const char* c = text; c && *c; ++c)
    {
        const unsigned char byte = static_cast<unsigned char>(*c);
        if (staysPlain(byte))
        {
            if (length + 1 > kBlock - 1) break;
            out[length++] = char(byte);
        }
        else
        {
            if (length + 3 > kBlock - 1) break;
            std::snprintf(out + length, 4, "%%%02X", unsigned(byte));
            length += 3;
        }
    }
    out[length] = 0;
}

bool OrnUrl::getDecodedHost(char* out) const
{
    char raw[kBlock];
    if (!getHost(raw)) return false;
    return decodePercent(raw, out);
}

bool OrnUrl::getDecodedPath(char* out) const
{
    char raw[kBlock];
    if (!getRemotePath(raw)) return false;
    return decodePercent(raw, out);
}

bool OrnUrl::toPath(OrnPath& path) const
{
    char protocol[kBlock];
    char host[kBlock];
    char raw[kBlock];
    if (!getProtocol(protocol) || !equalsIgnoringCase(protocol, "file") || !getDecodedHost(host))
        return false;
    getRemotePath(raw);
    raw[std::strcspn(raw, "?#")] = 0;
    char remote[kBlock];
    if (!decodePercent(raw, remote)) return false;
    const bool local = !host[0] || equalsIgnoringCase(host, "localhost");
    std::string text;
    if (foundation::platform::windowsPaths())
    {
        if (local && std::strlen(remote) >= 2 && remote[1] == ':')
            text = remote;
        else if (local)
            text = std::string("/") + remote; // on the system drive, by setText
        else
            text = std::string("\\\\") + host + "\\" + remote;
        // A rooted text keeps its slashes: setText gives it the drive and turns them.
        if (text[0] != '/')
            for (char& c : text)
                if (c == '/') c = '\\';
    }
    else
    {
        // Another machine's files are not reachable by a POSIX path.
        if (!local) return false;
        text = std::string("/") + remote;
    }
    path.setText(text.c_str());
    return !path.isEmpty();
}

bool OrnUrl::setPath(const OrnPath& path)
{
    const char* text = path.getText();
    if (!text || !text[0]) return false;
    std::string url;
    char encoded[kBlock];
    if (foundation::platform::windowsPaths())
    {
        std::string slashed(text);
        for (char& c : slashed)
            if (c == '\\') c = '/';
        if (slashed.size() >= 2 && slashed[1] == ':')
        {
            encodePercent(slashed.c_str(), encoded);
            url = std::string("file:///") + encoded;
        }
        else if (slashed.rfind("//", 0) == 0)
        {
            encodePercent(slashed.c_str() + 2, encoded);
            url = std::string("file://") + encoded;
        }
        else
            return false;
    }
    else
    {
        if (text[0] != '/') return false;
        encodePercent(text, encoded);
        url = std::string("file://") + encoded;
    }
    return setNativeText(url.c_str());
}
