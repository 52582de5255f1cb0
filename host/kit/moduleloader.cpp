#include "host/kit/moduleloader.h"

#include "host/kit/modulefilecheck.h"
#include "host/kit/platform/hostplatform.h"

#include <cstring>

namespace hostkit
{
namespace
{
// Far more than any module needs, little enough to read whole for the check before loading.
constexpr size_t kLargestModuleFile = size_t(1) << 28;

// A text field of a record: up to its terminator, never past the field.
std::string field(const char* text, size_t size)
{
    return std::string(text, strnlen(text, size));
}

// The loader's text already names the file; keep only its reason.
std::string reasonOnly(const std::string& reason, const std::string& path)
{
    const std::string prefix = path + ": ";
    std::string out = reason.rfind(prefix, 0) == 0 ? reason.substr(prefix.size()) : reason;
    while (!out.empty() && (out.back() == '.' || out.back() == '\n' || out.back() == ' '))
        out.pop_back();
    return out;
}
} // namespace

std::string bracedText(const FUID& id)
{
    char text[40] = {};
    id.toBracedText(text);
    return text;
}

std::unique_ptr<PluginModule> PluginModule::load(const std::string& path, std::string& error)
{
    if (platform::isDirectory(path))
    {
        error = "The module file '" + path + "' is a folder, not a file.";
        return nullptr;
    }
    if (!platform::fileExists(path))
    {
        error = "The module file '" + path + "' does not exist.";
        return nullptr;
    }
    std::string reason;
    {
        // The whole file, not just its headers: what they promise must lie inside it.
        std::vector<uint8_t> bytes;
        bool tooLarge = false;
        if (!platform::readFile(path, bytes, reason, kLargestModuleFile, &tooLarge))
        {
            error = tooLarge ? "The file '" + path + "' is too large to be a module (" + reason + ")."
                             : "Can't read the module file '" + path + "': " + reason + ".";
            return nullptr;
        }
        if (!moduleFileIsWhole(bytes.data(), bytes.size(), reason))
        {
            error = "The file '" + path + "' is damaged: " + reason + "; copy it again.";
            return nullptr;
        }
    }
    platform::Library* library = platform::openLibrary(path, reason);
    if (!library)
    {
        error = "The file '" + path + "' can't be loaded as a module (" + reasonOnly(reason, path) + ").";
        return nullptr;
    }
    std::unique_ptr<PluginModule> module(new PluginModule);
    module->file = path;
    module->library = library;

    auto initDll = reinterpret_cast<InitDllProc>(platform::findSymbol(library, "InitDll"));
    auto exitDll = reinterpret_cast<ExitDllProc>(platform::findSymbol(library, "ExitDll"));
    auto getFactory =
        reinterpret_cast<GetPluginFactoryProc>(platform::findSymbol(library, "GetPluginFactory"));
    const char* missing = !getFactory ? "GetPluginFactory"
                          : !initDll  ? "InitDll"
                          : !exitDll  ? "ExitDll"
                                      : nullptr;
    if (missing)
    {
        error = "The file '" + path + "' is not a module: it does not export " + missing + ".";
        return nullptr; // the destructor closes the library
    }
    if (!initDll())
    {
        error = "The module '" + path + "' refused to start: InitDll failed.";
        return nullptr;
    }
    module->exitDll = exitDll;
    module->pluginFactory = getFactory();
    if (!module->pluginFactory)
    {
        error = "The module '" + path + "' gave no class factory.";
        return nullptr;
    }

    IPluginFactory* factory = module->pluginFactory;
    factory->getFactoryRecord(&module->record);
    IPluginFactory2* factory2 = nullptr;
    if (factory->queryInterface(IPluginFactory2::iid, reinterpret_cast<void**>(&factory2)) != kResultOk)
        factory2 = nullptr;
    const int32_t count = factory->getClassCount();
    for (int32_t index = 0; index < count; ++index)
    {
        PClassRecord classRecord{};
        if (factory->getClassRecord(index, &classRecord) != kResultOk)
            continue; // a class the old record can't describe
        ModuleClass entry;
        entry.id = FUID(classRecord.classId);
        entry.cardinality = classRecord.cardinality;
        entry.category = field(classRecord.category, sizeof classRecord.category);
        entry.name = field(classRecord.name, sizeof classRecord.name);
        PClassRecord2 second{};
        if (factory2 && factory2->getClassRecord2(index, &second) == kResultOk)
        {
            entry.subCategories = field(second.subCategories, sizeof second.subCategories);
            entry.vendor = field(second.vendor, sizeof second.vendor);
            entry.version = field(second.version, sizeof second.version);
        }
        module->classList.push_back(entry);
    }
    if (factory2) factory2->release();
    return module;
}

PluginModule::~PluginModule()
{
    unload();
}

IMidiEffect* PluginModule::instantiate(const FUID& classId, std::string& error)
{
    if (!pluginFactory)
    {
        error = "The module '" + file + "' is no longer loaded.";
        return nullptr;
    }
    void* object = nullptr;
    const tresult result = pluginFactory->instantiate(classId, IMidiEffect::iid, &object);
    if (result != kResultOk || !object)
    {
        bool known = false;
        for (const ModuleClass& entry : classList)
            known = known || entry.id == classId;
        error = known ? "The module '" + file + "' refused to create its class " + bracedText(classId) + "."
                      : "The module '" + file + "' has no effect class " + bracedText(classId) + ".";
        return nullptr;
    }
    auto* effect = static_cast<IMidiEffect*>(object);
    effects.push_back({effect, false});
    return effect;
}

bool PluginModule::initialize(IMidiEffect* effect, IHostContext* context, std::string& error)
{
    for (Effect& entry : effects)
    {
        if (entry.effect != effect) continue;
        const tresult result = effect->initialize(context);
        if (result != kResultOk)
        {
            error = "The module '" + file + "' failed to initialize its effect (result " +
                    std::to_string(result) + ").";
            return false;
        }
        entry.initialized = true;
        return true;
    }
    error = "The effect was not made by the module '" + file + "'.";
    return false;
}

void PluginModule::destroy(IMidiEffect* effect)
{
    for (auto it = effects.begin(); it != effects.end(); ++it)
    {
        if (it->effect != effect) continue;
        if (it->initialized) effect->terminate();
        effect->release();
        effects.erase(it);
        return;
    }
}

void PluginModule::unload()
{
    for (Effect& entry : effects)
        if (entry.initialized) entry.effect->terminate();
    for (Effect& entry : effects)
        if (entry.effect->release() != 0) stillReferenced = true;
    effects.clear();
    if (pluginFactory)
    {
        if (pluginFactory->release() != 0) stillReferenced = true;
        pluginFactory = nullptr;
    }
    if (exitDll)
    {
        exitDll();
        exitDll = nullptr;
    }
    if (library)
    {
        // An object of the module that someone still holds keeps its code: closing the library
        // under it would turn its next call into a jump to nowhere. The library then stays
        // mapped until the process ends.
        if (stillReferenced)
            platform::abandonLibrary(library);
        else
            platform::closeLibrary(library);
        library = nullptr;
    }
}
} // namespace hostkit
