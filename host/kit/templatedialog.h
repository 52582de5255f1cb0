#pragma once

// The host's modal dialog over a module's template. tremolin-host runs without a screen, so the
// "user" is a script: which values to set on the dialog's controls, then accept or refuse. Each
// run is logged with what it showed, for the program's report and for tests.

#include "foundation/frefcounted.h"
#include "host/kit/xmlreader.h"
#include "module/hostinterfaces.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace hostkit
{
class TemplateRegistry;

struct DialogScript
{
    // Parameter name and the value the user picks in the control bound to it.
    std::vector<std::pair<std::string, int32_t>> values;
    bool accept = false;
};

struct DialogRun
{
    std::string templateName;
    std::u16string title;              // the template's name in the host's language
    std::vector<std::string> controls; // parameter names of the template's controls
    std::vector<std::string> changed;  // the scripted values that reached a value object
    bool accepted = false;
};

// What every dialog of one host shares: the script for the next runs and the log.
class DialogBoard
{
public:
    void setScript(DialogScript script);
    DialogScript script();
    void record(DialogRun run);
    std::vector<DialogRun> runs();

private:
    std::mutex mutex;
    DialogScript current;
    std::vector<DialogRun> log;
};

class TemplateDialog final : public IHostTemplateDialog, public FRefCounted<TemplateDialog>
{
public:
    // `registry` (may be null) translates the title into `language`.
    TemplateDialog(std::shared_ptr<DialogBoard> board, TemplateRegistry* registry, std::string language);

    tresult queryInterface(const TUID iid, void** obj) override;
    uint32_t addRef() override { return retain(); }
    uint32_t release() override { return drop(); }

    // Takes a template text with any number of top-level <template> elements; refuses text that
    // is not XML, keeping what was loaded before.
    tresult loadTemplate(const char* text) override;
    // 0 when the scripted user accepts; 1 when they refuse or no such template was loaded.
    tresult runTemplate(const char* name, IPlugController* controller) override;

private:
    ~TemplateDialog();
    friend class FRefCounted<TemplateDialog>;

    std::shared_ptr<DialogBoard> board;
    TemplateRegistry* registry;
    std::string language;
    std::vector<XmlElement> templates;
};
} // namespace hostkit
