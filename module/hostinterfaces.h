#pragma once

// The host's side of the boundary: the interfaces that the host's objects answer and that the
// module calls. The host is closed; the operations below are the ones the module relies on, in
// table order, with no gaps: every interface declares exactly these operations after the three of
// FUnknown, in the order listed here, and a host (tremolin-host, the tests) implements the same
// layout. The order is fixed; never insert, remove or reorder an operation.
//
// Identifiers are given as the four words of the braced text form.

#include "foundation/funknown.h"

#include <cstddef>
#include <cstdint>

class IPlugController;

// A MIDI event object of the host. The module never looks inside; it only hands the pointer back
// to the track that made it.
struct HostMidiEvent;

// Filled by IHostMidiTrack::getGridInfo. The module reads one field: `origin`, the tick from which
// the host's grid at the asked position counts. The rest belongs to the host.
struct HostGridInfo
{
    int32_t hostFields[6];
    int32_t origin;
    int32_t moreHostFields[5];
};
static_assert(sizeof(HostGridInfo) == 48, "the grid record is 48 bytes");
static_assert(offsetof(HostGridInfo, origin) == 24, "origin lies at byte 24 of the grid record");

// Given to initialize; answers queryInterface for IHostPlugSite, IHostMidiTrack and
// IHostObjectFactory.
class IHostContext : public FUnknown
{
public:
    static inline const FUID iid{0x5B1E7D42, 0x3C7A4F0E, 0x9A6B2D81, 0xE44F0C37};
};

// Table: hostIdle.
class IHostPlugSite : public FUnknown
{
public:
    // Lets the host breathe during a long mouse loop of the editor.
    virtual tresult hostIdle() = 0;

    static inline const FUID iid{0xBA4A5357, 0x7FBD4845, 0xAC119E97, 0xFE77D756};
};

// Table: createEvent, releaseEvent, sendEvent, forwardEvent, setEventTime, eventStatus,
// eventData1, getChannel, getGridInfo.
class IHostMidiTrack : public FUnknown
{
public:
    // A new event; `length` is the note's duration in ticks (0 for a controller event).
    virtual HostMidiEvent* createEvent(uint8_t status, int32_t data1, int32_t data2, int32_t length) = 0;
    virtual tresult releaseEvent(HostMidiEvent* event) = 0;
    // Puts the event on the track's output at its time.
    virtual tresult sendEvent(HostMidiEvent* event) = 0;
    // Passes an incoming event on unchanged.
    virtual tresult forwardEvent(HostMidiEvent* event) = 0;
    virtual tresult setEventTime(HostMidiEvent* event, int32_t ticks) = 0;
    // The status byte without channel bits: 144 for a note-on.
    virtual int32_t eventStatus(HostMidiEvent* event) = 0;
    // The note number of a note event.
    virtual int32_t eventData1(HostMidiEvent* event) = 0;
    // The track's MIDI channel 0..15, negative for none.
    virtual int32_t getChannel() = 0;
    // Fills `info` for the grid at `tick`; its origin lies at or before `tick`.
    virtual tresult getGridInfo(int32_t tick, HostGridInfo* info) = 0;

    static inline const FUID iid{0xA2BBC853, 0x1E3548C3, 0xB6396F98, 0x521E9783};
};

// Table: createObject.
class IHostObjectFactory : public FUnknown
{
public:
    // A new counted object of the kind `id`; 0 on success, the caller owns one reference.
    virtual tresult createObject(const TUID id, void** obj) = 0;

    static inline const FUID iid{0xEEC89683, 0x80DB4336, 0x9177273E, 0x138A763B};
};

// Table: registerTemplate, unregisterTemplate.
class IHostTemplateRegistry : public FUnknown
{
public:
    // Takes the translation table; the bytes are valid during the call only.
    virtual tresult registerTemplate(const void* bytes, int32_t size, int32_t* handle) = 0;
    virtual tresult unregisterTemplate(int32_t handle) = 0;

    static inline const FUID iid{0xACA41C61, 0xEEA94EFE, 0x9C61A09F, 0xFC185D47};
};

// Table: writeInt, readInt, writeFloat, readFloat. Values outlast the process.
class IHostSettings : public FUnknown
{
public:
    virtual tresult writeInt(const char* section, const char* key, int32_t value) = 0;
    // True if the key is present; `value` is written only then.
    virtual bool readInt(const char* section, const char* key, int32_t* value) = 0;
    virtual tresult writeFloat(const char* section, const char* key, double value) = 0;
    virtual bool readFloat(const char* section, const char* key, double* value) = 0;

    static inline const FUID iid{0x14960B00, 0xA15411D5, 0xBECC00A0, 0xC9A636BC};
};

// Table: the four of IHostSettings, then writeString, readString.
class IHostStringSettings : public IHostSettings
{
public:
    virtual tresult writeString(const char* section, const char* key, const char16_t* text) = 0;
    // Copies at most `size` characters with the terminator; true if the key is present.
    virtual bool readString(const char* section, const char* key, char16_t* text, int32_t size) = 0;

    static inline const FUID iid{0x1464F3B4, 0x08D64A65, 0xAFB8066A, 0x898649A4};
};

// Table: loadTemplate, runTemplate.
class IHostTemplateDialog : public FUnknown
{
public:
    virtual tresult loadTemplate(const char* text) = 0;
    // Shows the named template modally over `controller`; 0 if the user accepted.
    virtual tresult runTemplate(const char* name, IPlugController* controller) = 0;

    static inline const FUID iid{0x83424C65, 0xEFD34800, 0xBD108C37, 0x0499F9D4};
};

// A value object of the host: one parameter, its control and its automation.
// Table: getDisplayText, getInt, setInt, getMaxInt, bindController, getKind, getTag, getString,
// assignString, assignInt, setMinInt, setMaxInt, getFloat, assignFloat, setMinFloat, setMaxFloat.
class IHostValue : public FUnknown
{
public:
    enum Kind : int32_t
    {
        kKindInt = 0,
        kKindList = 1,
        kKindFloat = 2,
        kKindString = 3,
        kKindNone = 4,
    };
    enum
    {
        kDisplayTextSize = 128
    };

    // The value as shown to the user, in a buffer of kDisplayTextSize characters.
    virtual tresult getDisplayText(char16_t* text) = 0;
    virtual int32_t getInt() = 0;
    // Stores the value; if that changes it, the bound listener hears valueChanged.
    virtual tresult setInt(int32_t value) = 0;
    virtual int32_t getMaxInt() = 0;
    virtual tresult bindController(IPlugController* listener, int32_t tag) = 0;
    virtual int32_t getKind() = 0;
    virtual int32_t getTag() = 0;
    // `length` in: the size of `text` in 16-bit characters, terminator included; out: the length
    // of the text. With a null buffer only the length is written.
    virtual tresult getString(char16_t* text, int32_t* length) = 0;
    virtual tresult assignString(const char16_t* text, int32_t flag) = 0;
    virtual tresult assignInt(int32_t value, int32_t flag) = 0;
    virtual tresult setMinInt(int32_t value) = 0;
    virtual tresult setMaxInt(int32_t value) = 0;
    virtual float getFloat() = 0;
    virtual tresult assignFloat(float value, int32_t flag) = 0;
    virtual tresult setMinFloat(float value) = 0;
    virtual tresult setMaxFloat(float value) = 0;
};

// The kinds of value object, each created through IHostObjectFactory by its identifier.
class IHostIntValue : public IHostValue
{
public:
    static inline const FUID iid{0x037B1E33, 0xF3644539, 0x92F209B8, 0x2602C80B};
};

class IHostBoolValue : public IHostValue
{
public:
    static inline const FUID iid{0xD2D767F5, 0xA3B74B44, 0x8A8A83FD, 0x04C1B489};
};

class IHostListValue : public IHostValue
{
public:
    static inline const FUID iid{0x5730772A, 0x32DA4950, 0xBD57EC7C, 0x821EDC4E};
};

// A MIDI controller number chosen from the host's own list of controllers.
class IHostControllerValue : public IHostValue
{
public:
    static inline const FUID iid{0xA356699B, 0x5FE84D5C, 0x81D981A2, 0xF75D66C2};
};

class IHostFloatValue : public IHostValue
{
public:
    static inline const FUID iid{0x6120B9B1, 0x7B6444D5, 0xA6FFFC83, 0xC0E7C1C7};
};

class IHostStringValue : public IHostValue
{
public:
    static inline const FUID iid{0x96512EB9, 0x2DE84960, 0xB2684A13, 0x1CF7C5F8};
};

// Queried from a value object. Table: setDefault, setFlag.
class IHostValueAutomation : public FUnknown
{
public:
    virtual tresult setDefault(float value) = 0;
    // `flag` is a single bit (1 or 16); `on` is 0 or 1.
    virtual tresult setFlag(int32_t flag, uint8_t on) = 0;

    static inline const FUID iid{0xF9EAE1EF, 0x63734416, 0x856041B3, 0x8BF8BB15};
};

// Queried from a list value. Table: setStrings, setStringAt.
class IHostValueStringList : public FUnknown
{
public:
    // A null-terminated array of texts that the caller keeps alive for the value's whole life.
    virtual tresult setStrings(const char16_t* const* strings) = 0;
    virtual tresult setStringAt(int32_t index, const char16_t* text) = 0;

    static inline const FUID iid{0xD96D547F, 0xA0C44C71, 0xB6293249, 0x0B911ACD};
};

// Queried from a float value. Table: setPrecision.
class IHostValueUnit : public FUnknown
{
public:
    // Digits shown behind the decimal point.
    virtual tresult setPrecision(int32_t digits) = 0;

    static inline const FUID iid{0x2E8D0B6C, 0x41F34A57, 0x8C1D6E20, 0x9B7A35F4};
};
