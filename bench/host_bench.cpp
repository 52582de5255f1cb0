// The cost of bringing an effect up and down in a host: instantiate, initialize (18 value
// objects, settings read, string table registered) and terminate (settings written), through the
// stand-in host and the module file as a host loads it.

#include "host/kit/hostcontext.h"
#include "host/kit/moduleloader.h"

#include <benchmark/benchmark.h>

#include <filesystem>
#include <string>

namespace
{
void BM_InstantiateInitializeTerminate(benchmark::State& state)
{
    std::string error;
    auto module = hostkit::PluginModule::load(TREMOLIN_MODULE_PATH, error);
    if (!module)
    {
        state.SkipWithError(error.c_str());
        return;
    }
    hostkit::HostOptions options;
    options.settingsPath = (std::filesystem::temp_directory_path() / "tremolin-host-bench.settings").string();
    auto* host = new hostkit::HostContext(options);
    for (auto _ : state)
    {
        IMidiEffect* effect = module->instantiate(kMidiSeqClassId, error);
        module->initialize(effect, host, error);
        module->destroy(effect);
    }
    module->unload();
    host->unbindValues();
    host->release();
    std::filesystem::remove(options.settingsPath);
}
BENCHMARK(BM_InstantiateInitializeTerminate)->Unit(benchmark::kMicrosecond);
} // namespace

BENCHMARK_MAIN();
