// A module's damaged template, from a stand-in module: the host shows what it can of the panel,
// says what it left out, and never falls over.

#include "host/kit/hostcontext.h"
#include "host/kit/platform/editorwindow.h"
#include "host/panel.h"
#include "host/paneltemplate.h"
#include "module/effectinterfaces.h"
#include "tests/host/host_test_support.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

using namespace hostkit;

namespace
{
// A module's faces for a panel: its values by name and its resources by number.
class FakeModule : public hosttest::NamedValues, public IUIFactory2
{
public:
    tresult queryInterface(const TUID id, void** obj) override
    {
        return NamedValues::queryInterface(id, obj);
    }
    uint32_t addRef() override { return 1; }
    uint32_t release() override { return 1; }
    tresult getController(int32_t, IPlugController**) override { return kNotImplemented; }
    tresult getTemplate(const char*, char*, char*, int32_t*) override { return kResultFalse; }
    tresult getResource(const char* text, void* buffer, int32_t* size) override
    {
        const auto found = resources.find(text);
        if (found == resources.end()) return kResultFalse;
        if (buffer) std::copy(found->second.begin(), found->second.end(), static_cast<char*>(buffer));
        *size = static_cast<int32_t>(found->second.size());
        return kResultOk;
    }

    std::map<std::string, std::string> resources;
};

const char* const kDamaged =
    "<resources><bitmap name='bmBack' path='200'/><bitmap name='bmBroken' path='201'/>"
    "<bitmap name='bmGone' path='299'/><bitmap name='bmWord' path='abc'/><image/></resources>\n"
    "<template name='Bad' background='bmBack'>\n"
    "  <knob name='Length' size='1,1,10,10'/>\n"
    "  <valuebox name='Length' size='10,10,40,18'/>\n"
    "  <valuebox name='Tempo' size='60,10,40,18'/>\n"
    "  <valuebox size='60,40,40,18'/>\n"
    "  <slider name='Swing' size='100,10,56,12' background='bmBroken' handle='bmMissing'/>\n"
    "  <switch name='Swing' size='5000,10,20,20' bitmap='bmGone'/>\n"
    "  <text name='Length' size='1,2,3'/>\n"
    "  <view name='host.Unknown' size='0,0,10,10'/>\n"
    "  <view size='10,100,100,20'><label title='x' size='0,0,50,16'/>"
    "<switch name='Swing' size='60,0,20,20' bitmap='bmWord'/></view>\n"
    "</template>\n"
    "<template name='Empty'><label title='nothing' size='0,0,0,0'/></template>\n";

bool says(const std::vector<std::string>& lines, const std::string& part)
{
    return std::any_of(lines.begin(), lines.end(),
                       [&](const std::string& line) { return line.find(part) != std::string::npos; });
}
} // namespace

TEST(PanelFromADamagedTemplate, ShowsWhatItCanAndSaysWhatItLeftOut)
{
    auto* context = new HostContext();
    FakeModule module;
    for (const char* name : {"Length", "Swing"})
    {
        void* made = nullptr;
        ASSERT_EQ(context->createObject(IHostIntValue::iid, &made), kResultOk);
        auto* value = static_cast<IHostValue*>(made);
        value->setMinInt(0);
        value->setMaxInt(100);
        value->assignInt(16, 0);
        module.values[name] = value;
    }
    module.resources["200"] =
        hosttest::readText(std::string(TREMOLIN_SOURCE_DIR) + "/midiplugs/midiseq/resource/bmPanel.bmp");
    module.resources["201"] = "BM but no picture at all";

    TemplateSet set;
    std::string error;
    ASSERT_TRUE(readTemplateSet(kDamaged, set, error)) << error;
    EXPECT_TRUE(says(set.skipped, "<knob>, an element the host does not know")) << set.skipped.size();
    EXPECT_TRUE(says(set.skipped, "<image>, which names no bitmap"));
    EXPECT_TRUE(says(set.skipped, "<valuebox>: it names no parameter"));
    EXPECT_TRUE(says(set.skipped, "<text 'Length'>: its size '1,2,3' is no size"));

    PanelServices services;
    services.controller = &module;
    services.resources = &module;
    services.context = context;
    {
        Panel panel(set, "Bad", services);
        EXPECT_EQ(panel.width(), 670) << "the background's size";
        EXPECT_EQ(panel.height(), 364);
        platform::EditorWindow window({panel.width(), panel.height(), "damaged", true, false}, error);
        ASSERT_TRUE(window.open()) << error;
        ASSERT_TRUE(window.show(error)) << error;
        ASSERT_TRUE(panel.open(window.nativeHandle(), error)) << error;
        for (int round = 0; round < 5; ++round)
            panel.idle();
        const std::vector<std::string>& skipped = panel.skipped();
        EXPECT_TRUE(says(skipped, "'Tempo', which names no parameter of the module"));
        EXPECT_TRUE(says(skipped, "'Swing': it lies outside what encloses it"));
        EXPECT_TRUE(says(skipped, "'host.Unknown', a section this host does not have"));
        EXPECT_TRUE(says(skipped, "the bitmap 'bmBroken': resource '201' is no picture the host reads"));
        EXPECT_TRUE(says(skipped, "the bitmap 'bmMissing', which the template does not list"));
        EXPECT_TRUE(says(skipped, "the bitmap 'bmWord': its path 'abc' is no resource number"));
        EXPECT_EQ(panel.boundParameters(), (std::vector<std::string>{"Length", "Swing", "Swing"}));
        panel.resize(800, 400);
        panel.idle();
    }
    {
        Panel nothing(set, "Empty", services);
        EXPECT_EQ(nothing.width(), 0);
        EXPECT_FALSE(nothing.open(nullptr, error));
        EXPECT_EQ(error, "The module's panel has no size the host can show.");
        Panel missing(set, "Absent", services);
        EXPECT_FALSE(missing.open(nullptr, error));
        EXPECT_EQ(error, "The module's template has no panel named 'Absent'.");
    }
    for (auto& [name, value] : module.values)
        value->release();
    context->release();
}
