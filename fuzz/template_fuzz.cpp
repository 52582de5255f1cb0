// Feeds arbitrary text to the host's template readers, as a module's editor template (read into
// a panel's description too) and as its translation table: a module's resources must never crash or hang the
// host. Where both readers take a text (expat, which Linux uses, and the host's own, which Windows uses),
// they must give the same tree, so that a module reads alike on both.

#include "host/kit/templatedialog.h"
#include "host/kit/templateregistry.h"
#include "host/kit/xmlreader.h"
#include "host/paneltemplate.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::vector<hostkit::XmlElement> platform, own;
    std::string error;
    const bool platformRead = hostkit::parseXml(text, platform, error);
    const bool ownRead = hostkit::parseXmlOwnReader(text, own, error);
    if (platformRead && ownRead && !(platform == own)) std::abort();
    // The panel's reading of a template: sizes, styles, fonts and every part it leaves out.
    hostkit::TemplateSet set;
    hostkit::readTemplateSet(text, set, error);

    auto* registry = new hostkit::TemplateRegistry;
    int32_t handle = 0;
    registry->registerTemplate(text.data(), static_cast<int32_t>(text.size()), &handle);
    auto* dialog = new hostkit::TemplateDialog(std::make_shared<hostkit::DialogBoard>(), registry, "us");
    dialog->loadTemplate(text.c_str());
    dialog->release();
    registry->unregisterTemplate(handle);
    registry->release();
    return 0;
}
