#include "host/editsession.h"

#include "host/kit/hostcontext.h"
#include "host/kit/livetransport.h"
#include "host/kit/moduleloader.h"
#include "host/kit/platform/editorwindow.h"
#include "host/kit/platform/hostplatform.h"
#include "host/kit/userfile.h"
#include "host/projectfile.h"
#include "host/render.h"
#include "host/trackeventtext.h"
#include "module/plugview.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <memory>
#include <mutex>

namespace hostkit
{
namespace
{
using platform::EditorWindow;
using platform::WindowEvent;

// The editor's place in the panel and its size there.
const char* const kViewName = "SequencerView";
constexpr int32_t kViewWidth = 603;
constexpr int32_t kViewHeight = 230;
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
        context = new HostContext(options);
        effect = module->instantiate(kMidiSeqClassId, error);
        if (!effect || !module->initialize(effect, static_cast<IHostContext*>(context), error)) return false;

        IPersistentChunk* chunk = queryFace<IPersistentChunk>(effect);
        if (!chunk)
        {
            error = "The module's effect can't take a project: it has no state chunk.";
            return false;
        }
        const std::vector<uint8_t> bytes = encodeChunk(project);
        const tresult taken = chunk->setChunk(bytes.data(), static_cast<int32_t>(bytes.size()));
        chunk->release();
        if (taken != kResultOk)
        {
            error = "The module refused the project's chunk.";
            return false;
        }
        controller = queryFace<IPlugController>(effect);

        IViewBuilder* builder = queryFace<IViewBuilder>(effect);
        const PViewRect rect{0, 0, kViewWidth, kViewHeight};
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

    bool attach(EditorWindow& window, std::string& error)
    {
        const char* type = EditorWindow::platformType();
        if (view->supportsPlatformType(type) != kResultOk)
        {
            error = "The module's editor can't live in a window of type " + std::string(type) + ".";
            return false;
        }
        if (view->attachToParent(window.nativeHandle(), type) != kResultOk)
        {
            error = "The module's editor refused the host's window.";
            return false;
        }
        attached = true;
        return true;
    }

    void closeView()
    {
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

private:
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

volatile std::sig_atomic_t interrupted = 0;

extern "C" void onInterrupt(int)
{
    interrupted = 1;
}

// Ctrl+C or a polite kill closes the editor as the window's close does, so that the work is saved.
class InterruptGuard
{
public:
    InterruptGuard()
    {
        interrupted = 0;
        previousInterrupt = std::signal(SIGINT, onInterrupt);
        previousTerminate = std::signal(SIGTERM, onInterrupt);
#ifdef SIGHUP
        // A closed terminal asks as politely as a kill does.
        previousHangUp = std::signal(SIGHUP, onInterrupt);
#endif
    }
    ~InterruptGuard()
    {
        std::signal(SIGINT, previousInterrupt);
        std::signal(SIGTERM, previousTerminate);
#ifdef SIGHUP
        std::signal(SIGHUP, previousHangUp);
#endif
    }

private:
    void (*previousInterrupt)(int);
    void (*previousTerminate)(int);
#ifdef SIGHUP
    void (*previousHangUp)(int);
#endif
};

bool uniform(const platform::Picture& picture)
{
    for (uint32_t pixel : picture.pixels)
        if (pixel != picture.pixels.front()) return false;
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

bool runEdit(const EditOptions& options, std::string& error)
{
    Project loaded;
    bool isChunk = false;
    std::vector<uint8_t> onDisk;
    if (!loadProjectFile(options.projectPath, loaded, error, &isChunk, &onDisk)) return false;

    EditorWindow window({kViewWidth, kViewHeight, editorWindowTitle(), false}, error);
    if (!window.open()) return false;
    ModuleEditor editor;
    if (!editor.open(options, loaded, error) || !window.show(error) || !editor.attach(window, error))
        return false;
    // What the module made of the file, before the user touched it: only a change from this is
    // the user's, and only that is worth a write.
    Project opened;
    if (!editor.currentProject(opened, error)) return false;

    Console console;
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
    char tempo[32];
    std::snprintf(tempo, sizeof tempo, "%g", options.tempo);
    console.line("Editing " + options.projectPath + " at " + tempo +
                 " BPM; Escape or closing the window saves it.");
    transport.start();

    {
        InterruptGuard interrupts;
        using Clock = std::chrono::steady_clock;
        Clock::time_point nextIdle = Clock::now();
        bool closing = false;
        while (!closing && !interrupted)
        {
            const Clock::time_point now = Clock::now();
            if (now >= nextIdle)
            {
                editor.view->serviceIdle();
                nextIdle = now + kIdlePeriod;
            }
            const auto wait = std::chrono::duration_cast<std::chrono::milliseconds>(nextIdle - Clock::now());
            WindowEvent event;
            if (!window.nextEvent(event, static_cast<int32_t>(std::max<int64_t>(wait.count(), 0)))) continue;
            if (event.kind == WindowEvent::Kind::Close) break;
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
    bool saved = editor.currentProject(edited, error);
    if (saved && edited == opened)
        console.line("No changes; " + options.projectPath + " stays as it was.");
    else if (saved && !options.saveOnClose)
        console.line(
            "The demo stays as it was; to keep changes, edit a project of your own with --project FILE.");
    else if (saved)
    {
        const std::vector<uint8_t> bytes = projectFileBytes(edited, !isChunk);
        const SaveOutcome outcome = saveUserFile(options.projectPath, bytes.data(), bytes.size(), &onDisk);
        saved = outcome.kind == SaveOutcome::Kind::Saved;
        if (saved)
            console.line("Saved " + options.projectPath + (isChunk ? " (chunk)." : " (text form)."));
        else
            error = outcome.sentence(options.projectPath);
    }
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

    EditorWindow window({kViewWidth, kViewHeight, "Tremolin", true}, error);
    if (!window.open()) return false;
    ModuleEditor editor;
    if (!editor.open(options, project, error) || !window.show(error) || !editor.attach(window, error))
        return false;

    // The editor paints when it handles its window's first exposure, inside an idle call. Pump
    // until two readings in a row agree and show more than the bare window, or give up.
    platform::Picture picture, previous;
    bool settled = false;
    for (int round = 0; round < 150 && !settled; ++round)
    {
        editor.view->serviceIdle();
        WindowEvent ignored;
        while (window.nextEvent(ignored, 0))
        {
        }
        if (round >= 3)
        {
            if (!window.capture(picture, error)) return false;
            settled = !uniform(picture) && picture.pixels == previous.pixels;
            previous = picture;
        }
        window.nextEvent(ignored, 20);
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
    std::printf("Wrote %s: the editor with %s, %d by %d pixels.\n", options.outPath.c_str(),
                options.projectPath.c_str(), picture.width, picture.height);
    return true;
}
} // namespace hostkit
