#pragma once

// Saving a file the user owns (a project, a settings file, an output the user named): the one
// way the host writes. The bytes go through platform::replaceFile (temporary beside the target,
// fsync, rename; links followed, mode kept, devices written in place). On top of that:
//
// - When the caller says what the file held when it was read, a file that no longer holds it (a
//   second session saved it, a `git pull` changed it) is not overwritten: the data goes beside it,
//   into NAME.conflict.EXT (or NAME.conflict-2.EXT, ...), and the outcome says so.
// - When the target can't be written (disk full, folder gone), the data goes to a rescue copy,
//   NAME.rescue.EXT beside the target, else in the settings folder's tremolin-host/rescue/, else
//   in the system's temporary folder; the outcome names it.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace hostkit
{
struct SaveOutcome
{
    enum class Kind
    {
        Saved,   // the target holds the data
        Beside,  // the target changed since it was read; the data is in `where`
        Rescued, // the target could not be written (`reason`); the data is in `where`
        Failed   // nothing could be written anywhere (`reason`)
    };
    Kind kind = Kind::Failed;
    std::string where;
    std::string reason;
    bool rescueTried = false;

    // One sentence for the user about anything but a plain save: what happened and where the data is.
    std::string sentence(const std::string& target) const;
};

// `expected`, when given, is what the target held when it was read. Without `rescue`, a failed
// write is only reported: for outputs that can simply be made again.
SaveOutcome saveUserFile(const std::string& path, const void* data, size_t size,
                         const std::vector<uint8_t>* expected = nullptr, bool rescue = true);

// NAME.WHAT.EXT beside `path` (NAME.WHAT-2.EXT, ... when that exists).
std::string besideName(const std::string& path, const std::string& what);
} // namespace hostkit
