#pragma once

// The module's side of the boundary: the interfaces that the host calls on the effect object.
// Each declares its operations in table order behind those of its base; the order is the table
// layout the host calls through and must never change.

#include "module/hostinterfaces.h"

#include <cstddef>
#include <cstdint>

class IPlugView;

// The record of IMidiEffect::getCapabilities. Only `capabilities` is the module's to write.
struct PEffectCapabilities
{
    int32_t hostFields[2];
    int32_t capabilities;
    int32_t moreHostFields[5];
};
static_assert(offsetof(PEffectCapabilities, capabilities) == 8, "capabilities lie at byte 8");

// The rectangle the host offers an editor: left, top, right, bottom in pixels.
struct PViewRect
{
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
};
static_assert(sizeof(PViewRect) == 16, "a view rectangle is four 32-bit values");

// Table: initialize, terminate.
class IPluginBase : public FUnknown
{
public:
    virtual tresult initialize(IHostContext* context) = 0;
    virtual tresult terminate() = 0;
};

// Table: the two of IPluginBase, then getCapabilities, setMode, processEvent, processRange,
// reposition, restart, resume, suspend. Called on the host's event thread.
class IMidiEffect : public IPluginBase
{
public:
    virtual tresult getCapabilities(PEffectCapabilities* record) = 0;
    virtual tresult setMode(int32_t mode) = 0;
    // An incoming event of the track.
    virtual tresult processEvent(HostMidiEvent* event) = 0;
    // Play the ticks from `from` up to, not including, `to`.
    virtual tresult processRange(int32_t from, int32_t to) = 0;
    // The transport jumped, looped or restarted; the next range starts at `position`.
    virtual tresult reposition(int32_t position) = 0;
    virtual tresult restart(int32_t position) = 0;
    virtual tresult resume(int32_t position) = 0;
    virtual tresult suspend() = 0;

    static inline const FUID iid{0x573C8B06, 0x17BE488E, 0xB458400C, 0xD3EE099E};
};

// Table: findValue, valueChanged.
class IPlugController : public FUnknown
{
public:
    // The value of that name, or null in `value`; 0 when found, 1 when not.
    virtual tresult findValue(const char* name, IHostValue** value) = 0;
    // A value object bound to this controller changed; `tag` says which.
    virtual tresult valueChanged(IHostValue* value, int32_t tag) = 0;

    static inline const FUID iid{0x0466B781, 0xA08611D5, 0xBECC00A0, 0xC9A636BC};
};

// Table: the two of IPlugController, then getValueCount, getValueName, getValueAt.
class IGenericPlugController : public IPlugController
{
public:
    virtual int32_t getValueCount() = 0;
    // Copies the name with its terminator into `name`; 0 when the index exists, 1 when not.
    virtual tresult getValueName(int32_t index, char* name) = 0;
    virtual tresult getValueAt(int32_t index, IHostValue** value) = 0;

    static inline const FUID iid{0x0466B782, 0xA08611D5, 0xBECC00A0, 0xC9A636BC};
};

// Table: getController, getTemplate.
class IUIFactory : public FUnknown
{
public:
    virtual tresult getController(int32_t reserved, IPlugController** controller) = 0;
    // The panel template `name`: with a null `buffer` only `size` is written.
    virtual tresult getTemplate(const char* name, char* outName, char* buffer, int32_t* size) = 0;

    static inline const FUID iid{0x0466B783, 0xA08611D5, 0xBECC00A0, 0xC9A636BC};
};

// Table: the two of IUIFactory, then getResource.
class IUIFactory2 : public IUIFactory
{
public:
    // The resource whose number is written in `text`: with a null `buffer` only `size`.
    virtual tresult getResource(const char* text, void* buffer, int32_t* size) = 0;

    static inline const FUID iid{0x4B99140E, 0x67E44D4C, 0xA93F8F4F, 0xCEE79F70};
};

// Table: createView.
class IViewBuilder : public FUnknown
{
public:
    // A new view for the named place of the panel; the host owns it by reference count.
    virtual tresult createView(const char* name, const PViewRect* rect, IPlugView** view) = 0;

    static inline const FUID iid{0x53D29FE8, 0xED00400B, 0x9E6D4DD8, 0x0444B116};
};

// Table: getClassId, setChunk, getChunk.
class IPersistentChunk : public FUnknown
{
public:
    virtual tresult getClassId(uint8_t* classId) = 0;
    // 0 when the chunk was taken, 1 when it was refused and nothing changed.
    virtual tresult setChunk(const void* data, int32_t size) = 0;
    // With null `data` only the size is written.
    virtual tresult getChunk(void* data, int32_t* size) = 0;

    static inline const FUID iid{0x7041A824, 0xFC9A488A, 0x8F07DAC0, 0x5061E933};
};
