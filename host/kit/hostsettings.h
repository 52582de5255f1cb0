#pragma once

// The host's settings store: sections of keys with integer, floating-point and text values, kept
// in a plain text file that outlives the process. Every write reads the file, changes the one
// key's line and replaces the file through a temporary one, so that several settings objects on
// one file (one module's initialize and its terminate, two modules) never undo each other's keys.
// The file belongs to the user: comments, lines the host does not understand and a byte-order
// mark stay as they are, a value that reads as no number is never overwritten, and a write that
// changes nothing does not touch the file. A file that can't be read or kept is ignored with one
// warning, through the sink the program sets.
//
// The file, UTF-8:
//
//     # tremolin-host settings
//     [Tremolin]
//     Controller1 = 71
//     Level = 0.75
//     Title = "Bass \"A\"\n"
//
// Texts are quoted with \" \\ \n \r \t escapes; numbers are written so that they read back
// exactly.

#include "foundation/frefcounted.h"
#include "module/hostinterfaces.h"

#include <atomic>
#include <string>
#include <utility>
#include <vector>

namespace hostkit
{
class HostSettings final : public IHostStringSettings, public FRefCounted<HostSettings>
{
public:
    // `path` is the settings file; empty means a store that keeps nothing.
    explicit HostSettings(std::string path);

    // $XDG_CONFIG_HOME/tremolin-host/settings, else ~/.config/tremolin-host/settings
    // (%APPDATA%\tremolin-host\settings on Windows); empty if the system has no such folder.
    static std::string defaultPath();

    tresult queryInterface(const TUID iid, void** obj) override;
    uint32_t addRef() override { return retain(); }
    uint32_t release() override { return drop(); }

    tresult writeInt(const char* section, const char* key, int32_t value) override;
    bool readInt(const char* section, const char* key, int32_t* value) override;
    tresult writeFloat(const char* section, const char* key, double value) override;
    bool readFloat(const char* section, const char* key, double* value) override;
    tresult writeString(const char* section, const char* key, const char16_t* text) override;
    bool readString(const char* section, const char* key, char16_t* text, int32_t size) override;

    const std::string& path() const { return file; }
    // Where warnings go, one sentence each; the program prints them. Set once, before any use.
    static void setWarningSink(void (*sink)(const std::string& sentence));
    // Why the last write failed, as a sentence without the final period.
    std::string lastError() const { return error; }

private:
    ~HostSettings() = default;
    friend class FRefCounted<HostSettings>;

    // The file line by line as it was read; entries know their section, key and value.
    struct Line
    {
        std::string text;
        std::string section;
        std::string key;
        std::string value;
        bool entry = false;
    };
    struct Contents
    {
        std::vector<Line> lines;
        bool byteOrderMark = false;
        std::string newline = "\n";
    };

    // The raw value of the key; false if the file or the key is missing.
    bool lookUp(const char* section, const char* key, std::string& raw);
    tresult store(const char* section, const char* key, const std::string& raw);
    bool load(Contents& contents);
    bool save(const Contents& contents);
    // A stored value that reads as no number: said once, and kept from being overwritten.
    void refuse(const char* section, const char* key, const std::string& raw);
    void warn(const std::string& sentence);

    const std::string file;
    std::string error;
};
} // namespace hostkit
