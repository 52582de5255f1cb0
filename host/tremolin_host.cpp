// tremolin-host: the stand-in host. It loads the module file as a host does and gives users
// commands to play a project into a MIDI file and to keep projects as chunks or as text.

#include "host/editsession.h"
#include "host/kit/hostsettings.h"
#include "host/kit/hosttext.h"
#include "host/kit/midifile.h"
#include "host/kit/moduleloader.h"
#include "host/kit/platform/hostplatform.h"
#include "host/kit/userfile.h"
#include "host/playsession.h"
#include "host/projectfile.h"
#include "host/render.h"
#include "host/trackeventtext.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <new>
#include <string>
#include <vector>

using namespace hostkit;

namespace
{
const char* const kUsage =
    "usage:\n"
    "  tremolin-host render [--module FILE] [--project FILE] [--out FILE.mid] [--bars N]\n"
    "                       [--tempo BPM] [--pattern N] [--channel N] [--switch BAR:NOTE ...]\n"
    "                       [--settings FILE] [--print]\n"
    "                       [--wav FILE.wav [--soundfont FILE.sf2] [--program N] [--float]]\n"
    "      plays the project (default: the demo) through the module and writes a MIDI file;\n"
    "      --wav also plays it through a General MIDI synthesizer into a stereo 44.1 kHz WAV\n"
    "      (16-bit, or 32-bit float with --float), with the instrument N (1 to 128, default 1,\n"
    "      the piano) and the system's GM soundfont unless one is given (Linux build only);\n"
    "      --switch sends a note-on at the start of a bar (counted from 1), which selects a\n"
    "      pattern as on a keyboard: C1 (36) the first, C#1 the second, ...\n"
    "  tremolin-host project export CHUNKFILE TEXTFILE\n"
    "  tremolin-host project import TEXTFILE CHUNKFILE\n"
    "      converts a project between the module's chunk and the text form\n"
    "  tremolin-host play [--module FILE] [--project FILE] [--tempo BPM] [--bars N] [--pattern N]\n"
    "                     [--channel N] [--settings FILE] [--print] OUTPUT\n"
    "      plays the project (default: the demo) in real time into a synthesizer, for N bars\n"
    "      or until Ctrl+C; every sounding note gets its note-off when it stops. OUTPUT is one of\n"
    "        --jack [--connect PORT] [--follow-transport]\n"
    "                   a JACK MIDI port, tremolin:out, connected to PORT (such as\n"
    "                   fluidsynth:midi_00); --follow-transport plays when JACK's transport\n"
    "                   rolls, from where it stands, at its master's tempo\n"
    "        --alsa [--connect CLIENT:PORT]\n"
    "                   an ALSA sequencer port, connected to CLIENT:PORT (such as 128:0)\n"
    "        --midi-out NAME|NUMBER\n"
    "                   a MIDI output device of Windows; --list-outputs lists them\n"
    "  tremolin-host play --list-outputs\n"
    "  tremolin-host edit [--module FILE] [--project FILE] [--tempo BPM] [--settings FILE] [--print]\n"
    "                     [--language KEY] [--switch BAR:NOTE ...] [OUTPUT]\n"
    "      opens the module's panel on the project (default: the demo) while the transport\n"
    "      plays it in real time, into OUTPUT as for play if one is given; --print lists the\n"
    "      events as the track sends them; --language picks the module's texts (us, de);\n"
    "      --switch plays a note-on as render's does. The panel's controls work with the\n"
    "      pointer; these keys stay as shortcuts:\n"
    "%s"
    "      Closing saves the project in the form it had, chunk or text, if it changed; the demo\n"
    "      itself is never overwritten.\n"
    "  tremolin-host snapshot --out FILE.png [--module FILE] [--project FILE] [--settings FILE]\n"
    "                         [--language KEY]\n"
    "      writes a picture of the module's panel showing the project (default: the demo)\n"
    "  tremolin-host info [--module FILE]\n"
    "      shows the module's factory and classes\n";

void printUsage(FILE* to)
{
    std::fprintf(to, kUsage, editorKeysHelp().c_str());
}

// Thrown for a command line that can't be followed; main prints it with the usage.
struct UsageError
{
    std::string message;
};

int fail(const std::string& message)
{
    std::fprintf(stderr, "tremolin-host: %s\n", message.c_str());
    return 1;
}

std::string folderOf(const std::string& path)
{
    const size_t slash = path.find_last_of("/\\");
    return slash == std::string::npos ? std::string(".") : path.substr(0, slash);
}

// The module built with this program (build/<preset>/midiplugs/midiseq/ beside
// build/<preset>/host/), or one installed beside it.
std::string defaultModule()
{
    const std::string exe = platform::executablePath();
    if (exe.empty()) return {};
    const std::string folder = folderOf(exe);
    const std::string name = std::string("Tremolin") + platform::moduleFileSuffix();
    for (const std::string& candidate : {folder + "/../midiplugs/midiseq/" + name, folder + "/" + name})
        if (platform::fileExists(candidate)) return candidate;
    return {};
}

std::string defaultProject()
{
    std::vector<std::string> candidates;
    const std::string exe = platform::executablePath();
    if (!exe.empty())
    {
        const std::string folder = folderOf(exe);
        for (const char* up : {"/../../..", "/../..", "/.."})
            candidates.push_back(folder + up + "/examples/demo.tremolin");
    }
#ifdef TREMOLIN_SOURCE_DIR
    candidates.push_back(std::string(TREMOLIN_SOURCE_DIR) + "/examples/demo.tremolin");
#endif
    for (const std::string& candidate : candidates)
        if (platform::fileExists(candidate)) return candidate;
    return {};
}

int64_t integerArgument(const std::string& option, const std::string& text, int64_t low, int64_t high)
{
    const auto value = parseInteger(text);
    if (!value || *value < low || *value > high)
        throw UsageError{option + " takes a whole number from " + std::to_string(low) + " to " +
                         std::to_string(high) + ", not '" + text + "'"};
    return *value;
}

double tempoArgument(const std::string& text)
{
    const auto tempo = parseDouble(text);
    if (!tempo || !(*tempo >= 20.0 && *tempo <= 999.0))
        throw UsageError{"--tempo takes beats per minute from 20 to 999, not '" + text + "'"};
    return *tempo;
}

PatternSwitch switchArgument(const std::string& text, int32_t bars)
{
    const size_t colon = text.find(':');
    if (colon == std::string::npos)
        throw UsageError{"--switch takes BAR:NOTE, such as 5:C#1 or 5:37, not '" + text + "'"};
    PatternSwitch change;
    change.bar = static_cast<int32_t>(integerArgument("the bar of --switch", text.substr(0, colon), 1, bars));
    const std::string note = text.substr(colon + 1);
    if (!parseNoteName(note, change.note))
        change.note = static_cast<int32_t>(integerArgument("the note of --switch", note, 0, 127));
    // Notes below C1 select no pattern: the module plays them through unheard of.
    if (change.note < 36 || change.note > 127)
        throw UsageError{"the note of --switch must be C1 (36) or higher, up to G8 (127), not " +
                         quotedWord(note)};
    return change;
}

// Thrown when standard output is closed or full: what was meant for it did not arrive.
struct OutputClosed
{
};

void say(const std::string& text)
{
    if (!platform::writeStandardOutput(text.data(), text.size())) throw OutputClosed{};
}

void printEvents(const std::vector<TrackEvent>& events)
{
    std::vector<TrackEvent> sorted = events;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const TrackEvent& a, const TrackEvent& b) { return a.time < b.time; });
    std::string listing = eventHeading() + "\n";
    for (const TrackEvent& event : sorted)
        listing += eventLine(event) + "\n";
    say(listing);
}

// Whether two names reach one file, through links or different spellings.
bool sameFile(const std::string& a, const std::string& b)
{
    std::error_code ignored;
    return !a.empty() && !b.empty() && std::filesystem::equivalent(a, b, ignored);
}

int render(const std::vector<std::string>& args)
{
    RenderOptions options;
    AudioOptions audio;
    std::string modulePath, projectPath, outPath, wavPath;
    bool print = false;
    std::vector<std::string> switchTexts;
    for (size_t i = 0; i < args.size(); ++i)
    {
        const std::string& option = args[i];
        const auto value = [&]() -> const std::string&
        {
            if (i + 1 >= args.size()) throw UsageError{option + " needs a value"};
            return args[++i];
        };
        if (option == "--module")
            modulePath = value();
        else if (option == "--project")
            projectPath = value();
        else if (option == "--out")
            outPath = value();
        else if (option == "--wav")
            wavPath = value();
        else if (option == "--soundfont")
            audio.soundfont = value();
        else if (option == "--program")
            audio.program = static_cast<int32_t>(integerArgument(option, value(), 1, 128)) - 1;
        else if (option == "--float")
            audio.format = WavFormat::Float32;
        else if (option == "--settings")
            options.settingsPath = value();
        else if (option == "--bars")
            options.bars = static_cast<int32_t>(integerArgument(option, value(), 1, 10000));
        else if (option == "--pattern")
            options.pattern = static_cast<int32_t>(integerArgument(option, value(), 1, kProjectPatternCount));
        else if (option == "--channel")
            options.channel = static_cast<int32_t>(integerArgument(option, value(), 1, 16)) - 1;
        else if (option == "--tempo")
            options.tempo = tempoArgument(value());
        else if (option == "--switch")
        {
            switchTexts.push_back(value());
            while (i + 1 < args.size() && args[i + 1].rfind("--", 0) != 0)
                switchTexts.push_back(args[++i]);
        }
        else if (option == "--print")
            print = true;
        else
            throw UsageError{"render does not know '" + option + "'"};
    }
    for (const std::string& text : switchTexts)
        options.switches.push_back(switchArgument(text, options.bars));
    if (outPath.empty() && wavPath.empty() && !print)
        throw UsageError{"render needs --out FILE.mid, --wav FILE.wav, --print, or more of them"};
    if (wavPath == "-") throw UsageError{"--wav needs a file; standard output is for --out -"};

    options.modulePath = modulePath.empty() ? defaultModule() : modulePath;
    if (options.modulePath.empty())
        return fail("No module file was found beside the program; give one with --module FILE.");
    if (projectPath.empty()) projectPath = defaultProject();
    if (projectPath.empty())
        return fail(
            "The demo project examples/demo.tremolin was not found; give a project with --project FILE.");

    const bool toStandardOutput = outPath == "-";
    if (toStandardOutput && print) throw UsageError{"--out - and --print can't both use standard output"};
    const std::string settingsPath =
        options.settingsPath.empty() ? HostSettings::defaultPath() : options.settingsPath;
    for (const auto& [input, what] :
         {std::pair{projectPath, "project"}, std::pair{options.modulePath, "module"},
          std::pair{settingsPath, "settings file"}, std::pair{audio.soundfont, "soundfont"}})
        for (const std::string& output : {toStandardOutput ? std::string() : outPath, wavPath})
            if (sameFile(output, input))
                return fail("The output '" + output + "' is the " + what +
                            " this render reads; name another file.");
    std::error_code ignored;
    if (!wavPath.empty() && !outPath.empty() &&
        (sameFile(wavPath, outPath) || std::filesystem::weakly_canonical(wavPath, ignored) ==
                                           std::filesystem::weakly_canonical(outPath, ignored)))
        return fail("--wav and --out name the same file '" + wavPath + "'; name two files.");

    std::string error;
    if (!loadProjectFile(projectPath, options.project, error)) return fail(error);
    RenderResult result;
    if (!renderProject(options, result, error)) return fail(error);
    for (const std::string& warning : result.warnings)
        std::fprintf(stderr, "tremolin-host: warning: %s\n", warning.c_str());
    if (result.trackFaults > 0)
        std::fprintf(stderr, "tremolin-host: warning: the module misused %d track events.\n",
                     result.trackFaults);

    // The sound before any file: a soundfont that can't be used leaves nothing behind.
    std::vector<uint8_t> wav;
    if (!wavPath.empty() && !renderAudio(result.events, options.bars, options.tempo, audio, wav, error))
        return fail(error);

    // The files first: a listing cut short by a closed pipe must not cost them.
    if (!wavPath.empty())
    {
        const SaveOutcome saved = saveUserFile(wavPath, wav.data(), wav.size(), nullptr, false);
        if (saved.kind != SaveOutcome::Kind::Saved) return fail(saved.sentence(wavPath));
    }
    if (!outPath.empty())
    {
        const std::vector<uint8_t> file = writeMidiFile(midiTimeline(result.events), options.tempo);
        if (toStandardOutput)
        {
            if (!platform::writeStandardOutput(file.data(), file.size())) throw OutputClosed{};
            return 0;
        }
        const SaveOutcome saved = saveUserFile(outPath, file.data(), file.size(), nullptr, false);
        if (saved.kind != SaveOutcome::Kind::Saved) return fail(saved.sentence(outPath));
    }
    if (print) printEvents(result.events);
    if (!outPath.empty())
    {
        const auto notes = std::count_if(result.events.begin(), result.events.end(),
                                         [](const TrackEvent& e) { return e.isNoteOn(); });
        char summary[128];
        std::snprintf(summary, sizeof summary, ": %d bars at %g BPM, %zu notes, %zu controller events.\n",
                      options.bars, options.tempo, static_cast<size_t>(notes),
                      result.events.size() - static_cast<size_t>(notes));
        say("Wrote " + outPath + summary);
    }
    if (!wavPath.empty())
    {
        char summary[128];
        std::snprintf(summary, sizeof summary, ": %.1f seconds of stereo audio at 44.1 kHz.\n",
                      audioSeconds(result.events, options.bars, options.tempo));
        say("Wrote " + wavPath + summary);
    }
    return 0;
}

int project(const std::vector<std::string>& args)
{
    if (args.size() != 3 || (args[0] != "export" && args[0] != "import"))
        throw UsageError{"project takes 'export CHUNKFILE TEXTFILE' or 'import TEXTFILE CHUNKFILE'"};
    // Either form is read by its content, so export also tidies a text and import takes a chunk.
    Project loaded;
    std::string error;
    if (!loadProjectFile(args[1], loaded, error)) return fail(error);
    if (!saveProjectFile(args[2], loaded, args[0] == "export", error)) return fail(error);
    return 0;
}

// What edit and snapshot share: the module, the project and the settings, with their defaults.
// Throws for an option that is none of them.
void setupOption(const std::string& command, const std::vector<std::string>& args, size_t& i,
                 EditorSetup& setup)
{
    const std::string& option = args[i];
    std::string* target = option == "--module"     ? &setup.modulePath
                          : option == "--project"  ? &setup.projectPath
                          : option == "--settings" ? &setup.settingsPath
                          : option == "--language" ? &setup.language
                                                   : nullptr;
    if (!target) throw UsageError{command + " does not know '" + option + "'"};
    if (i + 1 >= args.size()) throw UsageError{option + " needs a value"};
    *target = args[++i];
}

// Fills in the defaults; 0, or the exit code after saying which one can't be found.

int completeSetup(EditorSetup& setup)
{
    if (setup.modulePath.empty()) setup.modulePath = defaultModule();
    if (setup.modulePath.empty())
        return fail("No module file was found beside the program; give one with --module FILE.");
    if (setup.projectPath.empty()) setup.projectPath = defaultProject();
    if (setup.projectPath.empty())
        return fail(
            "The demo project examples/demo.tremolin was not found; give a project with --project FILE.");
    return 0;
}

// The live output options that play and edit share, gathered as they come.
struct OutputChoice
{
    std::optional<platform::MidiOutSetup> setup;
    std::string connect;
    bool follow = false;

    // True if args[i] (with its value) was one of them.
    bool take(const std::vector<std::string>& args, size_t& i)
    {
        const std::string& option = args[i];
        const auto choose = [&](platform::MidiOutSetup::Kind kind)
        {
            if (setup) throw UsageError{"choose one output: --jack, --alsa or --midi-out"};
            setup.emplace();
            setup->kind = kind;
        };
        const auto value = [&]() -> const std::string&
        {
            if (i + 1 >= args.size()) throw UsageError{option + " needs a value"};
            return args[++i];
        };
        if (option == "--jack")
            choose(platform::MidiOutSetup::Kind::Jack);
        else if (option == "--alsa")
            choose(platform::MidiOutSetup::Kind::Alsa);
        else if (option == "--midi-out")
        {
            choose(platform::MidiOutSetup::Kind::System);
            setup->device = value();
        }
        else if (option == "--connect")
            connect = value();
        else if (option == "--follow-transport")
            follow = true;
        else
            return false;
        return true;
    }

    // The setup to open, after every option has been read.
    std::optional<platform::MidiOutSetup> finish(double tempo)
    {
        using Kind = platform::MidiOutSetup::Kind;
        if (!connect.empty() && (!setup || setup->kind == Kind::System))
            throw UsageError{"--connect goes with --jack or --alsa"};
        if (follow && (!setup || setup->kind != Kind::Jack))
            throw UsageError{"--follow-transport goes with --jack"};
        if (setup)
        {
            setup->connect = connect;
            setup->followTransport = follow;
            setup->tempo = tempo;
        }
        return setup;
    }
};

int listOutputs()
{
    std::vector<std::string> names;
    std::string error;
    if (!platform::listMidiOutputs(names, error)) return fail(error);
    if (names.empty()) say("There is no MIDI output device.\n");
    for (size_t i = 0; i < names.size(); ++i)
        say(std::to_string(i) + "  " + names[i] + "\n");
    return 0;
}

int play(const std::vector<std::string>& args)
{
    if (args.size() == 1 && args[0] == "--list-outputs") return listOutputs();
    PlayOptions options;
    OutputChoice output;
    for (size_t i = 0; i < args.size(); ++i)
    {
        const std::string& option = args[i];
        const auto value = [&]() -> const std::string&
        {
            if (i + 1 >= args.size()) throw UsageError{option + " needs a value"};
            return args[++i];
        };
        if (output.take(args, i))
            continue;
        else if (option == "--print")
            options.print = true;
        else if (option == "--tempo")
            options.tempo = tempoArgument(value());
        else if (option == "--bars")
            options.bars = static_cast<int32_t>(integerArgument(option, value(), 1, 10000));
        else if (option == "--pattern")
            options.pattern = static_cast<int32_t>(integerArgument(option, value(), 1, kProjectPatternCount));
        else if (option == "--channel")
            options.channel = static_cast<int32_t>(integerArgument(option, value(), 1, 16)) - 1;
        else if (option == "--list-outputs")
            throw UsageError{"--list-outputs stands alone: tremolin-host play --list-outputs"};
        else
            setupOption("play", args, i, options);
    }
    options.output = output.finish(options.tempo);
    if (!options.output && !options.print)
        throw UsageError{
            "play needs an output: --jack, --alsa or --midi-out (or --print to list the events)"};
    if (const int failed = completeSetup(options)) return failed;
    std::string error;
    if (!runPlay(options, error)) return fail(error);
    return 0;
}

int edit(const std::vector<std::string>& args)
{
    EditOptions options;
    OutputChoice output;
    for (size_t i = 0; i < args.size(); ++i)
    {
        if (output.take(args, i))
            continue;
        else if (args[i] == "--print")
            options.print = true;
        else if (args[i] == "--tempo")
        {
            if (i + 1 >= args.size()) throw UsageError{"--tempo needs a value"};
            options.tempo = tempoArgument(args[++i]);
        }
        else if (args[i] == "--switch")
        {
            if (i + 1 >= args.size()) throw UsageError{"--switch needs a value"};
            const PatternSwitch change = switchArgument(args[++i], 100000);
            options.incomingNotes.emplace_back(change.bar, change.note);
        }
        else
            setupOption("edit", args, i, options);
    }
    options.output = output.finish(options.tempo);
    options.saveOnClose = !options.projectPath.empty();
    options.demoPath = defaultProject();
    if (const int failed = completeSetup(options)) return failed;
    std::string error;
    if (!runEdit(options, error)) return fail(error);
    return 0;
}

int snapshot(const std::vector<std::string>& args)
{
    SnapshotOptions options;
    for (size_t i = 0; i < args.size(); ++i)
    {
        if (args[i] == "--out")
        {
            if (i + 1 >= args.size()) throw UsageError{"--out needs a value"};
            options.outPath = args[++i];
        }
        else
            setupOption("snapshot", args, i, options);
    }
    if (options.outPath.empty()) throw UsageError{"snapshot needs --out FILE.png"};
    options.demoPath = defaultProject();
    if (const int failed = completeSetup(options)) return failed;
    std::string error;
    if (!runSnapshot(options, error)) return fail(error);
    return 0;
}

int info(const std::vector<std::string>& args)
{
    std::string path;
    if (args.size() == 2 && args[0] == "--module")
        path = args[1];
    else if (!args.empty())
        throw UsageError{"info takes only --module FILE"};
    if (path.empty()) path = defaultModule();
    if (path.empty())
        return fail("No module file was found beside the program; give one with --module FILE.");
    std::string error;
    std::unique_ptr<PluginModule> module = PluginModule::load(path, error);
    if (!module) return fail(error);
    const PFactoryRecord& record = module->factoryRecord();
    std::printf("module   %s\nvendor   %.64s\nweb      %.256s\nmail     %.128s\nflags    %d\n", path.c_str(),
                record.vendor, record.url, record.email, record.flags);
    for (const ModuleClass& entry : module->classes())
        std::printf("class    %s  \"%s\"  category \"%s\"  cardinality %d\n", bracedText(entry.id).c_str(),
                    entry.name.c_str(), entry.category.c_str(), entry.cardinality);
    return 0;
}

int run(int argc, char** argv)
{
    std::vector<std::string> args(argv + 1, argv + argc);
    if (args.empty() || args[0] == "help" || args[0] == "--help" || args[0] == "-h")
    {
        printUsage(args.empty() ? stderr : stdout);
        return args.empty() ? 2 : 0;
    }
    const std::string command = args[0];
    args.erase(args.begin());
    try
    {
        if (command == "render") return render(args);
        if (command == "project") return project(args);
        if (command == "info") return info(args);
        if (command == "edit") return edit(args);
        if (command == "play") return play(args);
        if (command == "snapshot") return snapshot(args);
        throw UsageError{"there is no command '" + command + "'"};
    }
    catch (const UsageError& usage)
    {
        std::fprintf(stderr, "tremolin-host: %s.\n", usage.message.c_str());
        printUsage(stderr);
        return 2;
    }
}
} // namespace

int main(int argc, char** argv)
{
    platform::keepRunningOnClosedOutput();
    HostSettings::setWarningSink([](const std::string& sentence)
                                 { std::fprintf(stderr, "tremolin-host: warning: %s\n", sentence.c_str()); });
    try
    {
        const int code = run(argc, argv);
        if (std::fflush(stdout) != 0 || std::ferror(stdout)) throw OutputClosed{};
        return code;
    }
    catch (const OutputClosed&)
    {
        return fail("Standard output was closed before everything was written to it.");
    }
    catch (const std::bad_alloc&)
    {
        return fail("There is not enough memory for this.");
    }
    catch (const std::exception& unexpected)
    {
        return fail(std::string("Stopped: ") + unexpected.what() + ".");
    }
}
