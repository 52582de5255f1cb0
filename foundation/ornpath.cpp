#include "foundation/ornpath.h"

#include <cstring>

OrnPath::OrnPath() = default;

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
    if (!buffer)
    {
        buffer = new (std::nothrow) char[kBlockSize];
        if (!buffer) return;
    }
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

bool OrnPath::equalsText(const char* text) const
{
    return buffer && text && std::strcmp(buffer, text) == 0;
}

bool OrnPath::isEmpty() const
{
    return !buffer || buffer[0] == 0;
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

int32_t OrnPath::getStoredSize() const
{
    return buffer ? static_cast<int32_t>(std::strlen(buffer)) + 1 : kBlockSize;
}
