#pragma once

// A program the LV2 tests run beside them (jackd, jalv): started directly, without a shell, with
// its output in a file and its standard input a pipe that the test holds open (jalv's console
// quits at the end of its input), and stopped by its own process id when the test is done.

#include <string>
#include <utility>
#include <vector>

namespace lv2test
{
class Program
{
public:
    // `env` adds to or replaces the test's environment.
    Program(const std::string& program, const std::vector<std::string>& args,
            const std::vector<std::pair<std::string, std::string>>& env, const std::string& outputFile);
    // Stops it: a terminate signal, then a kill if it has not gone within two seconds.
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    bool started() const { return id > 0; }
    bool running();
    std::string output() const;

private:
    int id = -1;
    int input = -1;
    std::string outputPath;
};

// Where the program of that name is on the PATH; empty if it is nowhere.
std::string findProgram(const std::string& name);
} // namespace lv2test
