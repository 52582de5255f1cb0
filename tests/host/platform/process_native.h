#pragma once

// What the tests' process helpers ask of the system: starting a program with its output in files,
// waiting for it, and ending it. process_posix.cpp and process_win32.cpp answer it.

#include "tests/host/process.h"

#include <optional>
#include <string>
#include <vector>

namespace hosttest::native
{
struct Launch
{
    std::string folder;
    std::string program;
    std::vector<std::string> args;
    std::vector<EnvChange> env;
    std::string outPath;
    std::string errPath;
};

// Null if the program could not be started, with the reason in `error`.
Process* start(const Launch& launch, std::string& error);
// The exit code once the program has ended, waiting up to `seconds`; nothing while it runs.
std::optional<int> wait(Process* process, double seconds);
// What a closed terminal tells the program (SIGHUP); false where the system has no such signal.
bool hangUp(Process* process);
// Ends the program at once if it still runs and lets go of it.
void close(Process* process);
// A program's output as the tests compare it: lines end in "\n" alone.
std::string plainLines(std::string text);
} // namespace hosttest::native
