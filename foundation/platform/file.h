#pragma once

// The operating system's half of the file layer: plain free functions over an open file, and
// questions about a path. Paths are UTF-8 on both platforms. Counts and positions are 64-bit.
// Where a call fails, `error` takes the system's code (errno or GetLastError).

#include <cstdint>

namespace foundation::platform
{
// Defined by each platform; holds its file handle.
struct File;

// Mode 1: an existing file, for reading. Mode 2: created, or emptied if it exists, for writing and
// reading back. Folders are never opened. Null on failure.
File* openFile(const char* path, int32_t mode, int32_t& error);
void closeFile(File* file);

// The bytes moved; fewer than asked at the end of the file or after a failure.
int64_t readFile(File* file, void* buffer, int64_t count, int32_t& error);
int64_t writeFile(File* file, const void* buffer, int64_t count, int32_t& error);
// Mode 0 from the start, 1 from the position, 2 from the end. The new position, or -1.
int64_t seekFile(File* file, int64_t offset, int32_t mode, int32_t& error);
// -1 on failure.
int64_t fileSize(File* file, int32_t& error);
// Cuts or extends the file; the position stays.
bool resizeFile(File* file, int64_t size, int32_t& error);

bool pathExists(const char* path);
bool pathIsFolder(const char* path);
// The last change, in 100-ns units since 1601-01-01 UTC; 0 if the path is not there.
int64_t modificationTime(const char* path);
} // namespace foundation::platform
