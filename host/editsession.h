#pragma once

// The module's editor in a window of the host's: `edit` lets the user work on a project while the
// transport plays it in real time and saves it when the window closes; `snapshot` writes a
// picture of the editor as it opens. The window holds the module's whole panel, built by the host
// from the module's template with the module's sequencer view inside; the host's keys stay as
// shortcuts for the panel's parameters.

#include "host/kit/platform/midiout.h"

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace hostkit
{
struct EditorSetup
{
    std::string modulePath;
    std::string projectPath;
    std::string settingsPath;    // empty: the user's settings file
    std::string language = "us"; // of the host's texts, a key of the module's language table
};

struct EditOptions : EditorSetup
{
    double tempo = 120.0;
    bool print = false;                           // list the events as the track sends them
    std::optional<platform::MidiOutSetup> output; // where the transport plays into, if anywhere
    // Off for the demo that ships with the program: it stays as it is, and the user is told how
    // to keep changes.
    bool saveOnClose = true;
    // The demo that ships with the program, which the panel's project menu always offers.
    std::string demoPath;
    // Note-ons played to the module on the transport's thread: (bar counted from 1, note).
    std::vector<std::pair<int32_t, int32_t>> incomingNotes;
};

struct SnapshotOptions : EditorSetup
{
    std::string outPath;
    std::string demoPath;
};

// A key of the host's that changes one of the module's parameters.
struct ParameterKey
{
    enum class Action
    {
        Step,   // add `amount`, within the value's range
        Cycle,  // move `amount` entries through a list, round at its ends
        Trigger // press the button: 1, then back to 0
    };
    char key;
    const char* parameter;
    Action action;
    int32_t amount;
    const char* label; // what the window's title calls it; keys with the same label go together
};

const std::vector<ParameterKey>& parameterKeys();
// The keys for --help, one line each, indented.
std::string editorKeysHelp();
std::string editorWindowTitle();

// Both false with one sentence in `error`; they report on stdout what they did.
bool runEdit(const EditOptions& options, std::string& error);
bool runSnapshot(const SnapshotOptions& options, std::string& error);
} // namespace hostkit
