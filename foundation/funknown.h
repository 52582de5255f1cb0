#pragma once

// The root of every interface that crosses the module boundary, and the result codes.
// Interfaces are abstract classes without data and without a destructor; the order of their
// operations is their table layout and must never change.

#include "foundation/fuid.h"

#include <cstdint>

typedef int32_t tresult;

enum : int32_t
{
    kResultOk = 0,
    kResultFalse = 1,
    kInvalidArgument = static_cast<int32_t>(0x80070057u),
    kNoInterface = static_cast<int32_t>(0x80004002u),
    kInternalError = static_cast<int32_t>(0x8000FFFFu), // unexpected state
    kNotImplemented = static_cast<int32_t>(0x80004001u),
};

class FUnknown
{
public:
    // Gives a new reference to the face named by `iid` in `obj`, or writes null and gives
    // kNoInterface.
    virtual tresult queryInterface(const TUID iid, void** obj) = 0;
    // Both give the new reference count.
    virtual uint32_t addRef() = 0;
    virtual uint32_t release() = 0;

    static inline const FUID iid{0x00000000, 0x00000000, 0xC0000000, 0x00000046};
};

// The face `T` of an object as a new reference, or null when the object is null or has no such
// face.
template <class T> T* queryFace(FUnknown* object)
{
    void* out = nullptr;
    if (!object || object->queryInterface(T::iid, &out) != kResultOk) return nullptr;
    return static_cast<T*>(out);
}
