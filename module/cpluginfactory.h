#pragma once

// The class factory handed to the host: the factory record, the class entries with their
// records in both widths, and the creators.

#include "foundation/frefcounted.h"
#include "module/pluginfactory.h"

#include <atomic>
#include <cstdint>

// Makes a new object of a class; gives null when it cannot.
typedef FUnknown* (*PClassCreator)(void* context);

class CPluginFactory : public IPluginFactory3, public FRefCounted<CPluginFactory>
{
public:
    explicit CPluginFactory(const PFactoryRecord& record);
    virtual ~CPluginFactory();
    CPluginFactory(const CPluginFactory&) = delete;
    CPluginFactory& operator=(const CPluginFactory&) = delete;

    tresult queryInterface(const TUID iid, void** obj) override;
    uint32_t addRef() override { return retain(); }
    uint32_t release() override { return drop(); }

    tresult getFactoryRecord(PFactoryRecord* record) override;
    int32_t getClassCount() override;
    tresult getClassRecord(int32_t index, PClassRecord* record) override;
    tresult instantiate(const TUID classId, const TUID iid, void** obj) override;
    tresult getClassRecord2(int32_t index, PClassRecord2* record) override;
    tresult getClassRecordW(int32_t index, PClassRecordW* record) override;
    tresult setFactoryContext(FUnknown* context) override;

    // False for a null record or creator, or when the table cannot grow.
    bool addClass(const PClassRecord* record, PClassCreator creator, void* context);
    bool addClass2(const PClassRecord2* record, PClassCreator creator, void* context);
    bool addClassW(const PClassRecordW* record, PClassCreator creator, void* context);

    // The one factory of the process, if it lives; it holds no reference of its own.
    static CPluginFactory* instance;

private:
    struct ClassEntry
    {
        PClassRecord2 record;
        PClassRecordW wide;
        PClassCreator creator;
        void* context;
        bool wideOnly;
    };
    bool grow();
    template <class Record> tresult copyNarrowRecord(int32_t index, Record* record);
    bool validIndex(int32_t index) const { return index >= 0 && index < classCount; }

    PFactoryRecord factoryRecord;
    ClassEntry* classes = nullptr;
    int32_t classCount = 0;
    int32_t classCapacity = 0;
};

// Copies `text` into a fixed field, cut so that the terminator always fits, zero-filled.
void copyField(char* field, size_t width, const char* text);
