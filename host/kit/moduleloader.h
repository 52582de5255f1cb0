#pragma once

// Loads a module file the way a host does: open the library, InitDll, GetPluginFactory, read the
// factory's and classes' records, and make effects by class identifier. Unloading reverses it in
// a fixed order: terminate every initialized effect, release every effect, release the factory,
// ExitDll, close the library. Every failure is one sentence in `error`, never a crash of the host.

#include "foundation/fuid.h"
#include "module/effectinterfaces.h"
#include "module/pluginfactory.h"

#include <memory>
#include <string>
#include <vector>

namespace hostkit
{
namespace platform
{
struct Library;
}

struct ModuleClass
{
    FUID id;
    int32_t cardinality = 0;
    std::string category;
    std::string name;
    // From the second form of the record, when the factory has it.
    std::string subCategories;
    std::string vendor;
    std::string version;
};

class PluginModule
{
public:
    // The module, or null with the reason in `error`.
    static std::unique_ptr<PluginModule> load(const std::string& path, std::string& error);
    ~PluginModule();
    PluginModule(const PluginModule&) = delete;
    PluginModule& operator=(const PluginModule&) = delete;

    const std::string& path() const { return file; }
    const PFactoryRecord& factoryRecord() const { return record; }
    const std::vector<ModuleClass>& classes() const { return classList; }
    IPluginFactory* factory() { return pluginFactory; }

    // A new effect of the class, held by the module until destroy or unload; null with the reason
    // in `error` when the module refuses.
    IMidiEffect* instantiate(const FUID& classId, std::string& error);
    // initialize with the host's context; the effect is then terminated before it is released.
    bool initialize(IMidiEffect* effect, IHostContext* context, std::string& error);
    // Terminates (if initialized) and releases one effect made by instantiate.
    void destroy(IMidiEffect* effect);
    // Everything in reverse; the module can't be used afterwards. Runs at destruction too. If an
    // effect or the factory is still referenced after the loader's own release, the library is
    // left open so that those references stay callable.
    void unload();
    // True after an unload that had to leave the library open.
    bool leftOpen() const { return stillReferenced; }

private:
    PluginModule() = default;

    struct Effect
    {
        IMidiEffect* effect;
        bool initialized;
    };

    std::string file;
    platform::Library* library = nullptr;
    ExitDllProc exitDll = nullptr;
    IPluginFactory* pluginFactory = nullptr;
    PFactoryRecord record{};
    std::vector<ModuleClass> classList;
    std::vector<Effect> effects;
    bool stillReferenced = false;
};

// The braced text form of an identifier, for messages.
std::string bracedText(const FUID& id);
} // namespace hostkit
