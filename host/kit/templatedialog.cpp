#include "host/kit/templatedialog.h"

#include "host/kit/hosttext.h"
#include "host/kit/templateregistry.h"
#include "host/kit/xmlreader.h"
#include "module/effectinterfaces.h"

#include <algorithm>

namespace hostkit
{
namespace
{
// The template elements that show a parameter, found by its name.
bool isControl(const std::string& element)
{
    static const char* const kControls[] = {"valuebox", "optmenu", "text", "slider", "switch", "listbox"};
    return std::any_of(std::begin(kControls), std::end(kControls),
                       [&](const char* control) { return element == control; });
}
} // namespace

void DialogBoard::setScript(DialogScript script)
{
    std::lock_guard<std::mutex> guard(mutex);
    current = std::move(script);
}

DialogScript DialogBoard::script()
{
    std::lock_guard<std::mutex> guard(mutex);
    return current;
}

void DialogBoard::setPresenter(DialogPresenter presenter)
{
    std::lock_guard<std::mutex> guard(mutex);
    shower = std::move(presenter);
}

DialogPresenter DialogBoard::presenter()
{
    std::lock_guard<std::mutex> guard(mutex);
    return shower;
}

void DialogBoard::record(DialogRun run)
{
    std::lock_guard<std::mutex> guard(mutex);
    log.push_back(std::move(run));
}

std::vector<DialogRun> DialogBoard::runs()
{
    std::lock_guard<std::mutex> guard(mutex);
    return log;
}

TemplateDialog::TemplateDialog(std::shared_ptr<DialogBoard> board, TemplateRegistry* registry,
                               std::string language)
    : board(std::move(board)), registry(registry), language(std::move(language))
{
    if (registry) registry->addRef();
}

TemplateDialog::~TemplateDialog()
{
    if (registry) registry->release();
}

tresult TemplateDialog::queryInterface(const TUID iid, void** obj)
{
    if (!obj) return kInvalidArgument;
    if (FUnknown::iid.equals(iid) || IHostTemplateDialog::iid.equals(iid))
    {
        addRef();
        *obj = static_cast<IHostTemplateDialog*>(this);
        return kResultOk;
    }
    *obj = nullptr;
    return kNoInterface;
}

tresult TemplateDialog::loadTemplate(const char* text)
{
    if (!text) return kInvalidArgument;
    std::vector<XmlElement> elements;
    std::string reason;
    if (!parseXml(text, elements, reason)) return kResultFalse;
    for (XmlElement& element : elements)
        if (element.name == "template") templates.push_back(std::move(element));
    return kResultOk;
}

tresult TemplateDialog::runTemplate(const char* name, IPlugController* controller)
{
    if (!name || !controller) return kInvalidArgument;
    const XmlElement* shown = nullptr;
    for (const XmlElement& candidate : templates)
    {
        const std::string* candidateName = candidate.attribute("name");
        if (candidateName && *candidateName == name) shown = &candidate;
    }
    if (!shown) return kResultFalse;

    DialogRun run;
    run.templateName = name;
    run.title = registry ? registry->translate(name, language) : utf8ToUtf16(name);
    shown->forEachDescendant(
        [&](const XmlElement& element)
        {
            if (!isControl(element.name)) return;
            if (const std::string* parameter = element.attribute("name")) run.controls.push_back(*parameter);
        });

    if (const DialogPresenter presenter = board->presenter())
    {
        run.accepted = presenter({shown, run.title, controller}, run.changed);
        board->record(run);
        return run.accepted ? kResultOk : kResultFalse;
    }
    const DialogScript script = board->script();
    for (const auto& [parameter, value] : script.values)
    {
        if (std::find(run.controls.begin(), run.controls.end(), parameter) == run.controls.end())
            continue; // the dialog has no control for it: the user can't have set it
        IHostValue* target = nullptr;
        if (controller->findValue(parameter.c_str(), &target) == kResultOk && target)
        {
            target->setInt(value);
            run.changed.push_back(parameter);
        }
    }
    run.accepted = script.accept;
    board->record(run);
    return script.accept ? kResultOk : kResultFalse;
}
} // namespace hostkit
