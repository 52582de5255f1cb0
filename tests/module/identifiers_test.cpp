#include "module/effectinterfaces.h"
#include "module/hostinterfaces.h"
#include "module/pluginfactory.h"

#include <gtest/gtest.h>

#include <string>

namespace
{
std::string braced(const FUID& id)
{
    char text[39];
    id.toBracedText(text);
    return text;
}

// The host finds its interfaces by these bytes alone; one wrong digit and the module would
// silently run without a track or a settings store.
TEST(IdentifiersTest, HostInterfacesCarryTheirPublishedIdentifiers)
{
    EXPECT_EQ(braced(FUnknown::iid), "{00000000-0000-0000-C000-000000000046}");
    EXPECT_EQ(braced(IHostPlugSite::iid), "{BA4A5357-7FBD-4845-AC11-9E97FE77D756}");
    EXPECT_EQ(braced(IHostMidiTrack::iid), "{A2BBC853-1E35-48C3-B639-6F98521E9783}");
    EXPECT_EQ(braced(IHostObjectFactory::iid), "{EEC89683-80DB-4336-9177-273E138A763B}");
    EXPECT_EQ(braced(IHostTemplateRegistry::iid), "{ACA41C61-EEA9-4EFE-9C61-A09FFC185D47}");
    EXPECT_EQ(braced(IHostSettings::iid), "{14960B00-A154-11D5-BECC-00A0C9A636BC}");
    EXPECT_EQ(braced(IHostStringSettings::iid), "{1464F3B4-08D6-4A65-AFB8-066A898649A4}");
    EXPECT_EQ(braced(IHostTemplateDialog::iid), "{83424C65-EFD3-4800-BD10-8C370499F9D4}");
    EXPECT_EQ(braced(IHostIntValue::iid), "{037B1E33-F364-4539-92F2-09B82602C80B}");
    EXPECT_EQ(braced(IHostBoolValue::iid), "{D2D767F5-A3B7-4B44-8A8A-83FD04C1B489}");
    EXPECT_EQ(braced(IHostListValue::iid), "{5730772A-32DA-4950-BD57-EC7C821EDC4E}");
    EXPECT_EQ(braced(IHostControllerValue::iid), "{A356699B-5FE8-4D5C-81D9-81A2F75D66C2}");
    EXPECT_EQ(braced(IHostFloatValue::iid), "{6120B9B1-7B64-44D5-A6FF-FC83C0E7C1C7}");
    EXPECT_EQ(braced(IHostStringValue::iid), "{96512EB9-2DE8-4960-B268-4A131CF7C5F8}");
    EXPECT_EQ(braced(IHostValueAutomation::iid), "{F9EAE1EF-6373-4416-8560-41B38BF8BB15}");
    EXPECT_EQ(braced(IHostValueStringList::iid), "{D96D547F-A0C4-4C71-B629-32490B911ACD}");

    EXPECT_EQ(braced(IMidiEffect::iid), "{573C8B06-17BE-488E-B458-400CD3EE099E}");
    EXPECT_EQ(braced(IPlugController::iid), "{0466B781-A086-11D5-BECC-00A0C9A636BC}");
    EXPECT_EQ(braced(IGenericPlugController::iid), "{0466B782-A086-11D5-BECC-00A0C9A636BC}");
    EXPECT_EQ(braced(IUIFactory::iid), "{0466B783-A086-11D5-BECC-00A0C9A636BC}");
    EXPECT_EQ(braced(IUIFactory2::iid), "{4B99140E-67E4-4D4C-A93F-8F4FCEE79F70}");
    EXPECT_EQ(braced(IViewBuilder::iid), "{53D29FE8-ED00-400B-9E6D-4DD80444B116}");
    EXPECT_EQ(braced(IPersistentChunk::iid), "{7041A824-FC9A-488A-8F07-DAC05061E933}");
    EXPECT_EQ(braced(IPluginFactory::iid), "{7A4D811C-5211-4A1F-AED9-D2EE0B43BF9F}");
    EXPECT_EQ(braced(IPluginFactory2::iid), "{0007B650-F24B-4C0B-A464-EDB9F00B2ABB}");
    EXPECT_EQ(braced(IPluginFactory3::iid), "{4555A2AB-C123-4E57-9B12-291036878931}");

    // Our own identifiers must not collide with each other.
    EXPECT_NE(IHostContext::iid, IHostValueUnit::iid);
}
} // namespace
