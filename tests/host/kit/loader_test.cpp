#include "host/kit/hostcontext.h"
#include "host/kit/moduleloader.h"
#include "tests/host/host_test_support.h"

#include <gtest/gtest.h>

#include <optional>

using namespace hostkit;

namespace
{
using hosttest::fakeModule;
using hosttest::moduleSuffix;

// Lets the fake modules write their life to a file of the test's.
struct FakeLog
{
    explicit FakeLog(const hosttest::TempFolder& folder) : path(folder.file("life.log"))
    {
        hosttest::setEnvironment("TREMOLIN_FAKE_LOG", path);
    }
    ~FakeLog() { hosttest::setEnvironment("TREMOLIN_FAKE_LOG", std::nullopt); }
    std::string text() const { return hosttest::readText(path); }
    std::string path;
};
} // namespace

TEST(ModuleLoader, LoadsReadsInstantiatesAndUnloadsInOrder)
{
    hosttest::TempFolder folder;
    FakeLog log(folder);
    std::string error;
    auto module = PluginModule::load(fakeModule(1), error);
    ASSERT_TRUE(module) << error;
    EXPECT_EQ(std::string(module->factoryRecord().vendor), "Fake Works");
    ASSERT_EQ(module->classes().size(), 1u);
    const ModuleClass& entry = module->classes()[0];
    EXPECT_EQ(entry.id, kMidiSeqClassId);
    EXPECT_EQ(entry.category, "Midi Module Class");
    EXPECT_EQ(entry.name, std::string(64, 'N')) << "a full field is read to its end, not past it";
    EXPECT_EQ(entry.cardinality, 0x7FFFFFFF);

    auto* context = new HostContext(HostOptions{folder.file("settings")});
    IMidiEffect* kept = module->instantiate(kMidiSeqClassId, error);
    IMidiEffect* dropped = module->instantiate(kMidiSeqClassId, error);
    ASSERT_TRUE(kept && dropped) << error;
    ASSERT_TRUE(module->initialize(kept, context, error)) << error;
    module->destroy(dropped); // never initialized: released without terminate
    module->unload();
    module->unload(); // a second time does nothing
    EXPECT_EQ(log.text(), "InitDll\nfactory\ninitialize\nreleased\nterminate\nreleased\nfactory-released\n"
                          "ExitDll\nunloaded\n");
    EXPECT_FALSE(module->leftOpen());
    context->release();
}

TEST(ModuleLoader, KeepsTheLibraryWhileSomeoneStillHoldsAnEffect)
{
    hosttest::TempFolder folder;
    FakeLog log(folder);
    std::string error;
    auto module = PluginModule::load(fakeModule(1), error);
    ASSERT_TRUE(module) << error;
    auto* context = new HostContext(HostOptions{folder.file("settings")});
    IMidiEffect* effect = module->instantiate(kMidiSeqClassId, error);
    ASSERT_TRUE(module->initialize(effect, context, error)) << error;
    void* chunk = nullptr;
    ASSERT_EQ(effect->queryInterface(IPersistentChunk::iid, &chunk), kResultOk);
    module->unload();
    EXPECT_TRUE(module->leftOpen());
    EXPECT_EQ(log.text(), "InitDll\nfactory\ninitialize\nterminate\nfactory-released\nExitDll\n");
    // The code behind the held face is still there to run.
    EXPECT_EQ(static_cast<IPersistentChunk*>(chunk)->release(), 0u);
    EXPECT_EQ(log.text(), "InitDll\nfactory\ninitialize\nterminate\nfactory-released\nExitDll\nreleased\n");
    context->release();
}

TEST(ModuleLoader, EveryFailureIsOneSentenceAndNoCrash)
{
    hosttest::TempFolder folder;
    FakeLog log(folder);
    std::string error;
    const std::string absent = folder.file("absent" + moduleSuffix());
    EXPECT_FALSE(PluginModule::load(absent, error));
    EXPECT_EQ(error, "The module file '" + absent + "' does not exist.");

    EXPECT_FALSE(PluginModule::load(folder.path.string(), error));
    EXPECT_NE(error.find("is a folder"), std::string::npos);

    const std::string text = folder.file("text" + moduleSuffix());
    hosttest::writeText(text, "this is not a shared library\n");
    EXPECT_FALSE(PluginModule::load(text, error));
    EXPECT_EQ(error.rfind("The file '" + text + "' can't be loaded as a module (", 0), 0u) << error;
    EXPECT_EQ(error.back(), '.');
    EXPECT_EQ(error.find('\n'), std::string::npos);

    EXPECT_FALSE(PluginModule::load(fakeModule(3), error));
    EXPECT_EQ(error,
              "The file '" + fakeModule(3) + "' is not a module: it does not export GetPluginFactory.");
    EXPECT_EQ(log.text(), "unloaded\n") << "nothing of it was called, and it was closed";

    std::filesystem::remove(log.path);
    EXPECT_FALSE(PluginModule::load(fakeModule(4), error));
    EXPECT_EQ(error, "The module '" + fakeModule(4) + "' refused to start: InitDll failed.");
    EXPECT_EQ(log.text(), "InitDll\nunloaded\n") << "a module that did not start is not told to exit";

    std::filesystem::remove(log.path);
    auto refusing = PluginModule::load(fakeModule(2), error);
    ASSERT_TRUE(refusing) << error;
    EXPECT_EQ(refusing->instantiate(kMidiSeqClassId, error), nullptr);
    EXPECT_EQ(error, "The module '" + fakeModule(2) + "' refused to create its class " +
                         bracedText(kMidiSeqClassId) + ".");
    const FUID other(0x01234567, 0x89ABCDEF, 0x01234567, 0x89ABCDEF);
    EXPECT_EQ(refusing->instantiate(other, error), nullptr);
    EXPECT_EQ(error, "The module '" + fakeModule(2) +
                         "' has no effect class {01234567-89AB-CDEF-0123-456789ABCDEF}.");
    refusing.reset();
    EXPECT_EQ(log.text(), "InitDll\nfactory\nfactory-released\nExitDll\nunloaded\n");
}
