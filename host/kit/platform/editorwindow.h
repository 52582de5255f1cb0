#pragma once

// The host's own top-level window that a module's editor is placed in, the few events of it that
// the host acts on, and reading back what the editor painted. editorwindow_x11.cpp makes it on
// the X display of DISPLAY (and png_cairo.cpp writes pictures); editorwindow_win32.cpp makes it
// through user32 (and png_win32.cpp writes pictures with GDI+).

#include <cstdint>
#include <string>
#include <vector>

namespace hostkit::platform
{
struct WindowEvent
{
    enum class Kind
    {
        Close, // the window manager's close, or the window went away
        Key,
        Resize, // the user gave the window a new size: width and height
    };
    enum class Key
    {
        Character, // a key that types one printable ASCII character
        Left,
        Up,
        Right,
        Down,
        Escape,
    };
    Kind kind = Kind::Close;
    Key key = Key::Character;
    char character = 0;
    int32_t width = 0;
    int32_t height = 0;
};

// Pixels as 0xRRGGBB, row by row from the top.
struct Picture
{
    int32_t width = 0;
    int32_t height = 0;
    std::vector<uint32_t> pixels;

    // Pixels for every place of a picture that has any.
    bool complete() const
    {
        return width > 0 && height > 0 &&
               pixels.size() == static_cast<size_t>(width) * static_cast<size_t>(height);
    }
};

class EditorWindow
{
public:
    struct Options
    {
        int32_t width = 0;
        int32_t height = 0;
        std::string title; // UTF-8
        // Kept out of the window manager's hands, at the top left of the screen above everything
        // else, so that what is read back is the window's own picture.
        bool unmanaged = false;
        // The user may make the window larger than its size, never smaller.
        bool resizable = false;
    };

    // Whether windows can be made at all; false with the sentence the constructor would give.
    static bool available(std::string& error);
    // A window, not shown yet. On failure (no display, or no window on this platform) `open()`
    // is false and `error` holds one sentence.
    EditorWindow(const Options& options, std::string& error);
    ~EditorWindow();
    EditorWindow(const EditorWindow&) = delete;
    EditorWindow& operator=(const EditorWindow&) = delete;

    bool open() const { return native != nullptr; }
    // The platform type of the view interface and the handle attachToParent takes with it.
    static const char* platformType();
    void* nativeHandle() const;
    // Shows the window and waits for the window system to show it.
    bool show(std::string& error);
    // The next event, if one comes within `waitMilliseconds`.
    bool nextEvent(WindowEvent& event, int32_t waitMilliseconds);
    // A plain child window at (x, y) of this one, above everything made in it before, for a
    // module's view to be attached to; null if none can be made. It goes with this window.
    void* addChild(int32_t x, int32_t y, int32_t width, int32_t height);
    // Keys typed while the focus is on `child` (a window inside this one, such as the panel's,
    // which takes the focus back when its entry field closes) come to nextEvent too.
    void takeKeysOf(void* child);
    // What the window shows on screen, children included.
    bool capture(Picture& picture, std::string& error);

private:
    struct Native;
    Native* native = nullptr;
};

// The picture as a PNG file's bytes.
bool encodePng(const Picture& picture, std::vector<uint8_t>& png, std::string& error);
} // namespace hostkit::platform
