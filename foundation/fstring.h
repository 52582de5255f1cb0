#pragma once

// Text of either width in one object. A ConstString is a view of characters that live
// elsewhere; a String owns its characters. Both know whether they hold 8-bit text (in the
// default code page, which is UTF-8 on every platform we build for) or 16-bit UTF-16 text, and
// every operation accepts the other width as well, converting when it must.
//
// Heap text handed in or out of this layer (takeBuffer, detach, Variant's owned text) is
// allocated with std::malloc and freed with std::free, so that a failed allocation can leave an
// object as it was instead of throwing.

#include "foundation/funknown.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <map>

#if defined(__MINGW32__)
#define TREMOLIN_PRINTF_FORMAT(fmt, args) __attribute__((format(__MINGW_PRINTF_FORMAT, fmt, args)))
#elif defined(__GNUC__)
#define TREMOLIN_PRINTF_FORMAT(fmt, args) __attribute__((format(printf, fmt, args)))
#else
#define TREMOLIN_PRINTF_FORMAT(fmt, args)
#endif

class String;

// Hands a text to an object that wants one, for instance a host's string holder.
class IStringResult : public FUnknown
{
public:
    // kResultOk if the object took the text.
    virtual tresult setText(const char16_t* text) = 0;

    static inline const FUID iid{0xF99DB7A3, 0x0FC14821, 0x800B0CF9, 0x8E348EDF};
};

// A small tagged value: a number, a text of either width, or a counted object. With kOwner the
// variant frees its text or releases its object when cleared.
class Variant
{
public:
    enum : uint16_t
    {
        kInteger = 1,
        kFloat = 2,
        kString8 = 4,
        kObject = 8,
        kOwner = 16,
        kString16 = 32,
    };

    Variant() : type(0) { payload.intValue = 0; }
    explicit Variant(int64_t value) : type(kInteger) { payload.intValue = value; }
    explicit Variant(double value) : type(kFloat) { payload.floatValue = value; }
    // Text variants made from a pointer refer to it without owning it.
    explicit Variant(const char* text);
    explicit Variant(const char16_t* text);
    // Takes a reference to the object of its own.
    explicit Variant(FUnknown* object);
    // A copy owns what it holds: text is duplicated, an object gets a reference more. If the
    // duplicate cannot be made the copy stays empty.
    Variant(const Variant& other);
    Variant(Variant&& other) noexcept;
    Variant& operator=(const Variant& other);
    Variant& operator=(Variant&& other) noexcept;
    ~Variant();

    // Frees owned text, releases an owned object, and leaves flags and payload 0.
    void clear();

    void setInt(int64_t value);
    void setFloat(double value);
    void setString8(const char* text);
    void setString16(const char16_t* text);
    // With `addReference` false the variant takes over a reference the caller holds.
    void setObject(FUnknown* object, bool addReference = true);
    // Takes ownership of heap text; null clears.
    void takeString8(char* text);
    void takeString16(char16_t* text);

    uint16_t getType() const { return type; }
    bool isEmpty() const { return (type & ~kOwner) == 0; }
    bool isInt() const { return (type & kInteger) != 0; }
    bool isFloat() const { return (type & kFloat) != 0; }
    bool isString8() const { return (type & kString8) != 0; }
    bool isString16() const { return (type & kString16) != 0; }
    bool isString() const { return (type & (kString8 | kString16)) != 0; }
    bool isObject() const { return (type & kObject) != 0; }
    bool isOwner() const { return (type & kOwner) != 0; }

    // Each gives 0 or null when the variant holds something else.
    int64_t getInt() const { return isInt() ? payload.intValue : 0; }
    double getFloat() const { return isFloat() ? payload.floatValue : 0.0; }
    const char* getString8() const { return isString8() ? payload.string8 : nullptr; }
    const char16_t* getString16() const { return isString16() ? payload.string16 : nullptr; }
    FUnknown* getObject() const { return isObject() ? payload.object : nullptr; }

private:
    uint16_t type;
    union
    {
        int64_t intValue;
        double floatValue;
        const char* string8;
        const char16_t* string16;
        FUnknown* object;
    } payload;
};

// A store of variants by key, for loading and storing a string under a name.
class IAttributes
{
public:
    // Both give kResultOk when the value was found or kept.
    virtual tresult getAttribute(const char* key, Variant& value) = 0;
    virtual tresult setAttribute(const char* key, const Variant& value) = 0;
};

class ConstString
{
public:
    // The longest text an object can hold; the count shares a word with the width flag.
    static constexpr uint32_t kMaxLength = 0x3FFFFFFF;

    // Modes of the comparing and finding operations: 0 compares characters as they are, any
    // other mode ignores case.
    enum : int32_t
    {
        kCaseSensitive = 0,
        kCaseInsensitive = 1,
    };

    ConstString() : buffer(nullptr), length(0), isWide(0) {}
    ConstString(const char* text);
    ConstString(const char16_t* text);
    // A view that starts `start` characters further into `other`; a start below 1 is ignored
    // and one beyond the end gives an empty view at the end.
    ConstString(const ConstString& other, int32_t start);
    // A view of a variant's text; any other variant gives an empty view.
    explicit ConstString(const Variant& value);
    ConstString(const ConstString& other) = default;
    ConstString& operator=(const ConstString& other) = default;
    virtual ~ConstString() {}

    virtual uint32_t getLength() const { return length; }
    // Never null: a text of the other width, or none, gives a constant empty text.
    virtual const char* text8() const;
    virtual const char16_t* text16() const;
    // The text in the width the platform's interfaces use.
    virtual const char16_t* text() const { return text16(); }
    virtual const void* ptr() const { return buffer; }
    // 0 for an index outside the text or a text of the other width.
    virtual char getChar8(uint32_t index) const;
    virtual char16_t getChar16(uint32_t index) const;

    // Comparing: -1, 0 or 1. A null or empty text counts as empty. A count of -1 means all.
    int32_t compare(const ConstString& other, int32_t mode = kCaseSensitive) const;
    int32_t compareLimited(const ConstString& other, int32_t count, int32_t mode = kCaseSensitive) const;
    // Compares from `index` of this text on; an index at or beyond the end gives -1.
    int32_t compareAt(uint32_t index, const ConstString& other, int32_t count = -1,
                      int32_t mode = kCaseSensitive) const;
    // Runs of digits compare by their value, so that "a2" comes before "a10".
    int32_t compareNatural(const ConstString& other, int32_t mode = kCaseSensitive) const;
    bool startsWith(const ConstString& other, int32_t mode = kCaseSensitive) const;
    bool endsWith(const ConstString& other, int32_t mode = kCaseSensitive) const;
    bool contains(const ConstString& other, int32_t mode = kCaseSensitive) const;
    // Index of the first character in which the texts differ, -1 if they are equal.
    int32_t firstDifference(const ConstString& other, int32_t mode = kCaseSensitive) const;

    // Finding: an index or -1. Indices count characters of this object.
    // `count` limits how much of `other` must match; an `end` of 0 or more is the last index at
    // which a match may begin.
    int32_t find(int32_t start, const ConstString& other, int32_t count = -1, int32_t mode = kCaseSensitive,
                 int32_t end = -1) const;
    // Walks back from `start`; a start outside the text means its last character.
    int32_t findLast(int32_t start, const ConstString& other, int32_t count = -1,
                     int32_t mode = kCaseSensitive) const;
    int32_t findChar(int32_t start, char c, int32_t mode = kCaseSensitive, int32_t end = -1) const;
    int32_t findChar(int32_t start, char16_t c, int32_t mode = kCaseSensitive, int32_t end = -1) const;
    int32_t findCharLast(int32_t start, char c, int32_t mode = kCaseSensitive) const;
    int32_t findCharLast(int32_t start, char16_t c, int32_t mode = kCaseSensitive) const;
    int32_t countChar(char c, int32_t start = 0, int32_t mode = kCaseSensitive) const;
    int32_t countChar(char16_t c, int32_t start = 0, int32_t mode = kCaseSensitive) const;

    // Testing.
    bool isEmpty() const { return buffer == nullptr || length == 0; }
    bool isWideString() const { return isWide != 0; }
    bool isAscii() const;
    bool isDigitAt(uint32_t index) const;
    // The character is taken in this object's width; character 0 matches anywhere behind the end.
    bool isCharAt(uint32_t index, char c) const;
    bool isCharAt(uint32_t index, char16_t c) const;

    // Character classes. The 8-bit forms are those of the "C" locale. The 16-bit forms know the
    // letters of the Latin, Greek, Cyrillic, Hebrew and Arabic alphabets and of the common East
    // Asian scripts, take only ASCII digits as digits, and count as space only the Unicode space
    // separators (no tabs or line ends).
    static bool isSpace(char c);
    static bool isSpace(char16_t c);
    static bool isAlpha(char c);
    static bool isAlpha(char16_t c);
    static bool isAlnum(char c);
    static bool isAlnum(char16_t c);
    static bool isDigit(char c);
    static bool isDigit(char16_t c);
    static bool isAsciiChar(char c);
    static bool isAsciiChar(char16_t c);
    static bool isUpper(char c);
    static bool isUpper(char16_t c);
    static bool isLower(char c);
    static bool isLower(char16_t c);

    // Scanning numbers from `offset` on. When the text there holds no number and `scanOn` is
    // set, the scan moves on one character at a time until the text ends.
    bool scanInt32(int32_t& value, uint32_t offset = 0, bool scanOn = true) const;
    bool scanUInt32(uint32_t& value, uint32_t offset = 0, bool scanOn = true) const;
    // Takes "," as a decimal point as well as ".".
    bool scanFloat(double& value, uint32_t offset = 0, bool scanOn = true) const;
    static bool scanInt64(const char* text, int64_t& value, bool scanOn = true);
    static bool scanInt64(const char16_t* text, int64_t& value, bool scanOn = true);
    static bool scanUInt64(const char* text, uint64_t& value, bool scanOn = true);
    static bool scanUInt64(const char16_t* text, uint64_t& value, bool scanOn = true);
    // Reads hex digits and keeps the low 8 bits.
    static bool scanHex(const char* text, uint8_t& value, bool scanOn = true);
    static bool scanHex(const char16_t* text, uint8_t& value, bool scanOn = true);

    // Index at which the digits at the end of the text begin, -1 if it doesn't end in a digit. A
    // width other than 0 asks for exactly that many digits.
    int32_t getTrailingNumberIndex(uint32_t width = 0) const;
    int64_t getTrailingNumber(int64_t fallback) const;

    // h = (c + 64 h) mod modulus over the characters, from 0; 8-bit characters count as signed.
    // A modulus of 0 gives 0.
    static uint32_t hash(const char* text, uint32_t modulus);
    static uint32_t hash(const char16_t* text, uint32_t modulus);

    // Terminated copies; the result is the number of characters written. A negative count or
    // one beyond the end means up to the end. copyTo8 of a wide text converts it, so its buffer
    // needs room for three bytes per character.
    int32_t copyTo8(char* out, uint32_t start = 0, int32_t count = -1) const;
    int32_t copyTo16(char16_t* out, uint32_t start = 0, int32_t count = -1) const;
    // The same range into a String of this width; false for a start outside the text.
    bool extract(String& out, uint32_t start, int32_t count = -1) const;
    // A length byte (at most 255), the characters in 8-bit form and a zero: up to 257 bytes.
    void toPascalString(uint8_t* out) const;
    // A variant that refers to this text without owning it.
    Variant toVariant() const;

protected:
    const char* buffer8() const { return static_cast<const char*>(buffer); }
    const char16_t* buffer16() const { return static_cast<const char16_t*>(buffer); }

    // Reading a String in the other width converts it in place, so even a const String may
    // change its representation: these are mutable for that reason alone.
    mutable void* buffer;
    mutable uint32_t length : 30;
    mutable uint32_t isWide : 1;
};

class String : public ConstString
{
public:
    // An empty 16-bit string.
    String();
    // Arguments as for assign: `length` limits a terminated text, or is the exact count of an
    // unterminated one.
    explicit String(const char* text, int32_t count = -1, bool terminated = true);
    explicit String(const char16_t* text, int32_t count = -1, bool terminated = true);
    explicit String(const Variant& value);
    explicit String(const ConstString& other, int32_t count = -1);
    String(const String& other);
    String(String&& other) noexcept;
    String& operator=(const String& other);
    String& operator=(String&& other) noexcept;
    ~String() override;

    uint32_t getLength() const override { return length; }
    // These convert the object to the asked width first; see ConstString.
    const char* text8() const override;
    const char16_t* text16() const override;
    const char16_t* text() const override { return text16(); }
    const void* ptr() const override { return buffer; }
    char getChar8(uint32_t index) const override;
    char16_t getChar16(uint32_t index) const override;

    // Assigning. A terminated text is scanned and `count` (if 0 or more) limits it; an
    // unterminated one takes `count` as its exact length, and a negative count does nothing.
    // The object takes the width of the argument.
    String& assign(const char* text, int32_t count = -1, bool terminated = true);
    String& assign(const char16_t* text, int32_t count = -1, bool terminated = true);
    String& assign(const ConstString& other, int32_t count = -1);
    String& assignChars(char c, uint32_t count);
    String& assignChars(char16_t c, uint32_t count);
    // UTF-8 text, kept in 16-bit form; false if it isn't valid UTF-8 (the text then stays 8-bit).
    bool assignUtf8(const char* text);
    // Text as it is, numbers printed; anything else empties the string and gives false.
    bool assignVariant(const Variant& value);
    String& fromPascalString(const uint8_t* text);
    // Takes ownership of a terminated heap text.
    void takeBuffer(void* heapText, bool wide);

    // Moving.
    void swap(String& other);
    // Moves the other's text here and leaves the other empty.
    void take(String& other);
    // Gives the heap text to the caller, who frees it; the object is left empty.
    void* detach();
    // The variant becomes the owner of the text; an empty string gives a constant empty text.
    void detachToVariant(Variant& value);

    // Changing. 16-bit text makes an 8-bit object wide; 8-bit text is converted for a wide one.
    // An empty object takes the width of what is added. A count of -1 means all of the text.
    String& append(const ConstString& text, int32_t count = -1);
    String& appendChar(char c, uint32_t count = 1);
    String& appendChar(char16_t c, uint32_t count = 1);
    // An index beyond the end does nothing.
    String& insert(uint32_t index, const ConstString& text, int32_t count = -1);
    // A negative count, or one beyond the end, replaces up to the end; a count of 0 or a null
    // text does nothing.
    String& replace(uint32_t index, int32_t count, const ConstString& text, int32_t textCount = -1);
    String& remove(uint32_t index, int32_t count = -1);
    // Sets the buffer to `newLength` characters of the given width and terminates it there.
    // The recorded length stays as it was (cut to the new size if that is smaller), so that a
    // caller can fill the buffer through ptr and then call updateLength. Characters the buffer
    // gains are blanks with `fill`, zeros without; a change of width drops the old characters.
    bool resize(uint32_t newLength, bool wide, bool fill = false);
    // Takes the length from the terminator in the buffer.
    void updateLength();
    // Gives the number of replacements.
    int32_t replaceText(const ConstString& from, const ConstString& to, bool all = true);
    int32_t removeText(const ConstString& text);
    // Every character of `set` becomes `replacement`, or a blank if that is 0.
    bool replaceChars(const ConstString& set, char16_t replacement);
    bool removeChars(const ConstString& set);
    // An index at or beyond the end extends the text by blanks; character 0 cuts it there.
    bool setCharAt(uint32_t index, char c);
    bool setCharAt(uint32_t index, char16_t c);

    enum : int32_t
    {
        kGroupSpace = 0,
        kGroupNotAlnum = 1,
        kGroupNotAlpha = 2,
    };
    // `trim` takes the characters of the group off both ends, `removeGroup` everywhere.
    bool trim(int32_t group = kGroupSpace);
    bool removeGroup(int32_t group = kGroupSpace);

    // Case: the whole text, or the one character at an index.
    String& toLower();
    String& toLower(uint32_t index);
    String& toUpper();
    String& toUpper(uint32_t index);

    // Width. Code page 0 is the default (UTF-8), 65001 UTF-8, 1252 Windows Western, 28591
    // Latin-1, 20127 US-ASCII. A failure, or an unknown code page, leaves the text as it was.
    bool toWide(uint32_t codePage = 0);
    bool toMultiByte(uint32_t codePage = 0);
    // Composes base letters and combining marks into precomposed characters; 16-bit only.
    bool normalize();
    bool isNormalized() const;

    // Formats into a buffer of 4096 characters; what doesn't fit is cut. The object takes the
    // width of the format. In the 16-bit form %s and %ls take 16-bit text, %hs and %S 8-bit text;
    // %c takes a 16-bit character and %hc an 8-bit one.
    bool printf(const char* format, ...) TREMOLIN_PRINTF_FORMAT(2, 3);
    bool printf(const char16_t* format, ...);
    bool vprintf(const char* format, va_list args) TREMOLIN_PRINTF_FORMAT(2, 0);
    bool vprintf(const char16_t* format, va_list args);
    // Both keep the object's width.
    bool printInt64(int64_t value);
    // Six places, then trailing zeros go, leaving at least one digit behind the point.
    bool printFloat(double value);

    // Makes numbered names: "Name" becomes "Name 01", "Name 01" becomes "Name 02". The number
    // is raised to `minimum`; with `applyOnly` an existing number is kept as it is.
    bool incrementTrailingNumber(uint32_t width = 2, char16_t separator = u' ', int32_t minimum = 0,
                                 bool applyOnly = false);

    // Exchange with objects.
    bool loadAttribute(IAttributes* object, const char* key);
    bool storeAttribute(IAttributes* object, const char* key);
    // Hands the 16-bit text to the object's IStringResult face; true if it took it.
    bool toStringObject(FUnknown* object);

private:
    // Replaces the buffer by a heap text of `newLength` characters and frees the old one.
    void install(void* heapText, uint32_t newLength, bool wide) const;
    bool convertToWide(uint32_t codePage) const;
    bool convertToMultiByte(uint32_t codePage) const;
    // Replaces `removeCount` characters at `index` by `count` characters of this width.
    bool splice(uint32_t index, uint32_t removeCount, const void* chars, uint32_t count);
    // The same with a text of either width, which may make this object wide.
    bool spliceText(uint32_t index, uint32_t removeCount, const ConstString& text, int32_t textCount);
    // An empty object takes the given width; an 8-bit one becomes wide for 16-bit text.
    bool prepareFor(bool wideArgument);
    bool setUnitAt(uint32_t index, uint32_t unit);
    bool changeCase(bool upper, int64_t onlyIndex);
    bool keepCharacters(const ConstString* set, int32_t group, int32_t replacement, bool trimOnly);
    // Replaces the content by ASCII digits, keeping the object's width.
    bool assignNumberText(const char* digits);
};

// Widened copies of 8-bit literals that live until the module is unloaded, so that 16-bit
// labels handed to the host stay valid. Copies are kept by the address of the literal. The table
// isn't locked: it is meant to be filled while the module loads, on one thread.
class LiteralTable
{
public:
    static LiteralTable& instance();

    // Each byte is taken as a signed 8-bit number. Null gives null.
    static const char16_t* widen(const char* literal);
    // The 16-bit form of a character that number scanning and printing look for.
    static char16_t widenChar(char c);

    LiteralTable(const LiteralTable&) = delete;
    LiteralTable& operator=(const LiteralTable&) = delete;

private:
    LiteralTable() = default;
    ~LiteralTable();

    std::map<const char*, char16_t*> texts;
    std::map<char, char16_t> chars;
};

inline const char16_t* widen(const char* literal)
{
    return LiteralTable::widen(literal);
}
