#pragma once

// What the host asks of the operating system, in one place: loading a module file, finding the
// program and the user's settings folder, and reading and safely replacing files. Paths are
// UTF-8 with '/' separators on both platforms. hostplatform_posix.cpp answers it with dlopen and
// the XDG folders; hostplatform_win32.cpp with LoadLibraryW and %APPDATA%.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace hostkit::platform
{
struct Library;

// Null on failure, with the system's own explanation in `error`.
Library* openLibrary(const std::string& path, std::string& error);
void* findSymbol(Library* library, const char* name);
void closeLibrary(Library* library);
// Lets go of the handle but leaves the library loaded for the rest of the process.
void abandonLibrary(Library* library);
// What the platform's module files end with: ".so" or ".dll".
const char* moduleFileSuffix();

// The running program's file, or empty if the system does not say.
std::string executablePath();
// $XDG_CONFIG_HOME (else ~/.config), or %APPDATA%; empty if there is none.
std::string userConfigDirectory();

// $XDG_DATA_HOME (else ~/.local/share), or %APPDATA%; empty if there is none.
std::string userDataDirectory();
// The names of the plain files in a folder, sorted; empty when there is no such folder.
std::vector<std::string> filesIn(const std::string& folder);

bool fileExists(const std::string& path);
bool isDirectory(const std::string& path);
// Creates the folder and the folders above it that are missing.
bool makeDirectories(const std::string& path, std::string& error);
// Reads at most `limit` bytes: a larger file, or an endless one such as /dev/zero, is not read
// whole but refused with `tooLarge` set (when given) and nothing in `bytes`.
bool readFile(const std::string& path, std::vector<uint8_t>& bytes, std::string& error,
              size_t limit = SIZE_MAX, bool* tooLarge = nullptr);
// Writes a temporary file beside `path` and renames it over `path`, so that a reader sees either
// the old or the new content, never a part; on failure nothing is left behind. A link is
// followed and the file it names replaced; the replaced file's mode is kept. A target that is
// no regular file (a device, a pipe) is written in place instead, never renamed over; a folder
// is refused. Termination signals wait until the temporary is gone, and temporaries that an
// earlier, killed write left beside the target are removed.
bool replaceFile(const std::string& path, const void* data, size_t size, std::string& error);
// The name the temporaries of replaceFile carry beside `path`, without the random part.
std::string temporaryPrefix(const std::string& path);
// Writes to the program's standard output; false if it is closed or full.
bool writeStandardOutput(const void* data, size_t size);
// A reader that went away (`render --print | head`) makes writes to standard output fail
// rather than end the program before it has written its files.
void keepRunningOnClosedOutput();
// Removes a file; false if it was not there or could not be removed.
bool removeFile(const std::string& path);
} // namespace hostkit::platform
