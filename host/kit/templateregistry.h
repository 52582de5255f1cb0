#pragma once

// The host's registry of translation tables. A module hands over its table (an XML document with
// a LanguageTable and a StringTable, in windows-1252) and gets a handle for taking it back; the
// host's panels look their texts up here in the user's language.

#include "foundation/frefcounted.h"
#include "module/hostinterfaces.h"

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace hostkit
{
class TemplateRegistry final : public IHostTemplateRegistry, public FRefCounted<TemplateRegistry>
{
public:
    TemplateRegistry();

    tresult queryInterface(const TUID iid, void** obj) override;
    uint32_t addRef() override { return retain(); }
    uint32_t release() override { return drop(); }

    // A table that can't be read is refused with kInvalidArgument and no handle.
    tresult registerTemplate(const void* bytes, int32_t size, int32_t* handle) override;
    tresult unregisterTemplate(int32_t handle) override;

    // The text for `key` in `language` (a key of the LanguageTable such as "de") from the tables
    // registered now, the newest first; the key itself when no table translates it.
    std::u16string translate(const std::string& key, const std::string& language);
    // Language key and name of every registered table, in order of registration.
    std::vector<std::pair<std::string, std::u16string>> languages();
    int32_t tableCount();
    // Why the last table was refused.
    std::string lastError();

private:
    ~TemplateRegistry() = default;
    friend class FRefCounted<TemplateRegistry>;

    struct Table
    {
        int32_t handle;
        std::vector<std::pair<std::string, std::u16string>> languages;
        // key -> language -> text
        std::map<std::string, std::map<std::string, std::u16string>> strings;
    };

    std::mutex mutex;
    std::vector<Table> tables;
    int32_t nextHandle = 1;
    std::string error;
};
} // namespace hostkit
