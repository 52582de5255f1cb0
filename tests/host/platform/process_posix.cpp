#include "tests/host/platform/process_native.h"

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace hosttest
{
namespace native
{
struct Process
{
    pid_t pid;
};

namespace
{
// The test's environment with the launch's changes, as "NAME=value" lines.
std::vector<std::string> environmentFor(const std::vector<EnvChange>& changes)
{
    std::vector<std::string> lines;
    for (char** entry = environ; *entry; ++entry)
    {
        const std::string line = *entry;
        const std::string name = line.substr(0, line.find('='));
        bool changed = false;
        for (const EnvChange& change : changes)
            changed = changed || change.name == name;
        if (!changed) lines.push_back(line);
    }
    for (const EnvChange& change : changes)
        if (change.value) lines.push_back(change.name + "=" + *change.value);
    return lines;
}

std::vector<char*> pointers(std::vector<std::string>& texts)
{
    std::vector<char*> out;
    for (std::string& text : texts)
        out.push_back(text.data());
    out.push_back(nullptr);
    return out;
}

int decode(int status)
{
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    // As a shell reports a program that a signal ended.
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : -1;
}
} // namespace

Process* start(const Launch& launch, std::string& error)
{
    // Everything the new process needs is made before it exists: between fork and exec only
    // plain system calls are safe.
    std::vector<std::string> argTexts = {launch.program};
    argTexts.insert(argTexts.end(), launch.args.begin(), launch.args.end());
    std::vector<std::string> envTexts = environmentFor(launch.env);
    const std::vector<char*> argv = pointers(argTexts);
    const std::vector<char*> envp = pointers(envTexts);

    const int in = open("/dev/null", O_RDONLY | O_CLOEXEC);
    const int out = open(launch.outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    const int err = open(launch.errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    // The child reports a failed chdir or exec through this pipe; a successful exec closes it.
    int report[2] = {-1, -1};
    if (in < 0 || out < 0 || err < 0 || pipe2(report, O_CLOEXEC) != 0)
    {
        error = std::strerror(errno);
        for (int fd : {in, out, err, report[0], report[1]})
            if (fd >= 0) ::close(fd);
        return nullptr;
    }

    const pid_t pid = fork();
    if (pid == 0)
    {
        dup2(in, 0);
        dup2(out, 1);
        dup2(err, 2);
        if (chdir(launch.folder.c_str()) == 0) execvpe(argv[0], argv.data(), envp.data());
        const int failure = errno;
        (void)!write(report[1], &failure, sizeof failure);
        _exit(127);
    }
    const int forkError = errno;
    for (int fd : {in, out, err, report[1]})
        ::close(fd);
    if (pid < 0)
    {
        ::close(report[0]);
        error = std::strerror(forkError);
        return nullptr;
    }
    int failure = 0;
    ssize_t got;
    do
        got = read(report[0], &failure, sizeof failure);
    while (got < 0 && errno == EINTR);
    ::close(report[0]);
    if (got == sizeof failure)
    {
        waitpid(pid, nullptr, 0);
        error = std::strerror(failure);
        return nullptr;
    }
    return new Process{pid};
}

std::optional<int> wait(Process* process, double seconds)
{
    if (!process) return -1;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    for (;;)
    {
        int status = 0;
        const pid_t done = waitpid(process->pid, &status, WNOHANG);
        if (done == process->pid) return decode(status);
        if (done < 0 && errno != EINTR) return -1;
        if (std::chrono::steady_clock::now() >= deadline) return std::nullopt;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

bool hangUp(Process* process)
{
    return process && kill(process->pid, SIGHUP) == 0;
}

void close(Process* process)
{
    if (!process) return;
    int status = 0;
    if (waitpid(process->pid, &status, WNOHANG) == 0)
    {
        kill(process->pid, SIGKILL);
        waitpid(process->pid, &status, 0);
    }
    delete process;
}

std::string plainLines(std::string text)
{
    return text;
}
} // namespace native

void setEnvironment(const std::string& name, const std::optional<std::string>& value)
{
    if (value)
        setenv(name.c_str(), value->c_str(), 1);
    else
        unsetenv(name.c_str());
}
} // namespace hosttest
