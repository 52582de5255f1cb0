#pragma once

// Helpers of the host's tests: a private folder per test, files, running programs (process.h) and
// the fake modules' files.

#include "host/kit/platform/hostplatform.h"
#include "module/effectinterfaces.h"
#include "tests/host/process.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

namespace hosttest
{
// A fresh folder, removed with everything in it at the end of the test.
class TempFolder
{
public:
    TempFolder()
    {
        std::random_device seed;
        const auto base = std::filesystem::temp_directory_path();
        for (;;)
        {
            path = base / ("tremolin-host-test-" + std::to_string(seed()));
            if (std::filesystem::create_directory(path)) break;
        }
    }
    ~TempFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    // With '/' between the names on both platforms, as the host writes paths.
    std::string file(const std::string& name) const { return (path / name).generic_string(); }
    std::vector<std::string> names() const
    {
        std::vector<std::string> out;
        for (const auto& entry : std::filesystem::directory_iterator(path))
            out.push_back(entry.path().filename().string());
        return out;
    }

    std::filesystem::path path;
};

inline std::string readText(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeText(const std::string& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

// Sets an environment variable of this process for one scope; nullopt removes it.
class ScopedEnvironment
{
public:
    ScopedEnvironment(const std::string& name, const std::optional<std::string>& value) : name(name)
    {
        if (const char* old = std::getenv(name.c_str())) previous = old;
        setEnvironment(name, value);
    }
    ~ScopedEnvironment() { setEnvironment(name, previous); }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    std::string name;
    std::optional<std::string> previous;
};

// ".so" or ".dll": the ending of module files on this platform.
inline std::string moduleSuffix()
{
    const std::string moduleName = std::string("Tremolin") + hostkit::platform::moduleFileSuffix();
    return moduleName.substr(moduleName.rfind('.'));
}

// A fake module file of the given kind (see fakes/fake_module.cpp).
inline std::string fakeModule(int kind)
{
    return std::string(TREMOLIN_FAKE_MODULE_DIR) + "/fake" + std::to_string(kind) + moduleSuffix();
}

// tremolin-host render with the first fake module and a settings file of the folder's own.
inline CommandResult renderWithFake(const TempFolder& folder, std::vector<std::string> args)
{
    args.insert(args.begin(), {"render", "--module", fakeModule(1), "--settings", "settings"});
    return runProgram(folder, TREMOLIN_HOST_PROGRAM, args);
}
// A module's controller face reduced to finding values by name: what a host's part (templates,
// dialogs, the panel) asks of a module that the test does not load.
class NamedValues : public IPlugController
{
public:
    tresult queryInterface(const TUID, void** obj) override
    {
        *obj = nullptr;
        return kNoInterface;
    }
    uint32_t addRef() override { return 1; }
    uint32_t release() override { return 1; }
    tresult findValue(const char* name, IHostValue** value) override
    {
        const auto found = values.find(name);
        *value = found == values.end() ? nullptr : found->second;
        return *value ? kResultOk : kResultFalse;
    }
    tresult valueChanged(IHostValue*, int32_t) override { return kResultOk; }

    std::map<std::string, IHostValue*> values;
};
} // namespace hosttest
