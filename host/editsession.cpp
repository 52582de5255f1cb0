#include "host/editsession.h"

#include "host/kit/hostcontext.h"
#include "host/kit/livetransport.h"
#include "host/kit/moduleloader.h"
#include "host/kit/platform/editorwindow.h"
#include "host/kit/platform/hostplatform.h"
#include "host/kit/userfile.h"
#include "host/panel.h"
#include "host/paneltemplate.h"
#include "host/presetsection.h"
#include "host/projectfile.h"
#include "host/render.h"
#include "host/stopsignals.h"
#include "host/templatedialogwindow.h"
#include "host/trackeventtext.h"
#include "module/effectinterfaces.h"
#include "module/plugview.h"
#include "toolkit/cframe.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <mutex>

namespace hostkit
{
namespace
{
using platform::EditorWindow;
using platform::WindowEvent;

// The editor's place in the panel and its size there, when the module carries no panel.
const char* const kViewName = "SequencerView";
constexpr int32_t kViewWidth = 603;
constexpr int32_t kViewHeight = 230;
// The module's template and the panel in it.
const char* const kEditorTemplate = "editor";
// How often the editor gets its idle call: often enough that painting and the pointer feel
// immediate, rarely enough to cost nothing.
constexpr auto kIdlePeriod = std::chrono::milliseconds(15);

// Lines on stdout from the user-interface thread and the transport's thread, whole and in order.
class Console
{
public:
    void line(const std::string& text)
    {
        std::lock_guard<std::mutex> guard(mutex);
        std::fputs(text.c_str(), stdout);
        std::fputc('\n', stdout);
        std::fflush(stdout);
    }

private:
    std::mutex mutex;
};

std::string narrow(const char16_t* text)
{
    std::string out;
    for (; *text; ++text)
        out += *text < 128 ? static_cast<char>(*text) : '?';
    return out;
}

// A project's module with its effect and editor, from loading to unloading.
class ModuleEditor
{
public:
    ModuleEditor() = default;
    ModuleEditor(const ModuleEditor&) = delete;
    ModuleEditor& operator=(const ModuleEditor&) = delete;

    ~ModuleEditor()
    {
        closeView();
        panel.reset();
        if (resources) resources->release();
        if (controller) controller->release();
        // The effect gives its references to the context back in terminate, so the module goes
        // first.
        if (module) module->unload();
        if (context)
        {
            context->unbindValues();
            context->release();
        }
    }

    // Everything up to a view that is ready to be attached.
    bool open(const EditorSetup& setup, const Project& project, std::string& error)
    {
        module = PluginModule::load(setup.modulePath, error);
        if (!module) return false;
        HostOptions options;
        options.settingsPath = setup.settingsPath;
        options.language = setup.language;
        context = new HostContext(options);
        effect = module->instantiate(kMidiSeqClassId, error);
        if (!effect || !module->initialize(effect, static_cast<IHostContext*>(context), error)) return false;

        IPersistentChunk* chunk = queryFace<IPersistentChunk>(effect);
        if (!chunk)
        {
            error = "The module's effect can't take a project: it has no state chunk.";
            return false;
        }
        chunk->release();
        if (!setProject(project, error)) return false;
        controller = queryFace<IPlugController>(effect);
        resources = queryFace<IUIFactory2>(effect);
        readPanel();

        const ModuleViewPlace place = viewPlace();
        IViewBuilder* builder = queryFace<IViewBuilder>(effect);
        const PViewRect rect{0, 0, place.width, place.height};
        if (builder)
        {
            if (builder->createView(kViewName, &rect, &view) != kResultOk && view)
            {
                view->release();
                view = nullptr;
            }
            builder->release();
        }
        if (!view)
        {
            error = "The module has no editor: its effect made no \"" + std::string(kViewName) + "\" view.";
            return false;
        }
        return true;
    }

    // Hands the module a project, as a host restores one; it refreshes its values and views.
    bool setProject(const Project& project, std::string& error)
    {
        IPersistentChunk* chunk = queryFace<IPersistentChunk>(effect);
        const std::vector<uint8_t> bytes = encodeChunk(project);
        const tresult taken =
            chunk ? chunk->setChunk(bytes.data(), static_cast<int32_t>(bytes.size())) : kResultFalse;
        if (chunk) chunk->release();
        if (taken != kResultOk)
        {
            error = "The module refused the project's chunk.";
            return false;
        }
        return true;
    }

    // The window's size: the panel's, or the view's alone.
    int32_t width() const { return panel ? panel->width() : kViewWidth; }
    int32_t height() const { return panel ? panel->height() : kViewHeight; }

    bool attach(EditorWindow& window, std::string& error)
    {
        const char* type = EditorWindow::platformType();
        if (view->supportsPlatformType(type) != kResultOk)
        {
            error = "The module's editor can't live in a window of type " + std::string(type) + ".";
            return false;
        }
        void* parent = window.nativeHandle();
        if (panel)
        {
            if (!panel->open(window.nativeHandle(), error)) return false;
            for (const std::string& skipped : panel->skipped())
                std::fprintf(stderr, "tremolin-host: The panel leaves out %s.\n", skipped.c_str());
            window.takeKeysOf(panel->frame() ? panel->frame()->nativeWindow() : nullptr);
            // The module's dialogs now come up as windows over the panel.
            context->dialogs().setPresenter(
                [this](const DialogRequest& request, std::vector<std::string>& changed)
                {
                    // The module's view keeps painting what the dialog uncovers.
                    return presentTemplateDialog(request, context, panel.get(), changed,
                                                 [this] { view->serviceIdle(); });
                });
            // The panel's window must be on the server before the view's goes above it.
            panel->idle();
            const ModuleViewPlace place = viewPlace();
            parent = window.addChild(place.left, place.top, place.width, place.height);
            if (!parent)
            {
                error = "The host could not make a window for the module's editor in its panel.";
                return false;
            }
        }
        if (view->attachToParent(parent, type) != kResultOk)
        {
            error = "The module's editor refused the host's window.";
            return false;
        }
        attached = true;
        return true;
    }

    // One round of service on the user-interface thread: the module's view, then the panel.
    void idle()
    {
        view->serviceIdle();
        if (panel) panel->idle();
    }

    void closeView()
    {
        if (context) context->dialogs().setPresenter({});
        if (!view) return;
        if (attached) view->detachFromParent();
        attached = false;
        view->release();
        view = nullptr;
    }

    // The patterns as the module holds them now.
    bool currentProject(Project& project, std::string& error)
    {
        IPersistentChunk* chunk = queryFace<IPersistentChunk>(effect);
        int32_t size = 0;
        std::vector<uint8_t> bytes;
        bool read = chunk && chunk->getChunk(nullptr, &size) == kResultOk && size > 0;
        if (read)
        {
            bytes.resize(static_cast<size_t>(size));
            read = chunk->getChunk(bytes.data(), &size) == kResultOk && size > 0 &&
                   static_cast<size_t>(size) <= bytes.size();
        }
        if (chunk) chunk->release();
        std::string reason;
        if (!read || !decodeChunk(bytes.data(), static_cast<size_t>(size), project, reason))
        {
            error = "The module gave back no usable project" + (reason.empty() ? "" : ": " + reason) + ".";
            return false;
        }
        return true;
    }

    IMidiEffect* effect = nullptr;
    IPlugView* view = nullptr;
    IPlugController* controller = nullptr;
    HostContext* context = nullptr;
    std::unique_ptr<Panel> panel;
    // The session's project section; without it the panel leaves the section out.
    PresetActions* presets = nullptr;

private:
    // The module's panel from its template, if it carries one; without it the window shows the
    // module's view alone. What the panel leaves out is said on stderr.
    void readPanel()
    {
        if (!resources) return;
        int32_t size = 0;
        char name[128] = {};
        if (resources->getTemplate(kEditorTemplate, name, nullptr, &size) != kResultOk || size <= 0 ||
            size > 16 * 1024 * 1024)
            return;
        std::string text(static_cast<size_t>(size), '\0');
        if (resources->getTemplate(kEditorTemplate, name, text.data(), &size) != kResultOk || size <= 0 ||
            static_cast<size_t>(size) > text.size())
            return;
        text.resize(static_cast<size_t>(size));
        name[sizeof name - 1] = 0;
        // A terminator the module counted in is no part of the text.
        while (!text.empty() && text.back() == '\0')
            text.pop_back();
        std::string reason;
        if (!readTemplateSet(text, templates, reason))
        {
            std::fprintf(stderr,
                         "tremolin-host: The module's panel can't be read (%s); its editor is shown alone.\n",
                         reason.c_str());
            return;
        }
        PanelServices services;
        services.controller = controller;
        services.resources = resources;
        services.context = context;
        if (presets)
            services.hostSection = [this](const PanelNode& node, const Plexel::CRect& size) -> Plexel::CView*
            {
                return node.name == "host.TremolinPresetSection" ? makePresetSection(size, *presets)
                                                                 : nullptr;
            };
        panel = std::make_unique<Panel>(templates, name, services);
        for (const std::string& skipped : templates.skipped)
            std::fprintf(stderr, "tremolin-host: The panel leaves out %s.\n", skipped.c_str());
        if (panel->width() <= 0)
        {
            std::fprintf(stderr,
                         "tremolin-host: The module's panel has no size; its editor is shown alone.\n");
            panel.reset();
        }
    }

public:
    ModuleViewPlace viewPlace() const
    {
        if (panel)
            for (const ModuleViewPlace& place : panel->moduleViews())
                if (place.name == kViewName) return place;
        return {kViewName, 0, 0, kViewWidth, kViewHeight};
    }

private:
    TemplateSet templates;
    IUIFactory2* resources = nullptr;

    std::unique_ptr<PluginModule> module;
    bool attached = false;
};

// A parameter key's change through the value object, the way a panel control makes it; the
// module hears it through valueChanged. The value's new text for the user, or why nothing changed.
std::string pressParameterKey(IPlugController* controller, const ParameterKey& key)
{
    IHostValue* value = nullptr;
    if (!controller || controller->findValue(key.parameter, &value) != kResultOk || !value)
        return "The module has no \"" + std::string(key.parameter) + "\" parameter.";
    switch (key.action)
    {
    case ParameterKey::Action::Trigger:
        value->setInt(1);
        value->setInt(0);
        return key.parameter;
    case ParameterKey::Action::Step:
        value->setInt(value->getInt() + key.amount);
        break;
    case ParameterKey::Action::Cycle:
    {
        const int64_t count = static_cast<int64_t>(value->getMaxInt()) + 1;
        if (count > 0)
            value->setInt(static_cast<int32_t>(((value->getInt() + key.amount) % count + count) % count));
        break;
    }
    }
    char16_t text[IHostValue::kDisplayTextSize] = {};
    value->getDisplayText(text);
    text[IHostValue::kDisplayTextSize - 1] = 0;
    return std::string(key.parameter) + ": " + narrow(text);
}

// Whether the picture shows one colour only within `place` (the module's view): its bare window.
bool uniform(const platform::Picture& picture, const ModuleViewPlace& place)
{
    const int32_t right = std::min(picture.width, place.left + place.width);
    const int32_t bottom = std::min(picture.height, place.top + place.height);
    if (place.left >= right || place.top >= bottom) return true;
    const auto at = [&](int32_t x, int32_t y)
    {
        return picture
            .pixels[static_cast<size_t>(y) * static_cast<size_t>(picture.width) + static_cast<size_t>(x)];
    };
    const uint32_t first = at(place.left, place.top);
    for (int32_t y = place.top; y < bottom; ++y)
        for (int32_t x = place.left; x < right; ++x)
            if (at(x, y) != first) return false;
    return true;
}
} // namespace

const std::vector<ParameterKey>& parameterKeys()
{
    using A = ParameterKey::Action;
    static const std::vector<ParameterKey> keys{
        {'[', "Pattern Select", A::Step, -1, "pattern"},
        {']', "Pattern Select", A::Step, +1, "pattern"},
        {'-', "Length", A::Step, -1, "length"},
        {'=', "Length", A::Step, +1, "length"},
        {'q', "Quantize", A::Cycle, +1, "quantize"},
        {'Q', "Quantize", A::Cycle, -1, "quantize"},
        {'s', "Swing", A::Step, +5, "swing"},
        {'S', "Swing", A::Step, -5, "swing"},
        {'v', "Param Select", A::Cycle, +1, "lane"},
        {'V', "Param Select", A::Cycle, -1, "lane"},
        {'u', "Shift Octave Up", A::Trigger, 0, "octave"},
        {'d', "Shift Octave Down", A::Trigger, 0, "octave"},
        {',', "Shift Time Left", A::Trigger, 0, "time"},
        {'.', "Shift Time Right", A::Trigger, 0, "time"},
        {'r', "Reverse", A::Trigger, 0, "reverse"},
        {'n', "Randomize", A::Trigger, 0, "randomize"},
        {'x', "Clear", A::Trigger, 0, "clear"},
        {'c', "Copy", A::Trigger, 0, "copy"},
        {'p', "Paste", A::Trigger, 0, "paste"},
        {'a', "About", A::Trigger, 0, "about"},
    };
    return keys;
}

// What a key does to its parameter, for the help: "+5", "next"; nothing for a trigger.
std::string keyEffect(const ParameterKey& key)
{
    switch (key.action)
    {
    case ParameterKey::Action::Step:
    {
        char text[16];
        std::snprintf(text, sizeof text, "%+d", key.amount);
        return text;
    }
    case ParameterKey::Action::Cycle:
        return std::string(key.amount > 0 ? "next" : "previous");
    case ParameterKey::Action::Trigger:
        break;
    }
    return {};
}

std::string editorKeysHelp()
{
    std::string help = "        arrows   go to the editor: left and right shift the pattern in time,\n"
                       "                 up and down transpose it by a semitone\n";
    const auto& keys = parameterKeys();
    for (size_t i = 0; i < keys.size();)
    {
        // Keys with one label share a line: "[ ]  Pattern Select -1 / +1".
        std::string names, what;
        size_t j = i;
        for (; j < keys.size() && std::string(keys[j].label) == keys[i].label; ++j)
        {
            const ParameterKey& key = keys[j];
            if (j > i) names += ' ';
            names += key.key;
            const std::string effect = keyEffect(key);
            if (j == i)
            {
                what = key.parameter;
                if (!effect.empty()) what.append(" ").append(effect);
            }
            else
                what.append(" / ").append(key.parameter == std::string(keys[i].parameter) ? effect
                                                                                          : key.parameter);
        }
        names.resize(std::max<size_t>(names.size(), 8), ' ');
        help += "        " + names + " " + what + "\n";
        i = j;
    }
    help += "        Escape   or closing the window: save the project and quit\n";
    return help;
}

std::string editorWindowTitle()
{
    std::string title = "Tremolin - arrows edit";
    const auto& keys = parameterKeys();
    for (size_t i = 0; i < keys.size();)
    {
        std::string group(1, keys[i].key);
        size_t j = i + 1;
        for (; j < keys.size() && std::string(keys[j].label) == keys[i].label; ++j)
            group += std::string(" ") + keys[j].key;
        title += ", " + group + " " + keys[i].label;
        i = j;
    }
    return title + ", Esc save and close";
}

namespace
{
// The project the session edits now and what is known of its file.
struct ProjectState
{
    std::string path;
    bool isChunk = false;
    std::vector<uint8_t> onDisk;
    // What the module made of the file, before the user touched it: only a change from this is
    // the user's, and only that is worth a write.
    Project opened;
    bool writable = true; // false for the demo that ships with the program
};

// Writes the module's patterns to the project's file if the user changed them (or `always`), in
// the form the file had; false with a sentence in `error` when the write failed.
bool keepEdits(ProjectState& state, const Project& edited, Console& console, std::string& error,
               bool always = false)
{
    if (edited == state.opened && !always)
    {
        console.line("No changes; " + state.path + " stays as it was.");
        return true;
    }
    if (!state.writable)
    {
        console.line(
            "The demo stays as it was; to keep changes, press Save on the panel or edit a project of "
            "your own with --project FILE.");
        return true;
    }
    const std::vector<uint8_t> bytes = projectFileBytes(edited, !state.isChunk);
    const SaveOutcome outcome =
        saveUserFile(state.path, bytes.data(), bytes.size(), state.onDisk.empty() ? nullptr : &state.onDisk);
    if (outcome.kind != SaveOutcome::Kind::Saved)
    {
        error = outcome.sentence(state.path);
        return false;
    }
    console.line("Saved " + state.path + (state.isChunk ? " (chunk)." : " (text form)."));
    state.opened = edited;
    state.onDisk = bytes;
    return true;
}

// The first "Project N.tremolin" that is free in the preset folder, with the folder made; empty
// with a sentence when there is no such folder.
std::string newPresetPath(std::string& error)
{
    const std::string folder = presetFolder();
    if (folder.empty())
    {
        error = "The system names no data folder for the user's projects.";
        return {};
    }
    if (!platform::makeDirectories(folder, error)) return {};
    for (int number = 1; number < 10000; ++number)
    {
        const std::string path = folder + "/Project " + std::to_string(number) + ".tremolin";
        if (!platform::fileExists(path)) return path;
    }
    error = "The preset folder " + folder + " holds too many projects.";
    return {};
}
} // namespace

bool runEdit(const EditOptions& options, std::string& error)
{
    ProjectState state;
    state.path = options.projectPath;
    state.writable = options.saveOnClose;
    Project loaded;
    if (!loadProjectFile(state.path, loaded, error, &state.isChunk, &state.onDisk)) return false;

    Console console;
    // The panel's project section works on the session's project through these.
    ModuleEditor* live = nullptr;
    PresetActions presets;
    presets.demoPath = options.demoPath;
    presets.currentPath = [&state] { return state.path; };
    presets.open = [&](const std::string& path)
    {
        std::string problem;
        Project edited, next;
        ProjectState chosen;
        chosen.path = path;
        chosen.writable = path != options.demoPath;
        if (live->currentProject(edited, problem) && keepEdits(state, edited, console, problem) &&
            loadProjectFile(path, next, problem, &chosen.isChunk, &chosen.onDisk) &&
            live->setProject(next, problem) && live->currentProject(chosen.opened, problem))
        {
            state = std::move(chosen);
            console.line("Opened " + path + ".");
        }
        else
            console.line(problem);
    };
    presets.save = [&]
    {
        std::string problem;
        Project edited;
        if (!live->currentProject(edited, problem))
        {
            console.line(problem);
            return;
        }
        ProjectState target = state;
        if (!target.writable)
        {
            // The demo is never written over: Save makes a new project of the user's.
            target = ProjectState{};
            target.path = newPresetPath(problem);
            if (target.path.empty())
            {
                console.line(problem);
                return;
            }
        }
        if (keepEdits(target, edited, console, problem, !state.writable))
            state = std::move(target);
        else
            console.line(problem);
    };

    // The window goes after the editor, whose views live in it.
    std::unique_ptr<EditorWindow> shown;
    if (!EditorWindow::available(error)) return false;
    ModuleEditor editor;
    live = &editor;
    editor.presets = &presets;
    if (!editor.open(options, loaded, error)) return false;
    shown = std::make_unique<EditorWindow>(EditorWindow::Options{editor.width(), editor.height(),
                                                                 editorWindowTitle(), false,
                                                                 editor.panel != nullptr},
                                           error);
    EditorWindow& window = *shown;
    if (!window.open() || !window.show(error) || !editor.attach(window, error)) return false;
    if (!editor.currentProject(state.opened, error)) return false;

    HostMidiTrack& track = editor.context->track();
    track.setTicksPerBar(kTicksPerBar);
    track.setGridOrigin(HostMidiTrack::GridOrigin::BarStart);
    LiveTransport::Listener listener;
    if (options.print)
    {
        console.line(eventHeading());
        listener = [&console](const std::vector<TrackEvent>& events)
        {
            for (const TrackEvent& event : events)
                console.line(eventLine(event));
        };
    }
    std::unique_ptr<LiveOutput> output;
    if (options.output && !(output = platform::openMidiOutput(*options.output, error))) return false;
    if (output) console.line("Playing into " + output->name() + ".");
    LiveTransport transport(editor.effect, track, options.tempo, listener, output.get());
    std::vector<std::pair<int32_t, int32_t>> notes;
    for (const auto& [bar, note] : options.incomingNotes)
        notes.emplace_back((bar - 1) * kTicksPerBar, note);
    transport.setIncomingNotes(std::move(notes));
    char tempo[32];
    std::snprintf(tempo, sizeof tempo, "%g", options.tempo);
    console.line("Editing " + state.path + " at " + tempo + " BPM; Escape or closing the window saves it.");
    transport.start();

    {
        StopSignals interrupts;
        using Clock = std::chrono::steady_clock;
        Clock::time_point nextIdle = Clock::now();
        bool closing = false;
        while (!closing && !StopSignals::raised())
        {
            const Clock::time_point now = Clock::now();
            if (now >= nextIdle)
            {
                editor.idle();
                nextIdle = now + kIdlePeriod;
            }
            const auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(nextIdle - Clock::now());
            WindowEvent event;
            if (!window.nextEvent(event, static_cast<int32_t>(std::max<int64_t>(wait.count(), 0)))) continue;
            if (event.kind == WindowEvent::Kind::Close) break;
            if (event.kind == WindowEvent::Kind::Resize)
            {
                if (editor.panel) editor.panel->resize(event.width, event.height);
                continue;
            }
            switch (event.key)
            {
            case WindowEvent::Key::Escape:
                closing = true;
                break;
            case WindowEvent::Key::Left:
                editor.view->onKeyDown(0, kPlugKeyLeft, 0);
                break;
            case WindowEvent::Key::Up:
                editor.view->onKeyDown(0, kPlugKeyUp, 0);
                break;
            case WindowEvent::Key::Right:
                editor.view->onKeyDown(0, kPlugKeyRight, 0);
                break;
            case WindowEvent::Key::Down:
                editor.view->onKeyDown(0, kPlugKeyDown, 0);
                break;
            case WindowEvent::Key::Character:
                for (const ParameterKey& key : parameterKeys())
                    if (key.key == event.character) console.line(pressParameterKey(editor.controller, key));
                break;
            }
        }
    }

    transport.stop();
    Project edited;
    const bool saved = editor.currentProject(edited, error) && keepEdits(state, edited, console, error);
    editor.closeView();
    return saved;
}

bool runSnapshot(const SnapshotOptions& options, std::string& error)
{
    if (options.outPath.empty())
    {
        error = "No file was given for the picture.";
        return false;
    }
    Project project;
    if (!loadProjectFile(options.projectPath, project, error)) return false;

    // The project section shows the project's name; a picture has no use for its buttons.
    PresetActions presets;
    presets.demoPath = options.demoPath;
    presets.currentPath = [&options] { return options.projectPath; };
    if (!EditorWindow::available(error)) return false;
    std::unique_ptr<EditorWindow> shown;
    ModuleEditor editor;
    editor.presets = &presets;
    if (!editor.open(options, project, error)) return false;
    shown = std::make_unique<EditorWindow>(
        EditorWindow::Options{editor.width(), editor.height(), "Tremolin", true, false}, error);
    EditorWindow& window = *shown;
    if (!window.open() || !window.show(error) || !editor.attach(window, error)) return false;

    // The panel paints when the host's toolkit handles its window's first exposure, the module's
    // view when its idle call does. Each round serves both and waits only for the window system;
    // the picture counts once the panel has painted, the view's place shows more than its bare
    // window, and two readings in a row agree (the view draws on a connection of its own).
    const ModuleViewPlace place = editor.viewPlace();
    platform::Picture picture, previous;
    bool settled = false;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    while (!settled && std::chrono::steady_clock::now() < deadline)
    {
        editor.idle();
        WindowEvent ignored;
        while (window.nextEvent(ignored, 0))
        {
        }
        if (!editor.panel || editor.panel->paints() > 0)
        {
            if (!window.capture(picture, error)) return false;
            settled = !uniform(picture, place) && picture.pixels == previous.pixels;
            previous = picture;
        }
        if (!settled) window.nextEvent(ignored, 2);
    }
    if (!settled)
    {
        error = "The module's editor did not finish painting within three seconds.";
        return false;
    }
    editor.closeView();

    std::vector<uint8_t> png;
    if (!platform::encodePng(picture, png, error)) return false;
    const SaveOutcome written = saveUserFile(options.outPath, png.data(), png.size(), nullptr, false);
    if (written.kind != SaveOutcome::Kind::Saved)
    {
        error = written.sentence(options.outPath);
        return false;
    }
    std::printf("Wrote %s: the %s with %s, %d by %d pixels.\n", options.outPath.c_str(),
                editor.panel ? "module's panel" : "editor", options.projectPath.c_str(), picture.width,
                picture.height);
    return true;
}
} // namespace hostkit
