#pragma once

// The class factory that GetPluginFactory hands the host, and the records that cross the
// boundary by value. Their layouts, widths and terminators are part of the contract.

#include "foundation/funknown.h"

#include <cstddef>
#include <cstdint>

struct PFactoryRecord
{
    char vendor[64];
    char url[256];
    char email[128];
    int32_t flags;
};
static_assert(sizeof(PFactoryRecord) == 452);
static_assert(offsetof(PFactoryRecord, url) == 64);
static_assert(offsetof(PFactoryRecord, email) == 320);
static_assert(offsetof(PFactoryRecord, flags) == 448);

struct PClassRecord
{
    uint8_t classId[16];
    int32_t cardinality;
    char category[32];
    char name[64];
};
static_assert(sizeof(PClassRecord) == 116);
static_assert(offsetof(PClassRecord, cardinality) == 16);
static_assert(offsetof(PClassRecord, category) == 20);
static_assert(offsetof(PClassRecord, name) == 52);

struct PClassRecord2
{
    uint8_t classId[16];
    int32_t cardinality;
    char category[32];
    char name[64];
    uint32_t classFlags;
    char subCategories[128];
    char vendor[64];
    char version[64];
    char sdkVersion[64];
};
static_assert(sizeof(PClassRecord2) == 440);
static_assert(offsetof(PClassRecord2, classFlags) == 116);
static_assert(offsetof(PClassRecord2, subCategories) == 120);
static_assert(offsetof(PClassRecord2, vendor) == 248);
static_assert(offsetof(PClassRecord2, version) == 312);
static_assert(offsetof(PClassRecord2, sdkVersion) == 376);

struct PClassRecordW
{
    uint8_t classId[16];
    int32_t cardinality;
    char category[32];
    char16_t name[64];
    uint32_t classFlags;
    char subCategories[128];
    char16_t vendor[64];
    char16_t version[64];
    char16_t sdkVersion[64];
};
static_assert(sizeof(PClassRecordW) == 696);
static_assert(offsetof(PClassRecordW, name) == 52);
static_assert(offsetof(PClassRecordW, classFlags) == 180);
static_assert(offsetof(PClassRecordW, subCategories) == 184);
static_assert(offsetof(PClassRecordW, vendor) == 312);
static_assert(offsetof(PClassRecordW, version) == 440);
static_assert(offsetof(PClassRecordW, sdkVersion) == 568);

// Table: getFactoryRecord, getClassCount, getClassRecord, instantiate.
class IPluginFactory : public FUnknown
{
public:
    virtual tresult getFactoryRecord(PFactoryRecord* record) = 0;
    virtual int32_t getClassCount() = 0;
    virtual tresult getClassRecord(int32_t index, PClassRecord* record) = 0;
    // A new object of the class, asked for its face `iid`; the caller owns the one reference.
    virtual tresult instantiate(const TUID classId, const TUID iid, void** obj) = 0;

    static inline const FUID iid{0x7A4D811C, 0x52114A1F, 0xAED9D2EE, 0x0B43BF9F};
};

// Table: the four of IPluginFactory, then getClassRecord2.
class IPluginFactory2 : public IPluginFactory
{
public:
    virtual tresult getClassRecord2(int32_t index, PClassRecord2* record) = 0;

    static inline const FUID iid{0x0007B650, 0xF24B4C0B, 0xA464EDB9, 0xF00B2ABB};
};

// Table: the five of IPluginFactory2, then getClassRecordW, setFactoryContext.
class IPluginFactory3 : public IPluginFactory2
{
public:
    virtual tresult getClassRecordW(int32_t index, PClassRecordW* record) = 0;
    virtual tresult setFactoryContext(FUnknown* context) = 0;

    static inline const FUID iid{0x4555A2AB, 0xC1234E57, 0x9B122910, 0x36878931};
};

// The three exports of the module file, all with C linkage.
extern "C"
{
    typedef IPluginFactory* (*GetPluginFactoryProc)();
    typedef bool (*InitDllProc)();
    typedef bool (*ExitDllProc)();
}

// The class of the one effect: {440B3AB5-C89B-487E-B9AF-963A58BF332E}.
inline const FUID kMidiSeqClassId{0x440B3AB5, 0xC89B487E, 0xB9AF963A, 0x58BF332E};
