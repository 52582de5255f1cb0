#include "midiplugs/midiseq/pmidiseq.h"

#include "foundation/fstreams.h"
#include "midiplugs/midiseq/seqeditorlink.h"
#include "module/pluginfactory.h"
#include "plugbase/moduleresources.h"
#include "plugbase/pvaluecontainer.h"

#include <atomic>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

namespace
{
const char* const kSettingsSection = "Tremolin";
const char* const kControllerKeys[2] = {"Controller1", "Controller2"};

// The labels live as long as the module: the host keeps the pointers.
const char16_t* const kQuantizeLabels[kQuantizeCount + 1] = {u"1/2",   u"1/4",  u"1/4T",  u"1/8",
                                                             u"1/8T",  u"1/16", u"1/16T", u"1/32",
                                                             u"1/32T", u"1/64", u"1/128", nullptr};
const char16_t* const kLaneLabels[5] = {u"Velocity", u"Gate", u"Controller 1", u"Controller 2", nullptr};

struct ValueDeclaration
{
    const char* name;
    enum Kind
    {
        Range,
        Trigger,
        List,
        Controller
    } kind;
    int32_t min;
    int32_t max;
    int32_t defaultValue;
};

const ValueDeclaration kValues[kTagCount] = {
    {"Length", ValueDeclaration::Range, 1, 32, 16},
    {"Quantize", ValueDeclaration::List, 0, 0, 0},
    {"Swing", ValueDeclaration::Range, 0, 100, 0},
    {"Pattern Select", ValueDeclaration::Range, 1, 200, 1},
    {"Shift Octave Up", ValueDeclaration::Trigger, 0, 0, 0},
    {"Shift Octave Down", ValueDeclaration::Trigger, 0, 0, 0},
    {"Shift Time Left", ValueDeclaration::Trigger, 0, 0, 0},
    {"Shift Time Right", ValueDeclaration::Trigger, 0, 0, 0},
    {"Reverse", ValueDeclaration::Trigger, 0, 0, 0},
    {"Param Select", ValueDeclaration::List, 0, 0, 0},
    {"Config", ValueDeclaration::Trigger, 0, 0, 0},
    {"Randomize", ValueDeclaration::Trigger, 0, 0, 0},
    {"Clear", ValueDeclaration::Trigger, 0, 0, 0},
    {"Copy", ValueDeclaration::Trigger, 0, 0, 0},
    {"Paste", ValueDeclaration::Trigger, 0, 0, 0},
    {"About", ValueDeclaration::Trigger, 0, 0, 0},
    {"Controller1", ValueDeclaration::Controller, 1, 127, 0},
    {"Controller2", ValueDeclaration::Controller, 1, 127, 0},
};

template <class T> T* createHostObject(IHostObjectFactory* factory)
{
    void* out = nullptr;
    if (!factory || factory->createObject(T::iid, &out) != kResultOk) return nullptr;
    return static_cast<T*>(out);
}

int32_t swingPercent(float swing)
{
    const float percent = swing * 100.0f;
    if (std::isnan(percent)) return 0;
    if (percent >= 2147483647.0f || percent <= -2147483648.0f)
        return percent > 0 ? 2147483647 : -2147483647 - 1;
    return static_cast<int32_t>(percent);
}
} // namespace

PMidiSeq::PMidiSeq()
{
    capabilities = 1;
}

PMidiSeq::~PMidiSeq()
{
    if (view) view->effectClosed();
}

FUnknown* PMidiSeq::create(void*)
{
    PMidiSeq* effect = new (std::nothrow) PMidiSeq;
    return effect ? static_cast<IMidiEffect*>(effect) : nullptr;
}

tresult PMidiSeq::queryInterface(const TUID iid, void** obj)
{
    if (IPersistentChunk::iid.equals(iid))
    {
        addRef();
        *obj = static_cast<IPersistentChunk*>(this);
        return kResultOk;
    }
    return PMidiEffectBase::queryInterface(iid, obj);
}

IHostValue* PMidiSeq::valueOf(int32_t tag) const
{
    return values ? values->getValueByTag(tag) : nullptr;
}

namespace
{
std::atomic<PSeqEditorMaker> editorMaker{nullptr};
}

void setSeqEditorMaker(PSeqEditorMaker maker)
{
    editorMaker.store(maker);
}

tresult PMidiSeq::createView(const char* name, const PViewRect* rect, IPlugView** out)
{
    if (!out) return kInvalidArgument;
    *out = nullptr;
    if (!name || !rect || std::strcmp(name, "SequencerView") != 0) return kResultFalse;
    const PSeqEditorMaker maker = editorMaker.load();
    if (!maker) return kResultFalse;
    // The frame takes the template's size; its corner is always at the origin.
    IPlugView* editor = maker(rect->right - rect->left, rect->bottom - rect->top, *this);
    if (!editor) return kResultFalse;
    *out = editor;
    return kResultOk;
}

int32_t PMidiSeq::currentLength()
{
    IHostValue* length = valueOf(kTagLength);
    return length ? length->getInt() : engine.length();
}

bool PMidiSeq::loadResource(int32_t number, void* buffer, int32_t* size)
{
    PModuleResource resource;
    if (number < 0 || !findModuleResource(kResourceData, number, resource)) return false;
    if (buffer) std::memcpy(buffer, resource.bytes, static_cast<size_t>(resource.size));
    if (size) *size = resource.size;
    return true;
}

tresult PMidiSeq::initialize(IHostContext* hostContext)
{
    if (PMidiEffectBase::initialize(hostContext) != kResultOk) return kInvalidArgument;
    objectFactory = queryFace<IHostObjectFactory>(hostContext);
    if (!objectFactory) return kInvalidArgument;

    templateRegistry = createHostObject<IHostTemplateRegistry>(objectFactory);
    if (templateRegistry)
    {
        int32_t size = 0;
        if (loadResource(2, nullptr, &size) && size > 0)
        {
            std::unique_ptr<char[]> bytes(new (std::nothrow) char[static_cast<size_t>(size)]);
            if (bytes && loadResource(2, bytes.get(), &size))
                templateRegistry->registerTemplate(bytes.get(), size, &templateHandle);
        }
    }

    if (IHostSettings* settings = createHostObject<IHostSettings>(objectFactory))
    {
        for (int32_t lane = 0; lane < 2; ++lane)
        {
            int32_t number = 0;
            // A number outside 0..127 is no controller: a file would carry it as another one.
            if (settings->readInt(kSettingsSection, kControllerKeys[lane], &number) && number >= 0 &&
                number <= 127)
                PMidiSeqEngine::setControllerNumber(lane, number);
        }
        settings->release();
    }

    values = new PValueContainer(objectFactory, static_cast<IGenericPlugController*>(this));
    for (int32_t tag = 0; tag < kTagCount; ++tag)
    {
        const ValueDeclaration& v = kValues[tag];
        switch (v.kind)
        {
        case ValueDeclaration::Range:
            values->addRangeValue(tag, v.name, v.min, v.max, v.defaultValue, false, false);
            break;
        case ValueDeclaration::Trigger:
            values->addTriggerValue(tag, v.name, false, false);
            break;
        case ValueDeclaration::List:
            if (tag == kTagQuantize)
                values->addListValue(tag, v.name, kQuantizeLabels, u"1/16", false);
            else
                values->addListValue(tag, v.name, kLaneLabels, u"Velocity", false);
            break;
        case ValueDeclaration::Controller:
        {
            const int32_t number = PMidiSeqEngine::controllerNumber(tag - kTagController1);
            if (IHostValue* controller = createHostObject<IHostControllerValue>(objectFactory))
            {
                values->addHostValue(controller, tag, v.name);
                controller->setInt(number);
            }
            else
            {
                values->addRangeValue(tag, v.name, v.min, v.max, number, false, false);
            }
            break;
        }
        }
    }
    updateLaneNames();
    return kResultOk;
}

tresult PMidiSeq::terminate()
{
    if (templateRegistry)
    {
        templateRegistry->unregisterTemplate(templateHandle);
        templateRegistry->release();
        templateRegistry = nullptr;
    }
    if (objectFactory)
    {
        if (IHostSettings* settings = createHostObject<IHostSettings>(objectFactory))
        {
            for (int32_t lane = 0; lane < 2; ++lane)
                settings->writeInt(kSettingsSection, kControllerKeys[lane],
                                   PMidiSeqEngine::controllerNumber(lane));
            settings->release();
        }
        objectFactory->release();
        objectFactory = nullptr;
    }
    return PMidiEffectBase::terminate();
}

void PMidiSeq::updateLaneNames()
{
    IHostValueStringList* lanes = queryFace<IHostValueStringList>(valueOf(kTagParamSelect));
    if (!lanes) return;
    for (int32_t lane = 0; lane < 2; ++lane)
    {
        if (IHostValue* controller = valueOf(kTagController1 + lane))
        {
            char16_t text[IHostValue::kDisplayTextSize] = {};
            controller->getDisplayText(text);
            text[IHostValue::kDisplayTextSize - 1] = 0;
            lanes->setStringAt(2 + lane, text);
        }
    }
    lanes->release();
}

tresult PMidiSeq::processEvent(HostMidiEvent* event)
{
    // Incoming notes select patterns and go no further.
    if (track && track->eventStatus(event) == 144)
    {
        const int32_t pattern = track->eventData1(event) - 36;
        if (pattern >= 0 && pattern < kSeqPatternCount)
        {
            engine.setCurrentPatternIndex(pattern);
            if (IHostValue* select = valueOf(kTagPatternSelect)) select->setInt(pattern + 1);
        }
    }
    return kResultOk;
}

tresult PMidiSeq::processRange(int32_t from, int32_t to)
{
    if (track) engine.process(from, to, track);
    return kResultOk;
}

tresult PMidiSeq::reposition(int32_t position)
{
    if (track) engine.locate(position, track);
    return kResultFalse;
}

tresult PMidiSeq::restart(int32_t position)
{
    return reposition(position);
}

tresult PMidiSeq::resume(int32_t position)
{
    return reposition(position);
}

int32_t PMidiSeq::getValueCount()
{
    // Only the pattern's own values are offered to the host by index.
    return 4;
}

tresult PMidiSeq::valueChanged(IHostValue* value, int32_t tag)
{
    if (inControllerSetup || tag > kTagAbout || tag < 0 || !value) return kResultOk;
    switch (tag)
    {
    case kTagLength:
    {
        int32_t length = value->getInt();
        length = length < 1 ? 1 : (length > kSeqStepCount ? kSeqStepCount : length);
        engine.setLength(length);
        if (view)
        {
            view->redrawNotes();
            view->redrawBars();
        }
        break;
    }
    case kTagQuantize:
    {
        // A pattern saved with a step size outside the table shows the index past its end; that
        // index names no step size, so it must not overwrite the one the pattern holds.
        const int32_t index = value->getInt();
        if (index >= 0 && index < kQuantizeCount) engine.setQuantize(PMidiSeqEngine::quantizeTicks(index));
        break;
    }
    case kTagSwing:
    {
        const int32_t max = value->getMaxInt();
        engine.setSwing(max > 0 ? static_cast<float>(value->getInt()) / static_cast<float>(max) : 0.0f);
        break;
    }
    case kTagPatternSelect:
        engine.setCurrentPatternIndex(value->getInt() - 1);
        refreshAll();
        break;
    case kTagParamSelect:
        if (view) view->selectLane(value->getInt());
        break;
    case kTagConfig:
        if (value->getInt() != 0) controllerSetup();
        break;
    case kTagCopy:
        if (value->getInt() != 0) engine.currentPatternData().copyToClipboard();
        break;
    case kTagPaste:
        if (value->getInt() != 0)
        {
            bool pasted;
            {
                FLockGuard guard(engine.lock());
                pasted = engine.currentPatternData().pasteFromClipboard();
            }
            if (pasted) refreshAll();
        }
        break;
    case kTagAbout:
        if (value->getInt() != 0 && view) view->toggleAbout();
        break;
    default: // the pattern operations behind the trigger buttons
        if (value->getInt() != 0) editPattern(tag);
        break;
    }
    return kResultOk;
}

void PMidiSeq::editPattern(int32_t tag)
{
    const int32_t length = currentLength();
    int32_t lowNote = kSeqLowestNote;
    int32_t highNote = kSeqHighestNote;
    if (tag == kTagRandomize && view) view->visibleNotes(lowNote, highNote);
    {
        FLockGuard guard(engine.lock());
        PSeqPattern& pattern = engine.currentPatternData();
        const int32_t lastStep = length - 1;
        switch (tag)
        {
        case kTagShiftOctaveUp:
            pattern.transpose(12);
            break;
        case kTagShiftOctaveDown:
            pattern.transpose(-12);
            break;
        case kTagShiftTimeLeft:
            pattern.shiftTimeLeft(lastStep);
            break;
        case kTagShiftTimeRight:
            pattern.shiftTimeRight(lastStep);
            break;
        case kTagReverse:
            pattern.reverse(lastStep);
            break;
        case kTagRandomize:
            pattern.randomize(lowNote, highNote, length);
            break;
        case kTagClear:
            pattern.clear(false);
            break;
        }
    }
    if (!view) return;
    if (tag == kTagShiftOctaveUp || tag == kTagShiftOctaveDown) view->fitNotes(false);
    view->redrawTies();
    view->redrawNotes();
    view->redrawBars();
}

void PMidiSeq::refreshAll()
{
    if (view) view->redrawTies();
    // Each setInt that changes a value comes back through valueChanged and stores what the
    // pattern already holds.
    const PSeqPattern& pattern = engine.currentPatternData();
    if (IHostValue* length = valueOf(kTagLength)) length->setInt(pattern.length);
    if (IHostValue* quantize = valueOf(kTagQuantize))
        quantize->setInt(PMidiSeqEngine::quantizeIndex(pattern.quantize));
    if (IHostValue* swing = valueOf(kTagSwing))
    {
        // A damaged chunk can hold any percentage: the value shows what lies in its range.
        const int32_t max = swing->getMaxInt();
        const float scaled = static_cast<float>(max) * engine.swing();
        swing->setInt(scaled >= static_cast<float>(max) ? max
                      : scaled > 0.f                    ? static_cast<int32_t>(scaled)
                                                        : 0);
    }
    if (view)
    {
        view->redrawNotes();
        view->redrawBars();
        if (!view->hasVisibleNotes()) view->fitNotes(false);
    }
}

void PMidiSeq::controllerSetup()
{
    inControllerSetup = true;
    int32_t size = 0;
    if (loadResource(1, nullptr, &size) && size > 0)
    {
        std::unique_ptr<char[]> text(new (std::nothrow) char[static_cast<size_t>(size) + 1]);
        if (text && loadResource(1, text.get(), &size))
        {
            text[static_cast<size_t>(size)] = 0;
            if (IHostTemplateDialog* dialog = createHostObject<IHostTemplateDialog>(objectFactory))
            {
                dialog->loadTemplate(text.get());
                if (dialog->runTemplate("Controller Setup", static_cast<IGenericPlugController*>(this)) ==
                    kResultOk)
                {
                    for (int32_t lane = 0; lane < 2; ++lane)
                        if (IHostValue* controller = valueOf(kTagController1 + lane))
                            PMidiSeqEngine::setControllerNumber(lane, controller->getInt());
                    updateLaneNames();
                }
                dialog->release();
            }
        }
    }
    inControllerSetup = false;
}

tresult PMidiSeq::getTemplate(const char* name, char* outName, char* buffer, int32_t* size)
{
    if (!name || std::strcmp(name, "editor") != 0) return kResultFalse;
    if (outName) std::memcpy(outName, "Tremolin", 9);
    loadResource(1, buffer, size);
    return kResultOk;
}

tresult PMidiSeq::getResource(const char* text, void* buffer, int32_t* size)
{
    int number = -1;
    if (!text || std::sscanf(text, "%d", &number) != 1 || number < 0) return kResultFalse;
    return loadResource(number, buffer, size) ? kResultOk : kResultFalse;
}

tresult PMidiSeq::getClassId(uint8_t* classId)
{
    if (classId) kMidiSeqClassId.copyTo(classId);
    return kResultOk;
}

// A pattern in the chunk: 32 steps of six big-endian 32-bit fields, then length, quantize and
// the swing as a whole percentage. The patterns are laid out straight in the host's buffer, the
// stream only steps over them: this keeps saving a project within a few copies of its bytes.
namespace
{
constexpr size_t kPatternBytes = kChunkPatternBytes;
static_assert(sizeof(PSeqStep) * kSeqStepCount + 12 == kPatternBytes, "the chunk's pattern is the record");

// A native word turned into the word whose bytes in memory are its big-endian form; the same
// call turns such a word back.
uint32_t bigEndianWord(uint32_t value)
{
    if constexpr (std::endian::native == std::endian::little)
        return __builtin_bswap32(value);
    else
        return value;
}

void putBigEndian(uint8_t* at, uint32_t value)
{
    const uint32_t word = bigEndianWord(value);
    std::memcpy(at, &word, 4);
}

uint32_t bigEndianAt(const uint8_t* at)
{
    return uint32_t(at[0]) << 24 | uint32_t(at[1]) << 16 | uint32_t(at[2]) << 8 | uint32_t(at[3]);
}

void writePattern(const PSeqPattern& pattern, uint8_t* out)
{
    // The steps are six 32-bit fields each, floats included, in chunk order.
    const auto* fields = reinterpret_cast<const uint8_t*>(pattern.steps);
    for (size_t i = 0; i < kSeqStepCount * 6; ++i)
    {
        uint32_t word;
        std::memcpy(&word, fields + 4 * i, 4);
        word = bigEndianWord(word);
        std::memcpy(out + 4 * i, &word, 4);
    }
    putBigEndian(out + 768, uint32_t(pattern.length));
    putBigEndian(out + 772, uint32_t(pattern.quantize));
    const float swing =
        std::atomic_ref<float>(const_cast<float&>(pattern.swing)).load(std::memory_order_relaxed);
    putBigEndian(out + 776, uint32_t(swingPercent(swing)));
}

void readPattern(const uint8_t* in, PSeqPattern& pattern)
{
    auto* fields = reinterpret_cast<uint8_t*>(pattern.steps);
    for (size_t i = 0; i < kSeqStepCount * 6; ++i)
    {
        uint32_t word;
        std::memcpy(&word, in + 4 * i, 4);
        word = bigEndianWord(word);
        std::memcpy(fields + 4 * i, &word, 4);
    }
    pattern.length = int32_t(bigEndianAt(in + 768));
    pattern.quantize = int32_t(bigEndianAt(in + 772));
    const int32_t percent = int32_t(bigEndianAt(in + 776));
    std::atomic_ref<float>(pattern.swing)
        .store(static_cast<float>(static_cast<float>(percent) / 100.0), std::memory_order_relaxed);
    // A project from elsewhere may hold values the player cannot work with; bring them back into
    // range rather than let them divide by zero or index outside a pattern.
    if (pattern.length < 1)
        pattern.length = 1;
    else if (pattern.length > kSeqStepCount)
        pattern.length = kSeqStepCount;
    if (pattern.quantize <= 0) pattern.quantize = kSeqDefaultQuantize;
}
} // namespace

tresult PMidiSeq::getChunk(void* data, int32_t* size)
{
    if (size) *size = kChunkSize;
    if (!data) return kResultOk;
    OrnMemoryStream stream(data, kChunkSize);
    stream.setByteOrder(1);
    stream.writeInt32(kChunkMagic);
    stream.writeInt32(kChunkVersion);
    {
        // The player may be running; a consistent picture is worth the short wait.
        FLockGuard guard(engine.lock());
        auto* patterns = static_cast<uint8_t*>(data) + stream.tell();
        for (int32_t p = 0; p < kSeqPatternCount; ++p)
            writePattern(engine.pattern(p), patterns + kPatternBytes * size_t(p));
        stream.seek(int64_t(kPatternBytes) * kSeqPatternCount, 1);
    }
    stream.writeInt32(engine.currentPatternIndex());
    const uint8_t reserved[128] = {};
    stream.writeRaw(reserved, sizeof reserved);
    return kResultOk;
}

tresult PMidiSeq::setChunk(const void* data, int32_t size)
{
    if (!data || size < kChunkSize) return kResultFalse;
    // The stream only reads: the buffer stays the host's and is not changed.
    OrnMemoryStream stream(const_cast<void*>(data), size);
    stream.setByteOrder(1);
    int32_t magic = 0;
    int32_t version = 0;
    if (!stream.readInt32(magic) || magic != kChunkMagic) return kResultFalse;
    if (!stream.readInt32(version) || version != kChunkVersion) return kResultFalse;

    int32_t current = 0;
    {
        FLockGuard guard(engine.lock());
        // The size was checked above, so every pattern finds its bytes.
        const auto* patterns = static_cast<const uint8_t*>(data) + stream.tell();
        for (int32_t p = 0; p < kSeqPatternCount; ++p)
            readPattern(patterns + kPatternBytes * size_t(p), engine.pattern(p));
        stream.seek(int64_t(kPatternBytes) * kSeqPatternCount, 1);
        stream.readInt32(current);
    }
    current = current < 0 ? 0 : (current >= kSeqPatternCount ? kSeqPatternCount - 1 : current);
    engine.setCurrentPatternIndex(current);

    IHostValue* select = valueOf(kTagPatternSelect);
    if (select && select->getInt() != current + 1)
        select->setInt(current + 1);
    else
        refreshAll();
    return kResultOk;
}
