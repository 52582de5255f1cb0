// Feeds arbitrary text to the host's template reader, as a module's editor template and as its
// translation table: a module's resources must never crash or hang the host.

#include "host/kit/templatedialog.h"
#include "host/kit/templateregistry.h"
#include "host/kit/xmlreader.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::vector<hostkit::XmlElement> elements;
    std::string error;
    hostkit::parseXml(text, elements, error);

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
