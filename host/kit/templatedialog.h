#pragma once

// The host's modal dialog over a module's template. A host with a screen shows it through the
// presenter it gives the board; without one the "user" is a script: which values to set on the
// dialog's controls, then accept or refuse. Each run is logged with what it showed, for the
// program's report and for tests.

#include "foundation/frefcounted.h"
#include "host/kit/xmlreader.h"
#include "module/hostinterfaces.h"

#include <atomic>
#include <cstdint>
#include <functional>
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

// What a presenter is asked to show: the template, its title in the host's language, and the
// controller whose values its controls are bound to.
struct DialogRequest
{
    const XmlElement* shown = nullptr;
    std::u16string title;
    IPlugController* controller = nullptr;
};
// Shows the dialog modally; true when the user accepts. The names of the values it set go into
// `changed`. Called on the thread that runs the template, the user-interface thread.
using DialogPresenter = std::function<bool(const DialogRequest& request, std::vector<std::string>& changed)>;

// What every dialog of one host shares: the script for the next runs, the presenter and the log.
class DialogBoard
{
public:
    void setScript(DialogScript script);
    DialogScript script();
    // A presenter takes the script's place; an empty one gives it back.
    void setPresenter(DialogPresenter presenter);
    DialogPresenter presenter();
    void record(DialogRun run);
    std::vector<DialogRun> runs();

private:
    std::mutex mutex;
    DialogScript current;
    DialogPresenter shower;
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
