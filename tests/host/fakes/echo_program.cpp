// A program for the tests of the process helpers: it tells what it was given. On stdout the
// variables TREMOLIN_ECHO_SET, _UNSET and _KEPT ("NAME=value", or "NAME unset"), then each
// argument in brackets on a line of its own; on stderr the folder it runs in. "--exit N" as the
// first arguments ends it with code N; "--hang" keeps it running until it is killed.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <thread>

int main(int argc, char** argv)
{
    for (const char* name : {"TREMOLIN_ECHO_SET", "TREMOLIN_ECHO_UNSET", "TREMOLIN_ECHO_KEPT"})
    {
        if (const char* value = std::getenv(name))
            std::printf("%s=%s\n", name, value);
        else
            std::printf("%s unset\n", name);
    }
    bool hang = false;
    for (int i = 1; i < argc; ++i)
    {
        std::printf("[%s]\n", argv[i]);
        hang = hang || std::strcmp(argv[i], "--hang") == 0;
    }
    std::fprintf(stderr, "%s\n", std::filesystem::current_path().string().c_str());
    std::fflush(stdout);
    while (hang)
        std::this_thread::sleep_for(std::chrono::seconds(1));
    return argc > 2 && std::strcmp(argv[1], "--exit") == 0 ? std::atoi(argv[2]) : 0;
}
