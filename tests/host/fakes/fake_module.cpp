// A stand-in module file for the host's tests, built in several kinds (FAKE_KIND):
//   1 a working module with one effect class,
//   2 a module whose factory refuses to make anything,
//   3 a file without GetPluginFactory,
//   4 a module whose InitDll fails.
// The effect of kind 1 is a toy player with behaviour a test can predict exactly: from the
// position given to reposition, on every quarter note, it sends its current note with a length of
// one quarter; at every bar it also sends controller 1 (64 on odd bars from 1, 65 on even ones)
// and note 100 of length 0. Its note starts at 60 plus the chunk's current pattern; "Pattern
// Select" sets it to 59 + the value; an incoming note-on sets it to that note. It refuses a chunk
// whose current pattern is the last one (199), which the real module would take.
// With TREMOLIN_FAKE_LOG set, each step of its life is appended to that file, one word a line.

#include "module/effectinterfaces.h"
#include "module/moduleentry.h"
#include "module/pluginfactory.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace
{
void logStep(const char* step)
{
    const char* path = std::getenv("TREMOLIN_FAKE_LOG");
    if (!path) return;
    if (FILE* file = std::fopen(path, "ab"))
    {
        std::fprintf(file, "%s\n", step);
        std::fclose(file);
    }
}

struct Unloading
{
    ~Unloading() { logStep("unloaded"); }
} unloading;

template <class T> T* query(FUnknown* object)
{
    void* face = nullptr;
    if (!object || object->queryInterface(T::iid, &face) != kResultOk) return nullptr;
    return static_cast<T*>(face);
}

class FakeEffect final : public IMidiEffect, public IPlugController, public IPersistentChunk
{
public:
    tresult queryInterface(const TUID iid, void** obj) override
    {
        if (FUnknown::iid.equals(iid) || IMidiEffect::iid.equals(iid))
            *obj = static_cast<IMidiEffect*>(this);
        else if (IPlugController::iid.equals(iid))
            *obj = static_cast<IPlugController*>(this);
        else if (IPersistentChunk::iid.equals(iid))
            *obj = static_cast<IPersistentChunk*>(this);
        else
        {
            *obj = nullptr;
            return kNoInterface;
        }
        addRef();
        return kResultOk;
    }
    uint32_t addRef() override { return ++references; }
    uint32_t release() override
    {
        if (--references) return references;
        logStep("released");
        delete this;
        return 0;
    }

    tresult initialize(IHostContext* context) override
    {
        logStep("initialize");
        track = query<IHostMidiTrack>(context);
        IHostObjectFactory* factory = query<IHostObjectFactory>(context);
        if (!track || !factory) return kInvalidArgument;
        void* object = nullptr;
        if (factory->createObject(IHostIntValue::iid, &object) == kResultOk)
        {
            select = static_cast<IHostValue*>(object);
            select->setMinInt(1);
            select->setMaxInt(200);
            select->assignInt(1, 0);
            select->bindController(this, 3);
        }
        factory->release();
        return kResultOk;
    }
    tresult terminate() override
    {
        logStep("terminate");
        if (select) select->release();
        if (track) track->release();
        select = nullptr;
        track = nullptr;
        return kResultOk;
    }
    tresult getCapabilities(PEffectCapabilities*) override { return kResultOk; }
    tresult setMode(int32_t) override { return kResultOk; }
    tresult processEvent(HostMidiEvent* event) override
    {
        if (track->eventStatus(event) == 144) note = track->eventData1(event);
        return kResultOk;
    }
    tresult processRange(int32_t from, int32_t to) override
    {
        for (; next >= from && next < to; next += 480)
        {
            const uint8_t channel = static_cast<uint8_t>(track->getChannel() < 0 ? 0 : track->getChannel());
            send(0x90 | channel, note, 100, 480);
            if (next % 1920 == 0)
            {
                send(0xB0 | channel, 1, 64 + (next / 1920) % 2, 0);
                send(0x90 | channel, 100, 90, 0);
            }
        }
        return kResultOk;
    }
    tresult reposition(int32_t position) override
    {
        next = (position + 479) / 480 * 480;
        return kResultFalse;
    }
    tresult restart(int32_t position) override { return reposition(position); }
    tresult resume(int32_t position) override { return reposition(position); }
    tresult suspend() override { return kResultOk; }

    tresult findValue(const char* name, IHostValue** value) override
    {
        *value = std::strcmp(name, "Pattern Select") == 0 ? select : nullptr;
        return *value ? kResultOk : kResultFalse;
    }
    tresult valueChanged(IHostValue* value, int32_t tag) override
    {
        if (tag == 3) note = 59 + value->getInt();
        return kResultOk;
    }

    tresult getClassId(uint8_t* classId) override
    {
        kMidiSeqClassId.copyTo(classId);
        return kResultOk;
    }
    tresult setChunk(const void* data, int32_t size) override
    {
        if (!data || size != 156140) return kResultFalse;
        const auto* bytes = static_cast<const uint8_t*>(data) + 156008;
        const int32_t current = (bytes[0] << 24) | (bytes[1] << 16) | (bytes[2] << 8) | bytes[3];
        if (current == 199) return kResultFalse;
        note = 60 + current;
        return kResultOk;
    }
    tresult getChunk(void*, int32_t* size) override
    {
        if (size) *size = 0;
        return kResultOk;
    }

private:
    void send(uint8_t status, int32_t data1, int32_t data2, int32_t length)
    {
        HostMidiEvent* event = track->createEvent(status, data1, data2, length);
        track->setEventTime(event, next);
        track->sendEvent(event);
        track->releaseEvent(event);
    }

    uint32_t references = 1;
    IHostMidiTrack* track = nullptr;
    IHostValue* select = nullptr;
    int32_t note = 60;
    int32_t next = 0;
};

class FakeFactory final : public IPluginFactory
{
public:
    tresult queryInterface(const TUID iid, void** obj) override
    {
        if (FUnknown::iid.equals(iid) || IPluginFactory::iid.equals(iid))
        {
            addRef();
            *obj = static_cast<IPluginFactory*>(this);
            return kResultOk;
        }
        *obj = nullptr;
        return kNoInterface;
    }
    uint32_t addRef() override { return ++references; }
    uint32_t release() override
    {
        if (--references) return references;
        logStep("factory-released");
        delete this;
        return 0;
    }
    tresult getFactoryRecord(PFactoryRecord* record) override
    {
        std::memset(record, 0, sizeof *record);
        std::strcpy(record->vendor, "Fake Works");
        record->flags = 16;
        return kResultOk;
    }
    int32_t getClassCount() override { return 1; }
    tresult getClassRecord(int32_t index, PClassRecord* record) override
    {
        if (index != 0 || !record) return kInvalidArgument;
        std::memset(record, 0, sizeof *record);
        kMidiSeqClassId.copyTo(record->classId);
        record->cardinality = 0x7FFFFFFF;
        std::strcpy(record->category, "Midi Module Class");
        // Filled to the last byte: the host must not read past the field.
        std::memset(record->name, 'N', sizeof record->name);
        return kResultOk;
    }
    tresult instantiate(const TUID classId, const TUID iid, void** obj) override
    {
        *obj = nullptr;
        if (FAKE_KIND == 2 || !kMidiSeqClassId.equals(classId)) return kNoInterface;
        FakeEffect* effect = new FakeEffect;
        const tresult result = effect->queryInterface(iid, obj);
        effect->release();
        return result == kResultOk ? kResultOk : kNoInterface;
    }

private:
    uint32_t references = 1;
};
} // namespace

#if FAKE_KIND != 3
TREMOLIN_EXPORT IPluginFactory* GetPluginFactory()
{
    logStep("factory");
    return new FakeFactory;
}
#endif

TREMOLIN_EXPORT bool InitDll()
{
    logStep("InitDll");
    return FAKE_KIND != 4;
}

TREMOLIN_EXPORT bool ExitDll()
{
    logStep("ExitDll");
    return true;
}
