#pragma once

#include <cstdint>

// The 16 bytes of an identifier as they cross the module boundary: laid out like a Windows GUID
// in memory (first three groups least significant byte first, last eight bytes as they stand).
typedef uint8_t TUID[16];

// A 128-bit identifier of an interface or a class, as a value.
class FUID
{
public:
    FUID();
    // A copy of 16 bytes; null gives the empty identifier.
    explicit FUID(const uint8_t* bytes);
    FUID(const FUID& other);
    // Identifiers are written in code as four words: word 1 holds bytes 3..0, word 2 bytes
    // 5, 4, 7, 6, words 3 and 4 bytes 8..11 and 12..15, most significant first.
    FUID(uint32_t word1, uint32_t word2, uint32_t word3, uint32_t word4);
    virtual ~FUID();

    // A new identifier from the operating system; the object is unchanged on failure.
    bool generate();
    // False only for the identifier of all zeros, which means "none".
    bool isValid() const;

    FUID& operator=(const FUID& other);
    FUID& operator=(const uint8_t* bytes);
    bool operator==(const FUID& other) const { return compare(other) == 0; }
    bool operator!=(const FUID& other) const { return compare(other) != 0; }
    // True if the 16 bytes at `bytes` are this identifier.
    bool equals(const uint8_t* bytes) const;

    void copyTo(TUID out) const;
    const uint8_t* toTUID() const { return data; }
    operator const uint8_t*() const { return data; }

    uint32_t getWord1() const;
    uint32_t getWord2() const;
    uint32_t getWord3() const;
    uint32_t getWord4() const;

    // Orders identifiers without regard to meaning: -1, 0 or 1.
    int32_t compare(const FUID& other) const;

    // 32 upper-case hex digits; `out` holds at least 33 characters. Null does nothing.
    void toText(char* out) const;
    // Only the length is checked; lower-case digits are accepted.
    bool fromText(const char* text);
    // {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX}; `out` holds at least 39 characters.
    void toBracedText(char* out) const;
    bool fromBracedText(const char* text);

    // The four words as a line of source code. Style 0 INLINE_UID, 1 DECLARE_UID, 2 FUID,
    // anything else DECLARE_CLASS_IID. A null buffer sends the line to the debug output.
    void printAs(char* out, int32_t style) const;

    uint8_t data[16];
};
