// The parameter list over the stand-in host's real value objects.

#include "host/kit/hostcontext.h"
#include "host/kit/hostvalue.h"
#include "module/effectinterfaces.h"
#include "plugbase/pvaluecontainer.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

using namespace hostkit;

namespace
{
// Remembers which values changed, as the effect's controller face would hear them.
class Listener : public IPlugController
{
public:
    tresult queryInterface(const TUID, void** obj) override
    {
        *obj = nullptr;
        return kNoInterface;
    }
    uint32_t addRef() override { return 1; }
    uint32_t release() override { return 1; }
    tresult findValue(const char*, IHostValue**) override { return kResultFalse; }
    tresult valueChanged(IHostValue*, int32_t tag) override
    {
        tags.push_back(tag);
        return kResultOk;
    }
    std::vector<int32_t> tags;
};

struct Host
{
    Host()
    {
        HostOptions options;
        options.settingsPath =
            (std::filesystem::temp_directory_path() / ("tremolin-values-" + std::to_string(::getpid())))
                .string();
        std::filesystem::remove(options.settingsPath);
        path = options.settingsPath;
        context = new HostContext(options);
    }
    ~Host()
    {
        context->unbindValues();
        context->release();
        std::filesystem::remove(path);
    }
    HostContext* context;
    std::string path;
};

TEST(ValueContainerTest, AddsEveryKindConfiguredAndBoundAndFindsThemAgain)
{
    Host host;
    Listener listener;
    static const char16_t* const lanes[] = {u"Velocity", u"Gate", nullptr};
    {
        PValueContainer values(host.context, &listener);
        HostValue* range = static_cast<HostValue*>(values.addRangeValue(3, "Range", 1, 32, 16, true, true));
        HostValue* trigger = static_cast<HostValue*>(values.addTriggerValue(4, "Trigger", true, false));
        HostValue* list = static_cast<HostValue*>(values.addListValue(5, "List", lanes, u"Gate", true));
        HostValue* real =
            static_cast<HostValue*>(values.addFloatValue(6, "Float", -1.0f, 1.0f, 0.25f, 3, false, true));
        HostValue* text = static_cast<HostValue*>(values.addStringValue(7, "Text", u"hello", false));
        ASSERT_TRUE(range && trigger && list && real && text);
        // Configuring with the flag 0 told nobody.
        EXPECT_TRUE(listener.tags.empty());

        EXPECT_EQ(range->minInt(), 1);
        EXPECT_EQ(range->getMaxInt(), 32);
        EXPECT_EQ(range->getInt(), 16);
        EXPECT_EQ(range->defaultValue(), 16.0f);
        EXPECT_EQ(range->automationFlags(), 1 | 16);
        EXPECT_EQ(trigger->getInt(), 1);
        EXPECT_EQ(trigger->defaultValue(), 1.0f);
        EXPECT_EQ(list->getInt(), 1);
        EXPECT_EQ(list->entries().size(), 2u);
        EXPECT_EQ(list->automationFlags(), 1);
        EXPECT_EQ(real->precision(), 3);
        EXPECT_EQ(real->getFloat(), 0.25f);
        EXPECT_EQ(text->displayText(), u"hello");

        range->setInt(20);
        list->setInt(0);
        EXPECT_EQ(listener.tags, (std::vector<int32_t>{3, 5}));

        EXPECT_EQ(values.getValueCount(), 5);
        EXPECT_EQ(values.getValueByTag(5), list);
        EXPECT_EQ(values.getValueByTag(99), nullptr);
        EXPECT_EQ(values.getValueByName("Float"), real);
        EXPECT_EQ(values.getValueByName("float"), nullptr); // names are exact
        EXPECT_EQ(values.getValueAt(1), trigger);
        EXPECT_EQ(values.getValueAt(5), nullptr);
        EXPECT_EQ(values.getValueAt(-1), nullptr);
        char name[32];
        ASSERT_TRUE(values.getValueName(4, name));
        EXPECT_STREQ(name, "Text");
        EXPECT_FALSE(values.getValueName(5, name));

        // The first of two equal names or tags wins; a null value or name adds nothing.
        values.addRangeValue(3, "Range", 0, 1, 0, false, false);
        EXPECT_EQ(values.getValueByName("Range"), range);
        EXPECT_EQ(values.getValueByTag(3), range);
        values.addHostValue(nullptr, 8, "Nothing");
        EXPECT_EQ(values.getValueCount(), 6);
    }
    // The container gave every value back: the host holds the only references left.
    for (HostValue* value : host.context->values())
        EXPECT_EQ(value->addRef(), 2u) << "one reference of the host's";
    for (HostValue* value : host.context->values())
        value->release();
}

TEST(ValueContainerTest, CarriesValuesToAndFromTheHostsSettings)
{
    Host host;
    {
        PValueContainer values(host.context, nullptr);
        values.addRangeValue(0, "Steps", 1, 32, 16, false, false)->setInt(7);
        values.addFloatValue(1, "Amount", 0.0f, 1.0f, 0.5f, 2, false, false)->assignFloat(0.125f, 0);
        values.addStringValue(2, "Label", u"groove", false);
        EXPECT_TRUE(values.storeValues("Test"));
    }
    {
        PValueContainer values(host.context, nullptr);
        IHostValue* steps = values.addRangeValue(0, "Steps", 1, 32, 16, false, false);
        IHostValue* amount = values.addFloatValue(1, "Amount", 0.0f, 1.0f, 0.5f, 2, false, false);
        IHostValue* label = values.addStringValue(2, "Label", u"", false);
        IHostValue* fresh = values.addRangeValue(3, "Unsaved", 0, 9, 4, false, false);
        EXPECT_TRUE(values.restoreValues("Test", 0));
        EXPECT_EQ(steps->getInt(), 7);
        EXPECT_EQ(amount->getFloat(), 0.125f);
        char16_t text[16] = {};
        int32_t length = 16;
        label->getString(text, &length);
        EXPECT_EQ(std::u16string(text), u"groove");
        EXPECT_EQ(fresh->getInt(), 4) << "keys the settings don't hold are left alone";
    }
    // Without a factory there is nothing to create and nowhere to store.
    PValueContainer orphan(nullptr, nullptr);
    EXPECT_EQ(orphan.addRangeValue(0, "Steps", 1, 32, 16, false, false), nullptr);
    EXPECT_EQ(orphan.getValueCount(), 0);
    EXPECT_FALSE(orphan.storeValues("Test"));
}
} // namespace
