#include "host/kit/userfile.h"

#include "host/kit/platform/hostplatform.h"

#include <filesystem>

namespace hostkit
{
namespace
{
// The largest file compared for a conflict: more than any project or settings file can be.
constexpr size_t kLargestCompared = size_t(64) << 20;

std::string fileName(const std::string& path)
{
    const size_t slash = path.find_last_of("/\\");
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

bool changedOnDisk(const std::string& path, const std::vector<uint8_t>& expected)
{
    std::vector<uint8_t> now;
    std::string ignored;
    if (!platform::readFile(path, now, ignored, kLargestCompared)) return true;
    return now != expected;
}

bool writeTo(const std::string& path, const void* data, size_t size, std::string& reason)
{
    return platform::replaceFile(path, data, size, reason);
}
} // namespace

std::string besideName(const std::string& path, const std::string& what)
{
    const size_t slash = path.find_last_of("/\\");
    const size_t nameStart = slash == std::string::npos ? 0 : slash + 1;
    size_t dot = path.find_last_of('.');
    if (dot == std::string::npos || dot <= nameStart) dot = path.size();
    for (int number = 1;; ++number)
    {
        std::string candidate = path.substr(0, dot);
        candidate.append(".").append(what);
        if (number > 1) candidate.append("-").append(std::to_string(number));
        candidate.append(path, dot, std::string::npos);
        if (!platform::fileExists(candidate) && !platform::isDirectory(candidate)) return candidate;
    }
}

SaveOutcome saveUserFile(const std::string& path, const void* data, size_t size,
                         const std::vector<uint8_t>* expected, bool rescue)
{
    SaveOutcome outcome;
    std::string reason;
    if (expected && changedOnDisk(path, *expected))
    {
        const std::string beside = besideName(path, "conflict");
        if (writeTo(beside, data, size, reason))
        {
            outcome.kind = SaveOutcome::Kind::Beside;
            outcome.where = beside;
            return outcome;
        }
    }
    else if (writeTo(path, data, size, reason))
    {
        outcome.kind = SaveOutcome::Kind::Saved;
        outcome.where = path;
        return outcome;
    }
    outcome.reason = reason;
    if (!rescue) return outcome;
    outcome.rescueTried = true;

    std::vector<std::string> places = {besideName(path, "rescue")};
    const std::string config = platform::userConfigDirectory();
    if (!config.empty()) places.push_back(config + "/tremolin-host/rescue");
    std::error_code noTemp;
    const std::filesystem::path temp = std::filesystem::temp_directory_path(noTemp);
    if (!noTemp) places.push_back(temp.generic_string());
    for (size_t i = 0; i < places.size(); ++i)
    {
        std::string place = places[i];
        std::string ignored;
        if (i > 0)
        {
            if (!platform::makeDirectories(place, ignored)) continue;
            place = besideName(place + "/" + fileName(path), "rescue");
        }
        if (writeTo(place, data, size, ignored))
        {
            outcome.kind = SaveOutcome::Kind::Rescued;
            outcome.where = place;
            return outcome;
        }
    }
    return outcome;
}

std::string SaveOutcome::sentence(const std::string& target) const
{
    switch (kind)
    {
    case Kind::Saved:
        return "Saved " + target + ".";
    case Kind::Beside:
        return "'" + target +
               "' changed on disk since it was read, so it was left as it is; the new version is in '" +
               where + "'.";
    case Kind::Rescued:
        return "Can't write '" + target + "': " + reason + "; a rescue copy is in '" + where + "'.";
    case Kind::Failed:
        break;
    }
    return "Can't write '" + target + "': " + reason +
           (rescueTried ? ", and no rescue copy could be written." : ".");
}
} // namespace hostkit
