// Variant: a number, a text of either width or a counted object, with or without ownership.

#include "foundation/fstringdetail.h"

#include <cstring>

using namespace fstringdetail;

namespace
{
template <class C> C* duplicateText(const C* text)
{
    const uint32_t n = scanLength(text);
    auto* copy = static_cast<C*>(allocText(n, sizeof(C) == 2));
    if (!copy) return nullptr;
    std::memcpy(copy, text, n * sizeof(C));
    copy[n] = 0;
    return copy;
}
} // namespace

Variant::Variant(const char* text) : type(text ? kString8 : 0)
{
    payload.string8 = text;
}

Variant::Variant(const char16_t* text) : type(text ? kString16 : 0)
{
    payload.string16 = text;
}

Variant::Variant(FUnknown* object) : type(0)
{
    payload.intValue = 0;
    setObject(object, true);
}

Variant::Variant(const Variant& other) : type(0)
{
    payload.intValue = 0;
    const uint16_t kind = other.type & ~kOwner;
    if (kind & kString8)
    {
        if (char* copy = duplicateText(other.payload.string8)) takeString8(copy);
    }
    else if (kind & kString16)
    {
        if (char16_t* copy = duplicateText(other.payload.string16)) takeString16(copy);
    }
    else if (kind & kObject)
        setObject(other.payload.object, true);
    else
    {
        type = kind;
        payload = other.payload;
    }
}

Variant::Variant(Variant&& other) noexcept : type(other.type), payload(other.payload)
{
    other.type = 0;
    other.payload.intValue = 0;
}

Variant& Variant::operator=(const Variant& other)
{
    if (this != &other)
    {
        Variant copy(other);
        *this = std::move(copy);
    }
    return *this;
}

Variant& Variant::operator=(Variant&& other) noexcept
{
    if (this != &other)
    {
        clear();
        type = other.type;
        payload = other.payload;
        other.type = 0;
        other.payload.intValue = 0;
    }
    return *this;
}

Variant::~Variant()
{
    clear();
}

void Variant::clear()
{
    if (type & kOwner)
    {
        if (type & kString8)
            std::free(const_cast<char*>(payload.string8));
        else if (type & kString16)
            std::free(const_cast<char16_t*>(payload.string16));
        else if ((type & kObject) && payload.object)
            payload.object->release();
    }
    type = 0;
    payload.intValue = 0;
}

void Variant::setInt(int64_t value)
{
    clear();
    type = kInteger;
    payload.intValue = value;
}

void Variant::setFloat(double value)
{
    clear();
    type = kFloat;
    payload.floatValue = value;
}

void Variant::setString8(const char* text)
{
    clear();
    if (!text) return;
    type = kString8;
    payload.string8 = text;
}

void Variant::setString16(const char16_t* text)
{
    clear();
    if (!text) return;
    type = kString16;
    payload.string16 = text;
}

void Variant::setObject(FUnknown* object, bool addReference)
{
    clear();
    if (!object) return;
    if (addReference) object->addRef();
    type = kObject | kOwner;
    payload.object = object;
}

void Variant::takeString8(char* text)
{
    clear();
    if (!text) return;
    type = kString8 | kOwner;
    payload.string8 = text;
}

void Variant::takeString16(char16_t* text)
{
    clear();
    if (!text) return;
    type = kString16 | kOwner;
    payload.string16 = text;
}
