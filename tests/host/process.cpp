#include "tests/host/process.h"

#include "tests/host/host_test_support.h"
#include "tests/host/platform/process_native.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace hosttest
{
namespace
{
// Output files of their own for every program, hidden from the names a test lists only by being
// removed again; the counter keeps programs of one test apart.
std::string outputName(const char* kind)
{
    static std::atomic<int> counter{0};
    return ".program-" + std::to_string(++counter) + "." + kind;
}
} // namespace

Child::Child(const TempFolder& folder, const std::string& program, const std::vector<std::string>& args,
             const std::vector<EnvChange>& env)
    : outPath(folder.file(outputName("out"))), errPath(folder.file(outputName("err")))
{
    std::string error;
    process = native::start({folder.path.string(), program, args, env, outPath, errPath}, error);
    if (!process)
    {
        writeText(outPath, "");
        writeText(errPath, "could not start " + program + ": " + error + "\n");
        exitCode = -1;
    }
}

Child::~Child()
{
    native::close(process);
    // On Windows a removed file stays listed until the last handle to it is closed, and the
    // system closes an ended program's handles a moment after it reports the end. Tests list
    // their folder right after a program ran, so wait until the files are really gone.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    for (const std::string& path : {outPath, errPath})
    {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
        while (std::filesystem::exists(path, ignored) && std::chrono::steady_clock::now() < deadline)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

int Child::finish(double seconds)
{
    if (!exitCode) exitCode = native::wait(process, seconds);
    return exitCode.value_or(-1);
}

bool Child::says(const std::string& text, double seconds)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (out().find(text) == std::string::npos)
    {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return true;
}

bool Child::hangUp()
{
    return native::hangUp(process);
}

std::string Child::out() const
{
    return native::plainLines(readText(outPath));
}

std::string Child::err() const
{
    return native::plainLines(readText(errPath));
}

CommandResult runProgram(const TempFolder& folder, const std::string& program,
                         const std::vector<std::string>& args, const std::vector<EnvChange>& env)
{
    Child child(folder, program, args, env);
    CommandResult result;
    // No test program runs for a day; a hung one shows as the test's own timeout.
    result.exitCode = child.finish(86400);
    result.out = child.out();
    result.err = child.err();
    return result;
}
} // namespace hosttest
