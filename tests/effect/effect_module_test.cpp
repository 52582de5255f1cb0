// The module as a host sees it: Tremolin.so loaded from its file through the stand-in host's
// loader, never linked in, and driven only through its interfaces.

#include "host/kit/hostcontext.h"
#include "host/kit/hostvalue.h"
#include "host/kit/moduleloader.h"
#include "midiplugs/midiseq/chunkformat.h"
#include "module/effectinterfaces.h"
#include "module/pluginfactory.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#ifndef TREMOLIN_MODULE_PATH
#error "the tests need the path of the built module"
#endif

using namespace hostkit;

namespace
{
const char* const kNames[18] = {"Length",          "Quantize",
                                "Swing",           "Pattern Select",
                                "Shift Octave Up", "Shift Octave Down",
                                "Shift Time Left", "Shift Time Right",
                                "Reverse",         "Param Select",
                                "Config",          "Randomize",
                                "Clear",           "Copy",
                                "Paste",           "About",
                                "Controller1",     "Controller2"};

std::string scratchSettings(const char* name)
{
    const auto path = std::filesystem::temp_directory_path() /
                      ("tremolin-effect-test-" + std::to_string(::getpid()) + "-" + name + ".settings");
    std::filesystem::remove(path);
    return path.string();
}

// One loaded module, one effect and its host.
class LoadedEffect
{
public:
    explicit LoadedEffect(HostOptions options = {}, bool init = true)
    {
        if (options.settingsPath.empty()) options.settingsPath = scratchSettings("default");
        std::string error;
        module = PluginModule::load(TREMOLIN_MODULE_PATH, error);
        EXPECT_TRUE(module) << error;
        host = new HostContext(options);
        effect = module->instantiate(kMidiSeqClassId, error);
        EXPECT_TRUE(effect) << error;
        if (init)
        {
            EXPECT_TRUE(module->initialize(effect, host, error)) << error;
        }
        controller = queryFace<IGenericPlugController>(effect);
        chunk = queryFace<IPersistentChunk>(effect);
    }
    ~LoadedEffect()
    {
        releaseFaces();
        module->unload();
        host->unbindValues();
        host->release();
    }

    // The faces this fixture holds go back before the module is unloaded.
    void releaseFaces()
    {
        if (controller) controller->release();
        if (chunk) chunk->release();
        controller = nullptr;
        chunk = nullptr;
    }

    HostValue* value(const char* name)
    {
        IHostValue* found = nullptr;
        controller->findValue(name, &found);
        return static_cast<HostValue*>(found);
    }
    std::vector<uint8_t> getChunk()
    {
        std::vector<uint8_t> bytes(kChunkSize);
        int32_t size = 0;
        EXPECT_EQ(chunk->getChunk(bytes.data(), &size), kResultOk);
        return bytes;
    }
    int32_t field(const std::vector<uint8_t>& b, size_t offset)
    {
        return int32_t(uint32_t(b[offset]) << 24 | uint32_t(b[offset + 1]) << 16 |
                       uint32_t(b[offset + 2]) << 8 | uint32_t(b[offset + 3]));
    }
    // A field of the current pattern as the chunk shows it.
    int32_t patternField(int32_t pattern, size_t offset)
    {
        return field(getChunk(), 8 + kChunkPatternBytes * size_t(pattern) + offset);
    }
    // The controller number on which step 0 of pattern 1 plays a value of its first lane.
    int32_t controllerPlayed()
    {
        std::vector<uint8_t> bytes = getChunk();
        bytes[8 + 12 + 3] = 5;
        EXPECT_EQ(chunk->setChunk(bytes.data(), int32_t(bytes.size())), kResultOk);
        host->track().clearEvents();
        effect->reposition(0);
        effect->processRange(0, 120);
        const std::vector<TrackEvent> events = host->track().events();
        return events.size() == 1 ? events[0].data1 : -1;
    }
    void noteOn(int32_t note, int32_t velocity = 100)
    {
        HostMidiEvent* event = host->track().makeIncoming(0x90, note, velocity, 0);
        effect->processEvent(event);
        host->track().releaseEvent(event);
    }

    std::unique_ptr<PluginModule> module;
    HostContext* host = nullptr;
    IMidiEffect* effect = nullptr;
    IGenericPlugController* controller = nullptr;
    IPersistentChunk* chunk = nullptr;
};

TEST(EffectModuleTest, FactoryRecordsAreExactToTheByte)
{
    LoadedEffect loaded({}, false);
    IPluginFactory* factory = loaded.module->factory();
    PFactoryRecord record;
    std::memset(&record, 0xCC, sizeof record);
    ASSERT_EQ(factory->getFactoryRecord(&record), kResultOk);
    EXPECT_STREQ(record.vendor, "Tarnwick Media Works");
    EXPECT_EQ(record.flags, 16);
    for (size_t i = std::strlen(record.vendor); i < sizeof record.vendor; ++i)
        ASSERT_EQ(record.vendor[i], 0) << "fields are zero-filled";
    EXPECT_EQ(std::string(record.email).rfind("mailto:", 0), 0u);

    ASSERT_EQ(factory->getClassCount(), 1);
    PClassRecord cls;
    ASSERT_EQ(factory->getClassRecord(0, &cls), kResultOk);
    const uint8_t id[16] = {0xB5, 0x3A, 0x0B, 0x44, 0x9B, 0xC8, 0x7E, 0x48,
                            0xB9, 0xAF, 0x96, 0x3A, 0x58, 0xBF, 0x33, 0x2E};
    EXPECT_EQ(0, std::memcmp(cls.classId, id, 16));
    EXPECT_EQ(cls.cardinality, 0x7FFFFFFF);
    EXPECT_STREQ(cls.category, "Midi Module Class");
    EXPECT_STREQ(cls.name, "Tremolin");
    EXPECT_EQ(factory->getClassRecord(1, &cls), kInvalidArgument);
    EXPECT_EQ(factory->getClassRecord(0, nullptr), kInvalidArgument);

    auto* factory3 = queryFace<IPluginFactory3>(factory);
    ASSERT_TRUE(factory3);
    PClassRecord2 two;
    std::memset(&two, 0xCC, sizeof two);
    ASSERT_EQ(factory3->getClassRecord2(0, &two), kResultOk);
    EXPECT_EQ(0, std::memcmp(&two, &cls, sizeof cls));
    EXPECT_EQ(two.classFlags, 0u);
    for (size_t i = 0; i < sizeof two.vendor; ++i)
        ASSERT_EQ(two.vendor[i] | two.version[i] | two.sdkVersion[i] | two.subCategories[i], 0);
    PClassRecordW wide;
    ASSERT_EQ(factory3->getClassRecordW(0, &wide), kResultOk);
    EXPECT_EQ(std::u16string(wide.name), u"Tremolin");
    EXPECT_EQ(0, std::memcmp(wide.classId, id, 16));
    EXPECT_EQ(factory3->getClassRecordW(-1, &wide), kInvalidArgument);

    // Unknown class, and the right class with an unknown face: no object survives either.
    void* out = &record;
    const FUID unknown(0x12345678, 0, 0, 1);
    EXPECT_EQ(factory->instantiate(unknown, IMidiEffect::iid, &out), kNoInterface);
    EXPECT_EQ(out, nullptr);
    out = &record;
    EXPECT_EQ(factory->instantiate(kMidiSeqClassId, unknown, &out), kNoInterface);
    EXPECT_EQ(out, nullptr);
    factory3->release();
}

TEST(EffectModuleTest, EveryFaceSharesOneReferenceCount)
{
    LoadedEffect loaded({}, false);
    IMidiEffect* effect = loaded.effect;
    // The loader's reference plus the two faces the fixture holds.
    const uint32_t base = effect->addRef() - 1;
    effect->release();

    void* out = nullptr;
    ASSERT_EQ(effect->queryInterface(FUnknown::iid, &out), kResultOk);
    EXPECT_EQ(out, static_cast<void*>(effect));
    EXPECT_EQ(effect->addRef(), base + 2);
    effect->release();
    effect->release();

    const FUID faces[] = {IMidiEffect::iid,     IPlugController::iid, IGenericPlugController::iid,
                          IUIFactory::iid,      IUIFactory2::iid,     IViewBuilder::iid,
                          IPersistentChunk::iid};
    for (const FUID& iid : faces)
    {
        out = nullptr;
        ASSERT_EQ(effect->queryInterface(iid, &out), kResultOk) << bracedText(iid);
        auto* unknown = static_cast<FUnknown*>(out);
        // FUnknown from any face leads back to the effect face.
        void* root = nullptr;
        ASSERT_EQ(unknown->queryInterface(FUnknown::iid, &root), kResultOk);
        EXPECT_EQ(root, static_cast<void*>(effect));
        EXPECT_EQ(unknown->release(), base + 1);
        EXPECT_EQ(effect->release(), base);
    }
    // The controller and factory faces: one face each for both generations.
    void* first = nullptr;
    void* second = nullptr;
    effect->queryInterface(IPlugController::iid, &first);
    effect->queryInterface(IGenericPlugController::iid, &second);
    EXPECT_EQ(first, second);
    static_cast<FUnknown*>(first)->release();
    static_cast<FUnknown*>(second)->release();

    out = effect;
    EXPECT_EQ(effect->queryInterface(FUID(1, 2, 3, 4), &out), kNoInterface);
    EXPECT_EQ(out, nullptr);
    EXPECT_EQ(effect->addRef(), base + 1);
    effect->release();

    PEffectCapabilities caps{};
    EXPECT_EQ(effect->getCapabilities(&caps), kResultOk);
    EXPECT_EQ(caps.capabilities, 1);
}

TEST(EffectModuleTest, DeclaresEighteenParametersWithTheirKindsRangesAndDefaults)
{
    LoadedEffect loaded;
    EXPECT_EQ(loaded.controller->getValueCount(), 4);
    char name[64];
    ASSERT_EQ(loaded.controller->getValueName(17, name), kResultOk); // behind the count, still there
    EXPECT_STREQ(name, "Controller2");
    EXPECT_EQ(loaded.controller->getValueName(18, name), kResultFalse);
    IHostValue* none = loaded.value("Length");
    EXPECT_EQ(loaded.controller->findValue("length", &none), kResultFalse);
    EXPECT_EQ(none, nullptr);

    for (int32_t tag = 0; tag < 18; ++tag)
    {
        HostValue* v = loaded.value(kNames[tag]);
        ASSERT_TRUE(v) << kNames[tag];
        EXPECT_EQ(v->getTag(), tag);
        IHostValue* byIndex = nullptr;
        ASSERT_EQ(loaded.controller->getValueAt(tag, &byIndex), kResultOk);
        EXPECT_EQ(byIndex, v);
    }
    HostValue* length = loaded.value("Length");
    EXPECT_EQ(length->kind(), HostValue::Kind::Int);
    EXPECT_EQ(length->minInt(), 1);
    EXPECT_EQ(length->getMaxInt(), 32);
    EXPECT_EQ(length->getInt(), 16);
    EXPECT_EQ(loaded.value("Swing")->getMaxInt(), 100);
    EXPECT_EQ(loaded.value("Pattern Select")->minInt(), 1);
    EXPECT_EQ(loaded.value("Pattern Select")->getMaxInt(), 200);
    EXPECT_EQ(loaded.value("Pattern Select")->getInt(), 1);

    HostValue* quantize = loaded.value("Quantize");
    EXPECT_EQ(quantize->kind(), HostValue::Kind::List);
    ASSERT_EQ(quantize->entries().size(), 11u);
    EXPECT_EQ(quantize->entries()[2], u"1/4T");
    EXPECT_EQ(quantize->getInt(), 5);
    EXPECT_EQ(quantize->displayText(), u"1/16");

    HostValue* lanes = loaded.value("Param Select");
    ASSERT_EQ(lanes->entries().size(), 4u);
    EXPECT_EQ(lanes->entries()[0], u"Velocity");
    // The two controller lanes carry the names of the chosen controllers.
    EXPECT_EQ(lanes->entries()[2], loaded.value("Controller1")->displayText());
    EXPECT_EQ(lanes->entries()[3], loaded.value("Controller2")->displayText());
    EXPECT_EQ(loaded.value("Controller1")->kind(), HostValue::Kind::Controller);
    EXPECT_EQ(loaded.value("Controller1")->getInt(), 71);
    EXPECT_EQ(loaded.value("Controller2")->getInt(), 74);

    for (int32_t tag = 4; tag <= 15; ++tag)
        if (tag != 9)
        {
            EXPECT_EQ(loaded.value(kNames[tag])->kind(), HostValue::Kind::Bool) << kNames[tag];
            EXPECT_EQ(loaded.value(kNames[tag])->getInt(), 0);
        }
}

TEST(EffectModuleTest, AHostWithoutItsOwnControllerListGetsPlainRanges)
{
    HostOptions options;
    options.offerControllerValues = false;
    LoadedEffect loaded(options);
    HostValue* controller = loaded.value("Controller1");
    ASSERT_TRUE(controller);
    EXPECT_EQ(controller->kind(), HostValue::Kind::Int);
    EXPECT_EQ(controller->minInt(), 1);
    EXPECT_EQ(controller->getMaxInt(), 127);
    EXPECT_EQ(controller->getInt(), 71);
    EXPECT_EQ(loaded.value("Param Select")->entries()[2], controller->displayText());
}

TEST(EffectModuleTest, ParametersDriveThePatternAndTriggersActOnlyWhenSet)
{
    LoadedEffect loaded;
    HostMidiTrack& track = loaded.host->track();
    loaded.value("Length")->setInt(4);
    EXPECT_EQ(loaded.patternField(0, 768), 4);
    loaded.value("Quantize")->setInt(3);
    EXPECT_EQ(loaded.patternField(0, 772), 240);
    loaded.value("Swing")->setInt(50);
    EXPECT_EQ(loaded.patternField(0, 776), 50);

    // Randomize without an editor draws from the whole note range, within the length only.
    loaded.value("Randomize")->setInt(1);
    const std::vector<uint8_t> after = loaded.getChunk();
    for (int32_t s = 0; s < 4; ++s)
    {
        const int32_t note = loaded.field(after, 8 + kChunkStepBytes * size_t(s));
        EXPECT_GE(note, 24);
        EXPECT_LE(note, 108);
    }
    EXPECT_EQ(loaded.field(after, 8 + kChunkStepBytes * 4), -1);
    const int32_t first = loaded.field(after, 8);

    // Going back to 0 does nothing; a trigger acts again only when set.
    loaded.value("Randomize")->setInt(0);
    loaded.value("Shift Octave Up")->setInt(1);
    loaded.value("Shift Octave Up")->setInt(0);
    const int32_t up = first + 12 > 108 ? first + 12 - 84 : first + 12;
    EXPECT_EQ(loaded.patternField(0, 0), up);
    loaded.value("Shift Octave Down")->setInt(1);
    EXPECT_EQ(loaded.patternField(0, 0), first);

    loaded.value("Shift Time Right")->setInt(1);
    EXPECT_EQ(loaded.patternField(0, 24), first);
    loaded.value("Shift Time Left")->setInt(1);
    EXPECT_EQ(loaded.patternField(0, 0), first);
    loaded.value("Reverse")->setInt(1);
    EXPECT_EQ(loaded.patternField(0, 72), first);
    loaded.value("Clear")->setInt(1);
    loaded.value("Clear")->setInt(0);
    EXPECT_EQ(loaded.patternField(0, 72), -1);

    // Copy pattern 1, paste into pattern 2: the header comes along and the parameters show it.
    loaded.value("Randomize")->setInt(0);
    loaded.value("Randomize")->setInt(1);
    loaded.value("Copy")->setInt(1);
    loaded.value("Pattern Select")->setInt(2);
    EXPECT_EQ(loaded.value("Length")->getInt(), 16);
    loaded.value("Paste")->setInt(1);
    EXPECT_EQ(loaded.value("Length")->getInt(), 4);
    EXPECT_EQ(loaded.value("Quantize")->getInt(), 3);
    EXPECT_EQ(loaded.value("Swing")->getInt(), 50);
    EXPECT_EQ(loaded.patternField(1, 0), loaded.patternField(0, 0));

    // The transport plays the current pattern: four steps of an eighth into the host's track.
    track.clearEvents();
    loaded.effect->reposition(0);
    loaded.effect->processRange(0, 960);
    int notes = 0;
    for (const TrackEvent& e : track.events())
        notes += e.isNoteOn();
    EXPECT_EQ(notes, 4);
    EXPECT_EQ(track.faults(), 0);
}

TEST(EffectModuleTest, IncomingNoteOnsSelectPatternsAndAreSwallowed)
{
    LoadedEffect loaded;
    HostValue* select = loaded.value("Pattern Select");
    loaded.noteOn(35);
    EXPECT_EQ(select->getInt(), 1);
    loaded.value("Length")->setInt(8);
    loaded.noteOn(37);
    EXPECT_EQ(select->getInt(), 2);
    EXPECT_EQ(loaded.value("Length")->getInt(), 16); // the refresh shows pattern 2
    loaded.noteOn(36);
    EXPECT_EQ(select->getInt(), 1);
    EXPECT_EQ(loaded.value("Length")->getInt(), 8);
    loaded.noteOn(127);
    EXPECT_EQ(select->getInt(), 92);
    loaded.noteOn(60, 0); // velocity 0 is a note-on like any other
    EXPECT_EQ(select->getInt(), 25);

    HostMidiEvent* off = loaded.host->track().makeIncoming(0x80, 40, 0, 0);
    EXPECT_EQ(loaded.effect->processEvent(off), kResultOk);
    loaded.host->track().releaseEvent(off);
    HostMidiEvent* cc = loaded.host->track().makeIncoming(0xB0, 40, 5, 0);
    loaded.effect->processEvent(cc);
    loaded.host->track().releaseEvent(cc);
    EXPECT_EQ(select->getInt(), 25);
    EXPECT_TRUE(loaded.host->track().events().empty()) << "nothing is passed on";
    EXPECT_EQ(loaded.patternField(0, 768), 8);
    EXPECT_EQ(loaded.field(loaded.getChunk(), 8 + kChunkPatternCount * kChunkPatternBytes), 24);
}

// The lanes play other controllers only after an accepted setup: not when the host moves the
// values, nor when the user refuses the dialog. An accepted setup, its names in the lanes and its
// numbers in the settings are played through the stand-in host end to end.
TEST(EffectModuleTest, ControllerNumbersChangeOnlyThroughAnAcceptedSetup)
{
    LoadedEffect loaded;
    loaded.value("Controller1")->setInt(10);
    EXPECT_EQ(loaded.controllerPlayed(), 71);

    loaded.host->dialogs().setScript({{{"Controller1", 1}, {"Controller2", 7}}, false});
    loaded.value("Config")->setInt(1);
    ASSERT_EQ(loaded.host->dialogs().runs().size(), 1u);
    EXPECT_EQ(loaded.host->dialogs().runs()[0].templateName, "Controller Setup");
    EXPECT_EQ(loaded.controllerPlayed(), 71);
}

// The layout and the round trip of the chunk are the effect's own; what only the module shows is
// that a chunk the host sets brings the host's values into agreement.
TEST(EffectModuleTest, SettingAChunkRefreshesTheParameters)
{
    LoadedEffect source;
    uint8_t classId[16];
    source.chunk->getClassId(classId);
    EXPECT_TRUE(kMidiSeqClassId.equals(classId));
    source.value("Pattern Select")->setInt(7);
    source.value("Length")->setInt(12);
    const std::vector<uint8_t> saved = source.getChunk();

    LoadedEffect target;
    ASSERT_EQ(target.chunk->setChunk(saved.data(), int32_t(saved.size())), kResultOk);
    EXPECT_EQ(target.value("Pattern Select")->getInt(), 7);
    EXPECT_EQ(target.value("Length")->getInt(), 12);

    // Same pattern already selected: the refresh still happens.
    std::vector<uint8_t> changed = saved;
    changed[8 + kChunkPatternBytes * 6 + 768 + 3] = 3; // length of pattern 7
    ASSERT_EQ(target.chunk->setChunk(changed.data(), int32_t(changed.size())), kResultOk);
    EXPECT_EQ(target.value("Length")->getInt(), 3);
}

TEST(EffectModuleTest, AStepSizeOutsideTheTableIsKeptAndPlayed)
{
    for (const int32_t ticks : {100, 7, 2000})
    {
        SCOPED_TRACE(ticks);
        LoadedEffect loaded;
        std::vector<uint8_t> bytes = loaded.getChunk();
        auto put = [&](size_t offset, int32_t value)
        {
            for (int i = 0; i < 4; ++i)
                bytes[offset + size_t(i)] = uint8_t(uint32_t(value) >> (24 - 8 * i));
        };
        // Pattern 3 is current, pattern 5 is reached by a note-on; both steps hold a note.
        for (const int32_t pattern : {2, 4})
        {
            const size_t at = 8 + 780 * size_t(pattern);
            put(at, 60);
            put(at + 24, 62);
            put(at + 768, 2);
            put(at + 772, ticks);
        }
        put(156008, 2);
        ASSERT_EQ(loaded.chunk->setChunk(bytes.data(), int32_t(bytes.size())), kResultOk);
        EXPECT_EQ(loaded.value("Quantize")->getInt(), 11) << "no entry of the table";
        EXPECT_EQ(loaded.patternField(2, 772), ticks) << "kept for the next save";

        HostMidiTrack& track = loaded.host->track();
        auto secondNoteTime = [&]
        {
            track.clearEvents();
            loaded.effect->reposition(0);
            loaded.effect->processRange(0, 2 * ticks + 1);
            std::vector<int32_t> times;
            for (const TrackEvent& e : track.events())
                if (e.isNoteOn()) times.push_back(e.time);
            return times.size() >= 2 ? times[1] : -1;
        };
        EXPECT_EQ(secondNoteTime(), ticks);

        loaded.noteOn(36 + 4);
        EXPECT_EQ(loaded.value("Pattern Select")->getInt(), 5);
        EXPECT_EQ(loaded.patternField(4, 772), ticks);
        EXPECT_EQ(secondNoteTime(), ticks);

        // A choice from the list still sets the pattern's step size.
        loaded.value("Quantize")->setInt(3);
        EXPECT_EQ(loaded.patternField(4, 772), 240);
    }
}

TEST(EffectModuleTest, TemplatesAndResourcesComeFromTheModuleFile)
{
    LoadedEffect loaded;
    auto* ui = queryFace<IUIFactory2>(loaded.effect);
    ASSERT_TRUE(ui);
    char outName[64] = "untouched";
    int32_t size = -1;
    EXPECT_EQ(ui->getTemplate("other", outName, nullptr, &size), kResultFalse);
    EXPECT_STREQ(outName, "untouched");
    EXPECT_EQ(size, -1);
    ASSERT_EQ(ui->getTemplate("editor", outName, nullptr, &size), kResultOk);
    EXPECT_STREQ(outName, "Tremolin");
    EXPECT_EQ(size, 3201);
    std::string text(size_t(size), '\0');
    ASSERT_EQ(ui->getTemplate("editor", nullptr, text.data(), &size), kResultOk);
    EXPECT_EQ(text.find("<template name=\"Controller Setup\">") != std::string::npos, true);
    EXPECT_EQ(text.find("\r\n"), text.find('\n') - 1);

    EXPECT_EQ(ui->getResource("2", nullptr, &size), kResultOk);
    EXPECT_EQ(size, 290);
    EXPECT_EQ(ui->getResource("no number", nullptr, &size), kResultFalse);
    EXPECT_EQ(ui->getResource("-1", nullptr, &size), kResultFalse);

    auto* builder = queryFace<IViewBuilder>(loaded.effect);
    IPlugView* view = reinterpret_cast<IPlugView*>(&size);
    const PViewRect rect{36, 44, 639, 274};
    EXPECT_EQ(builder->createView("Somewhere", &rect, &view), kResultFalse);
    EXPECT_EQ(view, nullptr);
    builder->release();
    ui->release();
}

// A context that withholds some of its faces and some of the objects its factory makes, as a
// smaller host would.
class PartialContext : public IHostContext, public IHostObjectFactory
{
public:
    PartialContext(HostContext* inner, std::vector<FUID> refusedFaces, std::vector<FUID> refusedObjects = {})
        : inner(inner), refused(std::move(refusedFaces)), refusedObjects(std::move(refusedObjects))
    {
    }
    tresult queryInterface(const TUID iid, void** obj) override
    {
        for (const FUID& id : refused)
            if (id.equals(iid))
            {
                *obj = nullptr;
                return kNoInterface;
            }
        if (IHostContext::iid.equals(iid) || FUnknown::iid.equals(iid))
        {
            addRef();
            *obj = static_cast<IHostContext*>(this);
            return kResultOk;
        }
        if (IHostObjectFactory::iid.equals(iid))
        {
            addRef();
            *obj = static_cast<IHostObjectFactory*>(this);
            return kResultOk;
        }
        return inner->queryInterface(iid, obj);
    }
    uint32_t addRef() override { return ++references; }
    uint32_t release() override { return --references; }
    tresult createObject(const TUID id, void** obj) override
    {
        for (const FUID& kind : refusedObjects)
            if (kind.equals(id))
            {
                *obj = nullptr;
                return kNoInterface;
            }
        return inner->createObject(id, obj);
    }

    HostContext* inner;
    std::vector<FUID> refused;
    std::vector<FUID> refusedObjects;
    uint32_t references = 1;
};

TEST(EffectModuleTest, InitializeCopesWithHostsThatLackOptionalInterfaces)
{
    // Without a plug site and a track the effect still starts, and stays quiet.
    {
        LoadedEffect loaded({}, false);
        PartialContext partial(loaded.host, {IHostPlugSite::iid, IHostMidiTrack::iid});
        std::string error;
        ASSERT_TRUE(loaded.module->initialize(loaded.effect, &partial, error)) << error;
        EXPECT_EQ(loaded.effect->processRange(0, 480), kResultOk);
        loaded.releaseFaces();
        loaded.module->unload();
        EXPECT_EQ(partial.references, 1u) << "every reference given back at terminate";
    }
    // Without a translation registry, settings or a dialog it starts with the default
    // controllers, and the setup button does nothing.
    {
        LoadedEffect loaded({}, false);
        PartialContext partial(loaded.host, {},
                               {IHostTemplateRegistry::iid, IHostSettings::iid, IHostTemplateDialog::iid});
        std::string error;
        ASSERT_TRUE(loaded.module->initialize(loaded.effect, &partial, error)) << error;
        EXPECT_EQ(loaded.value("Controller1")->getInt(), 71);
        loaded.value("Config")->setInt(1);
        EXPECT_TRUE(loaded.host->dialogs().runs().empty());
        loaded.value("Length")->setInt(5);
        EXPECT_EQ(loaded.patternField(0, 768), 5) << "the effect works all the same";
        loaded.releaseFaces();
        loaded.module->unload();
        EXPECT_EQ(partial.references, 1u);
    }
    // Without an object factory it refuses to start.
    {
        LoadedEffect loaded({}, false);
        PartialContext partial(loaded.host, {IHostObjectFactory::iid});
        EXPECT_EQ(loaded.effect->initialize(&partial), kInvalidArgument);
        EXPECT_EQ(loaded.effect->initialize(nullptr), kInvalidArgument);
        loaded.effect->terminate();
    }
}
} // namespace

TEST(EffectModuleTest, ADamagedSwingShowsWithinItsRange)
{
    // A chunk's swing is a percentage of any 32 bits; the host's value shows it within its range.
    const std::pair<int32_t, int32_t> cases[] = {
        {INT32_MAX, 100}, {250, 100}, {37, 37}, {-5, 0}, {INT32_MIN, 0}};
    for (const auto& [percent, shown] : cases)
    {
        LoadedEffect loaded;
        std::vector<uint8_t> bytes = loaded.getChunk();
        for (int i = 0; i < 4; ++i)
            bytes[8 + 776 + size_t(i)] = uint8_t(uint32_t(percent) >> (24 - 8 * i));
        ASSERT_EQ(loaded.chunk->setChunk(bytes.data(), int32_t(bytes.size())), kResultOk);
        EXPECT_EQ(loaded.value("Swing")->getInt(), shown) << percent;
    }
}
