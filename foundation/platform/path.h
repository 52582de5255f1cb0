#pragma once

// The operating system's half of paths: the form of its file paths and where a user's data lives.

namespace foundation::platform
{
// True where file paths are of the Windows form (drive letters, backslashes).
bool windowsPaths();

// The folder under which programs keep a user's data, in UTF-8 without a separator at the end,
// into a buffer of 1024 bytes. Windows: the roaming application data folder (the known folder,
// else %APPDATA%). POSIX: $XDG_CONFIG_HOME if it is absolute, else ~/.config from $HOME or the
// password database. False, with an empty text, if the platform names none.
bool userDataFolder(char* out);
} // namespace foundation::platform
