#include "module/moduleentry.h"

#include <new>

namespace
{
const PFactoryRecord& factoryRecord()
{
    // Filled once per process; later factories take the same record.
    static const PFactoryRecord record = []
    {
        PFactoryRecord r;
        copyField(r.vendor, sizeof r.vendor, "Tarnwick Media Works");
        copyField(r.url, sizeof r.url, "https://tremolin.invalid");
        copyField(r.email, sizeof r.email, "mailto:support@tremolin.invalid");
        r.flags = 16;
        return r;
    }();
    return record;
}
} // namespace

TREMOLIN_EXPORT IPluginFactory* GetPluginFactory()
{
    if (CPluginFactory::instance)
    {
        CPluginFactory::instance->addRef();
        return CPluginFactory::instance;
    }
    CPluginFactory* factory = new (std::nothrow) CPluginFactory(factoryRecord());
    if (!factory) return nullptr;
    CPluginFactory::instance = factory;
    addModuleClasses(*factory);
    return factory;
}

TREMOLIN_EXPORT bool InitDll()
{
    return startModule(moduleInstanceHandle());
}

TREMOLIN_EXPORT bool ExitDll()
{
    return true;
}
