// The Windows half of the editor's window is not written yet: tremolin-host on Windows plays,
// converts and inspects projects, and says plainly that it can't show the editor.

#include "host/platform/editorwindow.h"

namespace hostkit::platform
{
struct EditorWindow::Native
{
};

EditorWindow::EditorWindow(const Options&, std::string& error)
{
    error = "The editor window is not available on this platform yet.";
}

EditorWindow::~EditorWindow() = default;

const char* EditorWindow::platformType()
{
    return "HWND";
}

void* EditorWindow::nativeHandle() const
{
    return nullptr;
}

bool EditorWindow::show(std::string& error)
{
    error = "The editor window is not available on this platform yet.";
    return false;
}

bool EditorWindow::nextEvent(WindowEvent&, int32_t)
{
    return false;
}

bool EditorWindow::capture(Picture&, std::string& error)
{
    error = "The editor window is not available on this platform yet.";
    return false;
}

bool encodePng(const Picture&, std::vector<uint8_t>& png, std::string& error)
{
    png.clear();
    error = "Writing PNG pictures is not available on this platform yet.";
    return false;
}
} // namespace hostkit::platform
