// The module's panel in tremolin-host edit, driven through the X server's test extension with
// real pointer and key events: the template's buttons, slider, menu and number field reach the
// module, the module's own changes reach the panel, and the Controller Setup dialog is a window
// of its own whose choice the module keeps.

#include "host/projectfile.h"
#include "tests/host/host_test_support.h"
#include "tests/host/window/desktop.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

using namespace hostkit;

namespace
{
const std::string kProgram = TREMOLIN_HOST_PROGRAM;
const std::string kDemo = TREMOLIN_SOURCE_DIR "/examples/demo.tremolin";
const std::string kFirstNote = "note C1 (36)  velocity 120";

// Where the module's template puts the controls, in the panel's pixels (groups added in).
struct Spot
{
    int x, y;
};
constexpr Spot kOctaveUp{24 + 16, 17 + 10};
constexpr Spot kSwingHandle{584 + 4, 21 + 6};
constexpr Spot kQuantize{512 + 20, 18 + 9};
constexpr Spot kPatternBox{214 + 57 + 17, 294 + 2 + 8};
constexpr Spot kConfig{47 + 86 + 23, 294 + 10};
// The host's project section (a menu of 150 and a button of 48), centred in the template's row
// for it, which starts at 20 and is 650 wide.
constexpr Spot kProjectMenu{20 + 224 + 75, 17 + 10};
constexpr Spot kProjectSave{20 + 224 + 154 + 24, 17 + 10};
constexpr int kPatternBoxWidth = 35, kPatternBoxHeight = 16;

Display* display = nullptr;

void pause(int milliseconds)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

Spot originOf(Window window)
{
    int x = 0, y = 0;
    Window child;
    XTranslateCoordinates(display, window, DefaultRootWindow(display), 0, 0, &x, &y, &child);
    return {x, y};
}

void moveTo(Window window, Spot at)
{
    const Spot origin = originOf(window);
    XTestFakeMotionEvent(display, -1, origin.x + at.x, origin.y + at.y, CurrentTime);
    XSync(display, False);
    pause(30);
}

void button(unsigned int number, bool press)
{
    XTestFakeButtonEvent(display, number, press ? True : False, CurrentTime);
    XSync(display, False);
    pause(30);
}

void click(Window window, Spot at)
{
    moveTo(window, at);
    button(1, true);
    button(1, false);
}

void key(KeySym symbol)
{
    const KeyCode code = XKeysymToKeycode(display, symbol);
    XTestFakeKeyEvent(display, code, True, CurrentTime);
    XTestFakeKeyEvent(display, code, False, CurrentTime);
    XSync(display, False);
    pause(30);
}

// The pixels of a rectangle of a window as the screen shows them.
std::vector<unsigned long> pixels(Window window, Spot at, int width, int height)
{
    std::vector<unsigned long> out;
    XImage* image =
        XGetImage(display, window, at.x, at.y, unsigned(width), unsigned(height), AllPlanes, ZPixmap);
    if (!image) return out;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            out.push_back(XGetPixel(image, x, y));
    XDestroyImage(image);
    return out;
}

// The newest viewable top-level window other than `except`: a popup menu or a dialog.
Window newestTopWindow(Window except, double seconds)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    do
    {
        Window root, parent, *children = nullptr;
        unsigned int count = 0;
        XQueryTree(display, DefaultRootWindow(display), &root, &parent, &children, &count);
        Window found = 0;
        for (unsigned int i = count; i-- > 0 && !found;)
        {
            XWindowAttributes attributes;
            if (children[i] != except && XGetWindowAttributes(display, children[i], &attributes) &&
                attributes.map_state == IsViewable && attributes.width > 20 && attributes.height > 20)
                found = children[i];
        }
        if (children) XFree(children);
        if (found) return found;
        pause(50);
    } while (std::chrono::steady_clock::now() < deadline);
    return 0;
}

class PanelSession
{
public:
    PanelSession(const hosttest::TempFolder& folder, const std::vector<std::string>& more = {},
                 const std::vector<hosttest::EnvChange>& env = {})
        : child(folder, kProgram, args(folder, more), env)
    {
        for (int attempt = 0; attempt < 150 && !window; ++attempt)
        {
            window = desktop::findWindow("Tremolin - arrows", 0.2);
            if (!window && child.finish(0) >= 0) break;
        }
    }
    static std::vector<std::string> args(const hosttest::TempFolder& folder,
                                         const std::vector<std::string>& more)
    {
        std::vector<std::string> all = {
            "edit",   "--project", folder.file("song.tremolin"), "--settings", folder.file("settings"),
            "--print"};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }
    Window top() const { return static_cast<Window>(window); }
    // Escape saves and ends the session; the project as saved.
    Project close()
    {
        moveTo(top(), {600, 340});
        key(XK_Escape);
        EXPECT_EQ(child.finish(30), 0) << child.err();
        Project saved;
        std::string error;
        EXPECT_TRUE(loadProjectFile(folderFile, saved, error)) << error;
        return saved;
    }

    hosttest::Child child;
    uint64_t window = 0;
    std::string folderFile;
};

Project demo()
{
    Project project;
    std::string error;
    EXPECT_TRUE(loadProjectFile(kDemo, project, error)) << error;
    return project;
}

class EditorPanel : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(desktop::connect()) << "no desktop to show windows on";
        if (!display) display = XOpenDisplay(nullptr);
        ASSERT_NE(display, nullptr);
        hosttest::writeText(folder.file("song.tremolin"), hosttest::readText(kDemo));
    }
    // A session on the demo that has started playing.
    std::unique_ptr<PanelSession> open(const std::vector<std::string>& more = {},
                                       const std::vector<hosttest::EnvChange>& env = {})
    {
        hosttest::writeText(folder.file("song.tremolin"), hosttest::readText(kDemo));
        auto session = std::make_unique<PanelSession>(folder, more, env);
        session->folderFile = folder.file("song.tremolin");
        EXPECT_NE(session->window, 0u) << session->child.err();
        EXPECT_TRUE(session->child.says(kFirstNote, 20)) << session->child.out();
        return session;
    }
    hosttest::TempFolder folder;
};
} // namespace

TEST_F(EditorPanel, ButtonSliderAndMenuReachTheModuleAndThePlayingPattern)
{
    auto session = open();
    ASSERT_NE(session->window, 0u);
    int width = 0, height = 0;
    desktop::size(session->window, width, height);
    EXPECT_EQ(width, 670);
    EXPECT_EQ(height, 364);

    // Resting on Copy shows its tip ("Copy pattern") below it; leaving takes it away.
    const Spot belowCopy{314, 294 + 20 + 2};
    moveTo(session->top(), {600, 340});
    pause(300);
    const std::vector<unsigned long> bare = pixels(session->top(), belowCopy, 80, 18);
    moveTo(session->top(), {314 + 22, 294 + 10});
    pause(1000);
    EXPECT_NE(pixels(session->top(), belowCopy, 80, 18), bare) << "the tip shows";
    moveTo(session->top(), {600, 340});
    pause(300);
    EXPECT_EQ(pixels(session->top(), belowCopy, 80, 18), bare) << "and goes";

    click(session->top(), kOctaveUp);
    EXPECT_TRUE(session->child.says("note C2 (48)", 20))
        << "the pattern plays an octave up: " << session->child.out();

    // The swing slider's handle dragged most of its way to the right.
    moveTo(session->top(), kSwingHandle);
    button(1, true);
    for (int x = kSwingHandle.x; x <= kSwingHandle.x + 36; x += 6)
        moveTo(session->top(), {x, kSwingHandle.y});
    button(1, false);

    // Quantize's menu, then its fourth entry, "1/8".
    click(session->top(), kQuantize);
    const Window popup = newestTopWindow(session->top(), 5);
    ASSERT_NE(popup, 0u) << "the Quantize menu came up" << session->child.err();
    click(popup, {30, 4 + 3 * 20 + 10});
    pause(200);

    const Project saved = session->close();
    const Project before = demo();
    const ProjectPattern& was = before.patterns[0];
    const ProjectPattern& now = saved.patterns[0];
    for (int step = 0; step < kProjectStepCount; ++step)
        EXPECT_EQ(now.steps[step].note, was.steps[step].note < 0 ? -1 : was.steps[step].note + 12) << step;
    EXPECT_GT(now.swing, 40) << "the drag moved the swing";
    EXPECT_LT(now.swing, 100);
    EXPECT_EQ(now.quantize, 240) << "1/8";
}

TEST_F(EditorPanel, TypedPatternNumberSelectsItAndANoteFromTheTransportMovesTheBox)
{
    {
        auto session = open();
        ASSERT_NE(session->window, 0u);
        click(session->top(), kPatternBox);
        pause(200);
        key(XK_3);
        key(XK_Return);
        pause(200);
        const Project saved = session->close();
        EXPECT_EQ(saved.current, 2) << "pattern 3";
    }

    // What the box shows for pattern 2, chosen by the host's key.
    std::vector<unsigned long> two;
    {
        auto session = open();
        ASSERT_NE(session->window, 0u);
        moveTo(session->top(), {600, 340});
        key(XK_bracketright);
        ASSERT_TRUE(session->child.says("Pattern Select: 2", 10)) << session->child.out();
        pause(300);
        two = pixels(session->top(), {kPatternBox.x - 17, kPatternBox.y - 8}, kPatternBoxWidth,
                     kPatternBoxHeight);
        session->close();
    }
    // A note-on for pattern 2 (C#1) at bar 2, sent by the transport's thread: the box follows.
    auto session = open({"--switch", "2:37"});
    ASSERT_NE(session->window, 0u);
    const std::vector<unsigned long> one =
        pixels(session->top(), {kPatternBox.x - 17, kPatternBox.y - 8}, kPatternBoxWidth, kPatternBoxHeight);
    EXPECT_NE(one, two) << "1 and 2 look different";
    std::vector<unsigned long> now;
    for (int attempt = 0; attempt < 100 && now != two; ++attempt)
    {
        pause(50);
        now = pixels(session->top(), {kPatternBox.x - 17, kPatternBox.y - 8}, kPatternBoxWidth,
                     kPatternBoxHeight);
    }
    EXPECT_EQ(now, two) << "the Pattern box shows 2";
    EXPECT_EQ(session->close().current, 1);
}

TEST_F(EditorPanel, ConfigOpensControllerSetupWhoseChoiceTheModuleAndTheSettingsKeep)
{
    auto session = open({"--language", "de"});
    ASSERT_NE(session->window, 0u);
    click(session->top(), kConfig);
    const uint64_t dialog = desktop::findWindow("Controller Einstellungen", 10);
    ASSERT_NE(dialog, 0u) << "the dialog, titled in German: " << session->child.err();
    const Window box = static_cast<Window>(dialog);
    int width = 0, height = 0;
    desktop::size(dialog, width, height);
    EXPECT_EQ(width, 300);
    EXPECT_EQ(height, 220 + 36);

    // Each list starts at its current controller (71 and 74); scrolled to the top by the wheel,
    // the rows of 7 (Volume) and 10 (Pan) show.
    for (const int left : {0, 150})
    {
        moveTo(box, {left + 60, 120});
        for (int notch = 0; notch < 30; ++notch)
        {
            button(4, true);
            button(4, false);
        }
    }
    click(box, {60, 18 + 7 * 14 + 7});
    click(box, {150 + 60, 18 + 10 * 14 + 7});
    click(box, {140 + 36, 227 + 11}); // OK
    for (int attempt = 0; attempt < 100 && desktop::findWindow("Controller Einstellungen", 0); ++attempt)
        pause(50);
    EXPECT_EQ(desktop::findWindow("Controller Einstellungen", 0), 0u) << "the dialog closed";
    // The playing pattern sends the first lane to the chosen controller now (the demo's first
    // pattern has nothing in the second lane).
    EXPECT_TRUE(session->child.says("controller 7 (", 20)) << session->child.out();
    session->close();

    const std::string settings = hosttest::readText(folder.file("settings"));
    EXPECT_NE(settings.find("Controller1 = 7"), std::string::npos) << settings;
    EXPECT_NE(settings.find("Controller2 = 10"), std::string::npos) << settings;
    // A render with these settings sends the second lane (pattern 4 has only that one) to 10.
    const auto render =
        hosttest::runProgram(folder, kProgram,
                             {"render", "--project", kDemo, "--settings", "settings", "--pattern", "4",
                              "--bars", "1", "--print", "--out", "out.mid"});
    ASSERT_EQ(render.exitCode, 0) << render.err;
    EXPECT_NE(render.out.find("controller 10 ("), std::string::npos) << render.out;
    EXPECT_EQ(render.out.find("controller 74 ("), std::string::npos) << render.out;

    // Cancel keeps what was chosen before.
    auto again = open();
    ASSERT_NE(again->window, 0u);
    click(again->top(), kConfig);
    const uint64_t second = desktop::findWindow("Controller Setup", 10);
    ASSERT_NE(second, 0u);
    click(static_cast<Window>(second), {60, 18 + 3 * 14 + 7});
    click(static_cast<Window>(second), {220 + 36, 227 + 11}); // Cancel
    pause(300);
    again->close();
    const std::string kept = hosttest::readText(folder.file("settings"));
    EXPECT_NE(kept.find("Controller1 = 7"), std::string::npos) << kept;
}

TEST_F(EditorPanel, ProjectSectionOpensAPresetAndSavesIt)
{
    const std::string data = folder.file("data");
    std::filesystem::create_directories(data + "/tremolin-host/presets");
    const std::string bass = data + "/tremolin-host/presets/Bass.tremolin";
    hosttest::writeText(bass, hosttest::readText(kDemo));
    auto session = open({}, {{"XDG_DATA_HOME", data}});
    ASSERT_NE(session->window, 0u);

    // A wider window stretches the template's row for the section (attached left and right), and
    // the section stays centred in it (hcenter): 130 pixels more move it by 65.
    XResizeWindow(display, session->top(), 670 + 130, 364);
    XSync(display, False);
    pause(300);
    // The menu holds this session's project, the demo and the preset, in that order.
    click(session->top(), {kProjectMenu.x + 65, kProjectMenu.y});
    const Window popup = newestTopWindow(session->top(), 5);
    ASSERT_NE(popup, 0u) << "the project menu came up";
    click(popup, {30, 4 + 2 * 20 + 10});
    ASSERT_TRUE(session->child.says("Opened " + bass + ".", 10)) << session->child.out();
    click(session->top(), kOctaveUp);
    click(session->top(), {kProjectSave.x + 65, kProjectSave.y});
    ASSERT_TRUE(session->child.says("Saved " + bass + " (text form).", 10)) << session->child.out();
    session->close();

    Project saved;
    std::string error;
    ASSERT_TRUE(loadProjectFile(bass, saved, error)) << error;
    EXPECT_EQ(saved.patterns[0].steps[0].note, demo().patterns[0].steps[0].note + 12);
    EXPECT_EQ(hosttest::readText(folder.file("song.tremolin")), hosttest::readText(kDemo))
        << "left as it was";
}
