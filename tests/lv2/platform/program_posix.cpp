#include "tests/lv2/program.h"

#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <signal.h>
#include <sstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace lv2test
{
Program::Program(const std::string& program, const std::vector<std::string>& args,
                 const std::vector<std::pair<std::string, std::string>>& env, const std::string& outputFile)
    : outputPath(outputFile)
{
    std::vector<std::string> argTexts{program};
    argTexts.insert(argTexts.end(), args.begin(), args.end());
    std::vector<std::string> envTexts;
    for (char** entry = environ; *entry; ++entry)
    {
        const std::string line = *entry;
        bool replaced = false;
        for (const auto& [name, value] : env)
            replaced = replaced || line.compare(0, name.size() + 1, name + "=") == 0;
        if (!replaced) envTexts.push_back(line);
    }
    for (const auto& [name, value] : env)
        envTexts.push_back(name + "=" + value);
    std::vector<char*> argv;
    for (std::string& text : argTexts)
        argv.push_back(text.data());
    argv.push_back(nullptr);
    std::vector<char*> envp;
    for (std::string& text : envTexts)
        envp.push_back(text.data());
    envp.push_back(nullptr);

    int pipeEnds[2];
    if (pipe2(pipeEnds, O_CLOEXEC) != 0) return;
    const int out = open(outputFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    const pid_t pid = fork();
    if (pid == 0)
    {
        dup2(pipeEnds[0], 0);
        dup2(out, 1);
        dup2(out, 2);
        execvpe(argv[0], argv.data(), envp.data());
        _exit(127);
    }
    ::close(pipeEnds[0]);
    if (out >= 0) ::close(out);
    input = pipeEnds[1];
    id = pid;
}

Program::~Program()
{
    if (id > 0)
    {
        kill(id, SIGTERM);
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
        while (waitpid(id, nullptr, WNOHANG) == 0)
        {
            if (std::chrono::steady_clock::now() > deadline)
            {
                kill(id, SIGKILL);
                waitpid(id, nullptr, 0);
                break;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
    if (input >= 0) ::close(input);
}

bool Program::running()
{
    return id > 0 && waitpid(id, nullptr, WNOHANG) == 0;
}

std::string Program::output() const
{
    std::ifstream file(outputPath);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string findProgram(const std::string& name)
{
    const char* path = std::getenv("PATH");
    std::stringstream folders(path ? path : "");
    std::string folder;
    while (std::getline(folders, folder, ':'))
    {
        const std::string candidate = folder + "/" + name;
        if (access(candidate.c_str(), X_OK) == 0) return candidate;
    }
    return "";
}
} // namespace lv2test
