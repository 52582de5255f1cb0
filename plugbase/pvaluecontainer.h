#pragma once

// The module's list of parameters. The host owns every value object and its behaviour; the
// container asks the host's factory for them, configures and binds them to the effect's
// controller face, and finds them again by name, tag or index.

#include "foundation/fstring.h"
#include "foundation/tcontainer.h"
#include "module/hostinterfaces.h"

#include <cstdint>

class IPlugController;

// One row: the value object (the one reference the factory handed out) and a private copy of
// its name in 8-bit form.
struct PValueEntry
{
    PValueEntry(IHostValue* v, const char* n) : value(v), name(n, -1, true) {}

    IHostValue* value;
    String name;
};

class PValueList : public TLinkedList<PValueEntry*>
{
public:
    // Releases every value object and frees the entries.
    ~PValueList() override;
};

class PValueContainer
{
public:
    PValueContainer(IHostObjectFactory* factory, IPlugController* listener);
    virtual ~PValueContainer();
    PValueContainer(const PValueContainer&) = delete;
    PValueContainer& operator=(const PValueContainer&) = delete;

    // Replaces the factory; the container holds its own reference.
    void setHostContext(IHostObjectFactory* factory);

    // Each gives the new value object, or null when the host makes none (nothing is added then).
    IHostValue* addRangeValue(int32_t tag, const char* name, int32_t min, int32_t max, int32_t defaultValue,
                              bool flag1, bool flag16);
    IHostValue* addTriggerValue(int32_t tag, const char* name, bool initialState, bool flag1);
    IHostValue* addListValue(int32_t tag, const char* name, const char16_t* const* strings,
                             const char16_t* defaultText, bool flag1);
    IHostValue* addFloatValue(int32_t tag, const char* name, float min, float max, float defaultValue,
                              int32_t precision, bool flag1, bool flag16);
    IHostValue* addStringValue(int32_t tag, const char* name, const char16_t* text, bool flag1);
    // Adds a value object the caller made; its reference passes to the entry.
    void addHostValue(IHostValue* value, int32_t tag, const char* name);
    // Adds without binding it to the listener.
    void addUnboundValue(IHostValue* value, const char* name);

    // Lookups add no reference; the first match in order of adding wins.
    IHostValue* getValueByTag(int32_t tag) const;
    IHostValue* getValueByName(const char* name) const;
    IHostValue* getValueAt(int32_t index) const;
    int32_t getValueCount() const;
    // Copies the name with its terminator; false for an index outside the list.
    bool getValueName(int32_t index, char* name) const;

    // Carry all values to and from a settings section of the host. False without a settings
    // object (neither given nor made by the factory).
    bool storeValues(const char* section, IHostSettings* settings = nullptr);
    bool restoreValues(const char* section, int32_t flag, IHostSettings* settings = nullptr);

private:
    IHostValue* createValue(const FUID& kind);
    void append(IHostValue* value, const char* name);
    IHostSettings* settingsObject(IHostSettings* given);

    IHostObjectFactory* factory = nullptr;
    IPlugController* listener = nullptr;
    PValueList* list = nullptr;
};
