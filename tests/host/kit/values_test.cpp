#include "host/kit/hostcontext.h"
#include "host/kit/hosttext.h"
#include "host/kit/hostvalue.h"
#include "module/effectinterfaces.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

using hostkit::HostValue;

namespace
{
// A module's controller face that writes down what it hears.
class ListeningController : public IPlugController
{
public:
    tresult queryInterface(const TUID, void** obj) override
    {
        *obj = nullptr;
        return kNoInterface;
    }
    uint32_t addRef() override { return 1; }
    uint32_t release() override { return 1; }
    tresult findValue(const char*, IHostValue** value) override
    {
        *value = nullptr;
        return kResultFalse;
    }
    tresult valueChanged(IHostValue* value, int32_t tag) override
    {
        heard.push_back({value, tag, value->getInt()});
        if (onChange) onChange(value, tag);
        return kResultOk;
    }

    struct Change
    {
        IHostValue* value;
        int32_t tag;
        int32_t seen; // what getInt said inside the call
    };
    std::vector<Change> heard;
    std::function<void(IHostValue*, int32_t)> onChange;
};

struct ValueRef
{
    explicit ValueRef(const FUID& kind) : value(HostValue::create(kind)) {}
    ~ValueRef()
    {
        if (value) value->release();
    }
    HostValue* operator->() const { return value; }
    HostValue* value;
};

std::string display(HostValue* value)
{
    char16_t text[IHostValue::kDisplayTextSize];
    value->getDisplayText(text);
    return hostkit::utf16ToUtf8(text);
}
} // namespace

TEST(HostValues, RangeValuesKeepToTheirBoundsAndReportTheirMaximum)
{
    ValueRef length(IHostIntValue::iid);
    length->setMinInt(1);
    length->setMaxInt(32);
    length->assignInt(16, 0);
    EXPECT_EQ(length->getInt(), 16);
    EXPECT_EQ(length->getMaxInt(), 32);
    EXPECT_EQ(length->getKind(), IHostValue::kKindInt);

    length->setInt(33);
    EXPECT_EQ(length->getInt(), 32) << "the upper bound is inclusive";
    length->setInt(-5);
    EXPECT_EQ(length->getInt(), 1);
    length->assignInt(1000, 0);
    EXPECT_EQ(length->getInt(), 32);
    EXPECT_EQ(display(length.value), "32");

    // Narrowing the bounds takes the value along.
    length->setMaxInt(8);
    EXPECT_EQ(length->getInt(), 8);

    ValueRef trigger(IHostBoolValue::iid);
    trigger->setInt(7);
    EXPECT_EQ(trigger->getInt(), 1) << "a trigger is only on or off";
    EXPECT_EQ(trigger->getMaxInt(), 1);
}

TEST(HostValues, ListenerHearsOnlyRealChangesAndOnlyFromNotifyingCalls)
{
    ListeningController controller;
    ValueRef swing(IHostIntValue::iid);
    swing->setMinInt(0);
    swing->setMaxInt(100);
    swing->assignInt(0, 0);
    swing->bindController(&controller, 2);
    EXPECT_EQ(swing->getTag(), 2);

    swing->setInt(0);
    EXPECT_TRUE(controller.heard.empty()) << "setting the value it already has tells nobody";

    swing->setInt(40);
    ASSERT_EQ(controller.heard.size(), 1u);
    EXPECT_EQ(controller.heard[0].value, static_cast<IHostValue*>(swing.value));
    EXPECT_EQ(controller.heard[0].tag, 2);
    EXPECT_EQ(controller.heard[0].seen, 40) << "the value is stored before the listener is told";

    swing->setInt(100);
    swing->setInt(250); // clamped to 100: no change
    EXPECT_EQ(controller.heard.size(), 2u);

    swing->assignInt(10, 0);
    EXPECT_EQ(swing->getInt(), 10);
    EXPECT_EQ(controller.heard.size(), 2u) << "assignInt with flag 0 configures quietly";
    swing->assignInt(20, 1);
    EXPECT_EQ(controller.heard.size(), 3u);
    swing->assignInt(20, 1);
    EXPECT_EQ(controller.heard.size(), 3u);
    swing->assignFloat(30.4f, 1);
    EXPECT_EQ(swing->getInt(), 30);
    EXPECT_EQ(controller.heard.size(), 4u);
}

TEST(HostValues, ListenerMayChangeOtherValuesWhileBeingTold)
{
    // A module's handler reads the value back and sets others; the host must not hold anything
    // that would block that.
    ListeningController controller;
    ValueRef select(IHostIntValue::iid), length(IHostIntValue::iid);
    select->setMaxInt(200);
    length->setMaxInt(32);
    select->bindController(&controller, 3);
    length->bindController(&controller, 0);
    controller.onChange = [&](IHostValue* value, int32_t tag)
    {
        if (tag == 3) length->setInt(value->getInt() % 32);
        if (tag == 0) select->setInt(select->getInt()); // no change: must not recurse
    };
    select->setInt(5);
    ASSERT_EQ(controller.heard.size(), 2u);
    EXPECT_EQ(controller.heard[0].tag, 3);
    EXPECT_EQ(controller.heard[1].tag, 0);
    EXPECT_EQ(length->getInt(), 5);
}

TEST(HostValues, ListValuesSelectByIndexOrTextAndTakeNewEntries)
{
    static const char16_t* const labels[] = {u"Velocity", u"Gate", u"Controller 1", u"Controller 2", nullptr};
    ValueRef lanes(IHostListValue::iid);
    IHostValueStringList* list = nullptr;
    ASSERT_EQ(lanes->queryInterface(IHostValueStringList::iid, reinterpret_cast<void**>(&list)), kResultOk);
    list->setStrings(labels);
    EXPECT_EQ(lanes->getKind(), IHostValue::kKindList);
    EXPECT_EQ(lanes->getMaxInt(), 3);

    EXPECT_EQ(lanes->assignString(u"Gate", 0), kResultOk);
    EXPECT_EQ(lanes->getInt(), 1);
    EXPECT_EQ(display(lanes.value), "Gate");
    EXPECT_EQ(lanes->assignString(u"Pitch", 0), kResultFalse);
    EXPECT_EQ(lanes->getInt(), 1) << "a text that is no entry changes nothing";

    lanes->setInt(9);
    EXPECT_EQ(lanes->getInt(), 9) << "the plain index is kept, also past the last entry";
    EXPECT_EQ(display(lanes.value), "");
    lanes->setInt(3);
    EXPECT_EQ(list->setStringAt(3, u"Brightness"), kResultOk);
    EXPECT_EQ(display(lanes.value), "Brightness");
    EXPECT_EQ(list->setStringAt(4, u"Nothing"), kInvalidArgument);

    int32_t length = 0;
    lanes->getString(nullptr, &length);
    EXPECT_EQ(length, 10);
    char16_t shortBuffer[4];
    length = 4;
    lanes->getString(shortBuffer, &length);
    EXPECT_EQ(std::u16string(shortBuffer), u"Bri") << "cut to the buffer, terminated";
    list->release();

    // Faces belong to their kinds.
    ValueRef range(IHostIntValue::iid);
    void* face = &face;
    EXPECT_EQ(range->queryInterface(IHostValueStringList::iid, &face), kNoInterface);
    EXPECT_EQ(face, nullptr);
    EXPECT_EQ(range->queryInterface(IHostValueUnit::iid, &face), kNoInterface);
    ASSERT_EQ(range->queryInterface(IHostValueAutomation::iid, &face), kResultOk);
    auto* automation = static_cast<IHostValueAutomation*>(face);
    automation->setDefault(16.0f);
    automation->setFlag(1, 1);
    automation->setFlag(16, 1);
    automation->setFlag(1, 0);
    EXPECT_EQ(range->defaultValue(), 16.0f);
    EXPECT_EQ(range->automationFlags(), 16);
    automation->release();
}

TEST(HostValues, ControllerValuesListTheMidiControllersByName)
{
    ValueRef controller(IHostControllerValue::iid);
    const std::pair<int32_t, const char*> named[] = {
        {0, "Bank Select"}, {1, "Modulation"}, {7, "Volume"},      {10, "Pan"},         {11, "Expression"},
        {64, "Sustain"},    {71, "Resonance"}, {74, "Brightness"}, {3, "Controller 3"}, {127, "Poly Mode On"},
    };
    for (const auto& [number, name] : named)
    {
        controller->setInt(number);
        EXPECT_EQ(display(controller.value), name) << "controller " << number;
    }
    EXPECT_EQ(controller->entries().size(), 128u);
    controller->setInt(200);
    EXPECT_EQ(controller->getInt(), 127);
    controller->setInt(-1);
    EXPECT_EQ(controller->getInt(), 0);
    EXPECT_EQ(controller->getMaxInt(), 127);
    EXPECT_EQ(controller->getKind(), IHostValue::kKindList);
    EXPECT_EQ(controller->assignString(u"Volume", 0), kResultOk);
    EXPECT_EQ(controller->getInt(), 7);

    void* face = nullptr;
    EXPECT_EQ(controller->queryInterface(IHostValueStringList::iid, &face), kNoInterface)
        << "the host's own list is not the module's to rewrite";
}

TEST(HostValues, FloatAndTextValues)
{
    ValueRef level(IHostFloatValue::iid);
    level->setMinFloat(-1.0f);
    level->setMaxFloat(1.0f);
    level->assignFloat(2.0f, 0);
    EXPECT_EQ(level->getFloat(), 1.0f);
    EXPECT_EQ(level->getKind(), IHostValue::kKindFloat);
    void* face = nullptr;
    ASSERT_EQ(level->queryInterface(IHostValueUnit::iid, &face), kResultOk);
    static_cast<IHostValueUnit*>(face)->setPrecision(3);
    static_cast<IHostValueUnit*>(face)->release();
    level->assignFloat(-0.25f, 0);
    EXPECT_EQ(display(level.value), "-0.250");

    ValueRef title(IHostStringValue::iid);
    ListeningController controller;
    title->bindController(&controller, 7);
    EXPECT_EQ(title->assignString(u"Bass \u00e4", 1), kResultOk);
    EXPECT_EQ(title->assignString(u"Bass \u00e4", 1), kResultOk);
    EXPECT_EQ(controller.heard.size(), 1u);
    EXPECT_EQ(title->getKind(), IHostValue::kKindString);
    EXPECT_EQ(display(title.value), "Bass \xc3\xa4");
    EXPECT_EQ(title->setInt(3), kResultFalse);
}

TEST(HostContextFactory, MakesEveryKindAndTheHostObjectsAndRefusesTheRest)
{
    hostkit::HostOptions options;
    options.offerControllerValues = false;
    auto* context = new hostkit::HostContext(options);
    const FUID kinds[] = {IHostIntValue::iid,       IHostBoolValue::iid,        IHostListValue::iid,
                          IHostFloatValue::iid,     IHostStringValue::iid,      IHostSettings::iid,
                          IHostStringSettings::iid, IHostTemplateRegistry::iid, IHostTemplateDialog::iid};
    for (const FUID& kind : kinds)
    {
        void* object = nullptr;
        ASSERT_EQ(context->createObject(kind, &object), kResultOk);
        ASSERT_NE(object, nullptr);
        static_cast<FUnknown*>(object)->release();
    }
    void* object = &object;
    EXPECT_EQ(context->createObject(IHostControllerValue::iid, &object), kNoInterface)
        << "this host was told to have no controller list";
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(context->createObject(IMidiEffect::iid, &object), kNoInterface);
    EXPECT_EQ(context->values().size(), 5u);

    // The context answers its own faces and the track.
    for (const FUID& face :
         {IHostContext::iid, IHostPlugSite::iid, IHostObjectFactory::iid, IHostMidiTrack::iid})
    {
        ASSERT_EQ(context->queryInterface(face, &object), kResultOk);
        static_cast<FUnknown*>(object)->release();
    }
    EXPECT_EQ(context->queryInterface(IPersistentChunk::iid, &object), kNoInterface);
    context->release();
}
