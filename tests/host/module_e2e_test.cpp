// The real module file, loaded and played by the stand-in host. Compiled only in builds that
// make the module.

#ifdef TREMOLIN_MODULE_FILE

#include "host/kit/hostcontext.h"
#include "host/kit/hostsettings.h"
#include "host/kit/hostvalue.h"
#include "host/kit/moduleloader.h"
#include "host/kit/templateregistry.h"
#include "host/paneltemplate.h"
#include "host/projectfile.h"
#include "host/render.h"
#include "tests/host/host_test_support.h"
#include "tests/host/midireader.h"

#include <gtest/gtest.h>

#include <functional>
#include <set>

using namespace hostkit;

namespace
{
const std::string kModule = TREMOLIN_MODULE_FILE;
const std::string kDemo = TREMOLIN_SOURCE_DIR "/examples/demo.tremolin";

int count(const std::vector<std::string>& events, const std::string& kind)
{
    return static_cast<int>(std::count_if(events.begin(), events.end(),
                                          [&](const std::string& e)
                                          { return e.find(kind) != std::string::npos; }));
}

} // namespace

TEST(ModuleEndToEnd, DemoRendersToAMidiFileWithItsFourPatterns)
{
    hosttest::TempFolder folder;
    const auto result =
        hosttest::runProgram(folder, TREMOLIN_HOST_PROGRAM,
                             {"render", "--module", kModule, "--project", kDemo, "--settings", "settings",
                              "--bars", "16", "--switch", "5:C#1", "9:D1", "13:D#1", "--out", "demo.mid"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    const std::vector<std::string> events = hosttest::midiEvents(folder, folder.file("demo.mid"));
    ASSERT_FALSE(events.empty());
    // Bar 1, the bass: C1 tied over two sixteenths (gate 1 on the tie: 240 ticks), a C2 of gate
    // 0.3 (36 ticks), with the resonance lane (controller 71) on every step that has a value.
    const std::vector<std::string> bar1(events.begin(), events.begin() + 10);
    EXPECT_EQ(bar1, (std::vector<std::string>{"0, Note_on_c, 0, 36, 120", "0, Control_c, 0, 71, 30",
                                              "120, Control_c, 0, 71, 38", "240, Note_off_c, 0, 36, 0",
                                              "360, Note_on_c, 0, 48, 90", "360, Control_c, 0, 71, 46",
                                              "396, Note_off_c, 0, 48, 0", "480, Note_on_c, 0, 36, 110",
                                              "480, Control_c, 0, 71, 54", "540, Note_off_c, 0, 36, 0"}));
    const auto has = [&](const std::string& event)
    { return std::find(events.begin(), events.end(), event) != events.end(); };
    EXPECT_TRUE(has("7680, Note_on_c, 0, 60, 110")) << "bar 5 switched to the arpeggio";
    EXPECT_TRUE(has("7680, Control_c, 0, 74, 24")) << "with the brightness lane";
    EXPECT_TRUE(has("15360, Note_on_c, 0, 67, 115")) << "bar 9: the stabs";
    EXPECT_TRUE(has("15960, Note_off_c, 0, 67, 0")) << "held over three tied eighths, the last at half";
    EXPECT_TRUE(has("23040, Note_on_c, 0, 42, 110")) << "bar 13: the hats";
    EXPECT_TRUE(has("23184, Note_on_c, 0, 42, 50")) << "the second sixteenth swung by 24 ticks";
    EXPECT_FALSE(has("7680, Note_on_c, 0, 36, 120")) << "the bass stopped at the switch";
    EXPECT_EQ(count(events, "Note_on_c"), count(events, "Note_off_c"));
    EXPECT_EQ(count(events, "Note_on_c"), 182);
}

TEST(ModuleEndToEnd, SettingsDialogAndTranslationsServeTheRealModule)
{
    hosttest::TempFolder folder;
    const std::string settingsPath = folder.file("settings");
    {
        auto* settings = new HostSettings(settingsPath);
        settings->writeInt("Tremolin", "Controller1", 1);
        settings->release();
    }
    HostOptions options;
    options.settingsPath = settingsPath;
    options.language = "de";
    auto* context = new HostContext(options);
    std::string error;
    {
        auto module = PluginModule::load(kModule, error);
        ASSERT_TRUE(module) << error;
        IMidiEffect* effect = module->instantiate(kMidiSeqClassId, error);
        ASSERT_TRUE(effect) << error;
        ASSERT_TRUE(module->initialize(effect, context, error)) << error;
        EXPECT_EQ(context->registry().translate("Controller Setup", "de"), u"Controller Einstellungen")
            << "the module registered its table";

        IPlugController* controller = queryFace<IPlugController>(effect);
        ASSERT_TRUE(controller);
        IHostValue* lane = nullptr;
        ASSERT_EQ(controller->findValue("Param Select", &lane), kResultOk);
        const std::vector<std::u16string> lanes = static_cast<HostValue*>(lane)->entries();
        ASSERT_EQ(lanes.size(), 4u);
        EXPECT_EQ(lanes[2], u"Modulation") << "controller 1 from the settings, by the host's name";
        EXPECT_EQ(lanes[3], u"Brightness");

        // The user opens the controller setup, picks Volume and Pan, and accepts.
        context->dialogs().setScript({{{"Controller1", 7}, {"Controller2", 10}}, true});
        IHostValue* config = nullptr;
        ASSERT_EQ(controller->findValue("Config", &config), kResultOk);
        config->setInt(1);
        config->setInt(0);
        const auto runs = context->dialogs().runs();
        ASSERT_EQ(runs.size(), 1u);
        EXPECT_EQ(runs[0].title, u"Controller Einstellungen");
        EXPECT_EQ(static_cast<HostValue*>(lane)->entries()[2], u"Volume");

        // The new controllers play.
        Project project;
        project.patterns[0].steps[0].controller1 = 99;
        project.patterns[0].steps[0].controller2 = 98;
        const std::vector<uint8_t> chunk = encodeChunk(project);
        IPersistentChunk* persistent = queryFace<IPersistentChunk>(effect);
        ASSERT_TRUE(persistent);
        EXPECT_EQ(persistent->setChunk(chunk.data(), static_cast<int32_t>(chunk.size())), kResultOk);
        effect->reposition(0);
        effect->processRange(0, 120);
        const auto events = context->track().events();
        ASSERT_EQ(events.size(), 2u);
        EXPECT_EQ(events[0].data1, 7);
        EXPECT_EQ(events[0].data2, 99);
        EXPECT_EQ(events[1].data1, 10);

        // The chunk comes back as the host gave it.
        std::vector<uint8_t> back(kProjectChunkSize);
        int32_t size = 0;
        persistent->getChunk(back.data(), &size);
        EXPECT_EQ(size, kProjectChunkSize);
        EXPECT_EQ(back, chunk);
        // And so does the demo, every field of its four patterns: the host's codec and the
        // module's agree on every byte.
        Project demo;
        std::string error;
        ASSERT_TRUE(
            loadProjectFile(std::string(TREMOLIN_SOURCE_DIR) + "/examples/demo.tremolin", demo, error))
            << error;
        const std::vector<uint8_t> demoChunk = encodeChunk(demo);
        ASSERT_EQ(persistent->setChunk(demoChunk.data(), kProjectChunkSize), kResultOk);
        persistent->getChunk(back.data(), &size);
        EXPECT_EQ(back, demoChunk);
        persistent->release();
        controller->release();
        module->unload();
    }
    context->release();
    // terminate stored the numbers for the next run.
    auto* settings = new HostSettings(settingsPath);
    int32_t first = 0, second = 0;
    EXPECT_TRUE(settings->readInt("Tremolin", "Controller1", &first));
    EXPECT_TRUE(settings->readInt("Tremolin", "Controller2", &second));
    EXPECT_EQ(first, 7);
    EXPECT_EQ(second, 10);
    settings->release();
}

// Whatever the template names, the host must find: a parameter of the module for each control,
// a section of its own for "host.*", the module's view for the rest.
TEST(ModuleEndToEnd, EveryNameInTheModulesTemplateIsAParameterOrASectionTheHostHas)
{
    auto* context = new HostContext();
    std::string error;
    {
        auto module = PluginModule::load(kModule, error);
        ASSERT_TRUE(module) << error;
        IMidiEffect* effect = module->instantiate(kMidiSeqClassId, error);
        ASSERT_TRUE(effect && module->initialize(effect, context, error)) << error;
        IUIFactory2* resources = queryFace<IUIFactory2>(effect);
        IPlugController* controller = queryFace<IPlugController>(effect);
        ASSERT_TRUE(resources && controller);
        int32_t size = 0;
        char name[64] = {};
        ASSERT_EQ(resources->getTemplate("editor", name, nullptr, &size), kResultOk);
        std::string text(static_cast<size_t>(size), '\0');
        ASSERT_EQ(resources->getTemplate("editor", name, text.data(), &size), kResultOk);
        TemplateSet set;
        ASSERT_TRUE(readTemplateSet(text, set, error)) << error;
        EXPECT_EQ(set.skipped, std::vector<std::string>{});
        ASSERT_TRUE(set.find(name)) << name;
        ASSERT_TRUE(set.find("Controller Setup"));

        std::set<int32_t> tags;
        int sections = 0, views = 0;
        std::function<void(const std::vector<PanelNode>&)> visit = [&](const std::vector<PanelNode>& nodes)
        {
            for (const PanelNode& node : nodes)
            {
                if (node.isControl())
                {
                    IHostValue* value = nullptr;
                    EXPECT_EQ(controller->findValue(node.name.c_str(), &value), kResultOk) << node.name;
                    if (value) tags.insert(value->getTag());
                }
                else if (node.kind == PanelNode::Kind::HostView)
                {
                    EXPECT_EQ(node.name, "host.TremolinPresetSection");
                    ++sections;
                }
                else if (node.kind == PanelNode::Kind::ModuleView)
                {
                    EXPECT_EQ(node.name, "SequencerView");
                    ++views;
                }
                visit(node.children);
            }
        };
        for (const PanelTemplate& panel : set.templates)
            visit(panel.children);
        EXPECT_EQ(sections, 1);
        EXPECT_EQ(views, 1);
        // All 18 but "About", which the panel leaves to the host's key.
        EXPECT_EQ(tags.size(), 17u);
        EXPECT_TRUE(tags.count(15) == 0) << "About";
        EXPECT_TRUE(*tags.begin() == 0 && *tags.rbegin() == 17);
        for (const auto& [bitmap, path] : set.bitmaps)
        {
            int32_t bytes = 0;
            EXPECT_EQ(resources->getResource(path.c_str(), nullptr, &bytes), kResultOk) << bitmap;
        }
        resources->release();
        controller->release();
        module->unload();
    }
    context->unbindValues();
    context->release();
}

TEST(ModuleEndToEnd, AControllerNumberNoFileCanCarryIsRefusedWithAWarning)
{
    hosttest::TempFolder folder;
    hosttest::writeText(folder.file("settings"), "[Tremolin]\nController1 = 500\n");
    hosttest::writeText(folder.file("p.tremolin"), "pattern 1\n  1  C1  100  1  64  0  -\n");
    const auto result =
        hosttest::runProgram(folder, TREMOLIN_HOST_PROGRAM,
                             {"render", "--module", kModule, "--project", "p.tremolin", "--settings",
                              "settings", "--bars", "1", "--print", "--out", "p.mid"});
    ASSERT_EQ(result.exitCode, 0) << result.err;
    EXPECT_NE(result.err.find("warning: The setting Controller1 = 500 in 'settings' is no MIDI controller"),
              std::string::npos)
        << result.err;
    // The listing and the file agree: the default lane, controller 71, not 500 nor 127.
    EXPECT_NE(result.out.find("controller 71 (Resonance)  value 64"), std::string::npos) << result.out;
    EXPECT_EQ(result.out.find("controller 500"), std::string::npos) << result.out;
    const std::vector<std::string> events = hosttest::midiEvents(folder, folder.file("p.mid"));
    EXPECT_EQ(count(events, "Control_c, 0, 71, 64"), 1);
    EXPECT_EQ(count(events, "Control_c, 0, 127"), 0);
}

#endif
