#include "module/cpluginfactory.h"

#include <cstdlib>
#include <cstring>
#include <new>

CPluginFactory* CPluginFactory::instance = nullptr;

namespace
{
// Widens an 8-bit field character by character, ending with zero and zero-filled.
void widenField(char16_t* wide, size_t wideWidth, const char* narrow, size_t narrowWidth)
{
    size_t i = 0;
    for (; i + 1 < wideWidth && i < narrowWidth && narrow[i]; ++i)
        wide[i] = static_cast<char16_t>(static_cast<unsigned char>(narrow[i]));
    for (; i < wideWidth; ++i)
        wide[i] = 0;
}
} // namespace

void copyField(char* field, size_t width, const char* text)
{
    std::memset(field, 0, width);
    if (text) std::strncpy(field, text, width - 1);
}

CPluginFactory::CPluginFactory(const PFactoryRecord& record) : factoryRecord(record) {}

CPluginFactory::~CPluginFactory()
{
    if (instance == this) instance = nullptr;
    std::free(classes);
}

tresult CPluginFactory::queryInterface(const TUID iid, void** obj)
{
    if (FUnknown::iid.equals(iid) || IPluginFactory::iid.equals(iid) || IPluginFactory2::iid.equals(iid) ||
        IPluginFactory3::iid.equals(iid))
    {
        addRef();
        *obj = static_cast<IPluginFactory3*>(this);
        return kResultOk;
    }
    *obj = nullptr;
    return kNoInterface;
}

tresult CPluginFactory::getFactoryRecord(PFactoryRecord* record)
{
    if (record) std::memcpy(record, &factoryRecord, sizeof factoryRecord);
    return kResultOk;
}

int32_t CPluginFactory::getClassCount()
{
    return classCount;
}

// The narrow records of a class that was given only in wide form are cleared and refused.
template <class Record> tresult CPluginFactory::copyNarrowRecord(int32_t index, Record* record)
{
    if (!record || !validIndex(index)) return kInvalidArgument;
    if (classes[index].wideOnly)
    {
        std::memset(record, 0, sizeof *record);
        return kResultFalse;
    }
    std::memcpy(record, &classes[index].record, sizeof *record);
    return kResultOk;
}

tresult CPluginFactory::getClassRecord(int32_t index, PClassRecord* record)
{
    return copyNarrowRecord(index, record);
}

tresult CPluginFactory::getClassRecord2(int32_t index, PClassRecord2* record)
{
    return copyNarrowRecord(index, record);
}

tresult CPluginFactory::getClassRecordW(int32_t index, PClassRecordW* record)
{
    if (!record || !validIndex(index)) return kInvalidArgument;
    std::memcpy(record, &classes[index].wide, sizeof *record);
    return kResultOk;
}

tresult CPluginFactory::setFactoryContext(FUnknown*)
{
    return kResultOk;
}

tresult CPluginFactory::instantiate(const TUID classId, const TUID iid, void** obj)
{
    if (!obj) return kInvalidArgument;
    for (int32_t i = 0; i < classCount; ++i)
    {
        if (!classId || std::memcmp(classes[i].wide.classId, classId, 16) != 0) continue;
        FUnknown* object = classes[i].creator(classes[i].context);
        if (!object) break;
        const tresult result = object->queryInterface(iid, obj);
        // The creator's reference goes; what the caller holds is the one in `obj`, if any.
        object->release();
        if (result != kResultOk)
        {
            *obj = nullptr;
            return kNoInterface;
        }
        return kResultOk;
    }
    *obj = nullptr;
    return kNoInterface;
}

bool CPluginFactory::grow()
{
    if (classCount < classCapacity) return true;
    const int32_t capacity = classCapacity + 10;
    void* larger = std::realloc(classes, sizeof(ClassEntry) * static_cast<size_t>(capacity));
    if (!larger) return false;
    classes = static_cast<ClassEntry*>(larger);
    classCapacity = capacity;
    return true;
}

bool CPluginFactory::addClass(const PClassRecord* record, PClassCreator creator, void* context)
{
    if (!record || !creator) return false;
    PClassRecord2 full;
    std::memset(&full, 0, sizeof full);
    std::memcpy(&full, record, sizeof *record);
    return addClass2(&full, creator, context);
}

bool CPluginFactory::addClass2(const PClassRecord2* record, PClassCreator creator, void* context)
{
    if (!record || !creator || !grow()) return false;
    ClassEntry& entry = classes[classCount];
    std::memset(&entry, 0, sizeof entry);
    std::memcpy(&entry.record, record, sizeof *record);
    PClassRecordW& wide = entry.wide;
    std::memcpy(wide.classId, record->classId, 16);
    wide.cardinality = record->cardinality;
    std::memcpy(wide.category, record->category, sizeof wide.category);
    wide.classFlags = record->classFlags;
    std::memcpy(wide.subCategories, record->subCategories, sizeof wide.subCategories);
    widenField(wide.name, 64, record->name, sizeof record->name);
    widenField(wide.vendor, 64, record->vendor, sizeof record->vendor);
    widenField(wide.version, 64, record->version, sizeof record->version);
    widenField(wide.sdkVersion, 64, record->sdkVersion, sizeof record->sdkVersion);
    entry.creator = creator;
    entry.context = context;
    entry.wideOnly = false;
    ++classCount;
    return true;
}

bool CPluginFactory::addClassW(const PClassRecordW* record, PClassCreator creator, void* context)
{
    if (!record || !creator || !grow()) return false;
    ClassEntry& entry = classes[classCount];
    std::memset(&entry, 0, sizeof entry);
    std::memcpy(&entry.wide, record, sizeof *record);
    entry.creator = creator;
    entry.context = context;
    entry.wideOnly = true;
    ++classCount;
    return true;
}
