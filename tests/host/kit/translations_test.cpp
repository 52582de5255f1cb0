#include "host/kit/hostcontext.h"
#include "host/kit/hosttext.h"
#include "host/kit/templatedialog.h"
#include "host/kit/templateregistry.h"
#include "host/kit/xmlreader.h"
#include "module/effectinterfaces.h"
#include "tests/host/host_test_support.h"

#include <gtest/gtest.h>

#include <map>

using namespace hostkit;

namespace
{
// A translation table as modules carry it: windows-1252, CR LF, two top-level elements.
const std::string kTable = "<?xml version=\"1.0\" encoding=\"windows-1252\" ?>\r\n\r\n"
                           "<LanguageTable>\r\n"
                           "\t<language key=\"us\">American English</language>\r\n"
                           "\t<language key=\"de\">Deutsch</language>\r\n"
                           "</LanguageTable>\r\n\r\n"
                           "<StringTable>\r\n"
                           "\t<String Key=\"Controller Setup\">\r\n"
                           "\t\t<de>Controller Einstellungen</de>\r\n"
                           "\t</String>\r\n"
                           "\t<String Key=\"Gate &amp; Velocity\">\r\n"
                           "\t\t<de>Gate &amp; Anschlagst\xe4rke \x80</de>\r\n"
                           "\t</String>\r\n"
                           "</StringTable>\r\n";

const char* const kTemplates =
    "<resources><bitmap name=\"bmBack\" path=\"200\"/></resources>\n"
    "<template name=\"Tremolin\" background=\"bmBack\">\n"
    "  <view size=\"0,0,10,10\"><valuebox name=\"Length\" size=\"1,1,1,1\"/></view>\n"
    "</template>\n"
    "<template name=\"Controller Setup\">\n"
    "  <listbox name=\"Controller1\" size=\"0,0,150,220\" title=\"Controller 1\"/>\n"
    "  <listbox name=\"Controller2\" size=\"150,0,150,220\" title=\"Controller 2\"/>\n"
    "</template>\n";

using hosttest::NamedValues;

IHostValue* makeValue(HostContext* context, const FUID& kind)
{
    void* object = nullptr;
    context->createObject(kind, &object);
    return static_cast<IHostValue*>(object);
}
} // namespace

TEST(TemplateRegistry, TranslatesFromRegisteredTablesUntilTheyAreTakenBack)
{
    auto* registry = new TemplateRegistry;
    int32_t first = 0, second = 0;
    ASSERT_EQ(registry->registerTemplate(kTable.data(), static_cast<int32_t>(kTable.size()), &first),
              kResultOk);
    EXPECT_EQ(registry->translate("Controller Setup", "de"), u"Controller Einstellungen");
    EXPECT_EQ(registry->translate("Gate & Velocity", "de"), u"Gate & Anschlagst\u00e4rke \u20ac")
        << "windows-1252 bytes and entities decoded";
    EXPECT_EQ(registry->translate("Controller Setup", "us"), u"Controller Setup") << "no text for us";
    EXPECT_EQ(registry->translate("Unknown", "de"), u"Unknown");
    const auto languages = registry->languages();
    ASSERT_EQ(languages.size(), 2u);
    EXPECT_EQ(languages[1].first, "de");
    EXPECT_EQ(languages[1].second, u"Deutsch");

    // The bytes are the module's only during the call.
    std::string copy = kTable;
    ASSERT_EQ(registry->registerTemplate(copy.data(), static_cast<int32_t>(copy.size()), &second), kResultOk);
    std::fill(copy.begin(), copy.end(), 'x');
    EXPECT_NE(first, second);
    EXPECT_EQ(registry->unregisterTemplate(first), kResultOk);
    EXPECT_EQ(registry->translate("Controller Setup", "de"), u"Controller Einstellungen");
    EXPECT_EQ(registry->unregisterTemplate(second), kResultOk);
    EXPECT_EQ(registry->translate("Controller Setup", "de"), u"Controller Setup");
    EXPECT_EQ(registry->unregisterTemplate(second), kInvalidArgument);

    int32_t handle = 77;
    const std::string broken = "<StringTable><String Key=\"a\"></StringTable>";
    EXPECT_EQ(registry->registerTemplate(broken.data(), static_cast<int32_t>(broken.size()), &handle),
              kInvalidArgument);
    const std::string unrelated = "<html/>";
    EXPECT_EQ(registry->registerTemplate(unrelated.data(), 7, &handle), kInvalidArgument);
    EXPECT_EQ(registry->registerTemplate(nullptr, 5, &handle), kInvalidArgument);
    EXPECT_EQ(handle, 77);
    EXPECT_EQ(registry->tableCount(), 0);
    registry->release();
}

// expat (Linux) and the host's own reader (Windows) must read every module alike.
class XmlReaders : public ::testing::TestWithParam<bool>
{
protected:
    bool parse(std::string_view text, std::vector<XmlElement>& elements, std::string& error)
    {
        return GetParam() ? parseXml(text, elements, error) : parseXmlOwnReader(text, elements, error);
    }
};

TEST_P(XmlReaders, ReadTemplatesWithoutARootAndNameTheLineOfAFault)
{
    std::vector<XmlElement> elements;
    std::string error;
    ASSERT_TRUE(parse(kTemplates, elements, error)) << error;
    ASSERT_EQ(elements.size(), 3u);
    EXPECT_EQ(elements[2].children[1].name, "listbox");
    EXPECT_EQ(*elements[2].children[1].attribute("title"), "Controller 2");
    EXPECT_EQ(elements[0].children[0].attribute("missing"), nullptr);

    EXPECT_FALSE(parse("<a>\n<b>\n</a>", elements, error));
    EXPECT_EQ(error.rfind("line 3: ", 0), 0u) << error;
    EXPECT_FALSE(parse("<a x=1/>", elements, error));
    EXPECT_FALSE(parse("<a>&nbsp;</a>", elements, error));
    EXPECT_FALSE(parse("<a>", elements, error));
    EXPECT_FALSE(parse("<a/>stray", elements, error));
    EXPECT_FALSE(parse("<!DOCTYPE a [<!ENTITY e 'x'>]><a>&e;</a>", elements, error)) << "no document types";
    std::string deep;
    for (int i = 0; i < 300; ++i)
        deep = "<a>" + deep + "</a>";
    EXPECT_FALSE(parse(deep, elements, error)) << "nesting deeper than any template";
    ASSERT_TRUE(parse("<!-- c --><a t='&#x41;&#66;&lt;\tz'><![CDATA[<raw>]]></a>", elements, error)) << error;
    EXPECT_EQ(*elements[0].attribute("t"), "AB< z");
    EXPECT_EQ(elements[0].text, "<raw>");

    // A windows-1252 table comes out in UTF-8, its CR LF as LF.
    ASSERT_TRUE(parse(kTable, elements, error)) << error;
    ASSERT_EQ(elements.size(), 2u);
    EXPECT_EQ(elements[1].children[1].children[0].text, "Gate & Anschlagst\u00e4rke \u20ac");
    EXPECT_EQ(elements[0].text, "\n\t\n\t\n");
}

TEST_P(XmlReaders, ReadTheModulesOwnResourcesAsTheOtherReaderDoes)
{
    for (const char* file : {"editor.xml", "strings.xml"})
    {
        const std::string text =
            hosttest::readText(std::string(TREMOLIN_SOURCE_DIR) + "/midiplugs/midiseq/resource/" + file);
        std::vector<XmlElement> mine, other;
        std::string error;
        ASSERT_TRUE(parse(text, mine, error)) << file << ": " << error;
        ASSERT_TRUE((GetParam() ? parseXmlOwnReader : parseXml)(text, other, error)) << file << ": " << error;
        EXPECT_TRUE(mine == other) << file;
        EXPECT_GE(mine.size(), 2u) << file;
    }
}

INSTANTIATE_TEST_SUITE_P(Host, XmlReaders, ::testing::Values(true, false),
                         [](const auto& info) { return info.param ? "Platform" : "Own"; });

TEST(TemplateDialog, ScriptedUserSetsTheListsThenAcceptsOrRefuses)
{
    HostOptions options;
    options.language = "de";
    auto* context = new HostContext(options);
    int32_t handle = 0;
    context->registry().registerTemplate(kTable.data(), static_cast<int32_t>(kTable.size()), &handle);

    NamedValues controller;
    IHostValue* first = makeValue(context, IHostControllerValue::iid);
    IHostValue* second = makeValue(context, IHostControllerValue::iid);
    IHostValue* length = makeValue(context, IHostIntValue::iid);
    first->setInt(71);
    second->setInt(74);
    length->setMaxInt(32);
    controller.values = {{"Controller1", first}, {"Controller2", second}, {"Length", length}};

    void* object = nullptr;
    ASSERT_EQ(context->createObject(IHostTemplateDialog::iid, &object), kResultOk);
    auto* dialog = static_cast<IHostTemplateDialog*>(object);
    ASSERT_EQ(dialog->loadTemplate(kTemplates), kResultOk);

    context->dialogs().setScript({{{"Controller1", 7}, {"Controller2", 10}, {"Length", 5}}, true});
    EXPECT_EQ(dialog->runTemplate("Controller Setup", &controller), kResultOk);
    EXPECT_EQ(first->getInt(), 7);
    EXPECT_EQ(second->getInt(), 10);
    EXPECT_EQ(length->getInt(), 0) << "the dialog has no control for Length";

    context->dialogs().setScript({{{"Controller1", 1}}, false});
    EXPECT_EQ(dialog->runTemplate("Controller Setup", &controller), kResultFalse);
    EXPECT_EQ(first->getInt(), 1) << "the user changed the list before refusing";

    EXPECT_EQ(dialog->runTemplate("Nonexistent", &controller), kResultFalse);
    EXPECT_EQ(dialog->loadTemplate("<template"), kResultFalse);

    const std::vector<DialogRun> runs = context->dialogs().runs();
    ASSERT_EQ(runs.size(), 2u);
    EXPECT_EQ(runs[0].title, u"Controller Einstellungen");
    EXPECT_EQ(runs[0].controls, (std::vector<std::string>{"Controller1", "Controller2"}));
    EXPECT_EQ(runs[0].changed, (std::vector<std::string>{"Controller1", "Controller2"}));
    EXPECT_TRUE(runs[0].accepted);
    EXPECT_FALSE(runs[1].accepted);

    dialog->release();
    first->release();
    second->release();
    length->release();
    context->release();
}
