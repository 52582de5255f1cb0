#include "plugbase/pvaluecontainer.h"

#include "module/effectinterfaces.h"

#include <memory>
#include <new>
#include <vector>

namespace
{
// A queried interface that goes back at the end of the scope.
template <class T> struct Queried
{
    Queried(FUnknown* object)
    {
        void* out = nullptr;
        if (object && object->queryInterface(T::iid, &out) == kResultOk) face = static_cast<T*>(out);
    }
    ~Queried()
    {
        if (face) face->release();
    }
    Queried(const Queried&) = delete;
    Queried& operator=(const Queried&) = delete;
    T* operator->() const { return face; }
    explicit operator bool() const { return face != nullptr; }

    T* face = nullptr;
};

// Walks the list until `visit` says it has found what it wanted. The iterator lives on the stack:
// lookups run on the host's event thread (a note-on selects a pattern by its tag), where a call
// into the allocator may stall.
template <class Visit> PValueEntry* findEntry(const PValueList& list, Visit visit)
{
    TLinkedListIterator<PValueEntry*> it(const_cast<PValueList*>(&list));
    while (!it.isDone())
    {
        PValueEntry* entry = it.next();
        if (entry && entry->value && visit(*entry)) return entry;
    }
    return nullptr;
}

// Every entry, in order of adding.
template <class Visit> void forEachEntry(const PValueList& list, Visit visit)
{
    findEntry(list,
              [&visit](PValueEntry& entry)
              {
                  visit(entry.value, entry.name.text8());
                  return false;
              });
}
} // namespace

PValueList::~PValueList()
{
    std::unique_ptr<TIterator<PValueEntry*>> it(newIterator());
    while (it && !it->isDone())
    {
        PValueEntry* entry = it->next();
        if (entry)
        {
            if (entry->value) entry->value->release();
            delete entry;
        }
    }
    it.reset();
    removeAll();
}

PValueContainer::PValueContainer(IHostObjectFactory* f, IPlugController* l)
    : listener(l), list(new PValueList)
{
    setHostContext(f);
}

PValueContainer::~PValueContainer()
{
    delete list;
    if (factory) factory->release();
}

void PValueContainer::setHostContext(IHostObjectFactory* f)
{
    if (factory) factory->release();
    factory = f;
    if (factory) factory->addRef();
}

IHostValue* PValueContainer::createValue(const FUID& kind)
{
    if (!factory) return nullptr;
    void* out = nullptr;
    if (factory->createObject(kind, &out) != kResultOk || !out) return nullptr;
    return static_cast<IHostValue*>(out);
}

void PValueContainer::append(IHostValue* value, const char* name)
{
    list->add(new PValueEntry(value, name));
}

IHostValue* PValueContainer::addRangeValue(int32_t tag, const char* name, int32_t min, int32_t max,
                                           int32_t defaultValue, bool flag1, bool flag16)
{
    IHostValue* value = createValue(IHostIntValue::iid);
    if (!value) return nullptr;
    value->setMinInt(min);
    value->setMaxInt(max);
    value->assignInt(defaultValue, 0);
    Queried<IHostValueAutomation> automation(value);
    if (automation)
    {
        automation->setDefault(static_cast<float>(defaultValue));
        automation->setFlag(1, flag1);
        automation->setFlag(16, flag16);
    }
    if (listener) value->bindController(listener, tag);
    append(value, name);
    return value;
}

IHostValue* PValueContainer::addTriggerValue(int32_t tag, const char* name, bool initialState, bool flag1)
{
    IHostValue* value = createValue(IHostBoolValue::iid);
    if (!value) return nullptr;
    value->assignInt(initialState ? 1 : 0, 0);
    Queried<IHostValueAutomation> automation(value);
    if (automation)
    {
        automation->setDefault(initialState ? 1.0f : 0.0f);
        automation->setFlag(1, flag1);
    }
    if (listener) value->bindController(listener, tag);
    append(value, name);
    return value;
}

IHostValue* PValueContainer::addListValue(int32_t tag, const char* name, const char16_t* const* strings,
                                          const char16_t* defaultText, bool flag1)
{
    IHostValue* value = createValue(IHostListValue::iid);
    if (!value) return nullptr;
    if (strings)
    {
        Queried<IHostValueStringList> stringList(value);
        if (stringList) stringList->setStrings(strings);
    }
    if (defaultText)
        value->assignString(defaultText, 0);
    else if (strings && strings[0])
        value->assignString(strings[0], 0);
    if (listener) value->bindController(listener, tag);
    // A list value takes no default for automation.
    Queried<IHostValueAutomation> automation(value);
    if (automation) automation->setFlag(1, flag1);
    append(value, name);
    return value;
}

IHostValue* PValueContainer::addFloatValue(int32_t tag, const char* name, float min, float max,
                                           float defaultValue, int32_t precision, bool flag1, bool flag16)
{
    IHostValue* value = createValue(IHostFloatValue::iid);
    if (!value) return nullptr;
    value->setMinFloat(min);
    value->setMaxFloat(max);
    value->assignFloat(defaultValue, 0);
    if (precision >= 0)
    {
        Queried<IHostValueUnit> unit(value);
        if (unit) unit->setPrecision(precision);
    }
    Queried<IHostValueAutomation> automation(value);
    if (automation)
    {
        automation->setDefault(defaultValue);
        automation->setFlag(1, flag1);
        automation->setFlag(16, flag16);
    }
    if (listener) value->bindController(listener, tag);
    append(value, name);
    return value;
}

IHostValue* PValueContainer::addStringValue(int32_t tag, const char* name, const char16_t* text, bool flag1)
{
    IHostValue* value = createValue(IHostStringValue::iid);
    if (!value) return nullptr;
    if (text) value->assignString(text, 0);
    Queried<IHostValueAutomation> automation(value);
    if (automation) automation->setFlag(1, flag1);
    if (listener) value->bindController(listener, tag);
    append(value, name);
    return value;
}

void PValueContainer::addHostValue(IHostValue* value, int32_t tag, const char* name)
{
    if (!value || !name) return;
    if (listener) value->bindController(listener, tag);
    append(value, name);
}

void PValueContainer::addUnboundValue(IHostValue* value, const char* name)
{
    if (!value || !name) return;
    append(value, name);
}

IHostValue* PValueContainer::getValueByTag(int32_t tag) const
{
    PValueEntry* entry = findEntry(*list, [tag](PValueEntry& e) { return e.value->getTag() == tag; });
    return entry ? entry->value : nullptr;
}

IHostValue* PValueContainer::getValueByName(const char* name) const
{
    if (!name) return nullptr;
    // A view over the caller's text: the lookup may run on the event thread and must not
    // allocate.
    const ConstString wanted(name);
    PValueEntry* entry =
        findEntry(*list, [&wanted](PValueEntry& e) { return e.name.compare(wanted, 0) == 0; });
    return entry ? entry->value : nullptr;
}

IHostValue* PValueContainer::getValueAt(int32_t index) const
{
    PValueEntry* entry = list->at(index);
    return entry ? entry->value : nullptr;
}

int32_t PValueContainer::getValueCount() const
{
    return list->getCount();
}

bool PValueContainer::getValueName(int32_t index, char* name) const
{
    PValueEntry* entry = list->at(index);
    if (!entry || !name) return false;
    const char* text = entry->name.text8();
    size_t i = 0;
    do
        name[i] = text[i];
    while (text[i++] != 0);
    return true;
}

IHostSettings* PValueContainer::settingsObject(IHostSettings* given)
{
    if (given)
    {
        given->addRef();
        return given;
    }
    if (!factory) return nullptr;
    void* out = nullptr;
    if (factory->createObject(IHostSettings::iid, &out) != kResultOk || !out) return nullptr;
    return static_cast<IHostSettings*>(out);
}

bool PValueContainer::storeValues(const char* section, IHostSettings* given)
{
    IHostSettings* settings = settingsObject(given);
    if (!settings) return false;
    {
        Queried<IHostStringSettings> strings(settings);
        forEachEntry(*list,
                     [&](IHostValue* value, const char* key)
                     {
                         switch (value->getKind())
                         {
                         case IHostValue::kKindInt:
                         case IHostValue::kKindList:
                             settings->writeInt(section, key, value->getInt());
                             break;
                         case IHostValue::kKindFloat:
                             settings->writeFloat(section, key, value->getFloat());
                             break;
                         case IHostValue::kKindString:
                             if (strings)
                             {
                                 int32_t length = 0;
                                 value->getString(nullptr, &length);
                                 std::vector<char16_t> text(static_cast<size_t>(length < 1 ? 1 : length + 1),
                                                            0);
                                 // In: the buffer's size with room for the terminator; out: the length.
                                 int32_t size = static_cast<int32_t>(text.size());
                                 if (length >= 1) value->getString(text.data(), &size);
                                 text.back() = 0;
                                 strings->writeString(section, key, text.data());
                             }
                             break;
                         default:
                             break;
                         }
                     });
    }
    settings->release();
    return true;
}

bool PValueContainer::restoreValues(const char* section, int32_t flag, IHostSettings* given)
{
    IHostSettings* settings = settingsObject(given);
    if (!settings) return false;
    {
        Queried<IHostStringSettings> strings(settings);
        forEachEntry(*list,
                     [&](IHostValue* value, const char* key)
                     {
                         switch (value->getKind())
                         {
                         case IHostValue::kKindInt:
                         case IHostValue::kKindList:
                         {
                             int32_t stored = 0;
                             if (settings->readInt(section, key, &stored)) value->assignInt(stored, flag);
                             break;
                         }
                         case IHostValue::kKindFloat:
                         {
                             double stored = 0.0;
                             if (settings->readFloat(section, key, &stored))
                                 value->assignFloat(static_cast<float>(stored), flag);
                             break;
                         }
                         case IHostValue::kKindString:
                         {
                             char16_t text[1024] = {};
                             if (strings && strings->readString(section, key, text, 1024))
                                 value->assignString(text, flag);
                             break;
                         }
                         default:
                             break;
                         }
                     });
    }
    settings->release();
    return true;
}
