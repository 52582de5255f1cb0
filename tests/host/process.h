#pragma once

// Running programs from the host's tests the same way on both platforms: no shell in between, so
// that arguments reach the program exactly as given. The program runs in a test's folder, its
// stdout and stderr go to files there, and its environment can differ from the test's.
// platform/process_posix.cpp and platform/process_win32.cpp do the work.

#include <optional>
#include <string>
#include <vector>

namespace hosttest
{
class TempFolder;
namespace native
{
struct Process;
}

struct CommandResult
{
    int exitCode = -1;
    std::string out;
    std::string err;
};

// One variable of a program's environment: set to `value`, or removed if there is none.
struct EnvChange
{
    std::string name;
    std::optional<std::string> value;
};

// Runs `program` (a path, or a name looked up on the PATH) in `folder` and waits for it. Its output
// files are gone again when this returns. An exit code of -1 means it could not be started; the
// reason is in `err`.
CommandResult runProgram(const TempFolder& folder, const std::string& program,
                         const std::vector<std::string>& args, const std::vector<EnvChange>& env = {});

// A program running in the background in `folder`.
class Child
{
public:
    Child(const TempFolder& folder, const std::string& program, const std::vector<std::string>& args,
          const std::vector<EnvChange>& env = {});
    // Kills the program if it still runs, and removes its output files.
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    // The exit code, waiting up to `seconds`; -1 if it is still running then.
    int finish(double seconds);
    // True once the program has written `text` on stdout, waiting up to `seconds`.
    bool says(const std::string& text, double seconds);
    std::string out() const;
    std::string err() const;
    // Tells the program its terminal closed; false where the system has no such signal.
    bool hangUp();

private:
    native::Process* process = nullptr;
    std::string outPath;
    std::string errPath;
    std::optional<int> exitCode;
};

// Changes this process's own environment; nullopt removes the variable.
void setEnvironment(const std::string& name, const std::optional<std::string>& value);
} // namespace hosttest
