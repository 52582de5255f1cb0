#pragma once

// A file path as 8-bit (UTF-8) text in a fixed block of 1024 bytes. A path with text always has
// the whole block; an empty path has none. The path is counted: made with new, it goes at its
// last release; as a member of another object it lives and dies with that object.

#include "foundation/ornplugobject.h"

#include <cstdint>

class OrnPath : public OrnPlugObject
{
public:
    // The size of the block, terminator included; a text has at most 1023 characters.
    static constexpr int32_t kBlockSize = 1024;

    OrnPath();
    OrnPath(const OrnPath& other);
    OrnPath& operator=(const OrnPath& other);
    virtual ~OrnPath();

    // Stores the text as it stands; longer texts are cut to 1023 characters. Null frees the block.
    virtual void setRawText(const char* text);
    // Copies the text with its terminator into a buffer of at least 1024 bytes; an empty path
    // gives an empty text. Null does nothing.
    virtual void copyText(char* out) const;
    // The block, or null for a path that never had a text.
    virtual const char* getText() const;
    // Exact comparison; false if either side is null.
    virtual bool equalsText(const char* text) const;
    virtual bool isEmpty() const;
    virtual void addRef();
    // At 0 the object deletes itself; only for paths made with new.
    virtual void release();
    // The text as the operating system's file calls take it (UTF-8 on every platform).
    virtual void getNativeText(char* out) const;
    // As setRawText; true if a text was stored.
    virtual bool setNativeText(const char* text);
    // The bytes the text takes in a stream, terminator included; a full block for a path
    // without one.
    virtual int32_t getStoredSize() const;

    uint64_t getUserData() const { return userData; }
    void setUserData(uint64_t data) { userData = data; }
    int32_t getRefCount() const { return refCount; }

    // Equal texts; two empty paths are not equal.
    bool operator==(const OrnPath& other) const { return !isEmpty() && equalsText(other.getText()); }

private:
    char* buffer = nullptr;
    uint64_t userData = 0;
    int32_t refCount = 1;
};
